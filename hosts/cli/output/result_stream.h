// The program's two outputs, used by one thread at a time, so that nothing is mixed: a sentence on
// standard error never stands in the middle of a line.

#ifndef TROVEX_HOSTS_CLI_RESULT_STREAM_H
#define TROVEX_HOSTS_CLI_RESULT_STREAM_H

#include <chrono>
#include <string>
#include <string_view>

namespace trovex::cli {

class Progress;

/// Collects the output and writes it in large pieces, or as soon as it is there: on a terminal, when
/// a while has passed, and when somebody asks for it.
class ResultStream {
 public:
  /// Called when the standard output cannot be written, with the number of the error: EPIPE when
  /// nobody reads any longer. Does not return.
  using FailureHandler = void (*)(int error);

  /// `separator` is written between the outputs of two files, where both have some.
  ResultStream(std::string_view separator, Progress* progress, FailureHandler onFailure);

  /// Takes a piece of the standard output. Between the pieces of a line comes nothing else.
  void Output(std::string_view text);
  /// Writes a sentence to standard error, with the program's name and a line end. What a terminal
  /// might obey is made visible.
  void Complaint(std::string_view sentence);
  /// Writes `lines` to standard error as they are.
  void Note(std::string_view lines);
  /// The output of a further file begins; `heading` is written before it, if there is any.
  void NextFile(std::string_view heading);
  /// A good moment to write, if a while has passed since the last time.
  void Breathe();
  /// Writes what is collected.
  void Flush();

 private:
  using Clock = std::chrono::steady_clock;

  void Write(std::string_view text);

  std::string separator_;
  Progress* progress_;
  FailureHandler onFailure_;
  std::string pending_;
  std::string heading_;
  bool toTerminal_;
  bool wroteBefore_ = false;    // a file before this one had output
  bool wroteThisFile_ = false;  // this one had
  Clock::time_point lastWrite_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_RESULT_STREAM_H
