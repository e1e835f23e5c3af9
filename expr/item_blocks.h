// Where the found items of a search live.
//
// A search may find hundreds of thousands of matches, and the host gets an object of its own for
// each, to delete when and where it likes. Asking the allocator for every one of them would cost
// more than finding them does. So the items of a large result stand side by side in blocks of a
// page each. A block counts the items in it that are alive, and the last one deleted gives the
// block back.
//
// An item in a block finds its block by its own address: blocks are aligned to their size. That it
// lives in a block, only the item knows: its class, derived from CFoundItem, has its own way of
// being deleted, and the virtual destructor leads there. What a host makes with `new CFoundItem`
// has nothing to do with blocks.
//
// One living item keeps its whole block, so a few items that a host keeps from many searches must
// not hold a block each: the first items of every result are allocated singly.
//
// Blocks that were given back make up a stock, of bounded size, for the searches to come: memory
// fresh from the system costs several times as much as everything else that is done for an item.
//
// The array of a result has a place that is kept for it, if none lives there: of the rows of a table most have an empty
// one, which is deleted before the next is made, and to allocate it would take as long as the search.
//
// Items and arrays are made, and the stock is freed, by one thread at a time, like all that the library does.
// Deleted they may be by any thread at any time, as if each had been allocated singly.

#ifndef TROVEX_EXPR_ITEM_BLOCKS_H
#define TROVEX_EXPR_ITEM_BLOCKS_H

#include "matcher/automata/match_locator.h"

#include <trovex/found_items.h>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace trovex {

/// How many items of a result are allocated singly before the first block is begun.
inline constexpr int kSingleItems = 32;

/// An empty array for the result of a search, which its owner deletes like any other.
std::unique_ptr<CFoundItemArray> MakeResult();

/// The size of a block in bytes, and what it is aligned to.
inline constexpr std::size_t kItemBlockSize = 4096;

/// The greatest number of blocks in the stock: 8 MB, room for a third of a million items.
inline constexpr std::size_t kMaxStockedItemBlocks = 2048;

struct ItemBlock;

/// Makes the items of one result, which may outlive it.
class ItemMaker {
 public:
  ItemMaker() = default;
  ~ItemMaker();
  ItemMaker(const ItemMaker&) = delete;
  ItemMaker& operator=(const ItemMaker&) = delete;

  /// Makes an item and appends it to `array`, which owns it. Throws std::bad_alloc, with the array
  /// unchanged, when memory runs out.
  void Append(CFoundItemArray& array, int start, int end, int tagMatched);
  /// The same for one match after another; `text` is where offset 0 is. When memory runs out, the array has the first
  /// ones.
  void Append(CFoundItemArray& array, std::span<const LocatedRange> matches,
              const unsigned char* text, int tagMatched);

 private:
  void AppendSingle(CFoundItemArray& array, int start, int end, int tagMatched);
  void AppendToBlock(CFoundItemArray& array, std::span<const LocatedRange> matches,
                     const unsigned char* text, int tagMatched);
  void BeginBlock();

  int singlesLeft_ = kSingleItems;
  ItemBlock* block_ = nullptr;  // the block that is being filled
  std::size_t placesLeft_ = 0;  // its places without an item; the block counts them as alive
};

/// Deletes items one after another, as `delete` does, but gives up the places of a block together.
class ItemRemover {
 public:
  ItemRemover() = default;
  ~ItemRemover();
  ItemRemover(const ItemRemover&) = delete;
  ItemRemover& operator=(const ItemRemover&) = delete;

  /// Null is passed over.
  void Delete(CFoundItem* item) {
    // In the page of a block there is nothing but items of it: they need not be looked at.
    if (block_ != nullptr && IsInBlock(item)) {
      ++count_;
    } else {
      DeleteOther(item);
    }
  }

 private:
  bool IsInBlock(const CFoundItem* item) const {
    const auto block = reinterpret_cast<std::uintptr_t>(block_);
    return (reinterpret_cast<std::uintptr_t>(item) ^ block) < kItemBlockSize;
  }
  void DeleteOther(CFoundItem* item);
  void ReleaseBlock();

  ItemBlock* block_ = nullptr;  // of the items deleted last
  std::uint32_t count_ = 0;     // how many of them
};

/// How many blocks are in the stock.
std::size_t StockedItemBlocks();

/// Frees the blocks in the stock. Blocks with living items stay.
void FreeStockedItemBlocks();

}  // namespace trovex

#endif  // TROVEX_EXPR_ITEM_BLOCKS_H
