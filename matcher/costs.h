// What a piece of work costs, one number for each kind of work that a budget or a credit is charged for.
//
// A unit of search work stands for a nanosecond or less, a step of compiling for about three. `bench/run
// hostile` measures both: it prints the time of a unit for each road on texts that are made to be slow, and
// the longest time that the engine takes for a step that it was charged. Measured on x86-64, one core of two
// that others used too: a unit took from 0.1 ns (whole stretches of a line at once) to 1.8 ns, a step of the
// engine's 15 ns at most.

#ifndef TROVEX_MATCHER_COSTS_H
#define TROVEX_MATCHER_COSTS_H

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
/// A node of the tree, in the search for a string that every match holds.
inline constexpr std::int64_t kRequiredStringStepsPerNode = 100;

}  // namespace trovex

#endif  // TROVEX_MATCHER_COSTS_H
