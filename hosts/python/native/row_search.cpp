#include "native/row_search.h"

#include <algorithm>
#include <cctype>
#include <variant>

namespace trovex::python {

namespace {

/// Longer rows are searched alone: what a search costs at its beginning is nothing to them.
constexpr std::size_t kShortRow = 1024;
/// Longer rows are asked now and then whether to go on.
constexpr std::size_t kLongRow = 1 << 16;
/// Where only verdicts are wanted and so many lines of a row have something, on average, the first one of a row is
/// had sooner alone.
constexpr std::size_t kMostLinesOfRow = 2;
/// How many blocks are searched row by row after one in which too many rows were left open.
constexpr int kBlocksAlone = 15;

bool IsSinglePattern(const Query& query) {
  const std::vector<QueryPart> parts = query.Parts();
  return parts.size() == 1;
}

std::size_t ShortestOf(const std::vector<std::string>& clause) {
  std::size_t shortest = SIZE_MAX;
  for (const std::string& string : clause)
    shortest = std::min(shortest, string.size());
  return shortest;
}

/// An expression that finds `string`; empty where that cannot be written.
std::string Quoted(const std::string& string) {
  std::string quoted;
  for (const char c : string) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::iscntrl(byte) != 0) return std::string();
    if (std::isalnum(byte) == 0 && c != '_') quoted += '\\';
    quoted += c;
  }
  return quoted;
}

/// A query for strings that a text must hold: of the clause whose shortest one is the longest.
std::optional<Query> RequiredQuery(const RequiredStrings& required) {
  const std::vector<std::string>* best = nullptr;
  for (const std::vector<std::string>& clause : required.clauses) {
    if (best == nullptr || ShortestOf(clause) > ShortestOf(*best)) best = &clause;
  }
  constexpr std::size_t kLeast = 2;
  if (best == nullptr || ShortestOf(*best) < kLeast) return std::nullopt;
  std::string expression;
  for (const std::string& string : *best) {
    const std::string quoted = Quoted(string);
    if (quoted.empty()) return std::nullopt;
    expression += (expression.empty() ? "" : "|") + quoted;
  }
  ExpressionOptions options;
  options.caseSensitive = !required.foldsCase;
  auto compiled = Query::Compile(expression, options);
  if (std::holds_alternative<Fault>(compiled)) return std::nullopt;
  return std::get<Query>(std::move(compiled));
}

}  // namespace

RowPlan::RowPlan(const Query& query, Encoding encoding)
    : query(query), encoding(encoding), isWhole(IsSinglePattern(query)) {
  together = isWhole ? query : RequiredQuery(query.Required());
}

RowSearch::RowSearch(const RowPlan& plan, std::atomic<bool>& stop, Signals* signals)
    : plan_(plan), stop_(stop), signals_(signals), searcher_(plan.query) {
  if (plan.together) scout_.emplace(*plan.together);
}

bool RowSearch::IsStopped() {
  if (signals_ != nullptr && signals_->Raised()) stop_ = true;
  return stop_.load(std::memory_order_relaxed);
}

bool RowSearch::IsStoppedAt(std::size_t row) {
  constexpr std::size_t kRows = 16;
  return row % kRows == 0 && IsStopped();
}

SearchOptions RowSearch::OptionsFor(std::string_view text) {
  SearchOptions options;
  options.encoding = plan_.encoding;
  if (text.size() < kLongRow) return options;
  options.interrupt = [](void* self) { return static_cast<RowSearch*>(self)->IsStopped(); };
  options.interruptContext = this;
  return options;
}

Verdict RowSearch::Noted(Verdict verdict) {
  if (verdict == Verdict::kGaveUp) gaveUpAt_.push_back(searcher_.GaveUpAt());
  return verdict;
}

Verdict RowSearch::MatchAlone(std::string_view text) {
  if (text.size() < kLongRow) return Noted(searcher_.Matches(text, plan_.encoding));
  SearchOptions options = OptionsFor(text);
  options.mostItems = 0;
  return Noted(searcher_.Search(text, options));
}

void RowSearch::Join(const Rows& rows) {
  lines_.clear();
  begins_.clear();
  for (const std::string_view row : rows) {
    begins_.push_back(lines_.size());
    if (row.size() <= kShortRow) lines_ += row;
    lines_ += '\n';
  }
  begins_.push_back(lines_.size());
}

void RowSearch::Keep(std::size_t row, const Item& item) {
  const std::size_t begin = begins_[row];
  for (std::size_t i = 0; i < item.tagCount; ++i) {
    const TagRange& tag = item.tags[i];
    keptTags_.push_back({tag.tag, tag.begin - begin, tag.end - begin});
  }
  Item own;
  own.begin = item.begin - begin;
  own.end = item.end - begin;
  own.tagCount = item.tagCount;
  kept_.push_back({row, own, keptTags_.size()});
}

void RowSearch::SearchTogether(const Rows& rows, bool keep, bool tags) {
  gaveUpAt_.clear();
  kept_.clear();
  keptTags_.clear();
  standing_.assign(rows.size(), Standing::kOpen);
  if (!scout_) return;
  if (blocksAlone_ > 0) {
    --blocksAlone_;
    return;
  }
  Join(rows);
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (rows[row].size() <= kShortRow) standing_[row] = Standing::kNothing;
  }
  SearchOptions options;
  // Required strings are ASCII: they stand in the bytes as they are, which need not be decoded.
  options.encoding = plan_.isWhole ? plan_.encoding : Encoding::kLatin1;
  options.tags = tags && plan_.isWhole;
  options.firstOfLine = !keep || !plan_.isWhole;
  std::size_t row = 0;
  std::size_t items = 0;
  const Verdict verdict = scout_->ForEach(lines_, options, [&](const Item& item) {
    while (begins_[row + 1] <= item.begin)
      ++row;
    ++items;
    if (!plan_.isWhole || item.begin == item.end) {
      standing_[row] = Standing::kOpen;
    } else if (standing_[row] != Standing::kOpen) {
      standing_[row] = Standing::kFound;
      if (keep) Keep(row, item);
    }
    return keep || items <= kMostLinesOfRow * rows.size();
  });
  if (verdict == Verdict::kGaveUp) standing_.assign(rows.size(), Standing::kOpen);
  if (!keep && items > kMostLinesOfRow * rows.size()) {
    std::fill(standing_.begin() + static_cast<std::ptrdiff_t>(row) + 1, standing_.end(),
              Standing::kOpen);
    blocksAlone_ = kBlocksAlone;
  }
  const auto open = std::count(standing_.begin(), standing_.end(), Standing::kOpen);
  if (static_cast<std::size_t>(open) > rows.size() / 4) blocksAlone_ = kBlocksAlone;
}

void RowSearch::Matches(const Rows& rows, Verdict* verdicts) {
  SearchTogether(rows, false, false);
  for (std::size_t row = 0; row < rows.size() && !IsStoppedAt(row); ++row) {
    if (rows[row].data() == nullptr) continue;
    if (standing_[row] == Standing::kOpen) {
      verdicts[row] = MatchAlone(rows[row]);
    } else {
      verdicts[row] = standing_[row] == Standing::kFound ? Verdict::kYes : Verdict::kNo;
    }
  }
}

void RowSearch::FindAlone(std::size_t row, std::string_view text, bool tags, const VisitItem& visit,
                          Verdict& verdict) {
  SearchOptions options = OptionsFor(text);
  options.tags = tags;
  verdict = Noted(searcher_.ForEach(text, options, [&](const Item& item) { visit(row, item); }));
}

std::size_t RowSearch::VisitKept(std::size_t row, std::size_t next, const VisitItem& visit) {
  for (; next < kept_.size() && kept_[next].row == row; ++next) {
    Item item = kept_[next].item;
    item.tags = keptTags_.data() + (kept_[next].tagsEnd - item.tagCount);
    visit(row, item);
  }
  return next;
}

void RowSearch::Find(const Rows& rows, bool tags, const VisitItem& visit, Verdict* verdicts) {
  SearchTogether(rows, true, tags);
  std::size_t next = 0;
  for (std::size_t row = 0; row < rows.size() && !IsStoppedAt(row); ++row) {
    while (next < kept_.size() && kept_[next].row < row)
      ++next;  // of rows that were left open after all
    if (rows[row].data() == nullptr) continue;
    if (standing_[row] == Standing::kOpen) {
      FindAlone(row, rows[row], tags, visit, verdicts[row]);
    } else {
      verdicts[row] = standing_[row] == Standing::kFound ? Verdict::kYes : Verdict::kNo;
      next = VisitKept(row, next, visit);
    }
  }
}

}  // namespace trovex::python
