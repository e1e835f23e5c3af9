// Random patterns for tests that hold one reading or search of a pattern against another.

#ifndef TROVEX_TESTS_MATCHER_RANDOM_PATTERN_H
#define TROVEX_TESTS_MATCHER_RANDOM_PATTERN_H

#include <array>
#include <cstddef>
#include <random>
#include <string>

namespace trovex::testing {

/// Makes well-formed patterns of few letters and much structure.
class RandomPattern {
 public:
  struct Parts {
    bool anchors = false;
    bool backReferences = false;
  };

  RandomPattern(unsigned seed, Parts parts) : random_(seed), parts_(parts) {}

  std::string Pattern() { return Alternatives(1 + Below(3)); }

  /// A line of up to `longest` bytes of the letters that occur in patterns, and a few others.
  std::string Line(int longest) {
    std::string line;
    for (int i = Below(longest + 1); i > 0; --i)
      line += Pick(std::array{"a", "a", "b", "A", " "});
    return line;
  }

  int Below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }

 private:
  template <std::size_t kCount>
  std::string Pick(const std::array<const char*, kCount>& choices) {
    return choices[static_cast<std::size_t>(Below(static_cast<int>(kCount)))];
  }

  std::string Alternatives(int depth) {
    std::string pattern = Sequence(depth);
    while (Below(3) == 0)
      pattern.append("|").append(Sequence(depth));
    return pattern;
  }

  std::string Sequence(int depth) {
    std::string pattern;
    for (int i = Below(4); i > 0; --i) {
      pattern += Atom(depth);
      if (Below(5) < 2) pattern += Pick(std::array{"*", "+", "?", "{2,}", "{2}", "{0,2}", "{1,3}"});
    }
    return pattern;
  }

  std::string Atom(int depth) {
    const int choice = Below(20);
    if (choice < 3 && parts_.backReferences) return Pick(std::array{"\\1", "\\2"});
    if (choice < 5 && parts_.anchors) return Pick(std::array{"^", "$", "\\b", "\\B", "\\<", "\\>"});
    if (choice < 12 && depth > 0) {
      return std::string("(").append(Alternatives(depth - 1)).append(")");
    }
    return Pick(std::array{"a", "a", "b", ".", "[ab]", "[^a]"});
  }

  std::mt19937 random_;
  Parts parts_;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_RANDOM_PATTERN_H
