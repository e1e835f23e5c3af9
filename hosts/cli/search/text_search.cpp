// The four roads, and how matches become lines.

#include "hosts/cli/search/text_search.h"

#include "hosts/cli/search/line_scan.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace trovex::cli {

namespace {

/// Whether `place` lies between the carriage return and the line feed of a line end.
bool LiesInLineEnd(std::string_view text, std::size_t place) {
  return place > 0 && place < text.size() && text[place - 1] == '\r' && text[place] == '\n';
}

/// Writes `text` with a line feed for each carriage return of a line end, so that "$" matches before
/// it and no offset changes.
void Flatten(std::string_view text, std::string& flattened) {
  flattened.assign(text);
  char* const end = flattened.data() + flattened.size();
  for (char* p = flattened.data(); p < end; ++p) {
    p = static_cast<char*>(std::memchr(p, '\r', static_cast<std::size_t>(end - p)));
    if (p == nullptr) return;
    if (p + 1 < end && p[1] == '\n') *p = '\n';
  }
}

/// Writes `text` with a line feed for each line end, and where these stand in what is written that had a
/// carriage return. Where several operands are looked for together, an empty line that is not there would
/// count.
void Shorten(std::string_view text, std::string& shortened, std::vector<std::size_t>& returns) {
  shortened.clear();
  returns.clear();
  while (!text.empty()) {
    const std::size_t end = std::min(text.find("\r\n"), text.size());
    shortened += text.substr(0, end);
    text.remove_prefix(end);
    if (text.empty()) return;
    returns.push_back(shortened.size());
    text.remove_prefix(1);
    shortened += '\n';
    text.remove_prefix(1);
  }
}

/// From so many lines on, looking at each costs less than searching on from match to match.
bool IsDense(std::size_t lines, std::size_t size) {
  return lines > size / 160;
}

bool HoldsCarriageReturn(std::string_view text) {
  return !text.empty() && std::memchr(text.data(), '\r', text.size()) != nullptr;
}

}  // namespace

TextSearch::TextSearch(const SearchPlan& plan, std::size_t portion)
    : plan_(plan),
      portion_(portion),
      picky_(plan.tag > 0 || plan.wholeLines),
      searcher_(plan.query) {
  if (plan.probe.has_value()) probe_.emplace(*plan.probe);
  options_.encoding = plan.encoding;
  options_.tags = plan.tag > 0;
}

void TextSearch::Search(std::string_view text, Need need, Found& found, const TakePortion& take) {
  found.Clear();
  found_ = &found;
  take_ = take ? &take : nullptr;
  ended_ = false;
  need_ = need;
  nextLine_ = 0;
  text_ = text;
  searched_ = text;
  returns_.clear();
  if (plan_.seesLineEnds && HoldsCarriageReturn(text)) {
    Flatten(text, flattened_);
    searched_ = flattened_;
  }
  switch (plan_.road) {
    case SearchPlan::Road::kItems:
      if (!text.empty()) SearchItems();
      break;
    case SearchPlan::Road::kInverse:
      SearchInverse();
      break;
    case SearchPlan::Road::kCandidates:
      SearchCandidates();
      break;
    case SearchPlan::Road::kUnits:
      SearchUnits(0);
      break;
  }
  FinishLine();
}

/// Whether a scan tells of each line whether it is found: where a string stands on most.
bool TextSearch::TakesScan() const {
  return dense_ && plan_.string.has_value() && !picky_ && need_ != Need::kMatches;
}

/// Adds the lines with the string, or all others.
void TextSearch::ScanLines(bool inverse) {
  std::size_t holding = 0;
  const auto isSure = [this](std::size_t end) { return IsSureAt(end); };
  plan_.string->ForEachLine(text_, isSure, [&](std::size_t begin, std::size_t end, bool holds) {
    holding += holds ? 1 : 0;
    if (holds == inverse) return true;
    if (need_ == Need::kCount) {
      ++(inverse ? found_->unitsWithout : found_->linesWithMatches);
      return true;
    }
    const bool isReturn = end < text_.size() && end > begin && text_[end - 1] == '\r';
    const Range line{begin, isReturn ? end - 1 : end};
    if (inverse) {
      AddLineWithout(line);
    } else if (HasRoom(begin)) {
      AddLine(line);
    }
    return !Enough();
  });
  dense_ = IsDense(holding, text_.size());
}

/// Whether a string of letters that ends there in the text is these letters, and not the last with an accent of its
/// own. Those begin with two bytes; the line is searched where one stands.
bool TextSearch::IsSureAt(std::size_t end) {
  if (end == text_.size()) return true;
  const char next = text_[end];
  if (next != '\xCC' && next != '\xCD') return true;
  Searcher& searcher = probe_.has_value() ? *probe_ : searcher_;
  return searcher.Matches(Piece(text_, LineAround(text_, end)), plan_.encoding) == Verdict::kYes;
}

/// The matches of all lines at once.
void TextSearch::SearchItems() {
  if (TakesScan()) return ScanLines(false);
  SearchOptions options = options_;
  options.firstOfLine = !picky_ && need_ != Need::kMatches;
  const bool onlyCounts = options.firstOfLine && need_ <= Need::kCount;
  const Verdict verdict = searcher_.ForEach(searched_, options, [&](const Item& item) {
    Range match;
    if (!Takes(item, 0, match)) return true;
    if (onlyCounts) {
      ++found_->linesWithMatches;
    } else {
      AddMatch(match, item.begin);
    }
    return !Enough();
  });
  if (verdict == Verdict::kGaveUp) return StartOver();
  dense_ = IsDense(static_cast<std::size_t>(found_->linesWithMatches), text_.size());
}

/// Calls `visit` with each unit in which the probe is found, while more is wanted.
template <typename Visit>
Verdict TextSearch::ForEachUnitOfProbe(Visit visit) {
  std::size_t after = 0;  // the latest of these units
  SearchOptions options;
  options.encoding = plan_.encoding;
  return probe_->ForEach(searched_, options, [&](const Item& item) {
    if (item.begin < after || !IsInLine({item.begin, item.end})) return true;
    const Range unit = UnitAround(text_, plan_.scope, item.begin);
    if (plan_.scope == Scope::kParagraph && unit.begin == unit.end) return true;
    after = unit.end + 1;
    visit(unit);
    return !Enough();
  });
}

void TextSearch::SearchInverse() {
  if (text_.empty()) return;
  if (plan_.scope == Scope::kLine) return TakesScan() ? ScanLines(true) : PassMatchingLines();
  PassMatchingUnits();
}

/// Adds the units between those with a match as these are found.
void TextSearch::PassMatchingUnits() {
  std::size_t place = 0;  // after the units that are known
  const Verdict verdict = ForEachUnitOfProbe([&](Range unit) {
    AddUnitsWithout(place, unit.begin);
    place = NextLineBegin(text_, unit.end);
  });
  if (verdict == Verdict::kGaveUp) return SearchUnits(place);
  AddUnitsWithout(place, text_.size());
}

/// The same with lines.
void TextSearch::PassMatchingLines() {
  std::size_t place = 0;
  std::size_t matching = 0;
  SearchOptions options;
  options.encoding = plan_.encoding;
  options.firstOfLine = !plan_.wholeLines;
  const Verdict verdict = probe_->ForEach(searched_, options, [&](const Item& item) {
    if (item.begin < place || !IsInLine({item.begin, item.end})) return true;
    AddLinesWithout(place, item.begin, false);
    ++matching;
    place = NextLineBegin(text_, item.begin);
    return !Enough();
  });
  if (verdict == Verdict::kGaveUp) return SearchUnits(place);
  dense_ = IsDense(matching, text_.size());
  if (!Enough()) AddLinesWithout(place, text_.size(), true);
}

/// Adds the units from `place` on that begin before `end`: no match lies on them. Moves `place` after them.
void TextSearch::AddUnitsWithout(std::size_t& place, std::size_t end) {
  for (Range unit; !Enough() && place < end && NextUnit(text_, plan_.scope, place, unit);) {
    if (unit.begin >= end) return;
    AddSatisfied(unit);
  }
}

/// Adds the lines from `place`, where one begins, that end before `end`, and one that ends there with the text
/// if `alsoLast`: no match lies on them.
void TextSearch::AddLinesWithout(std::size_t place, std::size_t end, bool alsoLast) {
  const bool last = alsoLast && place < end && text_[end - 1] != '\n';
  if (need_ < Need::kLines) {
    found_->unitsWithout += CountLineFeeds(Piece(text_, {place, end})) + (last ? 1 : 0);
    return;
  }
  ForEachLineFeed(text_, place, end, [&](std::size_t feed) {
    AddLineWithout({place, feed > place && text_[feed - 1] == '\r' ? feed - 1 : feed});
    place = feed + 1;
  });
  if (last) AddLineWithout({place, end});
}

/// Searches each line by itself, for the search of all has given up. What lies before the line of the latest match
/// is known.
void TextSearch::StartOver() {
  if (found_->lines.empty()) {
    found_->Clear();
    nextLine_ = 0;
    return SearchUnits(0);
  }
  const FoundLine last = found_->lines.back();
  if (last.goesOn) {
    if (searcher_.GaveUpAt() < nextLine_) found_->gaveUp.push_back(searcher_.GaveUpAt());
    return SearchUnits(nextLine_);
  }
  found_->matches.resize(last.firstMatch);
  found_->lines.pop_back();
  --found_->linesWithMatches;
  nextLine_ = last.line.begin;
  SearchUnits(nextLine_);
}

void TextSearch::SearchCandidates() {
  if (text_.empty()) return;
  std::size_t place = 0;  // after the units that are known
  const Verdict verdict = ForEachUnitOfProbe([&](Range unit) {
    SearchUnit(unit);
    place = NextLineBegin(text_, unit.end);
  });
  if (verdict == Verdict::kGaveUp) SearchUnits(place);
}

/// Searches each unit from `place` on, where one begins.
void TextSearch::SearchUnits(std::size_t place) {
  // A pattern is searched in units only where it gave up, and then line by line.
  const Scope scope = plan_.road == SearchPlan::Road::kItems ? Scope::kLine : plan_.scope;
  for (Range unit; !Enough() && NextUnit(text_, scope, place, unit);)
    SearchUnit(unit);
}

void TextSearch::SearchUnit(Range unit) {
  // The library knows that no line stands after the last line end.
  std::string_view text = plan_.scope == Scope::kFile && plan_.road == SearchPlan::Road::kUnits
                              ? text_
                              : Piece(text_, unit);
  returns_.clear();
  if (HoldsCarriageReturn(text)) {
    Shorten(text, shortened_, returns_);
    text = shortened_;
  }
  const bool verdictIsEnough =
      need_ == Need::kVerdict || (plan_.scope == Scope::kLine && need_ <= Need::kLines);
  Verdict verdict;
  bool anyItem = false;
  if (verdictIsEnough && !picky_) {
    verdict = searcher_.Matches(text, plan_.encoding);
    if (verdict == Verdict::kYes && HasRoom(unit.begin)) AddLine(unit);
  } else {
    verdict = searcher_.ForEach(text, options_, [&](const Item& item) {
      anyItem = true;
      Range match;
      if (Takes(item, unit.begin, match)) AddMatch(match, unit.begin + PlaceOf(item.begin));
      return !Enough();
    });
    if (verdict == Verdict::kYes && !anyItem) AddSatisfied(unit);
  }
  if (verdict == Verdict::kGaveUp)
    found_->gaveUp.push_back(unit.begin + PlaceOf(searcher_.GaveUpAt()));
}

/// Whether a match counts where it lies: not in a line end nor after the last one, and, where whole
/// lines are asked for, from end to end of its line.
bool TextSearch::IsInLine(Range match) const {
  if (match.begin == match.end) {
    if (LiesInLineEnd(text_, match.begin)) return false;
    if (match.begin == text_.size() && text_.ends_with('\n')) return false;
  }
  if (!plan_.wholeLines) return true;
  const bool beginsLine = match.begin == 0 || text_[match.begin - 1] == '\n';
  return beginsLine && match == LineAround(text_, match.begin);
}

/// The place in the unit of `place` in what was searched of it.
std::size_t TextSearch::PlaceOf(std::size_t place) const {
  if (returns_.empty()) return place;
  const auto after = std::lower_bound(returns_.begin(), returns_.end(), place);
  return place + static_cast<std::size_t>(after - returns_.begin());
}

/// Whether an item of the text that begins at `base` is asked for; if so, writes its range, or that
/// of its tag.
bool TextSearch::Takes(const Item& item, std::size_t base, Range& match) const {
  match = {base + PlaceOf(item.begin), base + PlaceOf(item.end)};
  if (!IsInLine(match)) return false;
  if (plan_.tag == 0) return true;
  const TagRange* const tag = item.Tag(plan_.tag);
  if (tag == nullptr) return false;
  match = {base + PlaceOf(tag->begin), base + PlaceOf(tag->end)};
  return true;
}

/// Adds a match of an item that begins at `itemBegin`; what comes later begins there or behind.
void TextSearch::AddMatch(Range match, std::size_t itemBegin) {
  if (need_ != Need::kMatches && match.begin < nextLine_) return;
  if (!HasRoom(itemBegin)) return;
  if (match.begin >= nextLine_) {
    FinishLine();
    AddLine(LineAround(text_, match.begin));
  }
  if (need_ != Need::kMatches) return;
  found_->matches.push_back(match);
  ++found_->lines.back().matchCount;
}

void TextSearch::AddLine(Range line) {
  ++found_->linesWithMatches;
  nextLine_ = line.end + (text_.substr(line.end, 2) == "\r\n" ? 2 : 1);
  if (need_ >= Need::kLines) found_->lines.push_back({line, found_->matches.size(), 0, true});
}

/// Adds a line that is a unit without a match.
void TextSearch::AddLineWithout(Range line) {
  if (!HasRoom(line.begin)) return;
  ++found_->unitsWithout;
  found_->satisfied.push_back(line);
  found_->lines.push_back({line, found_->matches.size()});
}

/// Tags may come out of order.
void TextSearch::FinishLine() {
  if (plan_.tag == 0 || need_ != Need::kMatches || found_->lines.empty()) return;
  const auto first =
      found_->matches.begin() + static_cast<std::ptrdiff_t>(found_->lines.back().firstMatch);
  std::stable_sort(first, found_->matches.end(), [](Range a, Range b) {
    return a.begin != b.begin ? a.begin < b.begin : a.end < b.end;
  });
}

/// Makes room for what is found at `place` or behind: hands a full portion on. Returns false when no more is wanted.
bool TextSearch::HasRoom(std::size_t place) {
  const bool full = take_ != nullptr && found_->lines.size() + found_->matches.size() >= portion_;
  if (full && !ended_) HandOn(place);
  return !ended_;
}

void TextSearch::HandOn(std::size_t place) {
  FinishLine();
  std::vector<Range> kept;
  std::optional<FoundLine> last;
  if (place < nextLine_) last = KeepBack(place, kept);
  std::vector<std::size_t> gaveUp;
  if (found_->lines.empty()) {
    gaveUp = std::move(found_->gaveUp);
  } else {
    ended_ = !(*take_)(*found_);
  }
  found_->Clear();
  if (ended_) return;
  found_->gaveUp = std::move(gaveUp);
  if (!last.has_value()) return;
  found_->linesWithMatches = last->goesOn ? 0 : 1;
  found_->lines.push_back(*last);
  found_->matches = std::move(kept);
}

/// Takes the matches of the last line from `place` on out of the portion, and the line itself if no other is left.
/// Returns the line as it goes on.
FoundLine TextSearch::KeepBack(std::size_t place, std::vector<Range>& kept) {
  FoundLine& last = found_->lines.back();
  auto& matches = found_->matches;
  auto first = matches.end();
  if (plan_.tag > 0) {
    first = std::lower_bound(matches.begin() + static_cast<std::ptrdiff_t>(last.firstMatch), first,
                             place, [](Range match, std::size_t at) { return match.begin < at; });
  }
  kept.assign(first, matches.end());
  matches.erase(first, matches.end());
  last.matchCount -= kept.size();
  FoundLine rest{last.line, 0, kept.size(), true, true};
  if (last.matchCount > 0) {
    found_->lastGoesOn = true;
  } else {
    rest.goesOn = last.goesOn;
    if (!last.goesOn) --found_->linesWithMatches;
    found_->lines.pop_back();
  }
  return rest;
}

void TextSearch::AddSatisfied(Range unit) {
  if (!HasRoom(unit.begin)) return;
  ++found_->unitsWithout;
  if (need_ < Need::kLines) return;
  found_->satisfied.push_back(unit);
  if (plan_.scope == Scope::kFile) return;
  std::size_t place = unit.begin;
  for (Range line; place <= unit.end && NextUnit(text_, Scope::kLine, place, line);) {
    if (!HasRoom(line.begin)) return;
    found_->lines.push_back({line, found_->matches.size()});
  }
}

}  // namespace trovex::cli
