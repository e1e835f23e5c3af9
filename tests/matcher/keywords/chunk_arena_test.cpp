#include "matcher/keywords/chunk_arena.h"

#include "tests/matcher/keywords/malloc_watch.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace trovex {
namespace {

struct Block {
  unsigned char* memory;
  std::size_t size;
  unsigned char content;

  bool IsIntact() const {
    return std::all_of(memory, memory + size, [this](unsigned char c) { return c == content; });
  }
};

TEST(ChunkArena, ObjectsAreAlignedAndDoNotOverlap) {
  ChunkArena arena;
  std::vector<Block> blocks;
  for (std::size_t i = 0; i < 3000; ++i) {
    const std::size_t size = i * 37 % 301;
    auto* const memory = static_cast<unsigned char*>(arena.Allocate(size));
    ASSERT_NE(memory, nullptr);
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(memory) % ChunkArena::kAlignment, 0U);
    blocks.push_back({memory, size, static_cast<unsigned char>(i)});
    std::fill_n(memory, size, blocks.back().content);
  }
  EXPECT_TRUE(
      std::all_of(blocks.begin(), blocks.end(), [](const Block& b) { return b.IsIntact(); }));
}

TEST(ChunkArena, AnObjectMayBeLargerThanAChunk) {
  constexpr std::array<std::size_t, 6> kSizes = {4055, 4063, 4064, 4065, 4072, 1000000};
  ChunkArena arena;
  for (const std::size_t size : kSizes) {
    auto* const memory = static_cast<unsigned char*>(arena.Allocate(size));
    ASSERT_NE(memory, nullptr);
    const Block block{memory, size, 0xAB};
    std::fill_n(memory, size, block.content);
    ASSERT_NE(arena.Allocate(1), nullptr);
    EXPECT_TRUE(block.IsIntact());
  }
}

TEST(ChunkArena, SmallObjectsShareAChunk) {
  ChunkArena arena;
  const long before = testing::AllocationCount();
  for (int i = 0; i < 400; ++i)
    ASSERT_NE(arena.Allocate(10), nullptr);
  EXPECT_EQ(testing::AllocationCount() - before, 2);
}

TEST(ChunkArena, AnObjectOfNoBytesHasAnAddress) {
  ChunkArena arena;
  EXPECT_NE(arena.Allocate(0), nullptr);
}

TEST(ChunkArena, NewObjectsAreInitialised) {
  struct Pair {
    int first = 7;
    void* second;
  };
  ChunkArena arena;
  const Pair* const pair = arena.New<Pair>();
  ASSERT_NE(pair, nullptr);
  EXPECT_EQ(pair->first, 7);
  EXPECT_EQ(pair->second, nullptr);
}

TEST(ChunkArena, RunningOutOfMemoryIsReportedAndSurvived) {
  ChunkArena arena;
  {
    const testing::AllocationLimit limit(0);
    EXPECT_EQ(arena.Allocate(8), nullptr);
    EXPECT_EQ(arena.New<int>(), nullptr);
  }
  EXPECT_NE(arena.Allocate(8), nullptr);
  const testing::AllocationLimit limit(0);
  EXPECT_NE(arena.Allocate(8), nullptr) << "there is room in the chunk";
  EXPECT_EQ(arena.Allocate(5000), nullptr);
  EXPECT_NE(arena.Allocate(8), nullptr) << "a refused object must not cost the room";
}

TEST(ChunkArena, AbsurdSizesAreRefused) {
  constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
  ChunkArena arena;
  for (const std::size_t size : {kMost, kMost - 7, kMost - 15, kMost / 2 + 1})
    EXPECT_EQ(arena.Allocate(size), nullptr) << size;
}

}  // namespace
}  // namespace trovex
