// Reading a query's parts.

#include "hosts/cli/search/search_plan.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace trovex::cli {

namespace {

using Kind = QueryPart::Kind;

/// A part of an expression that is compiled for itself, and how rare it is likely to be.
struct Probe {
  std::string expression;
  std::size_t worth = 0;
};

class PartReader {
 public:
  explicit PartReader(const Query& query) : query_(query), parts_(query.Parts()) {}

  bool IsPlain(std::size_t node) const;
  std::optional<std::string> Negated(std::size_t node) const;
  std::optional<Probe> ProbeOf(std::size_t node) const;

 private:
  std::vector<std::size_t> Children(std::size_t node) const;
  std::string Bracketed(std::size_t node) const;
  std::optional<Probe> PlainProbe(std::size_t node) const;
  std::optional<Probe> JoinedProbe(std::size_t node) const;

  const Query& query_;
  std::vector<QueryPart> parts_;
};

std::vector<std::size_t> PartReader::Children(std::size_t node) const {
  std::vector<std::size_t> children;
  for (std::size_t i = node + 1; i < parts_.size() && parts_[i].level > parts_[node].level; ++i) {
    if (parts_[i].level == parts_[node].level + 1) children.push_back(i);
  }
  return children;
}

std::string PartReader::Bracketed(std::size_t node) const {
  const QueryPart& part = parts_[node];
  std::string text(1, '(');
  text.append(query_.Expression().substr(part.begin, part.end - part.begin));
  text += ')';
  return text;
}

bool PartReader::IsPlain(std::size_t node) const {
  const Kind kind = parts_[node].kind;
  if (kind == Kind::kPattern || kind == Kind::kSound) return true;
  if (kind != Kind::kOr) return false;
  const auto children = Children(node);
  return std::all_of(children.begin(), children.end(),
                     [this](std::size_t child) { return IsPlain(child); });
}

/// What a unit must not hold, if that is all that is asked of it.
std::optional<std::string> PartReader::Negated(std::size_t node) const {
  const QueryPart& part = parts_[node];
  const auto children = Children(node);
  if (part.kind == Kind::kNot && IsPlain(children.front())) return Bracketed(children.front());
  if (part.kind != Kind::kAnd || part.distance.has_value() || part.ordered) return std::nullopt;
  std::string joined;
  for (const std::size_t child : children) {
    const std::optional<std::string> one = Negated(child);
    if (!one.has_value()) return std::nullopt;
    joined += (joined.empty() ? "" : "|") + *one;
  }
  return joined;
}

/// A plain part is worth the length of the string that its matches hold.
std::optional<Probe> PartReader::PlainProbe(std::size_t node) const {
  Probe probe{Bracketed(node), 0};
  const auto compiled = Query::Compile(probe.expression, query_.Options());
  const auto* query = std::get_if<Query>(&compiled);
  if (query == nullptr) return std::nullopt;
  for (const auto& clause : query->Required().clauses) {
    std::size_t shortest = std::numeric_limits<std::size_t>::max();
    for (const std::string& string : clause)
      shortest = std::min(shortest, string.size());
    probe.worth = std::max(probe.worth, shortest);
  }
  return probe;
}

std::optional<Probe> PartReader::JoinedProbe(std::size_t node) const {
  Probe joined{{}, std::numeric_limits<std::size_t>::max()};
  for (const std::size_t child : Children(node)) {
    const std::optional<Probe> one = ProbeOf(child);
    if (!one.has_value()) return std::nullopt;
    joined.expression += (joined.expression.empty() ? "" : "|") + one->expression;
    joined.worth = std::min(joined.worth, one->worth);
  }
  return joined;
}

std::optional<Probe> PartReader::ProbeOf(std::size_t node) const {
  if (IsPlain(node)) return PlainProbe(node);
  if (parts_[node].kind == Kind::kOr) return JoinedProbe(node);
  if (parts_[node].kind == Kind::kNot) return std::nullopt;
  std::optional<Probe> best;
  for (const std::size_t child : Children(node)) {
    std::optional<Probe> one = ProbeOf(child);
    if (one.has_value() && (!best.has_value() || one->worth > best->worth)) best = std::move(one);
  }
  return best;
}

std::optional<Query> CompileLike(const Query& query, const std::string& expression) {
  auto compiled = Query::Compile(expression, query.Options());
  if (auto* probe = std::get_if<Query>(&compiled)) return std::move(*probe);
  return std::nullopt;
}

/// Whether the query can be nothing but letters and digits, or several such words: a carriage return is none.
bool IsOfLetters(const Query& query) {
  const std::string_view expression = query.Expression();
  const bool hasEmptyWord = expression.starts_with('|') || expression.ends_with('|') ||
                            expression.find("||") != expression.npos;
  if (query.Options().phonetic || hasEmptyWord) return false;
  return std::all_of(expression.begin(), expression.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           static_cast<unsigned char>(c) >= 0x80 || c == '|';
  });
}

/// The scan for a query that is nothing but a string of ASCII letters and digits. That texts must hold it shows that
/// it has no other spelling.
std::optional<LineScan> ScanFor(const Query& query) {
  std::string_view string = query.Expression();
  while (string.starts_with('(') && string.ends_with(')'))
    string = string.substr(1, string.size() - 2);
  const bool plain = !string.empty() && std::all_of(string.begin(), string.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
  });
  const ExpressionOptions& options = query.Options();
  if (!plain || options.words || options.phonetic || options.variants) return std::nullopt;
  const auto required = query.Required().clauses;
  const bool must =
      required.size() == 1 && required[0].size() == 1 && required[0][0].size() == string.size();
  if (!must) return std::nullopt;
  return LineScan(string, !options.caseSensitive);
}

}  // namespace

SearchPlan::SearchPlan(Query compiled, const Options& options, int tag_)
    : query(std::move(compiled)),
      scope(options.scope),
      tag(tag_),
      wholeLines(options.wholeLines),
      encoding(options.encoding == Encoding::kWindows1252 ? trovex::Encoding::kLatin1
                                                          : trovex::Encoding::kUtf8) {
  const PartReader parts(query);
  if (parts.IsPlain(0)) {
    road = Road::kItems;
    seesLineEnds = !IsOfLetters(query);
    string = ScanFor(query);
    return;
  }
  if (scope == Scope::kFile) return;
  if (const auto negated = parts.Negated(0)) {
    probe = CompileLike(query, *negated);
    if (probe.has_value()) {
      road = Road::kInverse;
      string = ScanFor(*probe);
    }
  } else if (const auto part = parts.ProbeOf(0)) {
    probe = CompileLike(query, part->expression);
    if (probe.has_value()) road = Road::kCandidates;
  }
}

bool IsPlain(const Query& query) {
  return PartReader(query).IsPlain(0);
}

}  // namespace trovex::cli
