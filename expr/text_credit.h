// What the search of one text by a whole tree may take.
//
// A host calls the root, which calls its operands; whoever is called first opens the credit, and all below
// it share it: the roads of a pattern that are paid for (work_credit.h), and the chains of operators. So the
// time of a search is bounded by its text, and not by the text times the leaves.

#ifndef TROVEX_EXPR_TEXT_CREDIT_H
#define TROVEX_EXPR_TEXT_CREDIT_H

#include "matcher/work_credit.h"

#include <optional>

namespace trovex {

/// The credit of the search under way, for as long as the object lives; its own if there is none yet, for a
/// text of `length` bytes. Which one is under way is part of the module's state.
class TextCredit {
 public:
  explicit TextCredit(int length);
  ~TextCredit();
  TextCredit(const TextCredit&) = delete;
  TextCredit& operator=(const TextCredit&) = delete;

  WorkCredit& Credit() { return *credit_; }

 private:
  std::optional<WorkCredit> own_;
  WorkCredit* credit_;
};

}  // namespace trovex

#endif  // TROVEX_EXPR_TEXT_CREDIT_H
