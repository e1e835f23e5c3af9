#include "native/items.h"

#include <algorithm>

namespace trovex::python {

namespace {

nb::object Slice(const nb::object& text, std::size_t start, std::size_t end) {
  const auto from = static_cast<Py_ssize_t>(start);
  const auto to = static_cast<Py_ssize_t>(end);
  if (PyUnicode_Check(text.ptr())) return nb::steal(PyUnicode_Substring(text.ptr(), from, to));
  if (PyBytes_CheckExact(text.ptr())) {
    return nb::steal(PyBytes_FromStringAndSize(PyBytes_AS_STRING(text.ptr()) + from, to - from));
  }
  Py_buffer view;
  if (PyObject_GetBuffer(text.ptr(), &view, PyBUF_SIMPLE) != 0) throw nb::python_error();
  const Py_ssize_t last = std::min(to, view.len);  // the buffer may have become shorter
  const Py_ssize_t first = std::min(from, last);
  nb::object bytes = nb::steal(
      PyBytes_FromStringAndSize(static_cast<const char*>(view.buf) + first, last - first));
  PyBuffer_Release(&view);
  return bytes;
}

nb::object MakeSpan(std::size_t start, std::size_t end) {
  return nb::module_::import_("trovex._types").attr("Span")(start, end);
}

}  // namespace

nb::object PythonItem::Text() const {
  nb::object slice = Slice(text, start, end);
  if (!slice.is_valid()) throw nb::python_error();
  return slice;
}

nb::object PythonItem::Tag(int number) const {
  if (number < 1 || number > tagCount) {
    PyErr_Format(PyExc_IndexError, "no bracket %d: the query has %d", number, tagCount);
    throw nb::python_error();
  }
  for (const TagRange& tag : tags) {
    if (tag.tag == number) return MakeSpan(tag.begin, tag.end);
  }
  return nb::none();
}

nb::dict PythonItem::Tags() const {
  nb::dict all;
  for (const TagRange& tag : tags)
    all[nb::int_(tag.tag)] = MakeSpan(tag.begin, tag.end);
  return all;
}

void ItemList::Add(const Item& item) {
  const std::size_t start = positions_.Advance(item.begin);
  for (std::size_t i = 0; i < item.tagCount; ++i) {
    const TagRange& tag = item.tags[i];
    tags_.push_back({tag.tag, positions_.From(tag.begin), positions_.From(tag.end)});
  }
  items_.push_back({start, positions_.From(item.end), tags_.size()});
}

PythonItem ItemList::At(std::size_t index, const nb::object& text, int tagCount) const {
  const Range& range = items_[index];
  const std::size_t tagsBegin = index == 0 ? 0 : items_[index - 1].tagsEnd;
  const auto tag = [this](std::size_t at) {
    return tags_.begin() + static_cast<std::ptrdiff_t>(at);
  };
  return {text, range.start, range.end, std::vector(tag(tagsBegin), tag(range.tagsEnd)), tagCount};
}

PythonItem ItemIterator::Next() {
  const std::size_t index = next_.fetch_add(1);
  if (index < items_.Size()) return items_.At(index, text_, tagCount_);
  next_ = items_.Size();
  throw nb::stop_iteration();
}

std::size_t ItemIterator::Left() const noexcept {
  return items_.Size() - std::min(items_.Size(), next_.load());
}

}  // namespace trovex::python
