// Patterns for names of files, as .gitignore has them.
//
//   *      any characters but "/"            a/**/b   b anywhere below a, also directly
//   ?      one character but "/"             **/b     b anywhere
//   [a-c]  one of these; [!a-c] another one  a/**     everything below a
//   \*     the character itself
//
// A character is one of UTF-8, or a byte that is none. A match takes time for the length of the pattern
// times that of the name at most, whatever they are.

#ifndef TROVEX_HOSTS_CLI_GLOB_H
#define TROVEX_HOSTS_CLI_GLOB_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex::cli {

class Glob {
 public:
  explicit Glob(std::string_view pattern);

  /// Whether it fits all of `path`, a name or several with "/" between them. Not to be called by two
  /// threads at a time.
  bool Fits(std::string_view path) const;

  /// Whether it can be read: every "[" has its "]", and something stands after every backslash.
  /// Otherwise it never fits.
  bool IsRight() const { return kind_ != Kind::kWrong; }

 private:
  enum class Kind { kWrong, kLiteral, kSuffix, kGeneral };

  enum class TokenKind {
    kCharacter,
    kAny,         // one character but "/"
    kSet,         // the same, of a set
    kStar,        // any number of characters but "/"
    kEverything,  // any number of characters
    kFolders,     // any number of folders, each with its "/"; goes over into the next token
    kInFolder,    // the characters of such folders
  };

  struct Token {
    TokenKind kind;
    char32_t character = 0;  // for kCharacter
    bool negated = false;    // for kSet, as its ranges
    std::vector<std::pair<char32_t, char32_t>> ranges;
  };

  bool Read(std::string_view pattern);
  std::size_t ReadSet(std::string_view pattern, std::size_t at);
  void ChooseKind();
  bool FitsTokens(std::string_view path) const;
  void Enter(std::size_t state, std::vector<char>& states) const;
  static bool Holds(const Token& set, char32_t character);

  Kind kind_ = Kind::kGeneral;
  std::vector<Token> tokens_;
  std::string literal_;  // the whole pattern, or what stands after its only star
  /// Which tokens can come next; kept for their memory.
  mutable std::vector<char> states_;
  mutable std::vector<char> nextStates_;
};

/// What a glob with braces stands for: "*.{txt,md}" for "*.txt" and "*.md". Braces may stand in braces; those
/// without a comma or a counterpart, in a set, or after a backslash are ordinary. Nothing where they stand
/// for more than a thousand.
std::vector<std::string> AlternativesOf(std::string_view glob);

/// Reads the first character of `text`, which is not empty, and takes it away. A byte that is no valid
/// UTF-8 becomes a number that no character has.
char32_t TakeCharacter(std::string_view& text);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_GLOB_H
