#include "query/search_plan.h"

#include "matcher/budget.h"
#include "text/code_page.h"

#include <algorithm>
#include <utility>

namespace trovex {

namespace {

using Kind = PlannedStream::Kind;

/// How many streams at most are asked through one another.
constexpr int kMostNested = 64;

/// What a verdict costs, roughly: a pattern with a scan is cheap, one without has to look at all of
/// the text.
constexpr double kCostOfScan = 1;
constexpr double kCostOfPattern = 4;
constexpr double kCostOfSound = 16;

/// Left by the planner where a pattern cannot be compiled.
struct Refused {
  QueryFault fault;
};

class Planner {
 public:
  Planner(const QueryOptions& options, SearchPlan& plan) : options_(options), plan_(plan) {
    plan_.foldsCase = !options.caseSensitive;
  }

  void Plan(QueryNode& root) { plan_.required = Add(root, true).required; }

 private:
  /// A stream of the plan, while the ones above it are planned.
  struct Planned {
    std::size_t stream = 0;
    int height = 0;
    double cost = 0;
    StringClauses required;
  };

  Planned Add(QueryNode& node, bool bringsTags) {
    Planned planned = AddWithoutTags(node, bringsTags);
    if (bringsTags && !node.tags.empty()) plan_.streams[planned.stream].tags = &node.tags;
    if (planned.height >= kMostNested) Store(planned);
    return planned;
  }

  Planned AddWithoutTags(QueryNode& node, bool bringsTags) {
    switch (node.kind) {
      case QueryKind::kPattern:
        return AddPattern(node, bringsTags);
      case QueryKind::kSound:
        return AddSound(node);
      case QueryKind::kNot:
        return AddNot(node);
      case QueryKind::kOr:
        return AddOr(node, bringsTags);
      case QueryKind::kAnd:
        break;
    }
    return AddChain(node, bringsTags);
  }

  PlannedStream& Append(Kind kind) {
    plan_.streams.emplace_back();
    plan_.streams.back().kind = kind;
    return plan_.streams.back();
  }

  std::size_t Last() const { return plan_.streams.size() - 1; }

  Planned AddPattern(QueryNode& node, bool bringsTags) {
    QueryPattern& pattern = *node.pattern;
    PlannedStream& stream = Append(Kind::kPattern);
    stream.firstTag = pattern.firstTag;
    stream.bringsTags = bringsTags;
    Planned planned;
    planned.stream = Last();
    planned.required = RequiredInMatch(pattern.tree, plan_.foldsCase);
    stream.scan = ScanForClauses(planned.required, plan_.foldsCase);
    planned.cost = stream.scan.has_value() ? kCostOfScan : kCostOfPattern;
    stream.program = Compiled(std::move(pattern.tree), node.typed);
    return planned;
  }

  std::shared_ptr<const PatternProgram> Compiled(SyntaxTree tree, const TypedRange& typed) {
    ProgramOptions options;
    options.wholeWords = options_.wholeWords;
    options.wordBytes = CodePageWords();
    auto result = PatternProgram::Compile(std::move(tree), options, budget_);
    if (const auto* const number = std::get_if<MessageNumber>(&result))
      throw Refused{{*number, typed}};
    return std::get<std::shared_ptr<const PatternProgram>>(std::move(result));
  }

  Planned AddSound(QueryNode& node) {
    PlannedStream& stream = Append(Kind::kSound);
    stream.soundKey = MakeSoundKey(node.word);
    Planned planned;
    planned.stream = Last();
    planned.cost = kCostOfSound;
    return planned;
  }

  Planned AddNot(QueryNode& node) {
    const Planned operand = Add(*node.children.front(), false);
    Append(Kind::kNot).operands = {operand.stream};
    Planned planned;
    planned.stream = Last();
    planned.height = operand.height + 1;
    planned.cost = operand.cost;
    return planned;
  }

  Planned AddOr(QueryNode& node, bool bringsTags) {
    std::vector<Planned> operands;
    for (const auto& child : node.children)
      operands.push_back(Add(*child, bringsTags));
    std::vector<StringClauses> required;
    for (Planned& operand : operands)
      required.push_back(std::move(operand.required));
    Planned planned = Merge(Kind::kOr, std::move(operands));
    planned.required = AnyOfClauses(required);
    return planned;
  }

  /// A stream that reads `operands`, the cheapest first.
  Planned Merge(Kind kind, std::vector<Planned> operands) {
    std::stable_sort(operands.begin(), operands.end(),
                     [](const Planned& a, const Planned& b) { return a.cost < b.cost; });
    PlannedStream& stream = Append(kind);
    Planned planned;
    planned.stream = Last();
    for (const Planned& operand : operands) {
      stream.operands.push_back(operand.stream);
      planned.height = std::max(planned.height, operand.height + 1);
      planned.cost += operand.cost;
    }
    return planned;
  }

  Planned MergeAll(std::vector<Planned> operands) {
    if (operands.size() == 1) return std::move(operands.front());
    std::vector<StringClauses> required;
    for (Planned& operand : operands)
      required.push_back(std::move(operand.required));
    Planned planned = Merge(Kind::kAnd, std::move(operands));
    planned.required = AllOfClauses(std::move(required));
    if (planned.height >= kMostNested) Store(planned);
    return planned;
  }

  /// An AND, from the right: operands without a distance between them are merged together, and each
  /// distance parts what stands left of it from all that stands right of it.
  Planned AddChain(QueryNode& node, bool bringsTags) {
    std::vector<Planned> merged;
    const std::size_t last = node.children.size() - 1;
    const bool isLastNear = last > 0 && node.links[last - 1].IsNear();
    merged.push_back(isLastNear ? AddNearOperand(*node.children[last], bringsTags)
                                : Add(*node.children[last], bringsTags));
    for (std::size_t i = last; i-- > 0;) {
      QueryNode& child = *node.children[i];
      if (!node.links[i].IsNear()) {
        merged.push_back(Add(child, bringsTags));
        continue;
      }
      const bool isRightNegated = i + 1 == last && IsNot(*node.children[last]);
      Planned right = MergeAll(std::move(merged));
      Planned left = AddNearOperand(child, bringsTags);
      merged.clear();
      merged.push_back(
          AddNear(std::move(left), IsNot(child), std::move(right), isRightNegated, node.links[i]));
    }
    return MergeAll(std::move(merged));
  }

  static bool IsNot(const QueryNode& node) { return node.kind == QueryKind::kNot; }

  /// An operand of a distance; of a NOT its operand.
  Planned AddNearOperand(QueryNode& node, bool bringsTags) {
    return IsNot(node) ? Add(*node.children.front(), false) : Add(node, bringsTags);
  }

  Planned AddNear(Planned left, bool isLeftNegated, Planned right, bool isRightNegated,
                  const AndLink& link) {
    PlannedStream& stream = Append(Kind::kNear);
    stream.operands = {left.stream, right.stream};
    stream.isLeftNegated = isLeftNegated;
    stream.isRightNegated = isRightNegated;
    stream.link = link;
    plan_.measuresDistances = true;
    if (link.distance.has_value() && link.unit == DistanceUnit::kWords) plan_.countsWords = true;
    Planned planned;
    planned.stream = Last();
    planned.height = std::max(left.height, right.height) + 1;
    planned.cost = left.cost + right.cost;
    if (isLeftNegated) left.required.clear();
    if (isRightNegated) right.required.clear();
    std::vector<StringClauses> required;
    required.push_back(std::move(left.required));
    required.push_back(std::move(right.required));
    planned.required = AllOfClauses(std::move(required));
    if (planned.height >= kMostNested) Store(planned);
    return planned;
  }

  void Store(Planned& planned) {
    Append(Kind::kStored).operands = {planned.stream};
    planned.stream = Last();
    planned.height = 0;
  }

  const QueryOptions& options_;
  CompileBudget budget_;  // of all patterns together
  SearchPlan& plan_;
};

}  // namespace

std::variant<SearchPlan, QueryFault> MakeSearchPlan(ParsedQuery& query,
                                                    const QueryOptions& options) {
  SearchPlan plan;
  plan.substitute = query.substitute;
  try {
    Planner(options, plan).Plan(*query.root);
  } catch (const Refused& refused) {
    return refused.fault;
  }
  return plan;
}

}  // namespace trovex
