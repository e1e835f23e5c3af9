// The text of a file, block by block: whole units of what has been read, decoded where that is needed.

#ifndef TROVEX_HOSTS_CLI_FILE_BLOCKS_H
#define TROVEX_HOSTS_CLI_FILE_BLOCKS_H

#include "hosts/cli/files/decoder.h"
#include "hosts/cli/files/input.h"
#include "hosts/cli/output/ordered_output.h"
#include "hosts/cli/search/units.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace trovex::cli {

/// What is read at once, or twice that: it is searched while it is still in the cache.
inline constexpr std::size_t kBlock = std::size_t{256} * 1024;

class FileBlocks {
 public:
  /// From where `input` stands. Units longer than `longUnit` are read when `channel` is in front.
  FileBlocks(Input& input, Buffer& buffer, std::size_t longUnit, OrderedOutput::Channel& channel)
      : input_(input), buffer_(buffer), longUnit_(longUnit), channel_(channel) {}
  /// From `begin` on, of a regular file.
  FileBlocks(const Input& input, Buffer& buffer, std::size_t longUnit,
             OrderedOutput::Channel& channel, std::uint64_t begin)
      : input_(const_cast<Input&>(input)),
        buffer_(buffer),
        longUnit_(longUnit),
        channel_(channel),
        readAt_(begin),
        offset_(begin) {}

  /// Reads the first block, of a regular file as much as there is, and sees how it is encoded.
  std::optional<SystemError> Begin(const EncodingChoice& encoding);
  /// Reads all that there still is.
  std::optional<SystemError> ReadAll();

  /// What has been read and not been taken, and where it begins in the file.
  std::string_view Text() const { return buffer_.View(begin_, end_); }
  std::uint64_t Offset() const { return offset_; }
  bool AtEnd() const { return atEnd_; }
  /// Null where texts are bytes of the file as they are.
  const Decoder* Decoding() const { return decoder_.get(); }

  /// The first `size` bytes of the text; valid until more is read.
  std::string_view Take(std::size_t size);

  /// Writes how many bytes of the text are whole units, and at least one where there is any; reads on
  /// where there is none. `parted` tells whether a unit was too long and has to be parted.
  std::optional<SystemError> FindUnits(Scope scope, std::size_t& size, bool& parted);

 private:
  bool MayBeMark() const;
  void MoveToFront();
  void MakeRoom(std::size_t room);
  void Append(std::string_view bytes);
  std::optional<SystemError> ReadMore();

  Input& input_;
  Buffer& buffer_;
  std::size_t longUnit_;
  OrderedOutput::Channel& channel_;
  std::optional<std::uint64_t> readAt_;
  std::unique_ptr<Decoder> decoder_;
  std::uint64_t offset_ = 0;  // of the text that was not taken, in the file
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool atEnd_ = false;
  std::string decoded_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_FILE_BLOCKS_H
