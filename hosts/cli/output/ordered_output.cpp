// Channels and their turns.

#include "hosts/cli/output/ordered_output.h"

#include "hosts/cli/output/result_stream.h"

namespace trovex::cli {

namespace {

constexpr std::size_t kMostHeldBytes = std::size_t{8} * 1024 * 1024;
/// Longer texts stay as they are, lest memory be kept for what never comes.
constexpr std::size_t kMostJoined = std::size_t{64} * 1024;

}  // namespace

OrderedOutput::Channel& OrderedOutput::Open() {
  const std::lock_guard lock(mutex_);
  return channels_.emplace_back(*this);
}

void OrderedOutput::Put(Channel& channel, Channel::Kind kind, std::string_view text) {
  std::unique_lock lock(mutex_);
  moved_.wait(lock, [&] { return &channel == &channels_.front() || heldBytes_ < kMostHeldBytes; });
  if (&channel == &channels_.front()) return Show(kind, text);
  heldBytes_ += text.size();
  const bool joins = kind == Channel::Kind::kOutput && !channel.held_.empty() &&
                     channel.held_.back().kind == kind &&
                     channel.held_.back().text.size() + text.size() <= kMostJoined;
  if (joins) {
    channel.held_.back().text += text;
  } else {
    channel.held_.push_back({kind, std::string(text)});
  }
}

void OrderedOutput::WaitToBeInFront(const Channel& channel) {
  std::unique_lock lock(mutex_);
  moved_.wait(lock, [&] { return &channel == &channels_.front(); });
}

void OrderedOutput::Close(Channel& channel) {
  const std::lock_guard lock(mutex_);
  channel.closed_ = true;
  if (&channel != &channels_.front()) return;
  while (!channels_.empty() && channels_.front().closed_) {
    channels_.pop_front();
    if (!channels_.empty()) ShowHeld(channels_.front());
  }
  stream_.Breathe();
  moved_.notify_all();
}

void OrderedOutput::ShowHeld(Channel& channel) {
  for (const Channel::Piece& piece : channel.held_) {
    heldBytes_ -= piece.text.size();
    Show(piece.kind, piece.text);
  }
  channel.held_.clear();
}

void OrderedOutput::Show(Channel::Kind kind, std::string_view text) {
  switch (kind) {
    case Channel::Kind::kNextFile:
      return stream_.NextFile(text);
    case Channel::Kind::kOutput:
      return stream_.Output(text);
    case Channel::Kind::kComplaint:
      return stream_.Complaint(text);
    case Channel::Kind::kFlush:
      return stream_.Flush();
  }
}

}  // namespace trovex::cli
