// What a sieve leaves of the places where a row of runs can begin, against a walk over all lengths of every run.

#include "matcher/runs/run_sieve.h"

#include "matcher/scan/place_scan.h"
#include "tests/dice.h"
#include "tests/matcher/scan/byte_blocks.h"
#include "tests/matcher/scan/scan_roads.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace trovex {
namespace {

using testing::AllScanRoads;
using testing::Block;
using testing::Dice;
using testing::OnScanRoad;
using testing::ScanRoad;
using testing::SetOf;
using testing::Without;
using Byte = unsigned char;
using ByteRun = trovex::Run;  // the tests have a Run of their own
using Runs = std::vector<ByteRun>;

constexpr std::uint32_t kEndless = ByteRun::kEndless;

/// How many bytes the longest match of `row` has that begins at `place` of `text`; -1: there is none.
std::ptrdiff_t LongestFrom(const Runs& row, const std::string& text, std::size_t place) {
  std::set<std::size_t> reached = {place};
  for (const ByteRun& run : row) {
    std::set<std::size_t> after;
    for (std::size_t at : reached) {
      for (std::uint32_t taken = 0;; ++taken, ++at) {
        if (taken >= run.least) after.insert(at);
        if (taken == run.most || at == text.size() || !run.bytes[static_cast<Byte>(text[at])])
          break;
      }
    }
    reached = std::move(after);
  }
  return reached.empty() ? -1 : static_cast<std::ptrdiff_t>(*reached.rbegin() - place);
}

/// Some hits of `scan` in a text, no more than a batch has.
HitBatch SomeHits(const PlaceScan& scan, const Block& text) {
  HitBatch batch;
  batch.base = text.begin();
  for (const Byte* place = text.begin(); batch.count < kMostHits; ++place) {
    place = scan.Find(place, text.end());
    if (place == nullptr) break;
    batch.offsets[batch.count++] = static_cast<std::uint16_t>(place - text.begin());
  }
  batch.tested = text.end();
  return batch;
}

struct Told {
  std::size_t ends = 0;
  std::size_t dropped = 0;
};

/// Holds a sieve for `row`, of which the first `before` bytes are asked for by whoever takes a hit, and the last `after`
/// bytes belong to no match, against the walk. A line feed is thought after the text.
void CheckSieve(const Runs& row, std::ptrdiff_t before, std::ptrdiff_t after, const PlaceScan& scan,
                const std::string& content, Told& told) {
  const std::optional<RunSieve> sieve = RunSieve::For(row, before, after, scan.Tables());
  if (!sieve) return;
  const Block text(content);
  const HitBatch all = SomeHits(scan, text);
  HitBatch batch = all;
  SieveLengths lengths;
  sieve->Sift(text.end(), batch, lengths);
  std::size_t next = 0;
  for (std::size_t i = 0; i < all.count; ++i) {
    const std::ptrdiff_t longest = LongestFrom(row, content + '\n', all.offsets[i]);
    const bool isKept = next < batch.count && batch.offsets[next] == all.offsets[i];
    if (!isKept) {
      ++told.dropped;
      ASSERT_EQ(longest, -1) << "dropped: " << all.offsets[i] << " of " << content;
      continue;
    }
    const bool isTaken = before == 0 || row[0].bytes[text.begin()[all.offsets[i]]];
    const Byte* const stop = text.begin() + all.offsets[i] + lengths[next];
    if (lengths[next] != 0 && isTaken && sieve->Confirms(stop, text.end())) {
      ++told.ends;
      ASSERT_EQ(lengths[next], longest - after) << all.offsets[i] << " of " << content;
    }
    ++next;
  }
  ASSERT_EQ(next, batch.count);
}

/// Bytes of which each half has members of its own: more kinds than there are bits.
CharSet ManyKinds() {
  CharSet many;
  for (std::size_t half = 0; half < 16; ++half) {
    for (std::size_t low = 0; low <= half; ++low)
      many.set(16 * half + low);
  }
  return many;
}

TEST(RunSieve, TellsWhereEachMatchEndsAndDropsNone) {
  constexpr std::uint32_t kRounds = 20'000;
  const std::vector<CharSet> sets = {SetOf("a"),   SetOf("b"),   SetOf("aA"),  SetOf("abc"),
                                     SetOf("-"),   SetOf("ac"),  SetOf("bB"),  SetOf("b-"),
                                     SetOf("\n-"), Without("b"), Without("-"), ManyKinds()};
  for (const ScanRoad& road : AllScanRoads()) {
    const OnScanRoad on(road);
    Told told;
    for (std::uint32_t seed = 1; seed <= kRounds; ++seed) {
      Dice dice(seed);
      const auto randomSet = [&] {
        return sets[static_cast<std::size_t>(dice.Between(0, static_cast<int>(sets.size()) - 1))];
      };
      Runs row;
      for (int fixed = dice.OneIn(20) ? 12 : dice.Between(0, 3); fixed > 0; --fixed)
        row.push_back({randomSet(), 1, 1});
      const auto least =
          static_cast<std::uint32_t>(dice.OneIn(20) ? dice.Between(30, 40) : dice.Between(0, 3));
      const auto most = dice.OneIn(2)
                            ? kEndless
                            : std::max(1U, least) + static_cast<std::uint32_t>(dice.Between(1, 40));
      row.push_back({randomSet(), least, most});
      for (int more = dice.Between(0, 6); more > 0; --more) {
        const auto count = static_cast<std::uint32_t>(dice.Between(1, 2));
        row.push_back({randomSet(), count, dice.OneIn(8) ? kEndless : count});
      }
      const std::ptrdiff_t after =
          row.back().IsFixed() && row.back().least == 1 && dice.OneIn(3) ? 1 : 0;
      const char* const alphabet = dice.OneIn(2) ? "aaaaaaaaaaaaaaaaaaaaabc-" : "abcAB-\n";
      const std::string content = dice.Bytes(alphabet, dice.OneIn(4) ? 300 : 60);
      const std::ptrdiff_t before = row.front().IsFixed() && dice.OneIn(3) ? 1 : 0;
      const Probe byRow = {0, row.front().least > 0 ? row.front().bytes : ~CharSet()};
      const Probe probe = before == 0 ? byRow : Probe{0, ~CharSet()};
      ASSERT_NO_FATAL_FAILURE(
          CheckSieve(row, before, after, PlaceScan(Probes{probe}), content, told))
          << road.name << " seed " << seed;
    }
    const bool hasVectors = RunSieve::For({{SetOf("a"), 1, kEndless}}, 0, 0,
                                          PlaceScan(Probes{{0, SetOf("a")}}).Tables())
                                .has_value();
    EXPECT_TRUE(!hasVectors || (told.ends > 10'000 && told.dropped > 10'000)) << road.name;
  }
}

TEST(RunSieve, DoesNotTellTheEndOfARowOfWhichItSeesAPart) {
  const PlaceScan scan(Probes{{0, SetOf("a")}});
  const Runs row = {
      {SetOf("a"), 1, 1}, {Without("a"), 1, 1}, {SetOf("abc"), 1, kEndless}, {SetOf("-"), 1, 1}};
  const Runs longRow = {{SetOf("a"), 1, 1}, {SetOf("abc"), 1, kEndless}, {SetOf("-"), 5, 5}};
  const Runs openRow = {{SetOf("a"), 1, 1}, {SetOf("abc"), 1, kEndless}, {SetOf("-"), 1, kEndless}};
  for (const Runs& runs : {row, longRow, openRow}) {
    const std::optional<RunSieve> sieve = RunSieve::For(runs, 0, 0, scan.Tables());
    if (!sieve) GTEST_SKIP() << "there are no vector instructions";
    const Block text("abbbb-----" + std::string(100, 'x'));
    HitBatch batch = SomeHits(scan, text);
    SieveLengths lengths;
    sieve->Sift(text.end(), batch, lengths);
    ASSERT_EQ(batch.count, 1U);
    EXPECT_EQ(lengths[0], 0);
  }
}

TEST(RunSieve, ConfirmsWhatOnlySeemsToStandAfterAMatch) {
  const PlaceScan scan(Probes{{0, SetOf("x")}});
  const Runs row = {{SetOf("x"), 1, 1}, {SetOf("a"), 1, kEndless}, {ManyKinds(), 1, 1}};
  const std::optional<RunSieve> sieve = RunSieve::For(row, 0, 1, scan.Tables());
  if (!sieve) GTEST_SKIP() << "there are no vector instructions";
  std::size_t told = 0;
  for (std::size_t c = 0; c < ManyKinds().size(); ++c) {
    const char byte = static_cast<char>(c);
    const Block text(std::string("xaaa") + byte + std::string(60, '-'));
    HitBatch batch = SomeHits(scan, text);
    SieveLengths lengths;
    sieve->Sift(text.end(), batch, lengths);
    if (batch.count == 0 || lengths[0] != 4) continue;
    ++told;
    EXPECT_EQ(sieve->Confirms(text.begin() + 4, text.end()), ManyKinds()[c]) << c;
  }
  EXPECT_GE(told, ManyKinds().count() - 3) << "but for those that begin or go on with the row";
}

TEST(RunSieve, IsNotMadeForRunsThatGoOnForLong) {
  const ScanTables tables = PlaceScan(Probes{{0, SetOf("a")}}).Tables();
  const ByteRun lead = {SetOf("a"), 1, 1};
  EXPECT_FALSE(
      RunSieve::For({lead, {Without("b"), 0, kEndless}, {SetOf("b"), 1, 1}}, 0, 0, tables));
  EXPECT_FALSE(RunSieve::For({lead, {SetOf("b"), 3, 3}}, 0, 0, tables))
      << "none has no fixed length";
  EXPECT_FALSE(RunSieve::For({lead, {SetOf("b"), 0, kEndless}}, 0, 0, tables))
      << "nothing is asked";
}

}  // namespace
}  // namespace trovex
