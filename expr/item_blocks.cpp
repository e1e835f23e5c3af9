// Blocks, the items in them, and the stock of blocks.

#include "expr/item_blocks.h"

#include <sys/single_threaded.h>
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <typeinfo>

// Here the compiler makes them part of the loops that make the items of large results.
CFoundItem::CFoundItem(int start, int end, int tagMatched)
    : start_(start), end_(end), tagMatched_(tagMatched) {}

CFoundItem::~CFoundItem() = default;

namespace trovex {

namespace {

/// Gives up the place in a block that `item` had.
void ReleasePlace(void* item);

/// A found item in a block.
class BlockItem final : public CFoundItem {
 public:
  using CFoundItem::CFoundItem;
  BlockItem(const BlockItem&) = delete;
  BlockItem& operator=(const BlockItem&) = delete;

  static void* operator new(std::size_t /*size*/, void* place) noexcept { return place; }
  static void operator delete(void* /*item*/, void* /*place*/) noexcept {}
  // NOLINTNEXTLINE(misc-new-delete-overloads): there is no such item outside of a block.
  static void operator delete(void* item) { ReleasePlace(item); }
};

/// What a block has room for. The allocator's own two words stand between one block and the next.
constexpr std::size_t kBlockBytes = kItemBlockSize - 2 * sizeof(void*);
constexpr std::size_t kBlockHead = 2 * sizeof(void*);
constexpr std::size_t kBlockPlaces = (kBlockBytes - kBlockHead) / sizeof(BlockItem);

}  // namespace

struct ItemBlock {
  /// Living items, and places that its maker has yet to fill.
  std::atomic<std::uint32_t> alive;
  /// The block below, in the stock.
  ItemBlock* next;

  /// The place that is filled when `left` are without an item.
  void* Place(std::size_t left) {
    return reinterpret_cast<char*>(this) + kBlockHead + (kBlockPlaces - left) * sizeof(BlockItem);
  }
};
static_assert(sizeof(ItemBlock) <= kBlockHead && kBlockHead % alignof(BlockItem) == 0);

namespace {

/// The array of a result.
class ResultArray final : public CFoundItemArray {
 public:
  static void* operator new(std::size_t size);
  static void operator delete(void* array);
};

/// The place that is kept for one of them. One thread at a time takes it, any gives it back.
struct ResultPlace {
  alignas(ResultArray) unsigned char bytes[sizeof(ResultArray)];
  std::atomic<bool> isTaken;
};

constinit ResultPlace resultPlace{};

void* ResultArray::operator new(std::size_t size) {
  if (resultPlace.isTaken.load(std::memory_order_acquire)) return ::operator new(size);
  resultPlace.isTaken.store(true, std::memory_order_relaxed);
  return resultPlace.bytes;
}

void ResultArray::operator delete(void* array) {
  if (array == resultPlace.bytes)
    resultPlace.isTaken.store(false, std::memory_order_release);
  else
    ::operator delete(array);
}

/// The blocks without items that are kept, the latest on top.
///
/// Any number of threads may put, one at a time may take: what the taker sees on top can be covered
/// by others meanwhile, but it cannot go, so the block below it stays the same.
class BlockStock {
 public:
  /// Takes a block; null when there is none.
  ItemBlock* Take() {
    ItemBlock* top = top_.load(std::memory_order_acquire);
    while (top != nullptr &&
           !top_.compare_exchange_weak(top, top->next, std::memory_order_acquire)) {
    }
    if (top != nullptr) count_.fetch_sub(1, std::memory_order_relaxed);
    return top;
  }

  /// Keeps `block`, or frees it when there are enough.
  void Put(ItemBlock* block) {
    if (count_.fetch_add(1, std::memory_order_relaxed) >= kMaxStockedItemBlocks) {
      count_.fetch_sub(1, std::memory_order_relaxed);
      std::free(block);
      return;
    }
    block->next = top_.load(std::memory_order_relaxed);
    while (!top_.compare_exchange_weak(block->next, block, std::memory_order_release,
                                       std::memory_order_relaxed)) {
    }
  }

  std::size_t Count() const { return count_.load(std::memory_order_relaxed); }

 private:
  std::atomic<ItemBlock*> top_{nullptr};
  std::atomic<std::size_t> count_{0};  // may be ahead of the blocks that can be taken
};

/// All state of the blocks that outlives a call.
constinit BlockStock stock;

/// A block whose places all count as alive.
ItemBlock* NewBlock() {
  void* memory = stock.Take();
  if (memory == nullptr && posix_memalign(&memory, kItemBlockSize, kBlockBytes) != 0) {
    throw std::bad_alloc();
  }
  return new (memory) ItemBlock{kBlockPlaces, nullptr};
}

/// Takes `count` off the block's living; the last ones give the block back.
void Release(ItemBlock* block, std::uint32_t count) {
  std::uint32_t left = 0;
  if (__libc_single_threaded != 0) {
    left = block->alive.load(std::memory_order_relaxed) - count;
    block->alive.store(left, std::memory_order_relaxed);
  } else {
    left = block->alive.fetch_sub(count, std::memory_order_acq_rel) - count;
  }
  if (left == 0) stock.Put(block);
}

/// The block in which `item` has its place.
ItemBlock* BlockOf(void* item) {
  const auto inBlock = reinterpret_cast<std::uintptr_t>(item) % kItemBlockSize;
  return reinterpret_cast<ItemBlock*>(static_cast<char*>(item) - inBlock);
}

void ReleasePlace(void* item) {
  Release(BlockOf(item), 1);
}

}  // namespace

std::unique_ptr<CFoundItemArray> MakeResult() {
  return std::unique_ptr<CFoundItemArray>(new ResultArray);
}

ItemMaker::~ItemMaker() {
  if (placesLeft_ != 0) Release(block_, static_cast<std::uint32_t>(placesLeft_));
}

void ItemMaker::Append(CFoundItemArray& array, int start, int end, int tagMatched) {
  if (singlesLeft_ > 0) {
    AppendSingle(array, start, end, tagMatched);
    return;
  }
  if (placesLeft_ == 0) BeginBlock();
  // Until the array has it, the item has no more than a place that is still the maker's.
  array.Add(new (block_->Place(placesLeft_)) BlockItem(start, end, tagMatched));
  --placesLeft_;
}

void ItemMaker::Append(CFoundItemArray& array, std::span<const LocatedRange> matches,
                       const unsigned char* text, int tagMatched) {
  while (!matches.empty()) {
    if (singlesLeft_ > 0) {
      const LocatedRange& match = matches.front();
      Append(array, static_cast<int>(match.start - text), static_cast<int>(match.end - text),
             tagMatched);
      matches = matches.subspan(1);
      continue;
    }
    if (placesLeft_ == 0) BeginBlock();
    const std::size_t count = std::min(placesLeft_, matches.size());
    AppendToBlock(array, matches.first(count), text, tagMatched);
    matches = matches.subspan(count);
  }
}

/// The same for as many as the block has room for.
void ItemMaker::AppendToBlock(CFoundItemArray& array, std::span<const LocatedRange> matches,
                              const unsigned char* text, int tagMatched) {
  auto* place = static_cast<char*>(block_->Place(placesLeft_));
  for (const LocatedRange& match : matches) {
    const auto start = static_cast<int>(match.start - text);
    const auto end = static_cast<int>(match.end - text);
    array.Add(new (place) BlockItem(start, end, tagMatched));
    place += sizeof(BlockItem);
    --placesLeft_;
  }
}

void ItemMaker::AppendSingle(CFoundItemArray& array, int start, int end, int tagMatched) {
  auto item = std::make_unique<CFoundItem>(start, end, tagMatched);
  array.Add(item.get());
  static_cast<void>(item.release());  // the array's from here on
  --singlesLeft_;
}

void ItemMaker::BeginBlock() {
  block_ = NewBlock();
  placesLeft_ = kBlockPlaces;
}

ItemRemover::~ItemRemover() {
  ReleaseBlock();
}

void ItemRemover::DeleteOther(CFoundItem* item) {
  if (item == nullptr) return;
  // There is one description of the class, so its address tells; names are long to compare.
  if (&typeid(*item) != &typeid(BlockItem)) {
    delete item;
    return;
  }
  // An item of a block holds nothing that its destructor would have to give back.
  ReleaseBlock();
  block_ = BlockOf(item);
  count_ = 1;
}

void ItemRemover::ReleaseBlock() {
  if (count_ > 0) Release(block_, count_);
  count_ = 0;
}

std::size_t StockedItemBlocks() {
  return stock.Count();
}

void FreeStockedItemBlocks() {
  while (ItemBlock* block = stock.Take())
    std::free(block);
}

}  // namespace trovex
