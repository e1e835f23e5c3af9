// A text in blocks of whole lines, as the patterns of a query read it.
//
// No match crosses a line end, so each block can be searched for itself, and the matches of the text
// are those of its blocks, one after the other. That keeps what a search needs in the caches and its
// memory small, lets it be interrupted, and lets patterns that have come to different places go on
// independently. A block that nobody opens costs a look for its last line feed.
//
// Opening a block makes code page bytes of it: for Windows Latin-1 and for plain ASCII these are the
// bytes of the text itself, everything else is decoded. A block stays as it was opened while anybody
// has it, and a few blocks that nobody has are kept for the next one who comes by. Who knows that few
// lines matter opens these alone.

#ifndef TROVEX_QUERY_SEARCH_TEXT_BLOCKS_H
#define TROVEX_QUERY_SEARCH_TEXT_BLOCKS_H

#include "query/tuning.h"
#include "text/byte_range.h"
#include "text/utf8_text.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace trovex {

/// A block that was opened.
class OpenBlock {
 public:
  std::size_t Number() const { return number_; }

  /// The block in the code page, a byte a character.
  TextView Text() const { return text_; }

  /// Whether the bytes are those of the text itself.
  bool IsPlain() const { return isPlain_; }

  /// The byte of the whole text where character `index` of the block begins, and the one before it
  /// ends; `index` may be the number of characters.
  std::size_t ByteOf(std::size_t index) {
    return begin_ + (isPlain_ ? index : decoded_.SourceOffset(index));
  }

 private:
  friend class TextBlocks;

  std::size_t number_ = kNowhere;
  std::size_t begin_ = 0;
  int holders_ = 0;
  bool isPlain_ = true;
  TextView text_;
  Utf8Text decoded_;
};

class TextBlocks {
 public:
  /// How a text is read.
  enum class Reading { kPlain, kUtf8 };

  explicit TextBlocks(std::size_t blockSize = kBlockSize) : blockSize_(blockSize) {}

  /// Begins with another text. The blocks of the text before are nobody's any longer. `substitute`
  /// stands for every character that the code page lacks.
  void Begin(TextView text, Reading reading, unsigned char substitute);

  TextView Whole() const { return text_; }

  /// Whether the text has a block `number`. A text of no bytes has one, which is empty.
  bool Has(std::size_t number);
  /// The range of block `number`, which exists.
  ByteRange RangeOf(std::size_t number);
  /// The number of the block that holds `byte`, which is less than the size of the text.
  std::size_t Holding(std::size_t byte);

  /// Whether characters may be more than a byte.
  bool IsUtf8() const { return reading_ == Reading::kUtf8; }
  /// Opens whole lines that are no block, `range` of the text, as `lines`, which are the caller's.
  void OpenLines(OpenBlock& lines, const ByteRange& range) const;

  /// Opens block `number`, which exists, or takes part in it when it is open already.
  OpenBlock& Open(std::size_t number);
  /// Gives back what Open returned.
  void Close(OpenBlock& block);

  /// How many characters stand in `range`, which begins and ends with characters. Reads all of it.
  std::size_t CharactersIn(const ByteRange& range) const;
  /// How many characters, and how many words, the text has before block `number`.
  std::size_t CharactersBefore(std::size_t number);
  std::size_t WordsBefore(std::size_t number);

 private:
  OpenBlock& UnusedBlock();
  /// Fills `counts` up to block `number`, asking `count` for the blocks that are new.
  template <typename Count>
  std::size_t SumBefore(std::vector<std::size_t>& counts, std::size_t number, Count count);

  std::size_t blockSize_;
  TextView text_;
  Reading reading_ = Reading::kPlain;
  unsigned char substitute_ = 0;
  /// Where the blocks that are known begin, and where the last of them ends.
  std::vector<std::size_t> begins_;
  /// For each of these blocks the place in `open_` where it was last, or kNowhere.
  std::vector<std::size_t> places_;
  std::vector<std::unique_ptr<OpenBlock>> open_;
  std::size_t nextUnused_ = 0;
  std::vector<std::size_t> characters_;
  std::vector<std::size_t> words_;
};

/// The most bytes of a text that one character takes: a sequence of UTF-8, or a letter and a combining
/// accent.
inline constexpr std::size_t kMostBytesOfCharacter = 4;

/// How many characters of `text`, which is UTF-8, stand in `range`, which begins and ends with characters.
std::size_t CharactersOf(TextView text, const ByteRange& range);

/// Where the line of `text` begins that holds `byte`, which may be its end.
std::size_t LineStart(TextView text, std::size_t byte);

/// Where the line of `text` ends that holds `byte`, after its line feed.
std::size_t AfterLineOf(TextView text, std::size_t byte);

/// How many words of `text` begin in [begin, end) of it.
std::size_t WordsBegunIn(TextView text, std::size_t begin, std::size_t end);

/// The same in UTF-8, where characters begin at both; it counts no further than one beyond `most`.
std::size_t WordsBegunInUtf8(TextView text, std::size_t begin, std::size_t end, std::size_t most);

/// Whether a word goes on over the place between the bytes `index` - 1 and `index` of `text`.
bool IsInsideWord(TextView text, std::size_t index);
bool IsInsideWordOfUtf8(TextView text, std::size_t index);

}  // namespace trovex

#endif  // TROVEX_QUERY_SEARCH_TEXT_BLOCKS_H
