// The program's two outputs, used by one process alone, so that nothing is mixed: a sentence on
// standard error never stands in the middle of a line.

#ifndef TROVEX_HOSTS_CLI_RESULT_STREAM_H
#define TROVEX_HOSTS_CLI_RESULT_STREAM_H

#include <string>
#include <string_view>

namespace trovex::cli {

class Progress;

/// Where the search of one file puts its results and its complaints.
class ResultSink {
 public:
  virtual ~ResultSink() = default;
  /// Takes a piece of the standard output.
  virtual void Output(std::string_view text) = 0;
  /// Takes a sentence for standard error, without the program's name and a line end.
  virtual void Complaint(std::string_view sentence) = 0;
};

/// Nobody reads the standard output any longer (`error` is EPIPE), or it cannot be written.
struct OutputFailure {
  int error;
};

/// Collects the output and writes it in large pieces.
class ResultStream : public ResultSink {
 public:
  /// `separator` is written between the outputs of two files, where both have some. `progress` may
  /// be null.
  ResultStream(std::string_view separator, Progress* progress);

  void Output(std::string_view text) override;
  void Complaint(std::string_view sentence) override;

  /// Writes `lines` to standard error as they are.
  void Note(std::string_view lines);
  /// The output of a further file begins; what the one before left unfinished gets a line end.
  void NextFile();
  /// Writes what is collected. Throws OutputFailure.
  void Flush();

 private:
  void EndUnfinishedLine();

  std::string separator_;
  Progress* progress_;
  std::string pending_;
  bool toTerminal_;
  bool wroteBefore_ = false;    // a file before this one had output
  bool wroteThisFile_ = false;  // this one had
  char lastByte_ = '\n';
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_RESULT_STREAM_H
