// Finds where the leftmost match lies, and of those the longest, in time that grows with the bytes looked
// at and no faster, on texts and lines of any length.
//
// One of seven leads tells at which places a match can start:
//
//   string          The pattern is nothing but one string of sets: where it stands is the answer.
//   class           The pattern is nothing but a run of bytes of one set: the bits of these are the answer.
//   words           The pattern is a list of words (words/word_scan.h): where one stands is the answer.
//   words in it     A list of words is part of the pattern (list_lead.h): where one stands, what stands before
//                   the list and after it is looked at.
//   leading bytes   The bytes that can stand at the first offsets of a match are rare enough: the
//                   places where they do are searched for (place_scan.h). If every match holds a much
//                   rarer string, lines without it are passed over.
//   required        Every match holds a string. Where it occurs, the automaton that reads backwards
//                   says from where on the text up to its end could be the beginning of a match.
//   every place     None of these promises to leave much out.
//
// Where the pattern is nothing but a few words (words/few_words.h), or these and a run, they are compared with the
// places that the leading bytes lead to, and there is the answer. Where it is a row of runs (run_scan.h), these are
// read from the leading bytes on, and there is the answer, too; where such bytes are everywhere, from a rare string in
// the middle of the row (run_middle.h), or from the places where the whole row can begin (run_filter.h). A single run
// is told by its bits (class_run.h).
// What must stand beside each match, as after "^" a line begins, is looked for with all of these. Where no match is
// empty, they are found several at a time and handed out one by one.
//
// From other leading bytes a reader that was made beforehand (match_reader.h) says whether a match starts there, and
// where it ends, for as long as not much is read twice. Else the automaton that reads forwards goes on to the end of the
// leftmost match; its start is known from the way, or the automaton that reads backwards looks for it. Where the credit
// for making their states, or for reading in vain, is spent, the automaton is asked at one place after the other,
// which takes fewer states; and where that takes too much, too, the line is searched in the way that
// needs neither (line_search.h).
//
// What a pattern is compiled into (`LocatorProgram`) never changes; what searches need to remember
// (`MatchLocator`) belongs to one thread.

#ifndef TROVEX_MATCHER_AUTOMATA_MATCH_LOCATOR_H
#define TROVEX_MATCHER_AUTOMATA_MATCH_LOCATOR_H

#include "matcher/automata/backward_automaton.h"
#include "matcher/automata/forward_automaton.h"
#include "matcher/automata/line_search.h"
#include "matcher/automata/list_lead.h"
#include "matcher/automata/match_reader.h"
#include "matcher/automata/position_graph.h"
#include "matcher/automata/search_credit.h"
#include "matcher/runs/class_run.h"
#include "matcher/runs/run_filter.h"
#include "matcher/runs/run_middle.h"
#include "matcher/runs/run_scan.h"
#include "matcher/runs/run_sieve.h"
#include "matcher/scan/place_cursor.h"
#include "matcher/scan/start_scan.h"
#include "matcher/scan/string_scan.h"
#include "matcher/scan/text_screen.h"
#include "matcher/tuning.h"
#include "matcher/words/few_words.h"
#include "matcher/words/word_scan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace trovex {

/// Where a match lies.
struct LocatedRange {
  const unsigned char* start = nullptr;  // null: there is none
  const unsigned char* end = nullptr;
};

class LocatorProgram {
 public:
  /// `words`: the graph was made for whole words. `required`: a string that every match holds; empty if
  /// none is known. `runs`: what RunsOf says of the pattern (run_pattern.h).
  LocatorProgram(std::unique_ptr<const PositionGraph> graph, bool words,
                 const std::vector<CharSet>& required, const std::vector<Run>& runs = {});

  /// For the words of `scan`, which are found without automata. A graph of the same is of use where they are
  /// so long that looking at them could take the square of a text; null: there is none.
  LocatorProgram(WordScan scan, bool words, const CharSet& wordBytes,
                 std::unique_ptr<const PositionGraph> graph);

  /// Has a list of words in `tree`, which the graph was made of with `options`, lead where that is expected to be
  /// faster than what leads now, or, if all of it are a few words, these compared where it leads to. The work is charged
  /// to `budget`.
  void ConsiderList(const SyntaxTree& tree, const GraphOptions& options, CompileBudget& budget);

  /// Prepares to tell matches in short texts without a search. The work is charged to `budget`.
  void PrepareLooks(CompileBudget& budget);

  /// Whether matches must be whole words.
  bool Words() const { return words_; }

  /// Whether the pattern is nothing but one string of sets.
  bool IsString() const { return string_.has_value(); }

  /// The sets of this string.
  const std::vector<CharSet>& StringSets() const { return graph_->bytes; }

  /// Whether the string, which stands from `start` up to `stop`, is a match there as far as its neighbours
  /// count, in a text from `begin` to `end`.
  bool IsStringBetween(const unsigned char* start, const unsigned char* stop,
                       const unsigned char* begin, const unsigned char* end) const {
    return isStringFree_ || HasNeighbours(start, stop, begin, end);
  }

  enum class Answer { kMatch, kNoMatch, kUnknown };

  /// A look at a text from `place` to `end`, of at most kLookedAtText bytes, before anything is set up for a
  /// search: the first match, or that there is none, or, where that takes more, that it is not known. Costs as much as a scan.
  Answer LookAt(const unsigned char* place, const unsigned char* end, LocatedRange& match) const {
    return screen_.Refuses(place, end) ? Answer::kNoMatch : LookPastScreen(place, end, match);
  }

  /// The first of what a look does, which tells most short texts that have no match.
  const TextScreen& Screen() const { return screen_; }
  /// The rest of it, for a text that the screen lets pass.
  Answer LookPastScreen(const unsigned char* place, const unsigned char* end,
                        LocatedRange& match) const;

 private:
  friend class MatchLocator;

  Answer LookForString(const unsigned char* begin, const unsigned char* end,
                       LocatedRange& match) const;
  Answer LookForFirst(const unsigned char* begin, const unsigned char* end,
                      LocatedRange& match) const;
  Answer LookForRuns(const unsigned char* place, const unsigned char* end,
                     LocatedRange& match) const;
  void ChooseLead(const std::vector<CharSet>& required, const std::vector<Run>& runs);
  void ScreenByLines();
  Answer LookForRows(const unsigned char* place, const unsigned char* begin,
                     const unsigned char* end, LocatedRange& match) const;
  Answer LookForFewWords(const unsigned char* place, const unsigned char* begin,
                         const unsigned char* end, LocatedRange& match) const;
  const unsigned char* EndOfWord(const unsigned char* place, const unsigned char* begin,
                                 const unsigned char* end) const;
  const unsigned char* NextRow(const unsigned char* place, const unsigned char* begin,
                               const unsigned char* end, RunFilter::Cursor& cursor) const;
  template <typename Next>
  Answer TryRuns(const unsigned char* place, const unsigned char* begin, const unsigned char* end,
                 Next next, LocatedRange& match) const;
  Answer LookByReading(const unsigned char* place, const unsigned char* begin,
                       const unsigned char* end, LocatedRange& match) const;
  Answer LookForListed(const unsigned char* begin, const unsigned char* end,
                       LocatedRange& match) const;
  bool HasNeighbours(const unsigned char* start, const unsigned char* stop,
                     const unsigned char* begin, const unsigned char* end) const;
  /// What finds the places where a match can start in short texts; null: they are all looked at.
  const StartScan* Starts() const { return leading_ ? &*leading_ : starts_ ? &*starts_ : nullptr; }
  bool HasScan() const { return required_.has_value() || leading_.has_value(); }
  /// Whether the lead alone tells where matches lie.
  bool NeedsNoAutomata() const { return string_ || class_ || runs_ || few_; }
  /// Whether a reader tells it, of most places that the leading bytes lead to.
  bool ReadsFromLeading() const {
    return reader_ && leading_ && !required_ && !listLead_ && !NeedsNoAutomata();
  }

  const std::unique_ptr<const PositionGraph> graph_;
  const bool words_;
  std::ptrdiff_t shortest_ = 0;         // no match has fewer bytes
  TextScreen screen_;                   // for short texts
  std::optional<StringScan> string_;    // set if that lead is followed
  std::optional<StringScan> required_;  // set if it is of use
  std::optional<StringScan> rarer_;     // else one that is of use in short texts, if there is any
  std::optional<StartScan> leading_;    // set if these lead
  std::optional<ClassRun> class_;       // set if that lead is followed
  std::optional<RunScan> runs_;         // set if what one of these leads to is a row of runs
  std::optional<RunMiddle> middle_;     // a string in the middle of the row
  std::optional<RunFilter>
      filter_;  // set if the leading bytes are common: looks for the row as a whole
  std::optional<RunSieve> sieve_;      // sifts what the leading bytes lead to
  std::optional<StartScan> starts_;    // the same where another leads, for short texts
  std::optional<MatchReader> reader_;  // set if it is of use in these, or from the leading bytes
  /// What must stand beside a match, where that is known and the lead is a string or a row of runs.
  Beside beside_;
  bool readsRuns_ = false;        // the row of runs is read byte by byte in short texts
  bool isToldBeside_ = true;      // what must stand beside the string is in `beside_`
  bool isStringFree_ = false;     // nothing must stand beside the string
  bool findsMany_ = false;        // matches are found several at a time: none is empty
  bool startsAnywhere_ = false;   // matches start so whatever stands before them
  MemberTable canStart_{};        // the bytes that a match, which is not empty, can start with
  std::optional<FewWords> few_;   // set if what the leading bytes lead to are a few words
  std::optional<WordScan> list_;  // set if that lead is followed
  bool canDoWithoutList_ = true;
  std::optional<ListLead>
      listLead_;     // set if that lead is followed, for as long as its credit lasts
  double cost_ = 0;  // of what else leads, in nanoseconds a byte; 0: it is fast enough
};

class MatchLocator {
 public:
  /// `program` must outlive the locator.
  explicit MatchLocator(const LocatorProgram& program);

  /// Whether matches must be whole words.
  bool Words() const { return program_.Words(); }

  /// Whether the pattern is nothing but one string of sets.
  bool IsString() const { return program_.IsString(); }

  /// The searches that follow are of `length` bytes at `text`, which are not changed meanwhile. They may take
  /// what the text allows, and no more than `most` units beyond what each byte brings.
  void Begin(const unsigned char* text, std::size_t length, std::int64_t most = INT64_MAX);

  /// Where a search begins, in the text of the latest `Begin`.
  struct Request {
    /// The place from which matches may start.
    const unsigned char* place;
    /// Before it nothing is looked at: a line begins there.
    const unsigned char* begin;
    /// The end of the last line, the same for all searches of a text: nothing after it is looked at.
    const unsigned char* end;
    /// Whether no empty match counts at `place` itself.
    bool refusesEmpty = false;
    /// The byte at `end` where it decides whether a word ends there that is not the whole line; below 0:
    /// the end of the text is the end of any word.
    int after = -1;
  };

  using Match = LocatedRange;

  /// The leftmost match, and of those the longest. Throws nothing but std::bad_alloc, and is then as
  /// usable as before. Taken apart and given back in registers: matches can be a few bytes apart.
  Match Find(const Request& request) {
    if (const Match* const ready = TakeReady(request.place, request.begin, request.end))
      return *ready;
    return Find(request.place, request.begin, request.end, request.refusesEmpty, request.after);
  }

  /// A match that was found with the one before it, for a search that goes on from there; null if there is
  /// none ready.
  const Match* TakeReady() {
    if (nextReady_ == readyCount_) return nullptr;
    const Match& match = ready_[nextReady_++];
    readyFrom_ = match.end;
    return &match;
  }

  /// The same for a search from `place` on in a text from `begin` to `end`.
  const Match* TakeReady(const unsigned char* place, const unsigned char* begin,
                         const unsigned char* end) {
    return IsReadyFor(place, begin, end) ? TakeReady() : nullptr;
  }

  /// All of these, in order, that searches find of which each begins, with the text, where the match before ends, as long
  /// as they end before `limit`; none: the search goes on by itself. Valid until it does.
  std::span<const Match> TakeAllReady(const unsigned char* place, const unsigned char* end,
                                      const unsigned char* limit) {
    const std::size_t first = nextReady_;
    if (first == readyCount_ || !IsReadyFor(place, place, end)) return {};
    for (; nextReady_ < readyCount_ && ready_[nextReady_].end < limit; ++nextReady_) {
      if (nextReady_ > first && !IsReadyFor(readyFrom_, readyFrom_, end)) break;
      readyFrom_ = ready_[nextReady_].end;
    }
    return {&ready_[first], nextReady_ - first};
  }

  /// Where the last match that is ready ends; `place` if there is none.
  const unsigned char* EndOfReady(const unsigned char* place) const {
    return nextReady_ < readyCount_ ? ready_[readyCount_ - 1].end : place;
  }

  /// Drops what is ready and begins before `place`.
  void SkipReady(const unsigned char* place) {
    while (nextReady_ < readyCount_ && ready_[nextReady_].start < place)
      ++nextReady_;
  }

  /// Where the latest search gave up, before a match was found; null if it did not.
  const unsigned char* GaveUpAt() const { return gaveUpAt_; }

  /// What the searches since `Begin` have taken beyond the credit that each byte brings, in units of about
  /// a nanosecond.
  std::int64_t Work() const { return unitsGiven_ - unitsLeft_; }

 private:
  using Byte = unsigned char;
  /// One search: the request, and how far it has come.
  struct Search;
  enum class Step {
    kFound,
    kNotFound,
    kGoOn,   // nothing up to the search's place: the automata can go on from there
    kSpent,  // not known: the credit is spent
  };

  /// Whether what is ready, or was, goes on with this search. Where the text is thought to begin counts for a match
  /// that starts there, and for no other.
  bool IsReadyFor(const Byte* place, const Byte* begin, const Byte* end) const {
    if (place != readyFrom_ || end != readyEnd_) return false;
    return program_.startsAnywhere_ || begin == readyBegin_ || place == end ||
           !program_.canStart_[*place];
  }

  Match Find(const Byte* place, const Byte* begin, const Byte* end, bool refusesEmpty, int after);
  bool FindFrom(Search& search);
  bool FindAlone(Search& search);
  Match FindMany(const Search& search);
  std::size_t FindTogether(const Search& search, std::size_t most);
  std::size_t FindClassRuns(const Search& search, std::size_t most);
  std::size_t FindFromMiddle(const Search& search, std::size_t most);
  std::size_t FindStrings(const Search& search, std::size_t most);
  std::size_t FindRuns(const Search& search, std::size_t most);
  std::size_t FindSifted(const Search& search, std::size_t most);
  std::size_t FindFewWords(const Search& search, std::size_t most);
  std::size_t FindRead(const Search& search, std::size_t most);
  std::size_t FindOneByOne(const Search& search, std::size_t most);
  Step FindListed(Search& search);
  Step FindAroundList(Search& search);
  Step FindByAutomata(Search& search);
  bool FindStart(Search& search, const Byte* from);
  Step FindOnLines(Search& search);
  bool PrepareLine(Search& search);
  bool CanSearchLines();
  bool TryPlaces();
  bool GrantMore();
  void PassTo(const Byte* place);
  void ChooseCreditPerByte();

  const Byte* NextPlace(const Search& search, bool& isSpent);
  const Byte* PlaceByLeadingBytes(const Search& search);
  const Byte* PlaceByRequired(const Search& search, bool& isSpent);
  const Byte* NextRequired(const Search& search, const Byte* place);
  ByteKind KindBefore(const Search& search, const Byte* place) const;
  ByteKind KindAt(const Search& search, const Byte* place) const;
  BackwardAutomaton& Backward();

  const LocatorProgram& program_;
  const PositionGraph& graph_;
  SearchCredit credit_;
  std::optional<ForwardAutomaton> forward_;  // these are made when they are first needed
  std::optional<BackwardAutomaton> backward_;
  std::unique_ptr<LineSearch> line_;
  std::unique_ptr<WordPlaces> places_;
  std::unique_ptr<ListLeadSearch> listLead_;
  std::unique_ptr<ClassRun::Cursor> classRuns_;
  bool linesAreTooCostly_ = false;
  bool tryPlaces_ = false;   // the automaton starts at one place at a time
  int placesTooCostly_ = 0;  // how often the credit did not suffice for that
  std::int64_t creditPerByte_;

  // Of the text.
  std::int64_t unitsGiven_ = 0;
  std::int64_t unitsLeft_ = 0;
  const Byte* gaveUpAt_ = nullptr;
  const Byte* givesUpNextAt_ = nullptr;  // where it gave up after the matches that are ready
  /// Matches that were found and not asked for yet; the search goes on from `readyFrom_` in a text from
  /// `readyBegin_` to `readyEnd_`.
  std::array<Match, kMostReady> ready_;
  std::size_t nextReady_ = 0;
  std::size_t readyCount_ = 0;
  const Byte* readyFrom_ = nullptr;
  const Byte* readyBegin_ = nullptr;
  const Byte* readyEnd_ = nullptr;
  RunScan::Notes runNotes_;
  RunFilter::Cursor runPlaces_;
  PlaceCursor hits_;         // of the string, or of the leading bytes
  SieveLengths rowLengths_;  // by number of these, where they were sifted
  PlaceCursor requiredHits_;
  const Byte* passed_ = nullptr;  // the furthest place that a search began or ended at
  // The required string that was found last, the place from which it was looked for, and the first place
  // of its line, or that place.
  const Byte* required_ = nullptr;
  const Byte* requiredFrom_ = nullptr;
  const Byte* requiredLine_ = nullptr;
  std::int64_t readCredit_ = 0;  // what may be read again, or far, from the leading bytes on
  std::int64_t listCredit_ = 0;  // what may be looked at of words that are none in the end
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_MATCH_LOCATOR_H
