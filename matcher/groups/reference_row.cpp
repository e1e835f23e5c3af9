#include "matcher/groups/reference_row.h"

#include "matcher/costs.h"
#include "matcher/groups/way_graph.h"
#include "matcher/limits.h"
#include "matcher/runs/byte_words.h"
#include "matcher/tuning.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace trovex {

namespace {

constexpr std::size_t kNoPiece = SIZE_MAX;
constexpr std::size_t kEndless = SIZE_MAX;

std::size_t Sum(std::size_t a, std::size_t b) {
  return a == kEndless || b == kEndless ? kEndless : a + b;
}

CharSet AllButFeed() {
  CharSet all;
  all.set();
  all.reset('\n');
  return all;
}

/// The last place from `least` to `last` where `byte` stands; kNowhere if there is none.
std::size_t LastSame(const unsigned char* bytes, std::size_t least, std::size_t last,
                     unsigned char byte) {
  if constexpr (std::endian::native == std::endian::little) {
    for (; last >= least + 8; last -= 8) {
      const std::uint64_t same = ZeroBytes(EightBytes(bytes + last - 7) ^ Repeated(byte));
      if (same != 0) return last - static_cast<std::size_t>(std::countl_zero(same)) / 8;
    }
    if (last >= 7) {
      const std::uint64_t same = ZeroBytes(EightBytes(bytes + last - 7) ^ Repeated(byte));
      const std::size_t before = static_cast<std::size_t>(std::countl_zero(same)) / 8;
      return before <= last - least ? last - before : kNowhere;
    }
  }
  while (bytes[last] != byte) {
    if (last-- == least) return kNowhere;
  }
  return last;
}

bool IsLeaf(const SyntaxNode& node) {
  return node.kind == SyntaxKind::kByte || node.kind == SyntaxKind::kSet;
}

}  // namespace

std::optional<ReferenceRow> ReferenceRow::Make(const SyntaxTree& tree, const Options& options) {
  if (tree.nodes.empty()) return std::nullopt;
  ReferenceRow row;
  row.options_ = options;
  row.wordBytes_ = MembersOf(options.wordBytes);
  row.comparesBytes_ = options.comparedAs == kSameBytes;
  row.groups_.resize(static_cast<std::size_t>(tree.groupCount) + 1);
  if (!row.Add(tree, tree.Node(tree.Root())) || !row.IsFit()) return std::nullopt;
  row.NoteWhatFollows();
  row.ChooseLead();
  return row;
}

// Reading the tree.

/// Adds the pieces of `node`. Returns false where it is no row.
bool ReferenceRow::Add(const SyntaxTree& tree, const SyntaxNode& node) {
  switch (node.kind) {
    case SyntaxKind::kEmpty:
      return true;
    case SyntaxKind::kByte:
    case SyntaxKind::kSet:
      return AddLeaf(tree, node, 1, 1);
    case SyntaxKind::kAnchor:
      return AddPiece({.kind = Kind::kAnchor, .value = node.value});
    case SyntaxKind::kBackReference:
      return AddReference(node.value);
    case SyntaxKind::kGroup: {
      Group& group = groups_[static_cast<std::size_t>(node.value)];
      group.open = pieces_.size();
      if (!AddPiece({.kind = Kind::kOpen, .value = node.value})) return false;
      if (!Add(tree, tree.Node(node.firstChild))) return false;
      group.close = pieces_.size();
      return AddPiece({.kind = Kind::kClose, .value = node.value});
    }
    case SyntaxKind::kConcat:
      for (int c = node.firstChild; c != kNoNode; c = tree.Node(c).nextSibling) {
        if (!Add(tree, tree.Node(c))) return false;
      }
      return true;
    case SyntaxKind::kAlternate:
      return AddAlternatives(tree, node);
    case SyntaxKind::kRepeat: {
      const SyntaxNode& leaf = tree.Node(node.firstChild);
      return IsLeaf(leaf) && AddLeaf(tree, leaf, node.min, node.max);
    }
  }
  return false;
}

bool ReferenceRow::AddPiece(const Piece& piece) {
  pieces_.push_back(piece);
  return pieces_.size() <= kMostRowPieces;
}

/// The bytes of texts that `leaf` takes.
CharSet ReferenceRow::SetOf(const SyntaxTree& tree, const SyntaxNode& leaf) const {
  CharSet set;
  for (std::size_t c = 0; c < set.size(); ++c) {
    const unsigned char translated = tree.translate[c];
    set[c] = c != '\n' && (leaf.kind == SyntaxKind::kByte ? leaf.value == translated
                                                          : tree.Set(leaf)[translated]);
  }
  return set;
}

std::uint32_t ReferenceRow::TableOf(const CharSet& set) {
  const std::uint32_t number = tables_.NumberOf(set);
  if (number == sets_.size()) sets_.push_back(set);
  return number;
}

bool ReferenceRow::AddLeaf(const SyntaxTree& tree, const SyntaxNode& leaf, int least, int most) {
  if (most == 0) return false;
  Piece piece = {.kind = least == most ? Kind::kBytes : Kind::kRun};
  piece.table = TableOf(SetOf(tree, leaf));
  piece.least = static_cast<std::size_t>(least);
  piece.most = most == kUnbounded ? kEndless : static_cast<std::size_t>(most);
  return AddPiece(piece);
}

/// Alternatives of one byte each are one set; others must be words.
bool ReferenceRow::AddAlternatives(const SyntaxTree& tree, const SyntaxNode& node) {
  Piece piece = {.kind = Kind::kWords, .value = static_cast<int>(words_.size())};
  CharSet bytes;
  bool areBytes = true;
  for (int c = node.firstChild; c != kNoNode; c = tree.Node(c).nextSibling) {
    const SyntaxNode& alternative = tree.Node(c);
    Word word;
    const bool isLeaf = IsLeaf(alternative);
    int leaf = isLeaf                                    ? c
               : alternative.kind == SyntaxKind::kConcat ? alternative.firstChild
                                                         : kNoNode;
    for (; leaf != kNoNode; leaf = isLeaf ? kNoNode : tree.Node(leaf).nextSibling) {
      if (!IsLeaf(tree.Node(leaf))) return false;
      word.push_back(TableOf(SetOf(tree, tree.Node(leaf))));
    }
    if (word.empty()) return false;
    areBytes = areBytes && word.size() == 1;
    bytes |= sets_[word.front()];
    words_.push_back(std::move(word));
    if (words_.size() > kMostRowPieces) return false;
  }
  if (areBytes) {
    words_.resize(static_cast<std::size_t>(piece.value));
    return AddPiece({.kind = Kind::kBytes, .table = TableOf(bytes), .least = 1, .most = 1});
  }
  piece.least = words_.size() - static_cast<std::size_t>(piece.value);
  return AddPiece(piece);
}

bool ReferenceRow::AddReference(int group) {
  const auto number = static_cast<std::size_t>(group);
  if (number >= groups_.size() || groups_[number].close == kNoPiece) return false;
  return AddPiece({.kind = Kind::kReference, .value = group, .closedAt = groups_[number].close});
}

/// Whether something is referred to, and neither that nor the whole can be empty.
bool ReferenceRow::IsFit() const {
  bool hasReference = false;
  for (const Piece& piece : pieces_) {
    if (piece.kind != Kind::kReference) continue;
    hasReference = true;
    const Group& group = groups_[static_cast<std::size_t>(piece.value)];
    if (LeastWidth(group.open, group.close) == 0) return false;
  }
  return hasReference && LeastWidth(0, pieces_.size()) > 0;
}

// What is known of the pieces from `from` up to `to`.

std::size_t ReferenceRow::LeastWidth(std::size_t from, std::size_t to) const {
  std::size_t width = 0;
  for (std::size_t i = from; i < to; ++i) {
    const Piece& piece = pieces_[i];
    if (piece.kind == Kind::kBytes || piece.kind == Kind::kRun) width += piece.least;
    if (piece.kind == Kind::kReference) {
      const Group& group = groups_[static_cast<std::size_t>(piece.value)];
      width += LeastWidth(group.open, group.close);
    }
    if (piece.kind == Kind::kWords) width += WordWidths(piece).first;
  }
  return width;
}

std::size_t ReferenceRow::MostWidth(std::size_t from, std::size_t to) const {
  std::size_t width = 0;
  for (std::size_t i = from; i < to; ++i) {
    const Piece& piece = pieces_[i];
    if (piece.kind == Kind::kBytes || piece.kind == Kind::kRun) width = Sum(width, piece.most);
    if (piece.kind == Kind::kReference) {
      const Group& group = groups_[static_cast<std::size_t>(piece.value)];
      width = Sum(width, MostWidth(group.open, group.close));
    }
    if (piece.kind == Kind::kWords) width = Sum(width, WordWidths(piece).second);
  }
  return width;
}

/// The lengths of the shortest and the longest of the words of `piece`.
std::pair<std::size_t, std::size_t> ReferenceRow::WordWidths(const Piece& piece) const {
  std::pair<std::size_t, std::size_t> widths = {SIZE_MAX, 0};
  for (std::size_t i = 0; i < piece.least; ++i) {
    const std::size_t length = words_[static_cast<std::size_t>(piece.value) + i].size();
    widths = {std::min(widths.first, length), std::max(widths.second, length)};
  }
  return widths;
}

/// Adds what bytes can stand first from `piece` on to `first`. Returns false where the match may end before.
bool ReferenceRow::FirstOf(std::size_t piece, CharSet& first) const {
  for (; piece < pieces_.size(); ++piece) {
    const Piece& next = pieces_[piece];
    switch (next.kind) {
      case Kind::kBytes:
      case Kind::kRun:
        first |= sets_[next.table];
        if (next.least > 0) return true;
        break;
      case Kind::kWords:
        for (std::size_t i = 0; i < next.least; ++i)
          first |= sets_[words_[static_cast<std::size_t>(next.value) + i].front()];
        return true;
      case Kind::kReference: {
        CharSet ofGroup;
        FirstOf(groups_[static_cast<std::size_t>(next.value)].open, ofGroup);
        first |= Closed(ofGroup);
        return true;
      }
      default:
        break;
    }
  }
  return false;
}

/// All bytes that are compared like one of `set`.
CharSet ReferenceRow::Closed(const CharSet& set) const {
  CharSet alike;
  for (std::size_t c = 0; c < set.size(); ++c) {
    if (set[c]) alike.set(options_.comparedAs[c]);
  }
  CharSet closed;
  for (std::size_t c = 0; c < set.size(); ++c)
    closed[c] = alike[options_.comparedAs[c]];
  return closed;
}

/// The bytes that can stand in what `piece` matches.
CharSet ReferenceRow::AllOf(const Piece& piece) const {
  CharSet all;
  if (piece.kind == Kind::kBytes || piece.kind == Kind::kRun) all = sets_[piece.table];
  if (piece.kind == Kind::kWords) {
    for (std::size_t i = 0; i < piece.least; ++i) {
      for (const std::uint32_t table : words_[static_cast<std::size_t>(piece.value) + i])
        all |= sets_[table];
    }
  }
  if (piece.kind == Kind::kReference) {
    const Group& group = groups_[static_cast<std::size_t>(piece.value)];
    for (std::size_t i = group.open; i < group.close; ++i)
      all |= AllOf(pieces_[i]);
    all = Closed(all);
  }
  return all;
}

/// Appends the sets of the bytes that stand at fixed distances in the pieces from `from` up to `to`, as many as are
/// of use. Returns false where the distances of what follows are not known.
bool ReferenceRow::AppendSets(std::size_t from, std::size_t to, std::vector<CharSet>& sets) const {
  for (std::size_t i = from; i < to; ++i) {
    const Piece& piece = pieces_[i];
    if (sets.size() >= kLeadingBytes) return false;
    if (piece.kind == Kind::kBytes || piece.kind == Kind::kRun) {
      for (std::size_t n = 0; n < piece.least && sets.size() < kLeadingBytes; ++n)
        sets.push_back(sets_[piece.table]);
      if (piece.least != piece.most) return false;
    }
    if (piece.kind == Kind::kWords) {
      const auto [shortest, longest] = WordWidths(piece);
      for (std::size_t n = 0; n < shortest; ++n) {
        CharSet& set = sets.emplace_back();
        for (std::size_t w = 0; w < piece.least; ++w)
          set |= sets_[words_[static_cast<std::size_t>(piece.value) + w][n]];
      }
      if (shortest != longest) return false;
    }
    if (piece.kind == Kind::kReference) {
      const Group& group = groups_[static_cast<std::size_t>(piece.value)];
      const std::size_t before = sets.size();
      const bool isFixed = AppendSets(group.open, group.close, sets);
      for (std::size_t n = before; n < sets.size(); ++n)
        sets[n] = Closed(sets[n]);
      if (!isFixed) return false;
    }
  }
  return true;
}

// What is worked out of that.

void ReferenceRow::NoteWhatFollows() {
  for (std::size_t i = 0; i < pieces_.size(); ++i) {
    Piece& piece = pieces_[i];
    if (piece.kind != Kind::kRun) continue;
    CharSet next;
    piece.asksNext = FirstOf(i + 1, next);
    if (!piece.asksNext) continue;
    piece.next = TableOf(next);
    if (next.count() == 1) piece.nextByte = static_cast<unsigned char>(next._Find_first());
    piece.isRead = (next & sets_[piece.table]).none();
    std::size_t after = i + 1;
    while (pieces_[after].kind == Kind::kOpen || pieces_[after].kind == Kind::kClose ||
           pieces_[after].kind == Kind::kAnchor)
      ++after;
    const Piece& reference = pieces_[after];
    if (reference.kind != Kind::kReference) continue;
    const auto group = static_cast<std::size_t>(reference.value);
    if (groups_[group].open < i) piece.nextReference = reference.value;
  }
  areAllButFeed_.clear();
  for (const CharSet& set : sets_)
    areAllButFeed_.push_back(set == AllButFeed());
}

void ReferenceRow::ChooseLead() {
  CharSet first;
  FirstOf(0, first);
  first_ = MembersOf(first);
  NoteFirstRun();

  std::vector<CharSet> beginning;
  AppendSets(0, pieces_.size(), beginning);
  Beside beside;
  if (BeginsLine()) beside.before = CharSet().set('\n');
  rate_ = beginning.empty() ? kEveryRowPlace : RateInClusters(ChooseProbes(beginning));
  if (beside.AsksBefore()) rate_ = std::min(rate_, kRareLead);
  double rateOfMiddle = kEveryRowPlace;
  std::vector<CharSet> middle;
  ConsiderMiddle(rateOfMiddle, middle);
  if (rateOfMiddle < kWorthwhileLead && rateOfMiddle * kAdvantageOfMiddles < rate_) {
    lead_ = Lead::kMiddle;
    rate_ = rateOfMiddle;
    scan_.emplace(middle);
  } else if (!beginning.empty() && rate_ < kWorthwhileLead) {
    lead_ = Lead::kBeginning;
    scan_.emplace(beginning, beside);
  }
  if (lead_ == Lead::kMiddle || rate_ <= kCommonLead) return;
  if (const std::optional<RepeatRow> row = AsRepeat()) repeat_ = RepeatSieve::For(*row);
}

/// The row as fixed bytes, of which some are a group, a run, the group again, and fixed bytes; nothing if it is none.
std::optional<RepeatRow> ReferenceRow::AsRepeat() const {
  if (!comparesBytes_ || options_.wholeWords) return std::nullopt;
  RepeatRow row;
  std::size_t run = kNoPiece;
  std::size_t reference = kNoPiece;
  for (std::size_t i = 0; i < pieces_.size(); ++i) {
    const Piece& piece = pieces_[i];
    const bool isBefore = run == kNoPiece && reference == kNoPiece;
    if (piece.kind == Kind::kOpen || piece.kind == Kind::kClose) continue;
    if (piece.kind == Kind::kBytes && piece.least <= RepeatLook::kMostBytes &&
        (isBefore || reference != kNoPiece)) {
      std::vector<CharSet>& sets = isBefore ? row.beginning : row.ending;
      sets.insert(sets.end(), piece.least, sets_[piece.table]);
    } else if (piece.kind == Kind::kRun && isBefore) {
      run = i;
    } else if (piece.kind == Kind::kReference && reference == kNoPiece) {
      reference = i;
    } else {
      return std::nullopt;
    }
  }
  const Group& group = groups_[static_cast<std::size_t>(pieces_[reference].value)];
  if (group.close > std::min(run, reference)) return std::nullopt;
  row.group = LeastWidth(0, group.open);
  row.length = LeastWidth(group.open, group.close);
  row.run = run != kNoPiece ? sets_[pieces_[run].table] : CharSet();
  row.least = run != kNoPiece ? pieces_[run].least : 0;
  row.most = run != kNoPiece ? pieces_[run].most : 0;
  return row;
}

/// Looks for the rarest string in the middle of the row that cannot begin in what stands before it.
void ReferenceRow::ConsiderMiddle(double& rate, std::vector<CharSet>& string) {
  CharSet before;
  for (std::size_t i = 0; i < pieces_.size(); ++i) {
    const CharSet all = AllOf(pieces_[i]);
    const bool stands =
        pieces_[i].kind == Kind::kBytes || (pieces_[i].kind == Kind::kRun && pieces_[i].least > 0);
    if (stands && before.any() && (all & before).none()) {
      std::vector<CharSet> sets;
      AppendSets(i, pieces_.size(), sets);
      const double rateHere = RateInClusters(ChooseProbes(sets));
      if (rateHere < rate) {
        rate = rateHere;
        string = std::move(sets);
        beforeMiddle_ = MembersOf(before);
      }
    }
    before |= all;
  }
}

/// Whether a match begins where a line does.
bool ReferenceRow::BeginsLine() const {
  for (const Piece& piece : pieces_) {
    if (piece.kind == Kind::kOpen) continue;
    if (piece.kind != Kind::kAnchor) return false;
    const auto anchor = static_cast<Anchor>(piece.value);
    if (anchor == Anchor::kLineStart || anchor == Anchor::kTextStart) return true;
  }
  return false;
}

/// Notes whether the row begins with a run that is read to its end, and whether anchors say that nothing starts within
/// that.
void ReferenceRow::NoteFirstRun() {
  bool hasAnchor = false;
  bool beginsWord = options_.wholeWords;
  for (std::size_t i = 0; i < pieces_.size(); ++i) {
    const Piece& piece = pieces_[i];
    if (piece.kind == Kind::kOpen) continue;
    if (piece.kind == Kind::kAnchor) {
      const auto anchor = static_cast<Anchor>(piece.value);
      hasAnchor = true;
      beginsWord = beginsWord || anchor == Anchor::kWordStart || anchor == Anchor::kWordEdge;
      continue;
    }
    if (piece.kind != Kind::kRun || piece.most != kEndless || piece.least == 0) return;
    startsWithRun_ = beginsWord && (sets_[piece.table] & ~options_.wordBytes).none();
    if (startsWithRun_ || (piece.isRead && !hasAnchor)) firstRun_ = i;
    return;
  }
}

// Searching.

/// What is the same on all ways from a start.
struct ReferenceRow::Way {
  TextView text;
  Workspace& work;
};

SearchOutcome ReferenceRow::Next(TextView text, std::size_t from, std::size_t lastStart,
                                 ByteRange& match, std::uint64_t most, Workspace& work) const {
  work.runs_.resize(sets_.size());
  work.groups_.resize(groups_.size());
  SearchOutcome outcome = SearchOutcome::kNotFound;
  const unsigned char* const begin = text.data();
  const unsigned char* const end = begin + text.size();
  const std::uint64_t mostAtFrom = work.used_ + most;
  // Tries `start`: where the next one may be, or nowhere, if the search is at its end.
  const auto tryAt = [&](std::size_t start) {
    if (start > lastStart) return kNowhere;
    work.most_ = mostAtFrom + kRowUnitsPerByte * (start - from);
    const bool isSpent = work.used_ > work.most_;
    if (!isSpent && !TryAt(text, start, work)) return NextStart(text, start, work);
    match = {start, work.best_};
    outcome = isSpent || work.isSpent_ ? SearchOutcome::kGaveUp : SearchOutcome::kFound;
    return kNowhere;
  };
  const auto tryUpTo = [&](std::size_t start, std::size_t last) {
    while (start <= last && start < text.size()) {
      if (!first_[begin[start]]) {
        ++start;
        continue;
      }
      start = tryAt(start);
      if (start == kNowhere) return false;
    }
    return true;
  };
  if (from >= text.size()) return outcome;
  if (repeat_) {
    for (std::size_t place = from; place <= lastStart && place < text.size();) {
      const RepeatSieve::Start start = repeat_->Find(
          begin + place, begin + std::min(lastStart, text.size() - 1), end, work.repeats_);
      const unsigned char* const passed = start.place != nullptr ? start.place : end;
      work.used_ += static_cast<std::size_t>(passed - begin) - place;
      if (start.place == nullptr) return outcome;
      place = static_cast<std::size_t>(start.place - begin);
      if (start.length != 0) {
        match = {place, place + start.length};
        return SearchOutcome::kFound;
      }
      place = tryAt(place);
    }
    return outcome;
  }
  if (lead_ == Lead::kEveryPlace) {
    tryUpTo(from, lastStart);
    return outcome;
  }
  scan_->ForEach(begin + from, begin, end, work.cursor_,
                 [&](const unsigned char* hit) -> const unsigned char* {
                   const auto place = static_cast<std::size_t>(hit - begin);
                   if (lead_ == Lead::kBeginning) {
                     const std::size_t next = tryAt(place);
                     return next == kNowhere ? nullptr : begin + next;
                   }
                   std::size_t start = place;
                   while (start > from && beforeMiddle_[begin[start - 1]])
                     --start;
                   work.used_ += place - start;
                   if (start > lastStart || !tryUpTo(start, place)) return nullptr;
                   return hit + 1;
                 });
  return outcome;
}

/// Where after `start`, at which no match begins, the next one could.
std::size_t ReferenceRow::NextStart(TextView text, std::size_t start, Workspace& work) const {
  if (firstRun_ == kNoPiece) return start + 1;
  if (!startsWithRun_ && work.metReference_) return start + 1;
  return std::max(EndOfRun({text, work}, pieces_[firstRun_], start), start + 1);
}

/// Whether a match begins at `start`, or there are too many ways to tell.
bool ReferenceRow::TryAt(TextView text, std::size_t start, Workspace& work) const {
  if (options_.wholeWords && start > 0 && wordBytes_[text[start - 1]]) return false;
  work.best_ = kNowhere;
  work.tries_ = 0;
  work.isSpent_ = false;
  work.metReference_ = false;
  Go({text, work}, 0, start);
  work.used_ += kRowUnitsPerStart;
  return work.best_ != kNowhere || work.isSpent_;
}

/// Goes on from `index` at `place`, and notes the furthest end that is reached.
void ReferenceRow::Go(const Way& way, std::size_t index, std::size_t place) const {
  const TextView text = way.text;
  Workspace& work = way.work;
  for (; index < pieces_.size(); ++index) {
    const Piece& piece = pieces_[index];
    switch (piece.kind) {
      case Kind::kOpen:
        work.groups_[static_cast<std::size_t>(piece.value)].begin = place;
        break;
      case Kind::kClose:
        work.groups_[static_cast<std::size_t>(piece.value)].end = place;
        break;
      case Kind::kAnchor:
        if (!AnchorHolds(static_cast<Anchor>(piece.value), text, place, options_.wordBytes)) return;
        break;
      case Kind::kReference: {
        const ByteRange group = work.groups_[static_cast<std::size_t>(piece.value)];
        work.metReference_ = true;
        if (!StandsAgain(way, group, place)) return;
        place += group.Length();
        break;
      }
      case Kind::kBytes: {
        if (piece.least > text.size() - place) return;
        const MemberTable& members = tables_[piece.table];
        for (std::size_t i = 0; i < piece.least; ++i) {
          if (!members[text[place + i]]) return;
        }
        place += piece.least;
        break;
      }
      case Kind::kRun: {
        const std::size_t end = EndOfRun(way, piece, place);
        if (end - place < piece.least) return;
        if (!piece.isRead) return Choose(way, index, place, end);
        if (end - place > piece.most || end == text.size()) return;
        if (!tables_[piece.next][text[end]]) return;
        place = end;
        break;
      }
      case Kind::kWords:
        return ChooseWord(way, index, place);
    }
  }
  if (options_.wholeWords && place < text.size() && wordBytes_[text[place]]) return;
  if (work.best_ == kNowhere || place > work.best_) work.best_ = place;
}

bool ReferenceRow::StandsAgain(const Way& way, const ByteRange& group, std::size_t place) const {
  const std::size_t length = group.Length();
  if (length > way.text.size() - place) return false;
  const unsigned char* const first = way.text.data() + group.begin;
  const unsigned char* const second = way.text.data() + place;
  const ByteMap& as = options_.comparedAs;
  for (std::size_t i = 0; i < length; ++i) {
    if (as[first[i]] != as[second[i]]) {
      way.work.used_ += i;
      return false;
    }
  }
  way.work.used_ += length;
  return true;
}

/// The end of the run at `place`: of one that has a bound, and is not read to its end, no further than that.
std::size_t ReferenceRow::EndOfRun(const Way& way, const Piece& run, std::size_t place) const {
  const unsigned char* const begin = way.text.data() + place;
  if (!run.isRead && run.most <= kMostBoundedRowRun) {
    const std::size_t most = std::min(run.most, way.text.size() - place);
    const MemberTable& members = tables_[run.table];
    std::size_t length = 0;
    while (length != most && members[begin[length]])
      ++length;
    return place + length;
  }
  Workspace::ReadRun& read = way.work.runs_[run.table];
  if (begin < read.from || begin >= read.end) ReadRunAt(way, run, begin, read);
  const auto length = static_cast<std::size_t>(read.end - begin);
  return place + (run.isRead ? length : std::min(length, run.most));
}

void ReferenceRow::ReadRunAt(const Way& way, const Piece& run, const unsigned char* begin,
                             Workspace::ReadRun& read) const {
  const unsigned char* const end = way.text.data() + way.text.size();
  const unsigned char* last = begin;
  if (areAllButFeed_[run.table]) {
    const void* const feed = std::memchr(begin, '\n', static_cast<std::size_t>(end - begin));
    last = feed != nullptr ? static_cast<const unsigned char*>(feed) : end;
  } else {
    const MemberTable& members = tables_[run.table];
    while (last != end && members[*last])
      ++last;
  }
  way.work.used_ += static_cast<std::uint64_t>(last - begin) / 2;
  read = {begin, last};
}

/// Counts one more way that is tried. Returns false if there are too many.
bool ReferenceRow::MayTry(Workspace& work) {
  work.used_ += kRowUnitsPerTry;
  work.isSpent_ = ++work.tries_ > kMostRowTries || work.used_ > work.most_;
  return !work.isSpent_;
}

/// Tries the ends of the run at `place`, which can be no later than `end`, the furthest first.
void ReferenceRow::Choose(const Way& way, std::size_t index, std::size_t place,
                          std::size_t end) const {
  const Piece& run = pieces_[index];
  Workspace& work = way.work;
  const unsigned char* const bytes = way.text.data();
  const bool isReference = run.nextReference != 0;
  unsigned char next = run.nextByte;
  if (isReference) {
    next = bytes[work.groups_[static_cast<std::size_t>(run.nextReference)].begin];
    work.metReference_ = true;
  }
  // The last end up to `last` at which what follows can stand; nowhere if that is before `least`.
  const auto lastEnd = [&](std::size_t last, std::size_t least) {
    if (!run.asksNext) return last;
    if (last == way.text.size()) {
      if (last == least) return kNowhere;
      --last;
    }
    if (isReference ? !comparesBytes_ : run.nextByte == 0) {
      const ByteMap& as = options_.comparedAs;
      const MemberTable& members = tables_[run.next];
      while (isReference ? as[bytes[last]] != as[next] : !members[bytes[last]]) {
        if (last-- == least) return kNowhere;
      }
      return last;
    }
    return LastSame(bytes, least, last, next);
  };
  std::size_t least = place + run.least;
  for (std::size_t at = end;; --at) {
    const std::size_t last = at;
    at = lastEnd(last, least);
    work.used_ += (last - (at == kNowhere ? least : at)) / 2;
    if (at == kNowhere) return;
    if (!MayTry(work)) return;
    Go(way, index + 1, at);
    if (work.isSpent_) return;
    if (work.best_ != kNowhere) {
      const std::size_t after = MostAfter(way, index);
      if (after != kEndless && work.best_ >= after) least = std::max(least, work.best_ - after + 1);
    }
    if (at <= least) return;
  }
}

/// How many bytes the pieces after `index` can have at most.
std::size_t ReferenceRow::MostAfter(const Way& way, std::size_t index) const {
  std::size_t most = 0;
  for (std::size_t i = index + 1; i < pieces_.size(); ++i) {
    const Piece& piece = pieces_[i];
    const bool isKnown = piece.kind == Kind::kReference && piece.closedAt < index;
    most = Sum(most, isKnown ? way.work.groups_[static_cast<std::size_t>(piece.value)].Length()
                             : MostWidth(i, i + 1));
  }
  return most;
}

void ReferenceRow::ChooseWord(const Way& way, std::size_t index, std::size_t place) const {
  const Piece& piece = pieces_[index];
  const unsigned char* const bytes = way.text.data() + place;
  const std::size_t left = way.text.size() - place;
  for (std::size_t i = 0; i < piece.least && !way.work.isSpent_; ++i) {
    const Word& word = words_[static_cast<std::size_t>(piece.value) + i];
    if (word.size() > left) continue;
    std::size_t same = 0;
    while (same < word.size() && tables_[word[same]][bytes[same]])
      ++same;
    if (same < word.size()) continue;
    if (!MayTry(way.work)) return;
    Go(way, index + 1, place + same);
  }
}

}  // namespace trovex
