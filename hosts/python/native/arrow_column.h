// A column of texts that somebody else made: read where it lies, through Arrow's C interfaces.
//
// Taken are strings and binaries with offsets of 32 or 64 bits, string views and binary views, dictionaries
// of these, and columns of nulls; in one array or in a stream of chunks, also as the only column of a
// table.

#ifndef TROVEX_HOSTS_PYTHON_ARROW_COLUMN_H
#define TROVEX_HOSTS_PYTHON_ARROW_COLUMN_H

#include "native/arrow_abi.h"

#include <nanobind/nanobind.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace trovex::python {

namespace nb = nanobind;

/// A bitmap of which rows are there; no bitmap means all.
class Validity {
 public:
  Validity() noexcept = default;
  explicit Validity(const ArrowArray& array) noexcept
      : bits_(array.n_buffers > 0 && array.null_count != 0
                  ? static_cast<const std::uint8_t*>(array.buffers[0])
                  : nullptr),
        offset_(array.offset) {}

  bool IsNull(std::int64_t row) const noexcept {
    if (bits_ == nullptr) return false;
    const std::int64_t bit = row + offset_;
    return (bits_[bit / 8] >> (bit % 8) & 1) == 0;
  }

 private:
  const std::uint8_t* bits_ = nullptr;
  std::int64_t offset_ = 0;
};

/// Texts of an array, by row from 0.
class TextArray {
 public:
  enum class Layout : unsigned char { kOffsets32, kOffsets64, kViews, kNulls };

  TextArray() noexcept = default;
  TextArray(const ArrowArray& array, Layout layout) noexcept;

  std::int64_t Length() const noexcept { return length_; }
  bool IsNull(std::int64_t row) const noexcept {
    return layout_ == Layout::kNulls || validity_.IsNull(row);
  }
  /// The text of a row that is not null.
  std::string_view At(std::int64_t row) const noexcept;
  /// Whether the texts stand one after the other, so that those of rows [from, to) can be read as one.
  bool IsOneBlock() const noexcept {
    return layout_ == Layout::kOffsets32 || layout_ == Layout::kOffsets64;
  }
  /// Only where IsOneBlock(): where the text of `row` begins, or that of the row before ends.
  std::size_t Offset(std::int64_t row) const noexcept {
    if (layout_ == Layout::kOffsets32)
      return static_cast<std::size_t>(static_cast<const std::int32_t*>(places_)[row]);
    return static_cast<std::size_t>(static_cast<const std::int64_t*>(places_)[row]);
  }
  const char* Data() const noexcept { return data_; }

 private:
  std::string_view ViewAt(std::int64_t row) const noexcept;

  Layout layout_ = Layout::kNulls;
  Validity validity_;
  std::int64_t length_ = 0;
  const void* places_ = nullptr;  // offsets or views, from row 0
  const char* data_ = nullptr;
  const void* const* buffers_ = nullptr;  // those that views lead to
};

/// One chunk of a column.
class TextChunk {
 public:
  /// Takes over `array`, whose type is `schema`.
  TextChunk(ArrowOwner<ArrowArray> array, const ArrowSchema& schema);

  std::int64_t Length() const noexcept { return length_; }
  bool IsNull(std::int64_t row) const noexcept {
    if (outer_.IsNull(row)) return true;
    if (!HasDictionary()) return texts_.IsNull(row);
    return indices_.IsNull(row) || texts_.IsNull(Index(row));
  }
  /// The text of a row that is not null.
  std::string_view At(std::int64_t row) const noexcept {
    return texts_.At(HasDictionary() ? Index(row) : row);
  }

  bool HasDictionary() const noexcept { return indexSize_ != 0; }
  /// The row of Texts() that a row that is not null has.
  std::int64_t Index(std::int64_t row) const noexcept;
  /// The texts, or the dictionary.
  const TextArray& Texts() const noexcept { return texts_; }

 private:
  ArrowOwner<ArrowArray> array_;
  std::int64_t length_ = 0;
  Validity outer_;  // of the table that it is a column of
  Validity indices_;
  TextArray texts_;
  const void* index_ = nullptr;  // from row 0
  int indexSize_ = 0;
};

struct TextColumn {
  std::vector<TextChunk> chunks;
  std::size_t rows = 0;
  /// Strings are UTF-8, and their positions are counted in characters.
  bool isString = true;
};

/// Reads the column that `object` offers; all of its chunks are fetched. Raises TypeError where it offers
/// none, or one of another type, and what its producer raised.
TextColumn ReadColumn(nb::handle object);

}  // namespace trovex::python

#endif  // TROVEX_HOSTS_PYTHON_ARROW_COLUMN_H
