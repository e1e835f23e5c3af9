// Patterns with back-references that are rows of simple pieces, at random.

#ifndef TROVEX_TESTS_MATCHER_REFERENCE_ROWS_H
#define TROVEX_TESTS_MATCHER_REFERENCE_ROWS_H

#include "tests/dice.h"

#include <string>
#include <vector>

namespace trovex::testing {

class RandomRow {
 public:
  explicit RandomRow(Dice& dice) : dice_(dice) {}

  /// One to three groups, at most one in another, bytes and anchors around them, and back-references to those before.
  std::string Pattern() {
    pattern_ =
        dice_.OneIn(3) ? dice_.OneOf({"^", "\\<", "\\b", "\\B", "a", "[ab]*", "[ab]+", "-"}) : "";
    for (int i = dice_.OneIn(2) ? 1 : dice_.Between(2, 3); i > 0; --i) {
      AppendGroup(dice_.OneIn(4));
      AppendBetween();
      if (dice_.OneIn(2)) AppendReference();
    }
    AppendReference();
    if (dice_.OneIn(3))
      pattern_ += dice_.OneOf({"$", "\\>", "\\b", "[ab]+", "b?", " ", "[ab]{1,2}"});
    return pattern_;
  }

 private:
  void AppendGroup(bool holdsAnother) {
    pattern_ += '(';
    const std::size_t number = ++opened_;
    if (holdsAnother && dice_.OneIn(2)) AppendRun();
    if (holdsAnother) AppendGroup(false);
    if (dice_.OneIn(5)) {
      pattern_ += dice_.OneOf({"a|b", "ab|b", "ab|ba", "a|ab|abb", "B|-"});
    } else {
      AppendRun();
    }
    pattern_ += ')';
    closed_.push_back(number);
  }
  void AppendRun() {
    pattern_ += dice_.OneOf({"a", "b", "[ab]", "[a-z]", ".", "[^ ]", "[bB]", "[b-]"});
    pattern_ += dice_.OneOf({"", "+", "+", "*", "?", "{2}", "{1,2}", "{2,}"});
  }
  void AppendBetween() {
    pattern_ +=
        dice_.OneOf({"", "", " ", "-", "b", " +", "[ -]", "\\>", "[ab]*", ".*", "a-", "[ab]+"});
  }
  void AppendReference() {
    const auto index =
        static_cast<std::size_t>(dice_.Between(0, static_cast<int>(closed_.size()) - 1));
    pattern_ += '\\' + std::to_string(closed_[index]);
  }

  Dice& dice_;
  std::string pattern_;
  std::size_t opened_ = 0;
  std::vector<std::size_t> closed_;
};

/// A text in which pieces of rows stand again.
inline std::string TextForRows(Dice& dice, int longest) {
  std::string text = dice.Bytes(dice.OneOf({"ab", "aab -", "aab B-\n"}), longest);
  if (!text.empty() && dice.OneIn(2)) text.append(" ").append(text, text.size() / 2);
  return text;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_REFERENCE_ROWS_H
