// What a search may spend on work that does not bring it forward.
//
// Reading each byte of a text once is free. States that have to be made, and bytes that are read again
// or in vain, are paid for: one unit for each byte and each edge looked at, about a nanosecond. Who
// finds the credit spent stops where it is, and the search goes on in another way, so that no pattern
// and no text can make it slow.

#ifndef TROVEX_MATCHER_AUTOMATA_SEARCH_CREDIT_H
#define TROVEX_MATCHER_AUTOMATA_SEARCH_CREDIT_H

#include <algorithm>
#include <cstdint>

namespace trovex {

class SearchCredit {
 public:
  explicit SearchCredit(std::int64_t most) : left_(most), most_(most) {}

  void Spend(std::int64_t units) { left_ -= units; }
  void Grant(std::int64_t units) { left_ = std::min(left_ + units, most_); }
  bool IsSpent() const { return left_ < 0; }
  /// How much more than there was has been spent.
  std::int64_t Debt() const { return std::max(-left_, std::int64_t{0}); }

 private:
  std::int64_t left_;
  std::int64_t most_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_SEARCH_CREDIT_H
