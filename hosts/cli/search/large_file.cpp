// Pieces and their order.

#include "hosts/cli/search/large_file.h"

#include <algorithm>
#include <utility>

namespace trovex::cli {

namespace {

/// What is searched while it is still in the cache of a core.
constexpr std::uint64_t kStretch = std::uint64_t{256} * 1024;
constexpr std::size_t kPiecesAThread = 8;
/// With more of them, a stretch of long ones would be searched after it has left the cache.
constexpr std::uint64_t kUnitsAStretch = 2;
/// What the stretches of all threads have together, where units are long.
constexpr std::uint64_t kLongStretches = std::uint64_t{8} * 1024 * 1024;
/// How much output pieces that cannot be shown yet may have together.
constexpr std::size_t kMostHeldBytes = std::size_t{4} * 1024 * 1024;

}  // namespace

LargeFile::LargeFile(std::string_view name, const Input& input, std::uint64_t begin,
                     std::uint64_t end, PrintState before, bool inOrder, int threads,
                     OrderedOutput::Channel& channel)
    : name_(name),
      input_(input),
      begin_(begin),
      end_(end),
      stretch_(kStretch),
      longestStretch_(
          std::max(kStretch, kLongStretches / static_cast<std::uint64_t>(std::max(1, threads)))),
      window_(static_cast<std::size_t>(threads) * kPiecesAThread),
      inOrder_(inOrder),
      channel_(channel),
      state_(std::move(before)),
      slots_(window_ + 1) {
  slots_[0].linesBefore = state_.linesBefore;
  shownTexts_.reserve(slots_.size());
}

std::optional<std::size_t> LargeFile::Take() {
  std::unique_lock lock(mutex_);
  moved_.wait(lock, [this] { return AllTaken() || next_ < shown_ + window_; });
  if (AllTaken()) return std::nullopt;
  const std::uint64_t end = std::min(end_, begin_ + stretch_);
  SlotOf(next_).stretch = {begin_, end, next_ == 0, end == end_};
  begin_ = end;
  return next_++;
}

void LargeFile::ExpectUnits(std::size_t length) {
  const std::lock_guard lock(mutex_);
  stretch_ = std::max(stretch_, std::min(longestStretch_, kUnitsAStretch * length));
}

void LargeFile::WaitToBeFirst(std::size_t index) {
  std::unique_lock lock(mutex_);
  moved_.wait(lock, [&] { return shown_ == index; });
}

void LargeFile::HandOn(std::size_t index, std::string& text) {
  std::unique_lock lock(mutex_);
  Slot& slot = SlotOf(index);
  const std::size_t others = heldBytes_ - slot.held;
  if (shown_ != index && others + text.size() <= kMostHeldBytes) {
    heldBytes_ = others + text.size();
    slot.held = text.size();
    return;
  }
  moved_.wait(lock, [&] { return shown_ == index; });
  heldBytes_ -= std::exchange(slot.held, 0);
  lock.unlock();
  channel_.Output(text);
  text.clear();
}

std::string LargeFile::TextToFill() {
  const std::lock_guard lock(mutex_);
  if (shownTexts_.empty()) return {};
  std::string text = std::move(shownTexts_.back());
  shownTexts_.pop_back();
  text.clear();
  return text;
}

PrintState& LargeFile::WaitForTurn(std::size_t index) {
  std::unique_lock lock(mutex_);
  moved_.wait(lock, [&] { return turn_ == index; });
  return state_;
}

void LargeFile::TellLines(std::size_t index, std::int64_t lines) {
  const std::lock_guard lock(mutex_);
  SlotOf(index).lines = lines;
  for (; counted_ < next_ && SlotOf(counted_).lines >= 0; ++counted_) {
    const Slot& counted = SlotOf(counted_);
    SlotOf(counted_ + 1).linesBefore = counted.linesBefore + counted.lines;
  }
  moved_.notify_all();
}

std::optional<std::int64_t> LargeFile::LinesBefore(std::size_t index) {
  std::unique_lock lock(mutex_);
  moved_.wait(lock, [&] { return counted_ >= index || lost_ < index; });
  if (counted_ < index) return std::nullopt;
  return SlotOf(index).linesBefore;
}

bool LargeFile::Lose(std::size_t index) {
  const std::lock_guard lock(mutex_);
  const bool first = lost_ == kNone;
  lost_ = std::min(lost_, index);
  begin_ = end_;
  moved_.notify_all();
  return first;
}

bool LargeFile::IsLostBefore(std::size_t index) {
  const std::lock_guard lock(mutex_);
  return lost_ < index;
}

void LargeFile::Finish(std::size_t index, Result result) {
  std::unique_lock lock(mutex_);
  if (inOrder_) {
    moved_.wait(lock, [&] { return turn_ == index; });
    ++turn_;
    moved_.notify_all();
  }
  Slot& finished = SlotOf(index);
  finished.result = std::move(result);
  finished.done = true;
  // Whoever is showing goes on with it.
  if (showing_) return;
  showing_ = true;
  ShowFinished(lock);
  showing_ = false;
}

/// Shows what is finished and has nothing unfinished before it. Writing takes its time, and the others need
/// not wait for it.
void LargeFile::ShowFinished(std::unique_lock<std::mutex>& lock) {
  while (shown_ < next_ && SlotOf(shown_).done) {
    Slot& slot = SlotOf(shown_);
    Result ready = std::move(slot.result);
    slot.lines = -1;
    slot.done = false;
    counts_ += ready.counts;
    lock.unlock();
    channel_.Output(ready.output);
    for (const std::string& sentence : ready.complaints)
      channel_.Complaint(sentence);
    lock.lock();
    heldBytes_ -= std::exchange(slot.held, 0);
    const std::size_t capacity = ready.output.capacity();
    const bool worthKeeping = capacity >= kStretch / 8 && capacity <= 4 * kStretch;
    if (worthKeeping && shownTexts_.size() < slots_.size() / 2)
      shownTexts_.push_back(std::move(ready.output));
    ++shown_;
    moved_.notify_all();
  }
}

void LargeFile::Stop() {
  const std::lock_guard lock(mutex_);
  begin_ = end_;
  moved_.notify_all();
}

FileCounts LargeFile::Wait() {
  std::unique_lock lock(mutex_);
  moved_.wait(lock, [this] { return shown_ >= next_ && AllTaken(); });
  return counts_;
}

}  // namespace trovex::cli
