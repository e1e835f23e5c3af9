// The small framework under the exported classes: a counted string, a serialisable object base with
// its run-time class query, archive, validity check and dump, and an array of pointers.
//
// Everything here is defined in this header, so that it adds no symbol to the library's interface.

#ifndef TROVEX_HOST_FRAMEWORK_H
#define TROVEX_HOST_FRAMEWORK_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

/// A counted string of bytes. It may hold zero bytes; a zero byte that is not counted always
/// follows the last one.
class CString {
 public:
  /// The empty string.
  CString() = default;
  /// A copy of the zero-terminated `text`; null gives the empty string.
  CString(const char* text) : bytes_(text != nullptr ? text : "") {}
  /// A copy of `length` bytes at `bytes`; null or a length below 1 gives the empty string.
  CString(const char* bytes, int length) {
    if (bytes != nullptr && length > 0) bytes_.assign(bytes, static_cast<std::size_t>(length));
  }

  /// The number of bytes.
  int GetLength() const { return static_cast<int>(bytes_.size()); }
  /// Whether there are no bytes.
  bool IsEmpty() const { return bytes_.empty(); }
  /// The bytes, zero-terminated; valid until the string is changed or destroyed.
  operator const char*() const { return bytes_.c_str(); }

  friend bool operator==(const CString& a, const CString& b) { return a.bytes_ == b.bytes_; }
  friend bool operator!=(const CString& a, const CString& b) { return a.bytes_ != b.bytes_; }
  friend bool operator==(const CString& a, const char* b) { return a == CString(b); }
  friend bool operator!=(const CString& a, const char* b) { return a != CString(b); }

 private:
  std::string bytes_;
};

/// What an object tells about its own class at run time. One constant of static lifetime per class.
struct CClassDescription {
  /// The class's name, zero-terminated.
  const char* name;
  /// The description of the class it derives from; null for the root.
  const CClassDescription* base;

  /// Whether this class is `other` or derives from it. Classes are the same when their names are.
  bool IsDerivedFrom(const CClassDescription& other) const {
    for (const CClassDescription* c = this; c != nullptr; c = c->base) {
      if (c == &other || std::strcmp(c->name, other.name) == 0) return true;
    }
    return false;
  }
};

/// A binary stream in memory that objects are stored into and loaded from.
///
///     field   width         meaning
///     count   4 bytes       how many elements follow, least significant byte first
///     word    4 bytes       one raw word, least significant byte first
///
/// A stream is made for storing (empty) or for loading (over bytes that were stored before).
/// Reading past the end gives 0 and makes `Failed` true from then on.
class CArchiveStream {
 public:
  /// An empty stream to store into.
  CArchiveStream() = default;
  /// A stream to load from; it keeps its own copy of `bytes`.
  explicit CArchiveStream(std::vector<unsigned char> bytes)
      : bytes_(std::move(bytes)), storing_(false) {}

  /// Whether the stream was made for storing.
  bool IsStoring() const { return storing_; }
  /// Whether a read went past the end, or found what the stream cannot hold.
  bool Failed() const { return failed_; }
  /// Makes `Failed` true and leaves nothing to read.
  void Fail() {
    failed_ = true;
    position_ = bytes_.size();
  }
  /// All bytes of the stream; valid until the next write.
  const std::vector<unsigned char>& Bytes() const { return bytes_; }
  /// How many bytes are left to read.
  std::size_t Remaining() const { return bytes_.size() - position_; }

  void WriteCount(std::uint32_t count) { WriteWord(count); }
  void WriteWord(std::uint32_t word) {
    for (int shift = 0; shift < 32; shift += 8) {
      bytes_.push_back(static_cast<unsigned char>((word >> shift) & 0xFFu));
    }
  }

  std::uint32_t ReadCount() { return ReadWord(); }
  std::uint32_t ReadWord() {
    if (Remaining() < 4) {
      Fail();
      return 0;
    }
    std::uint32_t word = 0;
    for (unsigned shift = 0; shift < 32; shift += 8) {
      word |= static_cast<std::uint32_t>(bytes_[position_++]) << shift;
    }
    return word;
  }

 private:
  std::vector<unsigned char> bytes_;
  std::size_t position_ = 0;
  bool storing_ = true;
  bool failed_ = false;
};

/// The text that objects describe themselves into for a developer's eye.
struct CDumpStream {
  std::string text;
};

/// The root of the classes that can be stored in an archive stream.
class CSerializableObject {
 public:
  /// The run-time class of this object.
  virtual const CClassDescription& QueryClass() const { return ClassDescription(); }
  virtual ~CSerializableObject() = default;
  /// Stores the object into `archive`, or loads it from there. The root has nothing to store.
  virtual void Serialize(CArchiveStream& /*archive*/) {}
  /// Checks the object's validity. Does nothing.
  virtual void AssertValid() const {}
  /// Writes a diagnostic description. Does nothing.
  virtual void Dump(CDumpStream& /*out*/) const {}

  static const CClassDescription& ClassDescription() {
    static constexpr CClassDescription description{"CSerializableObject", nullptr};
    return description;
  }

  CSerializableObject(const CSerializableObject&) = delete;
  CSerializableObject& operator=(const CSerializableObject&) = delete;

 protected:
  CSerializableObject() = default;
};

/// An ordered, growable array of pointers to `T`; the base of the library's arrays.
///
/// The array stores the pointers only: it deletes nothing that they point to, not even when it is
/// destroyed (a derived class that owns its elements says so). A slot may be null.
template <typename T>
class CPointerArray : public CSerializableObject {
 public:
  CPointerArray() = default;

  /// The number of slots.
  int GetSize() const { return size_; }

  /// The content of slot `index`; null when the slot is null or there is no such slot.
  T* GetAt(int index) const { return Has(index) ? data_[Slot(index)] : nullptr; }

  /// Puts `element` into slot `index`; does nothing when there is no such slot. What the slot held
  /// before is neither deleted nor returned.
  void SetAt(int index, T* element) {
    if (Has(index)) data_[Slot(index)] = element;
  }

  /// Appends one slot that holds `element` and returns its index. Throws std::bad_alloc, with the
  /// array unchanged, when memory runs out.
  int Add(T* element) {
    const int index = size_;
    if (index == capacity_) Reserve(CapacityFor(index + 1));
    data_[Slot(index)] = element;
    size_ = index + 1;
    return index;
  }

  /// Makes the array `size` slots long. New slots are null; what dropped slots point to is not
  /// deleted. A size of 0, or below, frees the storage.
  ///
  /// When `size` exceeds the capacity, the capacity grows by the grow-by count, or, where that is
  /// 0, by an eighth of the present size, at least 4 and at most 1024, or to `size` if that is
  /// more. Throws std::bad_alloc, with the array unchanged, when memory runs out.
  void SetSize(int size) {
    if (size <= 0) {
      data_.reset();
      size_ = capacity_ = 0;
      return;
    }
    if (size > capacity_) Reserve(CapacityFor(size));
    for (int i = size_; i < size; ++i)
      data_[Slot(i)] = nullptr;
    size_ = size;
  }

  /// Storing writes the number of slots as a count and each pointer as raw words, in order; a
  /// pointer of 64 bits takes two words, the low one first. Loading replaces the slots by what was
  /// stored; the old elements are not deleted, the loaded pointers mean something only in the
  /// process that stored them. A count that the stream cannot hold makes the array empty and the
  /// stream fail. Throws std::bad_alloc when memory runs out: a stream that is stored into then
  /// lacks what did not fit, an array that is loaded is unchanged.
  void Serialize(CArchiveStream& archive) override {
    if (archive.IsStoring()) {
      archive.WriteCount(static_cast<std::uint32_t>(size_));
      for (int i = 0; i < size_; ++i)
        StorePointer(archive, data_[Slot(i)]);
      return;
    }
    const std::uint32_t count = archive.ReadCount();
    const bool held = count <= archive.Remaining() / sizeof(T*) && count <= 0x7FFFFFFFu;
    if (!held) archive.Fail();
    SetSize(held ? static_cast<int>(count) : 0);
    for (int i = 0; i < size_; ++i)
      data_[Slot(i)] = LoadPointer(archive);
  }

  const CClassDescription& QueryClass() const override { return ClassDescription(); }

  static const CClassDescription& ClassDescription() {
    static const CClassDescription description{"CPointerArray",
                                               &CSerializableObject::ClassDescription()};
    return description;
  }

 protected:
  /// The number of slots that the storage has room for; 0 when there is none.
  int Capacity() const { return capacity_; }

 private:
  static std::size_t Slot(int index) { return static_cast<std::size_t>(index); }
  bool Has(int index) const { return index >= 0 && index < size_; }

  int CapacityFor(int size) const {
    if (data_ == nullptr) return size;
    int step = growBy_;
    if (step == 0) {
      step = size_ / 8;
      if (step < 4) step = 4;
      if (step > 1024) step = 1024;
    }
    return size - capacity_ > step ? size : capacity_ + step;
  }

  /// How many slots are allocated for a capacity. The steps of the capacity stop growing at some
  /// size; to copy all slots at every step from there on would take the square of the size. So the
  /// storage is a power of two there, and most steps find their room already.
  static std::size_t StorageFor(int capacity) {
    constexpr int kLastGrowingStep = 8 * 1024;
    if (capacity <= kLastGrowingStep) return Slot(capacity);
    std::size_t storage = kLastGrowingStep;
    while (storage < Slot(capacity))
      storage *= 2;
    return storage;
  }

  void Reserve(int capacity) {
    const std::size_t storage = StorageFor(capacity);
    if (data_ == nullptr || storage != StorageFor(capacity_)) {
      // Pointers may move as bytes, so the system can make a large array grow without copying it.
      void* grown = std::realloc(data_.get(), storage * sizeof(std::uintptr_t));
      if (grown == nullptr) throw std::bad_alloc();
      static_cast<void>(data_.release());
      data_.reset(static_cast<T**>(grown));
    }
    capacity_ = capacity;
  }

  static void StorePointer(CArchiveStream& archive, T* pointer) {
    auto bits = reinterpret_cast<std::uintptr_t>(pointer);
    for (std::size_t word = 0; word < sizeof(T*) / 4; ++word) {
      archive.WriteWord(static_cast<std::uint32_t>(bits & 0xFFFFFFFFu));
      bits = static_cast<std::uintptr_t>(static_cast<std::uint64_t>(bits) >> 32);
    }
  }

  static T* LoadPointer(CArchiveStream& archive) {
    std::uint64_t bits = 0;
    for (std::size_t word = 0; word < sizeof(T*) / 4; ++word) {
      bits |= static_cast<std::uint64_t>(archive.ReadWord()) << (32 * word);
    }
    const auto address = static_cast<std::uintptr_t>(bits);
    T* pointer = nullptr;
    std::memcpy(&pointer, &address, sizeof(address));
    return pointer;
  }

  struct Free {
    void operator()(T** slots) const { std::free(slots); }
  };

  std::unique_ptr<T*[], Free> data_;
  std::int32_t size_ = 0;
  std::int32_t capacity_ = 0;
  std::int32_t growBy_ = 0;
};

#endif  // TROVEX_HOST_FRAMEWORK_H
