// Numbers that choose between ways to the same answer, in one place. None of them changes what is found.
//
// What may be typed and what work may take stands in limits.h, what a piece of work costs in costs.h.
//
// "Measured" means: 3 MB of German manual pages, searched by the second door with the number as it is and with
// another one, in turns, the best of fifteen; how many times as long the other one took. The machine was not
// quiet: less than a fourth more or less is no difference. Where nothing is said, a fourth and four times as much
// made none in the rows that it could bear on. Not measured are the sizes of arrays (kMostHits, kMostReady, the
// stretches of words and groups), kRareFirstByte, which serves only builds without vector instructions,
// kMostProbeUnits and kSpentAtOnce.

#ifndef TROVEX_MATCHER_TUNING_H
#define TROVEX_MATCHER_TUNING_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace trovex {

// How often bytes come is told in places of 100,000 of German text (scan/byte_frequency.h).

// Short texts.

/// Texts up to this size are looked at with a scan before a search is set up. Measured: rows of 36 bytes without
/// that, 1.4 to 1.9.
inline constexpr std::size_t kLookedAtText = 256;
/// How many bytes texts are screened by before they are looked at, and at how many of 100,000 places these may stand at
/// most: a row that passes is searched twice. What takes longer, or no less, must leave over so much less.
inline constexpr std::size_t kScreenProbes = 2;
inline constexpr double kScreenRate = 2'000;
inline constexpr double kScreenRateHelps = 1.5;
/// From which rate on a string is looked for with what must stand beside it, which takes three times as long; and for
/// how much rarer that is taken to make it.
inline constexpr double kScreenRateAlone = 300;
inline constexpr double kScreenRateBeside = 0.1;
/// What is taken for that rate of the ends of lines, which most short texts have none of; and how many places a short
/// text has, of which the first tells as much there as all of them do elsewhere.
inline constexpr double kScreenRateOfLines = 100;
inline constexpr double kShortTextOfScreens = 36;
/// A look reads no more than so many times the text in vain.
inline constexpr std::ptrdiff_t kReadAgainInLook = 8;
/// Rows of runs are read byte by byte there where their runs are expected to take no more bytes than this. Measured, byte
/// by byte: "^ *[a-z]", 0.8, "be[a-z]*en", 1.3, "[A-Z][a-z]+", 1.4.
inline constexpr double kFewReadBytes = 2;
/// In stretches up to this size places are found one by one, and nothing is kept beside them.
inline constexpr std::ptrdiff_t kShortStretch = 256;

// Scans for places.

/// So many hits are kept at most, and so many places tested together at most.
inline constexpr std::size_t kMostHits = 256;
inline constexpr std::ptrdiff_t kMostPlacesAtOnce = 4096;
/// Without vector instructions: a byte that is rarer than this is looked for alone.
inline constexpr int kRareFirstByte = 5'000;
/// Probes are added until a place is left over as rarely as this, as long as each leaves over no more than
/// such a part of what those before it do; after the second, no more than such a part: most places have been
/// refused by then, and a class such as [a-z] takes longer to look for than a byte. The first is less than would
/// pay if bytes came independently of each other; they do not.
/// Where only single bytes are looked for and the next would be a class, the second rate will do: a class among them
/// takes twice as long for every place. One that is no range must spare such a part of all places more than another
/// byte does. Measured with the first rate alone, and kFewMorePlaces alone: "Sch?r", 1.7; "gr(ü|ue|u)n" with 0 for that
/// part, 1.4.
inline constexpr double kRareEnough = 0.0001;
inline constexpr double kRareEnoughForBytes = 0.001;
inline constexpr double kWorthAClass = 0.002;
inline constexpr double kProbeHelps = 0.95;
inline constexpr double kLaterProbeHelps = 0.5;
/// Alternatives are looked for by the lower halves of their bytes where these leave over no more than so many of 100,000
/// places, each of which is then looked at.
inline constexpr double kFewFalsePlaces = 100;
/// A set of keywords is looked for place by place for as long as there are no more places than one in so many
/// bytes; so many bytes are granted beforehand.
inline constexpr std::ptrdiff_t kPriceOfAStop = 32;
inline constexpr std::ptrdiff_t kFirstCreditForStops = 1'024;
/// A line end is looked for so far before the rest of the text is taken for the line.
inline constexpr std::ptrdiff_t kNearLineEnd = 4'096;
/// Line feeds that what is looked for begins with are looked for alone where none is nearer than this. Measured in a
/// text without any, never alone: "^\.PP$", 3.
inline constexpr std::ptrdiff_t kNearLineFeed = 4'096;

// Rows of runs.

/// Up to so many bytes of a run are looked at one by one.
inline constexpr std::ptrdiff_t kFewRunBytes = 4;
/// Where what follows a run, and is longer than a byte, could begin at more places of it, each is not tried without a
/// note.
inline constexpr int kFewTails = 8;
/// Runs that may take so many bytes are noted, for starts that come into them.
inline constexpr std::ptrdiff_t kLongRun = 16;
/// Longer bounded runs are left to the automata, for each start reads as many bytes again; where what follows
/// is tried in them, so are those that more fixed bytes follow than the second.
/// Measured: "a.{0,100}b" left to the automata by either, 2.9 to 3.6; "Datei.*der.*Verzeichnis" with 8 for the
/// second, 1.3, on one line 33.
inline constexpr std::uint32_t kMostBoundedRun = 1'000;
inline constexpr std::uint32_t kMostTailBytes = 24;

/// Places where a row may begin are sifted by what follows where its first run is not expected to be longer than this,
/// and not further after the beginning.
inline constexpr double kLongestSievedRun = 16;
inline constexpr std::size_t kMostSievedLead = 200;

/// How often a row comes is told from at most so many bytes of each run, and of no run that goes on for longer than
/// the second.
inline constexpr std::uint32_t kMostCountedBytes = 8;
inline constexpr double kLongestCountedRun = 100;
/// How far a run that has an end is read for matches that are cut off it piece by piece.
inline constexpr std::ptrdiff_t kFarRun = std::ptrdiff_t{1} << 16;

// Several strings.

/// Longer strings are not searched for with others: they would be compared in vain too often. Of more strings than one
/// scan looks for, so many bytes are searched for the one part and then for the other.
inline constexpr std::size_t kLongestSearched = 64;
inline constexpr std::ptrdiff_t kStringStretch = std::ptrdiff_t{1} << 15;

// The locator.

/// At how many of 100,000 places the leading bytes, or a required string, may stand, so that they are looked
/// for in any case, and so that they are rather than trying every place.
/// Measured: "[A-Z][a-z]+" with 5,000 for the second, 5.4.
inline constexpr double kRareLead = 200;
inline constexpr double kWorthwhileLead = 20'000;
/// Several ways to begin are looked for as one where that leaves so many places more than they do apart, the second
/// where no classes but ranges are looked for, or so many times as many. Measured: "/[a-z]+(/[a-z]+)+" with 50 for the
/// second, 1.5.
inline constexpr double kFewMorePlaces = 5;
inline constexpr double kFewMorePlacesByRanges = 200;
inline constexpr double kHardlyMorePlaces = 1.5;
/// How much rarer than the leading bytes a required string must be to be of use, and where a row of runs is read
/// from these: it takes more to go on from it. Measured: "Datei.*Verzeichnis" with 16 for the first, 3.0;
/// "a.{0,100}b" with 2 for the second, 18.
inline constexpr double kRequiredAdvantage = 4;
inline constexpr double kRequiredAdvantageOverRuns = 8;
/// From where on the leading bytes of a row of runs are so common that it is looked for as a whole, and how much
/// rarer the row must be; up to there sifting them takes less than looking for a required string.
inline constexpr double kCommonLead = 800;
inline constexpr double kAdvantageOfRows = 4;
/// From where on a string is so common that it is looked for as such a row, with what must stand beside it.
/// Measured: "\<[a-z]{4}\>" with 100,000, 3.6 to 5.5.
inline constexpr double kCommonString = 4'000;
/// How much rarer than the leading bytes a string in the middle of a row must be, and how rare, where the row can be
/// looked for as a whole. Measured, on 9 to 10 MB of manual pages, prose and a log: four numbers with dots
/// between them without one, 1.6 to 4.3, "[a-z]+ung" 1.7 to 2.1; "[A-Z][a-z]+ [A-Z][a-z]+" with one, about 2.
inline constexpr double kAdvantageOfMiddles = 4;
inline constexpr double kCommonMiddle = 400;
/// How rare a required string must be, in 100,000 places, to be looked for in short texts at least: they
/// mostly lack it then, and what it saves there is a search that must be set up.
inline constexpr double kWorthALook = 2'000;
/// How many leading bytes are considered, and from how many positions abreast they tell nothing. Measured:
/// "Fehler|Warnung|Hinweis" with two, 1.3.
inline constexpr std::size_t kLeadingBytes = 8;
inline constexpr std::size_t kMostAbreast = 256;
/// Longer strings than the first are cut at their ends where sets stand that more bytes belong to than the second
/// says. Measured: "([a-z]+)-([a-z]+)" with 1 for the first, 5.5.
inline constexpr std::size_t kShortString = 3;
inline constexpr double kCommonSet = 50'000;
/// Required strings are cut to this; so many of their rarest sets are counted, which is how many are probed.
/// Measured: "Datei.*Verzeichnis" with two of them, 2.7.
inline constexpr std::size_t kLongestRequired = 24;
inline constexpr std::size_t kCountedSets = 4;
/// How many matches are found together, and how far apart they may be where automata find them.
inline constexpr std::size_t kMostReady = 32;
inline constexpr std::ptrdiff_t kFarMatch = 4'096;
/// From leading bytes matches are read that are not much longer than this, for as long as no more than so many times
/// the text is read again, or beyond that.
inline constexpr std::ptrdiff_t kLongReading = 64;
inline constexpr std::int64_t kReadAgain = 2;
/// A state is leapt out of with a scan where bytes that lead elsewhere are no more frequent than this.
inline constexpr double kRareExit = 2'000;
/// How often a text is tried place by place once more after the credit for it was spent.
inline constexpr int kTriesByPlace = 3;
/// What is noted of a line that is searched over sets of positions is worked out again for so many places at
/// least at a time.
inline constexpr std::size_t kLeastBlock = 64;
/// How many distances become shifts of a whole set of positions.
inline constexpr std::size_t kMostShifts = 8;

// Lists of words.

/// The lengths at which a group of words may begin.
inline constexpr std::array<std::size_t, 6> kWordCuts = {2, 3, 4, 5, 6, 8};
/// How much more often than by chance a byte comes after the one before it that it has in a word: in German words
/// and German text. Measured: 10,000 words with 1, 1.7, with 4, 1.3; what lookups cost (kCostOfWindow, costs.h)
/// halved or doubled, 1.6.
inline constexpr double kCorrelation = 1.9;
/// A table of windows with their offsets has room for so many times as many, as a power of two. Measured: 1,000 words
/// with 2, 1.3; with 3, 1.1; with 5, 1.0.
inline constexpr int kOffsetBits = 4;
/// How many values one place of a word may have in a table of windows.
inline constexpr std::size_t kMostVariants = 64;
/// In patterns of more positions a list leads wherever there is one: automata of them would make states all the time.
/// Measured: "(500 words) [A-Z][a-z]+" with ten times as many, 1,000.
inline constexpr std::size_t kMostLeadingPositions = 2'000;
/// Of what stands before a list in a pattern, a width up to this is made use of.
inline constexpr std::size_t kLongestFixedLead = 256;
/// Where more words are parted among buckets, those that begin alike stay together.
inline constexpr std::size_t kMostBucketWords = 256;
/// A stretch is scanned for places of words at a time, first of the one size, then doubled up to the other. Both
/// are multiples of 64 and of every stride.
inline constexpr std::size_t kFirstWordStretch = 192;
inline constexpr std::size_t kLargestWordStretch = 6'144;

// Groups and back-references.

/// What a line is read at once for is kept at one place in so many, and worked out again in between.
inline constexpr int kLineStretch = 256;
/// The choices of ways are noted for so many bytes of a match at a time.
inline constexpr std::size_t kGroupStretch = std::size_t{1} << 15;
/// Runs that are longer are compared by suffixes, not half by half. Measured: runs of 300 bytes half by half, 1.5.
inline constexpr std::size_t kLongDoubledRun = 64;
/// Halves of such runs that have a bound are compared one by one; with a greater bound they are rows.
inline constexpr int kLongestBoundedHalf = 32;
/// What may be spent at one place before outcomes are remembered, in units of back-references.
inline constexpr std::uint64_t kMostProbeUnits = 500;
/// Rows with back-references: how rare their beginnings must be, in 100,000 places, to be preferred to places where
/// bytes repeat, what counts as every place, and up to which bound runs are read anew at each start.
inline constexpr double kRareRow = 5'000;
inline constexpr double kEveryRowPlace = 100'000;
inline constexpr std::size_t kMostBoundedRowRun = 16;
/// How many ends of runs and words are tried at one start of a row before it is left.
inline constexpr std::size_t kMostRowTries = 2'000;
/// What rows may take in a text, in units of about a nanosecond: for each byte that was gone through, and in any case,
/// before the text is searched without them.
inline constexpr std::uint64_t kRowUnitsPerByte = 64;
inline constexpr std::uint64_t kRowUnitsPerText = 1'000'000;
/// More repeated bytes than these do not make a place rarer that is worth it. Measured: "([a-z][a-z][a-z])\1" with
/// one, 3.9; with sixteen no difference.
inline constexpr std::size_t kMostRepeatedBytes = 4;
/// How much the bounded matcher does before it spends it.
inline constexpr std::int64_t kSpentAtOnce = 10'000;

}  // namespace trovex

#endif  // TROVEX_MATCHER_TUNING_H
