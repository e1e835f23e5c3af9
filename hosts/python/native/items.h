// Items as Python has them: with the text they are of, in its positions.

#ifndef TROVEX_HOSTS_PYTHON_ITEMS_H
#define TROVEX_HOSTS_PYTHON_ITEMS_H

#include "native/python_text.h"

#include <nanobind/nanobind.h>
#include <trovex/query.h>

#include <atomic>
#include <cstddef>
#include <vector>

namespace trovex::python {

namespace nb = nanobind;

/// A place of a text. `text` is held.
struct PythonItem {
  nb::object text;
  std::size_t start = 0;
  std::size_t end = 0;
  std::vector<TagRange> tags;
  int tagCount = 0;

  /// What stands there: a str, or bytes.
  nb::object Text() const;
  /// The range of bracket `number`, None where it took no part; IndexError where there is none.
  nb::object Tag(int number) const;
  /// All ranges by their numbers.
  nb::dict Tags() const;
};

/// Items of a text in one heap block or two, from which Python's are made when they are asked for.
class ItemList {
 public:
  /// Of the search that is done or goes on in `bytes`.
  explicit ItemList(const PythonText& text) noexcept : positions_(text.Bytes(), text.IsCounted()) {}

  /// Adds the item after the last one. Needs no lock of the interpreter.
  void Add(const Item& item);

  std::size_t Size() const noexcept { return items_.size(); }
  std::size_t Start(std::size_t index) const noexcept { return items_[index].start; }
  std::size_t End(std::size_t index) const noexcept { return items_[index].end; }
  PythonItem At(std::size_t index, const nb::object& text, int tagCount) const;

 private:
  struct Range {
    std::size_t start;
    std::size_t end;
    std::size_t tagsEnd;
  };

  Positions positions_;
  std::vector<Range> items_;
  std::vector<TagRange> tags_;
};

/// What finditer gives: items that were found, one after the other.
class ItemIterator {
 public:
  ItemIterator(ItemList&& items, nb::object text, int tagCount)
      : items_(std::move(items)), text_(std::move(text)), tagCount_(tagCount) {}
  ItemIterator(ItemIterator&& other) noexcept
      : items_(std::move(other.items_)),
        text_(std::move(other.text_)),
        tagCount_(other.tagCount_),
        next_(other.next_.load()) {}

  /// Raises StopIteration after the last one. Several threads may share one.
  PythonItem Next();
  std::size_t Left() const noexcept;
  const nb::object& Text() const noexcept { return text_; }

 private:
  ItemList items_;
  nb::object text_;
  int tagCount_;
  std::atomic<std::size_t> next_{0};
};

}  // namespace trovex::python

#endif  // TROVEX_HOSTS_PYTHON_ITEMS_H
