// Reading on to the end of a unit.

#include "hosts/cli/search/file_blocks.h"

#include <algorithm>
#include <cstring>

namespace trovex::cli {

namespace {

/// A line or paragraph that is longer is searched in parts, so that memory is bounded.
constexpr std::size_t kLongestUnit = std::size_t{20} * 1024 * 1024;
/// How fast the memory for a long unit grows.
constexpr std::size_t kLargestStep = std::size_t{2} * 1024 * 1024;
constexpr std::size_t kEncodingLookAhead = std::size_t{64} * 1024;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
/// The first bytes of the byte order marks.
constexpr std::string_view kMarkBegins("\xEF\xFE\xFF\0", 4);

/// Where a unit is parted that is too long: after a blank, if there is one near.
std::size_t ForcedCut(std::string_view text) {
  const std::size_t blank = text.rfind(' ');
  return blank != text.npos && blank + 1024 > text.size() ? blank + 1 : text.size();
}

}  // namespace

std::optional<SystemError> FileBlocks::Begin(const EncodingChoice& encoding) {
  do {
    if (const auto error = ReadMore()) return error;
  } while (!atEnd_ && (input_.IsRegular() ? end_ < kBlock : MayBeMark()));
  decoder_ = ChooseDecoder(Text().substr(0, kEncodingLookAhead), encoding);
  if (decoder_ != nullptr) {
    const std::string bytes(Text());
    end_ = 0;
    offset_ = decoder_->MarkLength();
    Append(bytes);
  } else if (Text().starts_with(kByteOrderMark)) {
    Take(kByteOrderMark.size());
  }
  return std::nullopt;
}

std::optional<SystemError> FileBlocks::ReadAll() {
  while (!atEnd_) {
    if (const auto error = ReadMore()) return error;
  }
  return std::nullopt;
}

std::string_view FileBlocks::Take(std::size_t size) {
  const std::string_view piece = Text().substr(0, size);
  begin_ += size;
  offset_ += decoder_ != nullptr ? decoder_->SourceLength(piece) : size;
  return piece;
}

std::optional<SystemError> FileBlocks::FindUnits(Scope scope, std::size_t& size, bool& parted) {
  parted = false;
  std::size_t known = 0;
  for (;;) {
    const std::string_view text = Text();
    size = text.size();
    if (atEnd_) return std::nullopt;
    // An empty line shows in the three bytes around it.
    const std::size_t from = known < 3 ? 0 : known - 3;
    if (const std::size_t cut = LastCut(text.substr(from), scope); cut > 0) {
      size = from + cut;
      return std::nullopt;
    }
    known = text.size();
    if (text.size() >= kLongestUnit) {
      parted = true;
      size = ForcedCut(text.substr(0, kLongestUnit));
      return std::nullopt;
    }
    if (text.size() >= longUnit_) channel_.WaitToBeInFront();
    MoveToFront();
    if (const auto error = ReadMore()) return error;
  }
}

/// Whether the bytes of a pipe could be the beginning of a byte order mark.
bool FileBlocks::MayBeMark() const {
  const std::string_view text = Text();
  return text.size() < 4 && kMarkBegins.find(text.front()) != kMarkBegins.npos;
}

void FileBlocks::MoveToFront() {
  if (begin_ == 0) return;
  std::memmove(buffer_.Data(), buffer_.Data() + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
}

void FileBlocks::MakeRoom(std::size_t room) {
  if (buffer_.Capacity() - end_ >= room) return;
  buffer_.Reserve(std::max(end_ + 2 * room, end_ + std::min(end_ / 2, kLargestStep)));
}

void FileBlocks::Append(std::string_view bytes) {
  decoded_.clear();
  decoder_->Decode(bytes, atEnd_, decoded_);
  MakeRoom(decoded_.size() + 1);
  std::memcpy(buffer_.Data() + end_, decoded_.data(), decoded_.size());
  end_ += decoded_.size();
}

std::optional<SystemError> FileBlocks::ReadMore() {
  std::string bytes;
  char* place = nullptr;
  std::size_t room = kBlock / 2;
  if (decoder_ != nullptr) {
    bytes.resize(room);
    place = bytes.data();
  } else {
    MakeRoom(room);
    place = buffer_.Data() + end_;
    room = buffer_.Capacity() - end_;
  }
  const auto count =
      readAt_.has_value() ? input_.ReadAt(place, room, *readAt_) : input_.Read(place, room);
  if (const auto* error = std::get_if<SystemError>(&count)) return *error;
  const std::size_t size = std::get<std::size_t>(count);
  if (readAt_.has_value()) *readAt_ += size;
  atEnd_ = size == 0 || (input_.ReadsWhole() && size < room);
  if (decoder_ != nullptr) {
    Append(std::string_view(bytes).substr(0, size));
  } else {
    end_ += size;
  }
  return std::nullopt;
}

}  // namespace trovex::cli
