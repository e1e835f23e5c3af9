#include "matcher/automata/match_locator.h"

#include "matcher/kept_byte.h"
#include "text/case_helpers.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace trovex {

namespace {

/// How many of 100,000 places a way to places may leave, in German text, so that it is taken in any
/// case, and so that it is taken rather than every place.
constexpr double kEveryPlace = 100'000;
constexpr double kRare = 200;
constexpr double kWorthwhile = 20'000;
/// How much rarer than the leading bytes a keyword must be to be of use: it takes more to go on from it.
constexpr double kKeywordAdvantage = 4;

/// How many leading bytes are considered.
constexpr std::size_t kLeadingBytes = 8;

/// At how many of 100,000 places one of the ways to begin a match is to be expected.
double ExpectedRate(const std::vector<Probes>& ways) {
  double rate = 0;
  for (const Probes& probes : ways)
    rate += ExpectedRate(probes);
  return rate;
}

/// At how many of 100,000 places the keyword is to be expected.
double ExpectedRate(const RequiredKeyword& keyword) {
  std::vector<CharSet> sets;
  for (const char c : keyword.text) {
    const int byte = static_cast<unsigned char>(c);
    CharSet set;
    set.set(static_cast<std::size_t>(byte));
    if (keyword.folds) set.set(static_cast<std::size_t>(ToUpperGer(byte)));
    sets.push_back(set);
  }
  return ExpectedRate(ChooseProbes(sets));
}

}  // namespace

/// The text of one call.
struct MatchLocator::Text {
  const Byte* begin;
  const Byte* end;  // a newline stands there
  TextNotes* notes;

  // The keyword found last, and the first place of its line that may belong to a match with it.
  const Byte* keyword = nullptr;
  int keywordLength = 0;
  const Byte* keywordLine = nullptr;
};

MatchLocator::MatchLocator(std::unique_ptr<PositionGraph> graph, bool words,
                           const RequiredKeyword& keyword)
    : graph_(std::move(graph)), words_(words) {
  const std::vector<LeadingBytes> ways =
      LeadingWays(*graph_, PlaceScan::kMaxAlternatives, kLeadingBytes);
  const bool canScan = !ways.empty() && !ways.front().empty();
  const std::vector<Probes> probes =
      canScan ? ChooseProbesForAlternatives(ways) : std::vector<Probes>();
  const double leadingRate = canScan ? ExpectedRate(probes) : kEveryPlace;
  if (keyword.set != nullptr && ExpectedRate(keyword) * kKeywordAdvantage < leadingRate) {
    keyword_ = keyword.set;
  }
  if (leadingRate < (keyword_ != nullptr ? kRare : kWorthwhile)) {
    leading_.emplace(PlaceScan::ForAlternatives(probes));
  }
  forward_.emplace(*graph_, keyword_ != nullptr || leading_.has_value());
}

MatchLocator::Match MatchLocator::Find(const char* begin, char* end, TextNotes* notes) {
  const KeptByte behind(end);
  *end = '\n';
  Text text = {reinterpret_cast<const Byte*>(begin), reinterpret_cast<const Byte*>(end), notes};
  const Match match = FindFrom(text, text.begin, false);
  if (match.start == nullptr || match.end != end || !words_) return match;

  // A whole word ends before the byte behind the text as it really is, unless it is the whole line.
  if (!IsWordConstituent(static_cast<Byte>(behind.Byte()))) return match;
  if (match.start == begin || match.start[-1] == '\n') return match;
  return FindFrom(text, reinterpret_cast<const Byte*>(match.start), true);
}

MatchLocator::Match MatchLocator::FindFrom(Text& text, const Byte* place, bool refusesLineEnd) {
  ForwardAutomaton::Run run = {.place = place, .textEnd = text.end, .before = ByteKind::kOther};
  run.refusesLineEnd = refusesLineEnd;
  run.notes = text.notes;
  for (;;) {
    run.place = NextPlace(text, run.place);
    if (run.place == nullptr) return {};
    run.before = KindBefore(text, run.place);
    const ForwardAutomaton::Outcome outcome = forward_->Go(run);
    if (outcome == ForwardAutomaton::Outcome::kEndOfText) return {};
    if (outcome == ForwardAutomaton::Outcome::kMatch) break;
  }
  if (run.start == nullptr) {
    if (!backward_) backward_.emplace(*graph_);
    run.start = backward_->StartOfMatch({run.place, KindBefore(text, run.place), run.end},
                                        graph_->kindOf[*run.end]);
  }
  return {reinterpret_cast<const char*>(run.start), reinterpret_cast<const char*>(run.end)};
}

/// The first place from `place` on from which a match can start; null if there is none.
const MatchLocator::Byte* MatchLocator::NextPlace(Text& text, const Byte* place) {
  if (leading_) return PlaceByLeadingBytes(text, place);
  return keyword_ != nullptr ? PlaceByKeyword(text, place) : place;
}

const MatchLocator::Byte* MatchLocator::PlaceByLeadingBytes(Text& text, const Byte* place) const {
  for (;;) {
    place = leading_->Find(place, text.end);
    if (place == nullptr || keyword_ == nullptr) return place;
    if (NextKeyword(text, place) == nullptr) return nullptr;
    if (text.keywordLine <= place) return place;
    place = text.keywordLine;
  }
}

const MatchLocator::Byte* MatchLocator::PlaceByKeyword(Text& text, const Byte* place) {
  if (!backward_) backward_.emplace(*graph_);
  for (;;) {
    const Byte* const keyword = NextKeyword(text, place);
    if (keyword == nullptr) return nullptr;
    const Byte* const start =
        backward_->StartOfPrefix({place, KindBefore(text, place), keyword + text.keywordLength});
    if (start != nullptr && start <= keyword) return start;
    place = keyword + 1;
  }
}

/// The first keyword from `place` on; null if there is none.
const MatchLocator::Byte* MatchLocator::NextKeyword(Text& text, const Byte* place) const {
  if (text.keyword != nullptr && text.keyword >= place) return text.keyword;
  KeywordMatch found{};
  const auto size = static_cast<int>(text.end - place);
  const char* const first = reinterpret_cast<const char*>(place);
  if (KeywordSetSearch(*keyword_, first, size, &found) == nullptr) return nullptr;
  text.keyword = reinterpret_cast<const Byte*>(found.start);
  text.keywordLength = found.length;
  if (leading_) {
    const void* const feed = memrchr(place, '\n', static_cast<std::size_t>(text.keyword - place));
    text.keywordLine = feed != nullptr ? static_cast<const Byte*>(feed) + 1 : place;
  }
  return text.keyword;
}

ByteKind MatchLocator::KindBefore(const Text& text, const Byte* place) const {
  return place == text.begin ? ByteKind::kNewline : graph_->kindOf[place[-1]];
}

}  // namespace trovex
