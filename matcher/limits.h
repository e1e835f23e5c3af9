// Every limit of what a user may type, in one place.
//
// A host hands over what a stranger typed, so compiling and searching must stay within a small part
// of the machine: 256 MB of memory, one second, and a stack of 256 KB. The limits hold the worst
// pattern of each kind to that, with a factor of 1.5 or more to spare, and lie far above anything a
// person types. "Measured" means: on x86-64 with version 2.36 of the GNU C library.

#ifndef TROVEX_MATCHER_LIMITS_H
#define TROVEX_MATCHER_LIMITS_H

#include <cstddef>
#include <cstdint>

namespace trovex {

/// What compiling one expression may cost, all its patterns together (budget.h): steps of about 3 ns
/// and bytes. What is refused has taken 0.7 s and 192 MB at most on a busy machine.
inline constexpr std::int64_t kMaxCompileSteps = 150'000'000;
inline constexpr std::int64_t kMaxCompileBytes = std::int64_t{192} << 20;

/// Of that, what the strings that every match contains may cost a pattern, what the line filter and the
/// locator may. Beyond it the pattern is searched without.
inline constexpr std::int64_t kMaxRequiredStringSteps = 20'000'000;
inline constexpr std::int64_t kMaxMustStringSteps = 10'000'000;
inline constexpr std::int64_t kMaxLineFilterSteps = 40'000'000;
inline constexpr std::int64_t kMaxLocatorSteps = 40'000'000;
inline constexpr std::int64_t kMaxLocatorBytes = std::int64_t{48} << 20;
inline constexpr std::int64_t kMaxLineFilterBytes = std::int64_t{48} << 20;

/// Brackets and NOTs inside one another in a search expression: 9814 beyond. The parser of expressions
/// recurses there, as do the walks over its trees. An AND inside of a bracket counts as one more.
inline constexpr int kMaxExpressionNesting = 200;

/// Patterns in a search expression: 9814 beyond. Each takes 13 KB and 20 µs at least.
inline constexpr int kMaxExpressionPatterns = 16'000;

/// Groups inside one another in a pattern, and repetition operators in a row: 9814 beyond. The
/// engine's parser recurses: 300 groups fit into 256 KB, 400 do not.
inline constexpr int kMaxPatternNesting = 200;

/// Bytes, sets, anchors, groups and operators of a pattern after "a{3}" is written as "aaa": 9814
/// beyond. "x+" counts as "xx*", for that is what the engine makes of it. The engine takes up to 220
/// bytes for each.
inline constexpr double kMaxPatternSize = 60'000;

/// A list of words that is larger is not given to the engine, which would take a millisecond for each hundred
/// words, and more memory than there is for 10,000.
inline constexpr double kMaxEngineListSize = 20'000;

/// The size of alternatives without repetitions and back-references in the second door, and of lists of words in
/// both: they are large only because they were typed so.
inline constexpr double kMaxListSize = 400'000;

/// Steps that lead through a pattern without a byte of text, one after the other, as in "a?b?c?":
/// 9814 beyond. The engine recurses along them: 2,000 fit into 256 KB.
inline constexpr int kMaxEmptySteps = 1'200;

/// A list of words: what reading it may cost before it is taken for another pattern, and how many words and
/// bytes it may have when alternatives inside of words are written out.
inline constexpr std::int64_t kMaxWordListSteps = 40'000'000;
inline constexpr std::int64_t kMaxWordListBytes = std::int64_t{48} << 20;
inline constexpr std::size_t kMaxListedWords = 200'000;
inline constexpr std::size_t kMaxListedBytes = 1'000'000;
/// Fewer words are found as fast by the bytes that they begin with. And words that are longer than this are
/// looked for with automata at hand: many of them that nearly match, at every place, would take too long.
inline constexpr std::size_t kFewestListedWords = 9;
inline constexpr std::size_t kLongestWordAlone = 64;
/// How often something in a word may be repeated, and how many bytes one of its sets may have, to be written out.
inline constexpr int kMaxListedRounds = 8;
inline constexpr std::size_t kMaxListedSet = 16;
/// How many windows a table of words is made for.
inline constexpr std::size_t kMaxWindows = 1 << 20;

/// What reads a match in a short text (automata/match_reader.h): how many entries its states may have together, of how
/// many classes of bytes, and what making them may cost. Larger patterns are searched as in long texts.
inline constexpr std::size_t kMaxReaderEntries = 8'192;
inline constexpr int kMaxReaderClasses = 250;
inline constexpr std::int64_t kMaxReaderSteps = 100'000;
inline constexpr std::int64_t kMaxReaderBytes = std::int64_t{1} << 20;

/// The automata that locate matches: how many pairs of bytes of the pattern that may stand side by
/// side they are made for, how many tables each of them has at most at one time (1 KB each), and how
/// many positions its states may hold together. Larger patterns are left to the engine.
inline constexpr std::size_t kMaxLocatorEdges = 200'000;
inline constexpr std::size_t kMaxLocatorTables = 1'024;
inline constexpr std::size_t kMaxLocatorPositions = std::size_t{1} << 20;

/// The net that the locator's graph is made from: how many states it has for each position that the graph may
/// have, and how many steps it takes for each edge.
inline constexpr std::size_t kMaxStatesPerPosition = 8;
inline constexpr std::size_t kMaxGraphStepsPerEdge = 16;

/// A row of runs: how many, and how often a row in a bracket is written out.
inline constexpr std::size_t kMaxRuns = 32;
inline constexpr int kMaxRowCopies = 16;

/// A pattern for the library's own automata, with no engine behind it: how deep its tree may be, over which
/// recursions go, and how many positions and edges its graph may have when repetitions are written out,
/// at about 150 bytes each position and 16 each edge.
inline constexpr int kMaxTreeDepth = 1'000;
inline constexpr std::size_t kMaxProgramPositions = 250'000;
inline constexpr std::size_t kMaxProgramEdges = 4'000'000;

/// What the search of a text may take: units of work, of about a nanosecond each, per byte, and how many
/// more in any case. Beyond that it gives up.
inline constexpr std::int64_t kSearchUnitsPerByte = 2'000;
inline constexpr std::int64_t kSearchUnitsAtLeast = 10'000'000;

/// What of that is granted for making states, and for reading bytes again, before the search goes over
/// from states to sets of positions: at first, per byte of the text, and saved up at most.
inline constexpr std::int64_t kFirstCredit = 1'000'000;
inline constexpr std::int64_t kCreditPerByte = 32;
inline constexpr std::int64_t kMaxCredit = 4'000'000;
/// What is granted per byte for what stands around words, beside the first credit.
inline constexpr std::int64_t kListLeadCreditPerByte = 8;
/// A text of so many bytes has a first credit of its own; shorter ones share theirs.
inline constexpr std::int64_t kLongText = 65'536;

/// How much a step over a set of positions may cost. Three steps are taken for each byte; measured, they
/// take less than twice the cost of one, as it is estimated.
inline constexpr std::int64_t kMaxStepCost = 950;
/// What such a search may keep of a line: words of 64 positions. 128 MB.
inline constexpr std::size_t kMaxLineWords = std::size_t{1} << 24;
/// Of larger graphs it is not even tried how much a step would cost.
inline constexpr std::size_t kMaxSimulatedEdges = 500'000;

/// The line filter: how many transition tables exist at most at one time, of 1 KB each, and how many
/// positions the states may hold together when all tables are thrown away; with more, the states go too.
/// 32 MB.
inline constexpr int kMaxBuiltTables = 1024;
inline constexpr std::size_t kMaxHeldPositions = std::size_t{1} << 22;

/// The roads beside the automata, and the operators of a query: units of work, of about a nanosecond
/// each, that all searches of one text may take together in any case, and per byte of the text.
inline constexpr std::int64_t kWorkAtLeast = 1'000'000'000;
inline constexpr std::int64_t kWorkPerByte = 2'000;
/// The part of the former that the first door keeps for patterns with back-references, which may have to try
/// every two places of a line. Without it, a sentence of 300 bytes would be too much for "(.+).*\1x". The
/// others need it not: of 1,215 searches made to be slow (tests/matcher/hostile_searches.h, seeds to 1,500, on
/// 1,000 and on 4,000 bytes), 6 give up with what is left; 12 would with a third of that, and so would
/// "(a).{0,300}b" with its group on a line of 8,000 bytes.
inline constexpr std::int64_t kWorkForReferences = 700'000'000;

/// Matches that lie one inside the other, with a group asked for: so many bytes of a line may be read again,
/// and so many times what remains of it, before it is read as a whole.
inline constexpr std::ptrdiff_t kReadAgainAtLeast = 4'096;
inline constexpr std::ptrdiff_t kReadAgainTimes = 2;

/// Longer lines, and patterns of more steps, are not given to the engine: it tries one start of a line
/// after the other, and the states of its search grow with the pattern. On a line of this length
/// that costs less than a microsecond a byte.
inline constexpr int kMaxEngineLine = 256;
inline constexpr std::size_t kMaxEngineSteps = 1'000;

/// The library's own matcher, in one search of a line: how many states and sets of group ranges it
/// remembers. Beyond any of them the search ends without a match, after about 120 MB at most.
inline constexpr std::size_t kMaxBoundedStates = 1'000'000;
inline constexpr std::size_t kMaxBoundedCaptures = 200'000;

/// Telling the groups of a known match: the nodes of the graph that is walked, and how many of them are
/// noted at all positions of the match together (5 bytes each).
inline constexpr std::size_t kMaxGroupNodes = 200'000;
inline constexpr std::size_t kMaxGroupEntries = 8'000'000;

/// All ways through a pattern: larger patterns are not written out, the first where groups are asked for, the
/// second where the pattern has back-references. Their groups then took no part, their searches give up at once.
inline constexpr int kMaxGroupSteps = 200'000;
inline constexpr int kMaxReferenceSteps = 100'000;
/// What telling the groups of a match may take: steps of one to two nanoseconds for each byte, and so many more.
/// What all matches of a text take is paid for by whoever asks for them.
inline constexpr std::uint64_t kGroupStepsPerByte = 1'000;
inline constexpr std::uint64_t kGroupStepsPerMatch = 1'000'000;
/// Patterns that leave one way open at each place: how many ways and links of their tables they have, and how
/// many steps are taken to find them. Others are not walked so.
inline constexpr std::size_t kMaxWays = 1'000;
inline constexpr std::size_t kMaxWayLinks = 1 << 16;
inline constexpr std::size_t kMaxWayVisits = 20'000;
/// Back-references: what the search of a text may take for each byte, and in any case, in units of about 10 ns.
inline constexpr std::uint64_t kReferenceUnitsPerByte = 200;
inline constexpr std::uint64_t kReferenceUnitsPerText = 100'000'000;
/// Rows of more pieces, or of more words in one place, are not read as such.
inline constexpr std::size_t kMostRowPieces = 32;
/// What such a search remembers: outcomes (about 150 MB), ends of pieces, ranges of groups.
inline constexpr std::size_t kMaxReferenceOutcomes = 3'000'000;
inline constexpr std::size_t kMaxReferenceEnds = 12'000'000;
inline constexpr std::size_t kMaxReferenceCaptures = 6'000'000;
/// Beyond so many nodes, what a back-reference stands for is "any bytes", where it is looked for without.
inline constexpr std::size_t kMaxReferencedNodes = 4'000;
/// Trees of more nodes are left to the engine's road, where the first door searches for back-references.
inline constexpr std::size_t kMaxWalkedNodes = 1'000;

/// Groups of matches that lie one inside the other: what is kept of a line that is read for them, in numbers
/// of 4 bytes.
inline constexpr std::size_t kMaxLineEnds = 8'000'000;

}  // namespace trovex

#endif  // TROVEX_MATCHER_LIMITS_H
