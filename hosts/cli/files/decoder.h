// From a file's encoding to UTF-8, block by block, and the way back to the file's bytes.
//
// Most files need no decoder: bytes that are UTF-8 or Windows Latin-1, or a mixture of both, are
// searched as they are.

#ifndef TROVEX_HOSTS_CLI_DECODER_H
#define TROVEX_HOSTS_CLI_DECODER_H

#include "hosts/cli/files/encodings.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace trovex::cli {

/// Counts the bytes of a file that a text was decoded from, piece by piece.
class SourceCount {
 public:
  SourceCount() = default;
  SourceCount(const SourceCount&) = delete;
  SourceCount& operator=(const SourceCount&) = delete;
  virtual ~SourceCount() = default;

  /// How many bytes all pieces so far and this one, which follows them, were made of. They begin and end between
  /// characters.
  virtual std::uint64_t Add(std::string_view decoded) = 0;
};

/// Reads the bytes of one text, one block after the other. What stands for no character becomes
/// U+FFFD.
class Decoder {
 public:
  virtual ~Decoder() = default;

  /// Appends `in` as UTF-8 to `out`. Bytes at the end of the block that are the beginning of a
  /// character are kept until the next block; `last` tells that there is none.
  virtual void Decode(std::string_view in, bool last, std::string& out) = 0;

  /// How many bytes of the file a piece of the output was made of. It begins and ends between
  /// characters. Of encodings with several bytes a character, faulty bytes are counted as one each.
  virtual std::uint64_t SourceLength(std::string_view decoded) const = 0;
  /// Whether the lengths of two pieces are together that of both: not where signs between characters switch
  /// the alphabet.
  virtual bool CountsOn() const { return true; }
  /// A count that begins with the text, or after the end of a line. The decoder outlives it.
  virtual std::unique_ptr<SourceCount> Count() const;

  /// How many bytes at the start of the file became nothing: those of a byte order mark.
  std::size_t MarkLength() const { return markLength_; }

 protected:
  explicit Decoder(std::size_t markLength) : markLength_(markLength) {}
  /// Takes away what is still to come of the byte order mark.
  void SkipMark(std::string_view& in);

 private:
  std::size_t markLength_;
  std::size_t markSeen_ = 0;
};

/// The decoder for a text that begins with these bytes: 64 KB, or the whole text if it is shorter;
/// fewer bytes recognise less. Null when the bytes are to be searched as they are.
std::unique_ptr<Decoder> ChooseDecoder(std::string_view firstBytes, const EncodingChoice& encoding);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_DECODER_H
