// Patterns that are nothing but a few strings, looked for in the bytes of UTF-8 without decoding it.
//
// A character beyond ASCII stands in a text as a sequence of UTF-8, as a letter with a combining mark, or as
// a byte that belongs to no sequence. The first two can be told from the bytes alone: neither the first byte
// of a sequence nor an ASCII byte can stand inside of another sequence, so wherever these bytes stand, they
// are these characters, unless a combining mark follows that makes another letter of the last one. What a
// lone byte is, its neighbours decide: where a string fits only with such bytes, somebody has to decode.

#ifndef TROVEX_QUERY_PLAN_SPELLED_STRINGS_H
#define TROVEX_QUERY_PLAN_SPELLED_STRINGS_H

#include "matcher/pattern/pattern_syntax.h"
#include "matcher/scan/place_scan.h"
#include "text/byte_range.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace trovex {

class SpelledStrings {
 public:
  /// Nothing where `tree` is not such a pattern, has groups or conditions, or has too many strings.
  static std::optional<SpelledStrings> Of(const SyntaxTree& tree, bool foldsCase);

  /// Finds every place where a match can begin, and some more, but for the last ones of a text, which it does
  /// not reach. Nothing where there would be too many.
  std::optional<PlaceScan> Scan() const;

  enum class Answer { kMatch, kNoMatch, kUnknown };

  /// Whether the longest match at `place` of `text` can be told; if so, writes where it ends.
  Answer At(TextView text, std::size_t place, std::size_t& end) const;

 private:
  SpelledStrings(std::vector<std::string> certain, std::vector<std::string> uncertain,
                 bool foldsCase);

  bool StandsAt(const std::string& string, TextView text, std::size_t place) const;

  /// The longest first.
  std::vector<std::string> certain_;
  std::vector<std::string> uncertain_;
  bool foldsCase_;
};

}  // namespace trovex

#endif  // TROVEX_QUERY_PLAN_SPELLED_STRINGS_H
