// A large file on its way through several threads: pieces that are taken in order, searched at the
// same time, and shown in order.
//
// Piece k has the units (lines, or paragraphs) that begin in the k-th stretch of the file; the last
// one of them is read to its end, wherever that is. So each thread finds its piece alone. Where units are long,
// further stretches are, too, lest most of them hold no unit's begin and are read in vain.

#ifndef TROVEX_HOSTS_CLI_LARGE_FILE_H
#define TROVEX_HOSTS_CLI_LARGE_FILE_H

#include "hosts/cli/files/input.h"
#include "hosts/cli/output/ordered_output.h"
#include "hosts/cli/output/printer.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {

class LargeFile {
 public:
  /// What became of a piece.
  struct Result {
    std::string output;
    std::vector<std::string> complaints;
    FileCounts counts;
  };

  /// The file from `begin` on, where a unit begins, to `end`. `before` is what the output has to know of what
  /// stands before it; with `inOrder`, each piece changes it in its turn.
  LargeFile(std::string_view name, const Input& input, std::uint64_t begin, std::uint64_t end,
            PrintState before, bool inOrder, int threads, OrderedOutput::Channel& channel);

  std::string_view Name() const { return name_; }
  const Input& File() const { return input_; }

  struct Stretch {
    std::uint64_t begin;
    std::uint64_t end;
    bool first;
    bool last;
  };
  /// The stretch of piece `index`, which has been taken.
  Stretch StretchOf(std::size_t index) { return SlotOf(index).stretch; }

  /// The next piece that nobody has taken; waits where too many are on their way. Null when there is
  /// none left.
  std::optional<std::size_t> Take();
  /// Tells that units of `length` bytes have been seen.
  void ExpectUnits(std::size_t length);
  /// Waits until all pieces before `index` are finished and shown.
  void WaitToBeFirst(std::size_t index);
  /// The way to the output.
  OrderedOutput::Channel& Channel() { return channel_; }
  /// Takes the output of piece `index` that there is so far: shows it and leaves `text` empty, if all pieces before
  /// are finished and shown; keeps it there while all pieces have little; else waits until it can be shown.
  void HandOn(std::size_t index, std::string& text);
  /// An empty text for the output of a piece, with the memory of one that has been shown.
  std::string TextToFill();
  /// Tells how many line feeds piece `index` has.
  void TellLines(std::size_t index, std::int64_t lines);
  /// The lines before piece `index`; waits until they are told. Nothing if a piece before it is lost.
  std::optional<std::int64_t> LinesBefore(std::size_t index);
  /// With `inOrder`: waits until all pieces before `index` are finished, and returns what they leave to be
  /// known. It belongs to the caller until it finishes the piece.
  PrintState& WaitForTurn(std::size_t index);
  /// Ends a piece that was taken. All that it shows appears in the order of the pieces.
  void Finish(std::size_t index, Result result);
  /// Gives up piece `index`, and further ones: the lines of those that come after it cannot be told any more.
  /// True for the first that is given up.
  bool Lose(std::size_t index);
  /// Whether a piece before `index` is lost.
  bool IsLostBefore(std::size_t index);
  /// True for whoever is the first to tell that a unit had to be parted.
  bool TellsOfParting() { return !toldOfParting_.exchange(true); }
  /// Further pieces are not wanted.
  void Stop();
  /// Waits until all pieces that were taken are finished, and returns what they have.
  FileCounts Wait();

 private:
  /// A piece on its way.
  struct Slot {
    Stretch stretch{};
    std::int64_t lines = -1;
    std::int64_t linesBefore = 0;
    bool done = false;
    std::size_t held = 0;  // bytes of output that are kept
    Result result;
  };

  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  bool AllTaken() const { return begin_ >= end_; }
  void ShowFinished(std::unique_lock<std::mutex>& lock);
  /// Pieces on their way are fewer than slots, so that what a piece comes to needs no memory of its own.
  Slot& SlotOf(std::size_t index) { return slots_[index % slots_.size()]; }

  std::string_view name_;
  const Input& input_;
  std::uint64_t begin_;  // of the stretch that is taken next
  std::uint64_t end_;
  std::uint64_t stretch_;
  std::uint64_t longestStretch_;
  std::size_t window_;
  bool inOrder_;
  OrderedOutput::Channel& channel_;

  std::atomic<bool> toldOfParting_{false};
  std::mutex mutex_;
  std::condition_variable moved_;
  std::size_t next_ = 0;
  std::size_t shown_ = 0;     // pieces that are finished and shown
  bool showing_ = false;      // a thread shows what is finished
  std::size_t counted_ = 0;   // pieces before which the lines are known
  std::size_t lost_ = kNone;  // the first piece that is lost
  std::size_t turn_ = 0;      // the piece that has, or gets, `state_`
  PrintState state_;
  std::size_t heldBytes_ = 0;  // of all slots
  std::vector<Slot> slots_;
  std::vector<std::string> shownTexts_;
  FileCounts counts_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_LARGE_FILE_H
