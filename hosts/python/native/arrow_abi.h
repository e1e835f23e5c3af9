// The structures of Arrow's C data interface and C stream interface, as their documents define them, so
// that columns come and go without a library. An owner of one releases it through its own `release`;
// null there means released, or moved away.

#ifndef TROVEX_HOSTS_PYTHON_ARROW_ABI_H
#define TROVEX_HOSTS_PYTHON_ARROW_ABI_H

#include <cstdint>
#include <utility>

extern "C" {

#ifndef ARROW_C_DATA_INTERFACE
#define ARROW_C_DATA_INTERFACE

#define ARROW_FLAG_DICTIONARY_ORDERED 1
#define ARROW_FLAG_NULLABLE 2
#define ARROW_FLAG_MAP_KEYS_SORTED 4

struct ArrowSchema {
  const char* format;
  const char* name;
  const char* metadata;
  int64_t flags;
  int64_t n_children;
  struct ArrowSchema** children;
  struct ArrowSchema* dictionary;
  void (*release)(struct ArrowSchema*);
  void* private_data;
};

struct ArrowArray {
  int64_t length;
  int64_t null_count;
  int64_t offset;
  int64_t n_buffers;
  int64_t n_children;
  const void** buffers;
  struct ArrowArray** children;
  struct ArrowArray* dictionary;
  void (*release)(struct ArrowArray*);
  void* private_data;
};

#endif  // ARROW_C_DATA_INTERFACE

#ifndef ARROW_C_STREAM_INTERFACE
#define ARROW_C_STREAM_INTERFACE

struct ArrowArrayStream {
  int (*get_schema)(struct ArrowArrayStream*, struct ArrowSchema* out);
  int (*get_next)(struct ArrowArrayStream*, struct ArrowArray* out);
  const char* (*get_last_error)(struct ArrowArrayStream*);
  void (*release)(struct ArrowArrayStream*);
  void* private_data;
};

#endif  // ARROW_C_STREAM_INTERFACE

}  // extern "C"

namespace trovex::python {

/// The owner of one of the three structures.
template <typename Structure>
class ArrowOwner {
 public:
  ArrowOwner() noexcept = default;
  /// Takes it over from where it stood.
  explicit ArrowOwner(Structure* other) noexcept : structure_(*other) { other->release = nullptr; }
  ArrowOwner(ArrowOwner&& other) noexcept : structure_(std::exchange(other.structure_, {})) {}
  ArrowOwner& operator=(ArrowOwner&& other) noexcept {
    std::swap(structure_, other.structure_);
    return *this;
  }
  ArrowOwner(const ArrowOwner&) = delete;
  ArrowOwner& operator=(const ArrowOwner&) = delete;
  ~ArrowOwner() {
    if (structure_.release != nullptr) structure_.release(&structure_);
  }

  explicit operator bool() const noexcept { return structure_.release != nullptr; }
  Structure* Get() noexcept { return &structure_; }
  const Structure* operator->() const noexcept { return &structure_; }
  Structure* operator->() noexcept { return &structure_; }

 private:
  Structure structure_{};
};

}  // namespace trovex::python

#endif  // TROVEX_HOSTS_PYTHON_ARROW_ABI_H
