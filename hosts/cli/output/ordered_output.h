// Putting what several threads have to show into the order of the files.
//
// Each thread opens a channel before it searches, while the files are handed out, so that the order
// of the channels is that of the files. What goes into the channel in front is shown at once; what
// goes into a later one is held back until those before it are closed. Where too much is held back,
// a thread waits. The thread in front never does, so the work goes on.

#ifndef TROVEX_HOSTS_CLI_ORDERED_OUTPUT_H
#define TROVEX_HOSTS_CLI_ORDERED_OUTPUT_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {

class ResultStream;

class OrderedOutput {
 public:
  /// A thread's way to the stream. Only the thread that has it uses it, or one after the other.
  class Channel {
   public:
    void NextFile(std::string_view heading) { owner_.Put(*this, Kind::kNextFile, heading); }
    void Output(std::string_view text) {
      if (!text.empty()) owner_.Put(*this, Kind::kOutput, text);
    }
    void Complaint(std::string_view sentence) { owner_.Put(*this, Kind::kComplaint, sentence); }
    /// Has what was put shown as soon as it may be.
    void Flush() { owner_.Put(*this, Kind::kFlush, {}); }
    /// Waits until this is the channel in front: everything before it is done.
    void WaitToBeInFront() { owner_.WaitToBeInFront(*this); }
    /// Ends the channel, which must not be used any more.
    void Close() { owner_.Close(*this); }

    explicit Channel(OrderedOutput& owner) : owner_(owner) {}

   private:
    friend class OrderedOutput;
    enum class Kind { kNextFile, kOutput, kComplaint, kFlush };
    struct Piece {
      Kind kind;
      std::string text;
    };

    OrderedOutput& owner_;
    std::vector<Piece> held_;
    bool closed_ = false;
  };

  explicit OrderedOutput(ResultStream& stream) : stream_(stream) {}

  /// Opens a channel after all others. It is valid until it is closed.
  Channel& Open();

 private:
  void Put(Channel& channel, Channel::Kind kind, std::string_view text);
  void Close(Channel& channel);
  void WaitToBeInFront(const Channel& channel);
  void Show(Channel::Kind kind, std::string_view text);
  void ShowHeld(Channel& channel);

  ResultStream& stream_;
  std::mutex mutex_;
  std::condition_variable moved_;
  std::deque<Channel> channels_;
  std::size_t heldBytes_ = 0;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_ORDERED_OUTPUT_H
