// Numbers that choose between ways to the same answer, in one place, for what is built of patterns. Those of a
// single pattern stand in matcher/tuning.h, which says what "measured" means. Not measured are the verdict of a
// sound, the nesting of streams, what is searched between two asks, clusters, and the costs of steps.

#ifndef TROVEX_QUERY_TUNING_H
#define TROVEX_QUERY_TUNING_H

#include <cstddef>
#include <cstdint>

namespace trovex {

// The plan.

/// What a verdict costs, roughly: a pattern with a scan is cheap, one without has to look at all of the text, and
/// a sound at all of its words.
inline constexpr double kVerdictByScan = 1;
inline constexpr double kVerdictByPattern = 4;
inline constexpr double kVerdictBySound = 16;
/// How many streams at most are asked through one another: beyond, operands are read beforehand, so that the
/// stack stays small.
inline constexpr int kMostNestedStreams = 64;

// Required strings.

/// Beyond these, strings are cut up or given up: long ones say no more, many ones say little. Strings of a clause,
/// bytes of a string, clauses of a pattern and of a query. Measured: "Fehler|Warnung|Hinweis" with 64 strings, 1.4 to
/// 1.8.
inline constexpr std::size_t kMostStrings = 16;
inline constexpr std::size_t kLongestString = 24;
inline constexpr std::size_t kMostClauses = 8;
inline constexpr std::size_t kMostQueryClauses = 64;
/// The largest set of characters that is written out as so many strings, and how many rounds of a repetition are.
inline constexpr std::size_t kMostOfSet = 4;
inline constexpr int kMostWrittenRounds = 4;
/// At how many of 100,000 places a scan may stop and still be worth its time.
inline constexpr double kMostCandidates = 500;

/// Patterns of more nodes are not written in bytes of UTF-8: compiling them a second time would take too long.
inline constexpr std::size_t kMostNodesWritten = 4'000;
/// Characters beyond ASCII are counted no further there: each takes two positions or more. Measured: ".{60,}", 0.23.
inline constexpr int kMostCountedSequences = 4;

// The search.

/// Queries of up to so many streams are looked at pattern by pattern in a short text (kLookedAtText). Measured:
/// "Datei & Name" in rows of 36 bytes without that, 4.3.
inline constexpr std::size_t kFewStreams = 64;
/// The least bytes of a block, unless the text ends with it. A block is longer by the rest of its last line.
/// Measured: "[a-z]+ung" with 8 KB and with 1 MB, 1.4.
inline constexpr std::size_t kBlockSize = std::size_t{1} << 16;
/// How many blocks that nobody has are kept at least, before one is used for another part of the text.
inline constexpr std::size_t kKeptBlocks = 4;
/// How many bytes are scanned before the search may be interrupted, and how much is spent, a few milliseconds,
/// before the host is asked again whether to go on.
inline constexpr std::size_t kScanStep = std::size_t{1} << 20;
inline constexpr std::int64_t kWorkBetweenAsks = 4'000'000;
/// Candidates of a scan that are not further apart are near: the lines of near ones are read together.
inline constexpr std::size_t kNearCandidates = 128;
/// The least that is looked at, and searched in the bytes, from the line of a candidate on, where a text must be regular.
inline constexpr std::size_t kShortestStretch = 2'048;

/// Strings that are searched together: so many places are one cluster at most. Longer distances are taken as if they
/// had no end: the text is one cluster, of at most so many places.
inline constexpr std::size_t kLargestCluster = 4'096;
inline constexpr std::int64_t kLongestClustered = 1 << 16;
inline constexpr std::size_t kLargestEndless = std::size_t{1} << 18;
/// The same in words, which are counted again and again.
inline constexpr std::int64_t kMostClusteredWords = 128;
/// The most bytes between two places of a cluster where words are counted.
inline constexpr std::size_t kLongestGap = 2'048;

/// What one step of a search costs, in units of about a nanosecond: an operand or an operator finds a
/// place; the walk of a distance decides one; a merge compares two; a tag is written, or given to the
/// host; a byte is searched by a pattern; and so many bytes are scanned, or looked at to measure a
/// distance.
inline constexpr std::int64_t kWorkOfPlace = 48;
inline constexpr std::int64_t kWorkOfDecision = 64;
inline constexpr std::int64_t kWorkOfComparison = 4;
inline constexpr std::int64_t kWorkOfTag = 16;
inline constexpr std::int64_t kWorkOfByte = 1;
inline constexpr std::int64_t kScannedForAUnit = 16;
inline constexpr std::int64_t kMeasuredForAUnit = 2;

}  // namespace trovex

#endif  // TROVEX_QUERY_TUNING_H
