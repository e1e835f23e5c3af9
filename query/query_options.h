// What a query is compiled with: how its expression is written, and how its patterns are meant.

#ifndef TROVEX_QUERY_QUERY_OPTIONS_H
#define TROVEX_QUERY_QUERY_OPTIONS_H

#include <cstddef>

namespace trovex {

/// How the bytes of an expression are read.
enum class ExpressionEncoding {
  kLatin1,  // Windows Latin-1, one byte a character
  kUtf8,    // bytes that are no valid UTF-8 are read one by one as Windows Latin-1
};

struct QueryOptions {
  ExpressionEncoding encoding = ExpressionEncoding::kUtf8;
  /// A match counts only between characters that belong to no word.
  bool wholeWords = false;
  bool caseSensitive = false;
  /// Every term that is one word of letters is looked for by its sound.
  bool phonetic = false;
  /// Typed letters find each of their spellings: ä ae, ö oe, ü ue, ß ss; other accents do not count.
  bool spellingVariants = false;
};

// The limits of what is typed; message 9814 beyond each of them.

/// Brackets and "!" inside one another.
inline constexpr int kMaxQueryNesting = 200;
/// Bytes of an expression.
inline constexpr std::size_t kMaxQueryLength = std::size_t{1} << 20;
/// Patterns and sound terms of an expression. Each costs some hundred bytes, whatever it says.
inline constexpr int kMaxQueryTerms = 150'000;

}  // namespace trovex

#endif  // TROVEX_QUERY_QUERY_OPTIONS_H
