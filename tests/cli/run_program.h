// Running the built program as a user would: with arguments, input and an environment, in a folder
// of its own.

#ifndef TROVEX_TESTS_CLI_RUN_PROGRAM_H
#define TROVEX_TESTS_CLI_RUN_PROGRAM_H

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::testing {

/// What a run of the program came to.
struct RunResult {
  int status = -1;  // the exit status, or 128 and the signal that ended it
  std::string out;
  std::string err;
  /// The most memory that it had at once, or that the test had when it began.
  long kilobytes = 0;
};

/// A test with an empty folder, in which the program is started.
class ProgramTest : public ::testing::Test {
 protected:
  ProgramTest();
  ~ProgramTest() override;

  /// The environment's locale for the runs that follow; C.UTF-8 at first.
  void UseLocale(std::string locale) { locale_ = std::move(locale); }

  /// Writes a file, and the folders above it.
  void Write(const std::string& name, std::string_view content) const;
  std::string Path(const std::string& name) const { return folder_ + "/" + name; }

  /// Runs the program to its end.
  RunResult Run(const std::vector<std::string>& arguments, const std::string& input = "") const;
  /// Runs a shell command in which $TROVEX is the program.
  RunResult Shell(const std::string& command) const;
  /// Runs a shell command on a terminal of its own and returns what the terminal gets to see. When that
  /// holds `sign`, `keys` are typed.
  std::string ShellOnTerminal(const std::string& command, const std::string& sign = "",
                              const std::string& keys = "") const;

 private:
  void EnterFolder() const;
  [[noreturn]] void LeadSession(const std::string& command) const;
  RunResult Execute(const std::vector<std::string>& command, const std::string& input) const;

  std::string folder_;
  std::string locale_ = "C.UTF-8";
};

/// Repeats `text`.
std::string Times(int count, std::string_view text);

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_CLI_RUN_PROGRAM_H
