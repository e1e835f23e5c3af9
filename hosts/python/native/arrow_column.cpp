#include "native/arrow_column.h"

#include <cstring>
#include <optional>
#include <string>
#include <utility>

namespace trovex::python {

namespace {

/// A view: the length, and the text itself where it has at most 12 bytes, else where it stands.
struct View {
  std::int32_t length;
  union {
    char inside[12];
    struct {
      char prefix[4];
      std::int32_t buffer;
      std::int32_t offset;
    } outside;
  };
};
static_assert(sizeof(View) == 16);

[[noreturn]] void RaiseType(const std::string& sentence) {
  PyErr_SetString(PyExc_TypeError, sentence.c_str());
  throw nb::python_error();
}

struct TextType {
  TextArray::Layout layout;
  bool isString;
};

std::optional<TextType> TextTypeOf(const ArrowSchema& schema) {
  using Layout = TextArray::Layout;
  const std::string_view format = schema.format;
  if (format == "u") return TextType{Layout::kOffsets32, true};
  if (format == "U") return TextType{Layout::kOffsets64, true};
  if (format == "vu") return TextType{Layout::kViews, true};
  if (format == "z") return TextType{Layout::kOffsets32, false};
  if (format == "Z") return TextType{Layout::kOffsets64, false};
  if (format == "vz") return TextType{Layout::kViews, false};
  if (format == "n") return TextType{Layout::kNulls, true};
  return std::nullopt;
}

/// The bytes of an index into a dictionary; 0 where the type is no integer.
int IndexSize(std::string_view format) {
  if (format == "c" || format == "C") return 1;
  if (format == "s" || format == "S") return 2;
  if (format == "i" || format == "I") return 4;
  if (format == "l" || format == "L") return 8;
  return 0;
}

bool IsTable(const ArrowSchema& schema) {
  return std::string_view(schema.format) == "+s";
}

/// The type of the column itself: of a table with one column, that column's.
const ArrowSchema& ColumnSchema(const ArrowSchema& schema) {
  if (!IsTable(schema)) return schema;
  if (schema.n_children == 1) return *schema.children[0];
  RaiseType("a table of " + std::to_string(schema.n_children) +
            " columns was given: choose one of them");
}

/// Raises TypeError for what is no column of texts. Whether it is one of strings.
bool CheckType(const ArrowSchema& whole) {
  const ArrowSchema& schema = ColumnSchema(whole);
  const ArrowSchema& texts = schema.dictionary != nullptr ? *schema.dictionary : schema;
  const std::optional<TextType> type = TextTypeOf(texts);
  const bool isIndexed = schema.dictionary == nullptr || IndexSize(schema.format) != 0;
  if (!type || !isIndexed) {
    RaiseType("a column of strings or binaries is searched, not one of the Arrow type \"" +
              std::string(texts.format) + "\"");
  }
  return type->isString;
}

template <typename Structure>
ArrowOwner<Structure> Unpack(nb::handle capsule, const char* name) {
  auto* const structure = static_cast<Structure*>(PyCapsule_GetPointer(capsule.ptr(), name));
  if (structure == nullptr) throw nb::python_error();
  return ArrowOwner<Structure>(structure);
}

void CheckStream(ArrowArrayStream* stream, int code) {
  if (code == 0) return;
  const char* const sentence = stream->get_last_error(stream);
  // A producer in Python may have left the exception itself.
  if (PyErr_Occurred() == nullptr) {
    PyErr_SetString(PyExc_RuntimeError,
                    sentence != nullptr ? sentence : "the column cannot be read");
  }
  throw nb::python_error();
}

void AddChunk(TextColumn& column, ArrowOwner<ArrowArray> array, const ArrowSchema& schema) {
  if (array->length == 0) return;
  column.rows += static_cast<std::size_t>(array->length);
  column.chunks.emplace_back(std::move(array), schema);
}

TextColumn ReadStream(nb::handle object) {
  const nb::object capsule = object.attr("__arrow_c_stream__")();
  ArrowOwner<ArrowArrayStream> stream = Unpack<ArrowArrayStream>(capsule, "arrow_array_stream");
  ArrowOwner<ArrowSchema> schema;
  // The producer may have threads of its own that wait for the interpreter.
  const auto call = [&](auto function, auto& out) {
    int code = 0;
    {
      const nb::gil_scoped_release released;
      code = function(stream.Get(), out.Get());
    }
    CheckStream(stream.Get(), code);
  };
  call(stream->get_schema, schema);
  TextColumn column;
  column.isString = CheckType(*schema.Get());
  for (;;) {
    ArrowOwner<ArrowArray> array;
    call(stream->get_next, array);
    if (!array) return column;
    AddChunk(column, std::move(array), *schema.Get());
  }
}

TextColumn ReadArray(nb::handle object) {
  const nb::object pair = object.attr("__arrow_c_array__")();
  if (!nb::isinstance<nb::tuple>(pair) || nb::len(pair) != 2)
    RaiseType("__arrow_c_array__ did not return two capsules");
  ArrowOwner<ArrowSchema> schema = Unpack<ArrowSchema>(nb::object(pair[0]), "arrow_schema");
  ArrowOwner<ArrowArray> array = Unpack<ArrowArray>(nb::object(pair[1]), "arrow_array");
  TextColumn column;
  column.isString = CheckType(*schema.Get());
  AddChunk(column, std::move(array), *schema.Get());
  return column;
}

}  // namespace

TextArray::TextArray(const ArrowArray& array, Layout layout) noexcept
    : layout_(layout), length_(array.length) {
  if (layout == Layout::kNulls) return;
  validity_ = Validity(array);
  const auto* const places = static_cast<const char*>(array.buffers[1]);
  const auto offset = static_cast<std::size_t>(array.offset);
  const std::size_t size = layout == Layout::kOffsets32   ? sizeof(std::int32_t)
                           : layout == Layout::kOffsets64 ? sizeof(std::int64_t)
                                                          : sizeof(View);
  places_ = places + offset * size;
  if (layout == Layout::kViews) {
    buffers_ = array.buffers + 2;
  } else {
    data_ = static_cast<const char*>(array.buffers[2]);
  }
}

std::string_view TextArray::At(std::int64_t row) const noexcept {
  if (layout_ == Layout::kViews) return ViewAt(row);
  const std::size_t begin = Offset(row);
  return {data_ + begin, Offset(row + 1) - begin};
}

std::string_view TextArray::ViewAt(std::int64_t row) const noexcept {
  const View& view = static_cast<const View*>(places_)[row];
  const auto length = static_cast<std::size_t>(view.length);
  if (length <= sizeof(view.inside)) return {view.inside, length};
  const auto* const buffer = static_cast<const char*>(buffers_[view.outside.buffer]);
  return {buffer + view.outside.offset, length};
}

TextChunk::TextChunk(ArrowOwner<ArrowArray> array, const ArrowSchema& schema)
    : array_(std::move(array)), length_(array_->length) {
  const ArrowArray* rows = array_.Get();
  const ArrowSchema& column = ColumnSchema(schema);
  ArrowArray inner;
  if (IsTable(schema)) {
    // The rows of a table begin at its own offset, which its columns do not know of.
    outer_ = Validity(*rows);
    inner = *rows->children[0];
    inner.offset += rows->offset;
    inner.length = rows->length;
    rows = &inner;
  }
  if (column.dictionary == nullptr) {
    texts_ = TextArray(*rows, TextTypeOf(column)->layout);
    return;
  }
  indexSize_ = IndexSize(column.format);
  indices_ = Validity(*rows);
  index_ = static_cast<const char*>(rows->buffers[1]) + rows->offset * indexSize_;
  texts_ = TextArray(*rows->dictionary, TextTypeOf(*column.dictionary)->layout);
}

std::int64_t TextChunk::Index(std::int64_t row) const noexcept {
  switch (indexSize_) {
    case 1:
      return static_cast<const std::uint8_t*>(index_)[row];
    case 2:
      return static_cast<const std::uint16_t*>(index_)[row];
    case 4:
      return static_cast<const std::uint32_t*>(index_)[row];
    default:
      return static_cast<const std::int64_t*>(index_)[row];
  }
}

TextColumn ReadColumn(nb::handle object) {
  if (nb::hasattr(object, "__arrow_c_stream__")) return ReadStream(object);
  if (nb::hasattr(object, "__arrow_c_array__")) return ReadArray(object);
  RaiseType(std::string("a column offers __arrow_c_stream__ or __arrow_c_array__; ") +
            Py_TYPE(object.ptr())->tp_name + " does not");
}

}  // namespace trovex::python
