// A pattern as it is looked for in the bytes of a UTF-8 text, which are not decoded for it.
//
// All bytes of a sequence of UTF-8 are above those of ASCII. So a pattern that matches nothing but ASCII finds in the
// bytes just what it finds in the characters, and there it stands, too, unless a combining mark after it makes another
// letter of its last one. Any other pattern is written out: a character beyond ASCII as the bytes of its sequence, and a set
// as all sequences of its characters,
//
//     ü            C3 BC
//     [aäöü]       a | C3 [A4 B6 BC]
//     [^ä]         [00-7F, any lead but C3] [80-BF]* | C3 [80-A3 A5-BF]
//     [^"]*        [all bytes but "]*
//
// The last one is allowed where a set has all characters beyond ASCII and is repeated without an end: what stands before
// and after it ends and begins with a character. All of this finds just the characters where each of the text is a
// well-formed sequence and none is a combining mark; in any other text they have to be decoded. Where a pattern has
// but a few characters beyond ASCII, it is enough that none of these stands in the text as a byte of the code page.
//
// Whole words are found as if nothing beyond ASCII belonged to a word. Then the characters beside each match are
// looked at (utf8_edges.h): where one belongs to a word, so does no other match of that word, as long as the
// pattern matches nothing but characters of words.

#ifndef TROVEX_QUERY_PLAN_UTF8_PATTERN_H
#define TROVEX_QUERY_PLAN_UTF8_PATTERN_H

#include "matcher/budget.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/pattern_program.h"
#include "matcher/scan/string_scan.h"
#include "text/byte_range.h"
#include "text/utf8_edges.h"

#include <memory>
#include <optional>

namespace trovex {

/// What a text must be like for patterns to find in its bytes what they find in its characters.
class Utf8Guard {
 public:
  /// Any text will do.
  Utf8Guard() = default;
  /// A text has to be regular (IsRegularUtf8), or to have none of `suspects`; none of these: it has to be regular.
  explicit Utf8Guard(const CharSet& suspects);

  bool IsNeeded() const { return isNeeded_; }
  bool Allows(TextView text) const;

  /// What allows what both allow.
  Utf8Guard And(const Utf8Guard& other) const;

 private:
  bool isNeeded_ = false;
  CharSet suspects_;
  std::shared_ptr<const StringScan> scan_;  // for these; null if there are none
};

struct Utf8Pattern {
  std::shared_ptr<const PatternProgram> program;
  /// What is looked at beside its matches.
  Utf8Edges edges;
  Utf8Guard guard;

  Utf8Edges::Answer Judge(TextView text, const ByteRange& match) const {
    const unsigned char* const begin = text.data();
    return edges.Judge(begin + match.begin, begin + match.end, begin, begin + text.size());
  }
};

/// What a pattern looks like in the bytes of UTF-8.
struct Utf8Form {
  SyntaxTree tree;
  /// Whether it is compiled for whole words, which are made of ASCII alone.
  bool wholeWords = false;
  Utf8Edges edges;
  bool needsRegular = false;
  /// Where that is: characters of the code page that are also bytes of a text which is not regular.
  CharSet suspects;

  /// Whether the pattern is its own form, and only a mark after a match can make a difference.
  bool IsPlain() const { return !wholeWords && !edges.before && !edges.after && !needsRegular; }
};

/// The form of `tree`, which matches whole words if `wholeWords`; `substitute` stands in it for what the code page lacks.
/// Nothing where it can match the empty string, has back-references, is too large or counts many characters beyond ASCII,
/// or has conditions on words that are no such edges.
std::optional<Utf8Form> Utf8FormOf(const SyntaxTree& tree, bool wholeWords,
                                   unsigned char substitute);

/// `form` compiled. Nothing where that takes more than `budget` has. Throws std::bad_alloc.
std::optional<Utf8Pattern> CompileUtf8Form(Utf8Form form, CompileBudget& budget);

/// Whether a combining mark may stand in `text`: one of those that make another letter of the one before
/// it. False only if there is none.
bool MayHoldMarks(TextView text);

}  // namespace trovex

#endif  // TROVEX_QUERY_PLAN_UTF8_PATTERN_H
