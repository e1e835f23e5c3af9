// What stands before a line that is shown: the file's name and the line's number. One line after the
// other has nearly the same, so it is kept and changed where it differs.

#ifndef TROVEX_HOSTS_CLI_LINE_PREFIX_H
#define TROVEX_HOSTS_CLI_LINE_PREFIX_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace trovex::cli {

class LinePrefix {
 public:
  /// `name` is written as it is; none where it is empty. With `nullAfterName` a zero byte stands
  /// between it and what follows.
  LinePrefix(std::string_view name, bool nullAfterName, bool numbers);

  /// The prefix of line `number`, from 1 on, with `separator` after each part: ':' or '-'. Valid until
  /// the next call.
  std::string_view Of(std::int64_t number, char separator);

 private:
  void Separate(char separator);
  void Write(std::int64_t number);
  bool Raise(std::int64_t difference);

  std::string text_;
  /// Where the separator after the name stands, if it has one that changes, and where the number does.
  std::size_t afterName_ = 0;
  bool separatesName_;
  bool numbers_;
  std::size_t digits_ = 0;
  std::int64_t number_ = 0;
  char separator_ = ':';
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_LINE_PREFIX_H
