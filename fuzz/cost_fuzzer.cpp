// Searches whose goal is to be slow.
//
//     input:  flags, group, pattern, 0, piece, 0, tail
//
// The text is the piece, over and over, and the tail. What the search costs, in units of work and in
// processor time per byte, is told to the fuzzer as coverage, so that it keeps what costs more than
// anything before. A search must stay within what all searches of a text may take together.

#include "api/matcher_state.h"
#include "fuzz/input.h"
#include "fuzz/require.h"
#include "matcher/limits.h"
#include "tests/heap_text.h"

#include <trovex/functions.h>
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

// One counter for each doubling of the cost; the fuzzing engine looks for this section.
extern "C" {
__attribute__((section("__libfuzzer_extra_counters"), used)) std::uint8_t trovexCostCounters[128];
}

namespace trovex::fuzz {
namespace {

using testing::HeapText;

constexpr std::size_t kTextBytes = 4'000;

/// Processor time in nanoseconds.
std::int64_t Now() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

void Count(std::size_t first, std::int64_t cost) {
  const auto doublings = static_cast<std::size_t>(
      std::bit_width(static_cast<std::uint64_t>(std::max(cost, std::int64_t{0}))));
  for (std::size_t i = 0; i < doublings; ++i)
    trovexCostCounters[first + i] = 1;
}

/// All matches of the text, one after the other; returns the units that were spent on them.
std::int64_t SearchAll(const HeapText& text, int group) {
  TextNotes notes;
  for (int position = 0; position < text.Length();) {
    MatchRange match{};
    const char* const rest = text.Data() + position;
    if (!SearchInstalled(rest, text.Length() - position, group, match, &notes)) break;
    if (match.start < 0 || match.end < 1) break;
    position += match.end;
  }
  return notes.Credit(static_cast<std::size_t>(text.Length())).Spent();
}

}  // namespace
}  // namespace trovex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace trovex::fuzz;
  Input input(data, size);
  const int flags = input.Byte();
  const int group = input.Byte() % 4;
  const std::string pattern = input.UpToZero();
  const std::string piece = input.UpToZero();
  const std::string tail = input.Rest();

  std::string bytes;
  while (!piece.empty() && bytes.size() < kTextBytes)
    bytes += piece;
  const trovex::testing::HeapText text(bytes + tail);
  if (Compile(pattern.c_str(), flags & 1, flags & 2) == nullptr) {
    const std::int64_t begin = Now();
    const std::int64_t spent = SearchAll(text, group);
    const std::int64_t nanoseconds = Now() - begin;
    const std::int64_t length = std::max(text.Length(), 1);
    Count(0, spent / length);
    Count(64, nanoseconds / length);
    // The sanitizers make a search ten times slower, a busy machine three times more.
    Require(nanoseconds < 30 * (trovex::kWorkAtLeast + length * trovex::kWorkPerByte),
            "a search stays within what it may take");
  }
  FreeBuffersInTrovexDll();
  return 0;
}
