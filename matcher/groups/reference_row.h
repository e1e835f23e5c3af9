// Patterns with back-references that are a row of simple pieces, such as "([a-z]+) und \1": runs of bytes, fixed bytes,
// lists of words, brackets, anchors and back-references, one after the other and none of them repeated as a whole.
//
// From a start the pieces are read one by one. A run after which none of its bytes can stand is read to its end, and
// there is no choice; of others each end is tried, the furthest first, where what follows can stand, and ends from
// which no longer match can be reached are left out. Runs that were read are kept, for the starts that come into them.
//
// Starts are looked for by the bytes that stand at fixed distances from them, or by a string in the middle of the row
// that cannot begin in what stands before it, such as " und " here: the starts that lead to it are those from which
// only bytes of the pieces before it stand up to there. Where bytes of neither are rare, every place is tried, or those
// that a sieve leaves (repeat_sieve.h).

#ifndef TROVEX_MATCHER_GROUPS_REFERENCE_ROW_H
#define TROVEX_MATCHER_GROUPS_REFERENCE_ROW_H

#include "matcher/groups/repeat_sieve.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/scan/place_cursor.h"
#include "matcher/scan/string_scan.h"
#include "matcher/search_outcome.h"
#include "text/byte_map.h"
#include "text/byte_range.h"
#include "text/char_set.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace trovex {

class ReferenceRow {
 public:
  /// What the row asks of the pattern's options.
  struct Options {
    bool wholeWords = false;
    CharSet wordBytes;
    ByteMap comparedAs{};
  };

  /// Nothing if `tree` is no such row, or a group that is referred to, or the whole, can be empty.
  static std::optional<ReferenceRow> Make(const SyntaxTree& tree, const Options& options);

  /// What a search needs beside the text, and what it remembers of that.
  class Workspace {
   public:
    /// The searches that follow are of another text, or of a part of it that ends elsewhere.
    void Begin() {
      cursor_.Reset();
      repeats_.Reset();
      for (ReadRun& run : runs_)
        run = {};
      used_ = 0;
    }

    /// What the searches since Begin have spent, in units of about a nanosecond.
    std::uint64_t Used() const { return used_; }

   private:
    friend class ReferenceRow;

    struct ReadRun {
      const unsigned char* from = nullptr;
      const unsigned char* end = nullptr;
    };

    PlaceCursor cursor_;
    RepeatSieve::Workspace repeats_;
    std::vector<ReadRun> runs_;      // by set: one that was read
    std::vector<ByteRange> groups_;  // by group, on the way that is being tried
    std::uint64_t used_ = 0;
    std::uint64_t most_ = 0;       // that may be used up to the end of the present start
    std::size_t tries_ = 0;        // there
    bool isSpent_ = false;         // there were too many
    bool metReference_ = false;    // a way came to a back-reference
    std::size_t best_ = kNowhere;  // the furthest end
  };

  /// The first match that starts from `from` to `lastStart`, of those there the longest. Where there are too many ways
  /// at a place, or more was used than `most` units and kRowUnitsPerByte for each byte that was gone through, kGaveUp:
  /// no match starts before `match.begin`.
  SearchOutcome Next(TextView text, std::size_t from, std::size_t lastStart, ByteRange& match,
                     std::uint64_t most, Workspace& work) const;

  /// Whether what leads to matches stands in `text`.
  bool MayBeIn(TextView text) const {
    const unsigned char* const begin = text.data();
    return !scan_ || scan_->Find(begin, begin + text.size()) != nullptr;
  }

  /// At how many of 100,000 places a start is expected to be tried.
  double Rate() const { return rate_; }

 private:
  enum class Kind : unsigned char { kOpen, kClose, kAnchor, kReference, kBytes, kRun, kWords };
  enum class Lead : unsigned char { kEveryPlace, kBeginning, kMiddle };
  using Word = std::vector<std::uint32_t>;  // tables

  struct Piece {
    Kind kind;
    int value = 0;  // the group, the anchor, or the first of its words
    std::uint32_t table = 0;
    std::size_t least = 0;  // so many bytes at least, or so many words
    std::size_t most = 0;
    bool isRead = false;     // a run that is read to its end: none of its bytes can stand after it
    bool asksNext = false;   // it is known what can stand after it:
    std::uint32_t next = 0;  // these bytes
    unsigned char nextByte = 0;  // this one alone, if it is not 0
    int nextReference = 0;       // or the first byte of this group; 0: none
    std::size_t closedAt = 0;    // of a back-reference: the piece that closes its group
  };

  /// A group that was read from the tree.
  struct Group {
    std::size_t open = SIZE_MAX;  // pieces
    std::size_t close = SIZE_MAX;
  };

  bool Add(const SyntaxTree& tree, const SyntaxNode& node);
  bool AddLeaf(const SyntaxTree& tree, const SyntaxNode& leaf, int least, int most);
  bool AddAlternatives(const SyntaxTree& tree, const SyntaxNode& node);
  bool AddReference(int group);
  bool AddPiece(const Piece& piece);
  std::uint32_t TableOf(const CharSet& set);
  CharSet SetOf(const SyntaxTree& tree, const SyntaxNode& leaf) const;
  CharSet Closed(const CharSet& set) const;
  bool IsFit() const;
  std::size_t LeastWidth(std::size_t from, std::size_t to) const;
  std::size_t MostWidth(std::size_t from, std::size_t to) const;
  bool FirstOf(std::size_t piece, CharSet& first) const;
  CharSet AllOf(const Piece& piece) const;
  std::pair<std::size_t, std::size_t> WordWidths(const Piece& piece) const;
  bool AppendSets(std::size_t from, std::size_t to, std::vector<CharSet>& sets) const;
  void NoteWhatFollows();
  void ChooseLead();
  void ConsiderMiddle(double& rate, std::vector<CharSet>& string);
  bool BeginsLine() const;
  void NoteFirstRun();
  std::optional<RepeatRow> AsRepeat() const;

  struct Way;
  bool TryAt(TextView text, std::size_t start, Workspace& work) const;
  void Go(const Way& way, std::size_t index, std::size_t place) const;
  void Choose(const Way& way, std::size_t index, std::size_t place, std::size_t end) const;
  static bool MayTry(Workspace& work);
  void ChooseWord(const Way& way, std::size_t index, std::size_t place) const;
  bool StandsAgain(const Way& way, const ByteRange& group, std::size_t place) const;
  std::size_t EndOfRun(const Way& way, const Piece& run, std::size_t place) const;
  void ReadRunAt(const Way& way, const Piece& run, const unsigned char* begin,
                 Workspace::ReadRun& read) const;
  std::size_t MostAfter(const Way& way, std::size_t index) const;
  std::size_t NextStart(TextView text, std::size_t start, Workspace& work) const;

  Options options_;
  std::vector<Piece> pieces_;
  std::vector<Word> words_;
  std::vector<Group> groups_;  // by number
  MemberTables tables_;
  std::vector<CharSet> sets_;        // by table
  std::vector<bool> areAllButFeed_;  // by table: all bytes but the line feed belong to it
  bool comparesBytes_ = false;       // back-references take bytes for the same only if they are
  MemberTable first_{};
  MemberTable wordBytes_{};
  Lead lead_ = Lead::kEveryPlace;
  std::optional<StringScan> scan_;
  std::optional<RepeatSieve> repeat_;  // set if what leads is common, and the row is one for it
  MemberTable beforeMiddle_{};
  double rate_ = 0;
  // The piece that the row begins with, if that is a run without a bound, and whether anchors say that no match starts
  // within such a run.
  std::size_t firstRun_ = SIZE_MAX;
  bool startsWithRun_ = false;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_GROUPS_REFERENCE_ROW_H
