// Lists of words, and several expressions, as one expression: any of them.
//
//     -e 'Haus & Garten' -e '(Hof|Zaun)' -f words     (Haus & Garten)|((Hof|Zaun))|Katze|R\&B|...

#ifndef TROVEX_HOSTS_CLI_WORD_LIST_H
#define TROVEX_HOSTS_CLI_WORD_LIST_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {

/// The words of a list: its lines without blanks at their ends, byte for byte; empty lines are left
/// out, and so is a byte order mark of UTF-8. Bytes that are no valid UTF-8 stay, for they are read as
/// Windows Latin-1 where the words are compiled.
std::vector<std::string> ReadWords(std::string_view content);

/// The number of the line, counted from 1, on which word `index` of the list stands.
std::int64_t LineOfWord(std::string_view content, std::size_t index);

/// A text as a pattern that finds it and nothing else: no character of it is special.
std::string QuoteTerm(std::string_view text);

/// Where a part of a joined expression comes from.
struct ExpressionPart {
  /// Its range in the joined expression, without a bracket around it.
  std::size_t begin = 0;
  std::size_t end = 0;
  /// The index of the expression; that of a word goes on after the last expression.
  std::size_t index = 0;
};

struct JoinedExpression {
  std::string text;
  /// By their places; as many as there were expressions and words.
  std::vector<ExpressionPart> parts;
  /// Whether a bracket stands around each expression, which counts as a tag.
  bool bracketed = false;

  /// The part that holds the byte at `offset`, or ends there; null when a bracket or a "|" between
  /// them stands there.
  const ExpressionPart* PartAt(std::size_t offset) const;
};

/// Joins expressions, which have been found to be right, and words, to what finds any of them. A
/// single expression stays as it is. There is at least one expression or word.
JoinedExpression JoinExpressions(const std::vector<std::string>& expressions,
                                 const std::vector<std::string>& words);

/// The number that tag `tag` has in the joined expression, where brackets are numbered through in
/// the order of the expressions; `tagCounts` tells how many each of them has. Null when there is no
/// such bracket.
std::optional<int> TagInJoined(int tag, const std::vector<int>& tagCounts, bool bracketed);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_WORD_LIST_H
