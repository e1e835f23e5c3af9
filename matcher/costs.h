// What a piece of work costs, one number for each kind of work that a budget or a credit is charged for.
//
// A unit of search work stands for a nanosecond or less, a step of compiling for about three. `bench/run
// hostile` measures both: it prints the time of a unit for each road on texts that are made to be slow, and
// the longest time that the engine takes for a step that it was charged. Measured on x86-64, one core of two
// that others used too: a unit took from 0.1 ns (whole stretches of a line at once) to 1.8 ns, a step of the
// engine's 15 ns at most.

#ifndef TROVEX_MATCHER_COSTS_H
#define TROVEX_MATCHER_COSTS_H

#include <cstddef>
#include <cstdint>

namespace trovex {

// Searching, in units.

/// The engine: a call, beside the bytes and the starts that it tries.
inline constexpr std::int64_t kEngineCallUnits = 300;
/// The library's own matcher: a step of one way. Measured 0.8 to 1.8 ns a unit, the latter where much is
/// remembered.
inline constexpr std::int64_t kBoundedStepUnits = 60;
/// A node that is looked at while the match is found in one pass. Measured 1.0 to 1.4 ns a unit, with
/// the walk for the groups.
inline constexpr std::int64_t kGraphNodeUnits = 8;
/// A node that is noted for the groups of a match, and looked at again.
inline constexpr std::int64_t kGroupEntryUnits = 30;
/// A node whose furthest end is worked out, and one that is walked over. Measured 0.6 ns a unit.
inline constexpr std::int64_t kLineEndUnits = 5;
inline constexpr std::int64_t kLineWalkUnits = 20;
/// The line filter: a table, a position of its state, and what can follow that.
inline constexpr std::int64_t kFilterTableUnits = 2'000;
inline constexpr std::int64_t kFilterPositionUnits = 40;
inline constexpr std::int64_t kFilterFollowUnits = 3;
/// An item or a place that is looked at where two operands are combined by their distance.
inline constexpr std::int64_t kMergeUnits = 20;
/// The automata: to make a state in any case, and for each edge that is looked at on the way, which includes the
/// share of sorting and storing what is reached.
inline constexpr std::int64_t kStateUnits = 1'500;
inline constexpr std::int64_t kEdgeUnits = 10;
/// Sets of positions: a step over a byte in any case and for each group of edges, to choose how edges are grouped.
inline constexpr std::int64_t kSimulatedStepCost = 4;
inline constexpr std::int64_t kSimulatedGroupCost = 3;
/// Back-references: how much a unit is that they are counted in, what it takes to remember an outcome, in these,
/// and how many halves of a run are looked at for one.
inline constexpr std::int64_t kReferenceUnits = 10;
inline constexpr std::uint64_t kUnitsPerOutcome = 10;
inline constexpr std::size_t kLookedForAUnit = 8;
/// Rows with back-references, in nanoseconds: to begin at a place, and to go on from an end of a run.
inline constexpr std::uint64_t kRowUnitsPerStart = 5;
inline constexpr std::uint64_t kRowUnitsPerTry = 40;
/// Lists of words, in nanoseconds: to look up a window, one of more than four bytes, and to look at one that the
/// table has.
inline constexpr double kCostOfWindow = 0.9;
inline constexpr double kCostOfLongWindow = 1.1;
inline constexpr double kCostOfHit = 20;
/// The same where windows are looked up with their offsets: a window, and a place that it leads to.
inline constexpr double kCostOfOffset = 0.6;
inline constexpr double kCostOfOffsetHit = 2.5;
/// To look a place up in buckets by the lower six bits of bytes: of none of them, and for each byte and set; by their
/// halves; and to look at a place that these have. Measured: 0.06 with four bytes and one set, 0.15 with six and four.
inline constexpr double kCostOfBuckets = 0.045;
inline constexpr double kCostOfBucketRow = 0.004;
inline constexpr double kCostOfBucketHalves = 0.12;
inline constexpr double kCostOfBeginning = 5;
/// To look at a byte with a place scan, and to have automata look at a place: whether there is a match.
inline constexpr double kCostOfScannedByte = 0.04;
inline constexpr double kCostOfPlace = 30;
/// A place where a word may stand that leads to what stands around it, in units.
inline constexpr std::int64_t kWordPlaceUnits = 16;

// Compiling, in steps and bytes.

/// What a node takes of the engine's memory without its list, and the least block of a list. Held against
/// the engine's allocations: what is charged is within a tenth of it and 8 KB (tests/matcher/engine/).
inline constexpr std::int64_t kEngineBytesPerNode = 220;
inline constexpr std::int64_t kEngineBytesPerList = 32;
/// How long the engine and its rehearsal take to make a node, to make a list, to merge a node into a list
/// (a step), to copy a list, or to move a part of it and make room.
inline constexpr std::int64_t kEngineStepsPerNode = 60;
inline constexpr std::int64_t kEngineStepsPerList = 40;
inline constexpr std::int64_t kEngineCopiedPerStep = 5;
inline constexpr std::int64_t kEngineMovedPerStep = 3;
/// The line filter: to carry the condition of an anchor on, and to sort a position.
inline constexpr std::int64_t kFilterStepsPerAnchor = 30;
inline constexpr std::int64_t kFilterStepsToSortOne = 4;
/// A node of the tree, in the search for a string that every match holds, a set whose bytes are counted there,
/// and how many bytes are compared or copied in a step, where the line filter's is looked for.
inline constexpr std::int64_t kRequiredStringStepsPerNode = 100;
inline constexpr std::int64_t kRarityStepsPerSet = 8;
inline constexpr std::size_t kMustBytesPerStep = 16;
/// The first door: any pattern, a byte of it, and a byte of its keyword.
inline constexpr std::int64_t kStepsPerPattern = 5'000;
inline constexpr std::int64_t kBytesPerPattern = 10 << 10;
inline constexpr std::int64_t kStepsPerPatternByte = 60;
inline constexpr std::int64_t kBytesPerKeywordByte = 200;
/// The graph of positions: a state of the net it is made from, with its links, an edge of it, which stands in both
/// directions, and a set of the pattern.
inline constexpr std::int64_t kGraphStepsPerState = 8;
inline constexpr std::int64_t kGraphBytesPerState = 80;
inline constexpr std::size_t kGraphStepsPerEdge = 8;
inline constexpr std::int64_t kGraphStepsPerSet = 1'000;
/// A state of what reads a match in a short text, in any case.
inline constexpr std::int64_t kReaderStepsPerState = 100;
/// The search for back-references: a node of the tree.
inline constexpr std::int64_t kWalkStepsPerNode = 1'000;
inline constexpr std::int64_t kWalkBytesPerNode = 500;
/// A list of words: to write out a word, to sort it, and a node of the tree of words.
inline constexpr std::size_t kListStepsPerWord = 10;
inline constexpr std::int64_t kSortStepsPerWord = 100;
/// To part words among buckets, for each pair of them.
inline constexpr std::int64_t kBucketStepsPerPair = 30;
inline constexpr std::int64_t kTrieStepsPerNode = 4;

}  // namespace trovex

#endif  // TROVEX_MATCHER_COSTS_H
