#include "query/plan/search_plan.h"

#include "matcher/budget.h"
#include "query/tuning.h"
#include "text/code_page.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>

namespace trovex {

namespace {

using Kind = PlannedStream::Kind;

/// Up to this distance the characters between two places are counted when they are compared. There are at
/// most four times as many bytes, so that takes less than a microsecond. In 10 MB of German text in UTF-8
/// it takes 0.73 of the time of counting all characters beforehand at a distance of 64, 0.79 at 256, and
/// 1.35 at 512 (geometric mean of four queries).
constexpr std::int64_t kMostCountedDistance = 256;

constexpr std::size_t kNoLeaf = SIZE_MAX;

/// `tree`, whose `translate` is the identity, as a string that no other tree has.
std::string Written(const SyntaxTree& tree) {
  std::string written;
  const auto write = [&written](std::uint64_t number, int bytes) {
    for (int i = 0; i < bytes; ++i)
      written += static_cast<char>(number >> (8 * i) & 0xFF);
  };
  write(tree.nodes.size(), 4);
  for (const SyntaxNode& node : tree.nodes) {
    write(static_cast<std::uint64_t>(node.kind), 1);
    for (const int number : {node.value, node.min, node.max, node.firstChild, node.nextSibling})
      write(static_cast<std::uint32_t>(number), 4);
  }
  for (const CharSet& set : tree.sets) {
    for (std::size_t c = 0; c < set.size(); c += 8) {
      unsigned bits = 0;
      for (std::size_t i = 0; i < 8; ++i)
        bits |= (set[c + i] ? 1U : 0U) << i;
      write(bits, 1);
    }
  }
  write(static_cast<std::uint32_t>(tree.groupCount), 4);
  return written;
}

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
    /// The same for streams that are equal leaves; kNoLeaf for all others.
    std::size_t leaf = kNoLeaf;
  };

  /// Operands of one AND or OR, equal leaves among them once.
  struct Operands {
    std::vector<Planned> list;
    std::unordered_map<std::size_t, std::size_t> streamOfLeaf;
  };

  struct CompiledLeaf {
    std::shared_ptr<const PatternProgram> program;
    std::optional<Utf8Pattern> utf8;
    bool isPlain = false;
    std::size_t leaf = kNoLeaf;
  };

  Planned Add(QueryNode& node, bool bringsTags) {
    Planned planned = AddWithoutTags(node, bringsTags);
    if (bringsTags) AddTags(plan_.streams[planned.stream].tags, node.tags);
    if (planned.height >= kMostNestedStreams) Store(planned);
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
    stream.firstTags.push_back(pattern.firstTag);
    stream.bringsTags = bringsTags;
    Planned planned;
    planned.stream = Last();
    planned.required = RequiredInMatch(pattern.tree, plan_.foldsCase);
    MakeScan(stream, pattern.tree, planned.required);
    planned.cost = stream.scan.has_value() ? kVerdictByScan : kVerdictByPattern;
    const auto [known, isNew] = programs_.try_emplace(Written(pattern.tree));
    if (isNew) known->second = CompileLeaf(std::move(pattern.tree), node.typed);
    stream.program = known->second.program;
    stream.utf8 = known->second.utf8;
    stream.isPlain = known->second.isPlain;
    planned.leaf = known->second.leaf;
    return planned;
  }

  /// `required` is what every match of `tree` holds, of ASCII.
  void MakeScan(PlannedStream& stream, const SyntaxTree& tree, const StringClauses& required) {
    // A scan takes so few strings that larger patterns are not worth a look at their letters.
    constexpr std::size_t kMostNodes = 1000;
    if (tree.nodes.size() > kMostNodes || !HoldsMoreThanAscii(tree)) {
      stream.scan = ScanForClauses(required, plan_.foldsCase);
      return;
    }
    if (!options_.wholeWords) stream.spelled = SpelledStrings::Of(tree, plan_.foldsCase);
    if (stream.spelled.has_value()) stream.scan = stream.spelled->Scan();
    if (stream.scan.has_value()) return;
    stream.spelled.reset();
    stream.scan = ScanForClauses(SpelledInMatch(tree, plan_.foldsCase), plan_.foldsCase);
  }

  CompiledLeaf CompileLeaf(SyntaxTree tree, const TypedRange& typed) {
    std::optional<Utf8Form> form = Utf8FormOf(tree, options_.wholeWords, plan_.substitute);
    CompiledLeaf compiled;
    compiled.program = Compiled(std::move(tree), typed);
    compiled.leaf = leafCount_++;
    compiled.isPlain = form.has_value() && form->IsPlain();
    if (compiled.isPlain) {
      compiled.utf8 = Utf8Pattern{compiled.program, {}, {}};
    } else if (form.has_value()) {
      CompileBudget part = budget_.Part(INT64_MAX, INT64_MAX);
      compiled.utf8 = CompileUtf8Form(std::move(*form), part);
      budget_.Settle(part);
    }
    return compiled;
  }

  std::shared_ptr<const PatternProgram> Compiled(SyntaxTree tree, const TypedRange& typed) {
    ProgramOptions options;
    options.wholeWords = options_.wholeWords;
    options.wordBytes = CodePageWords();
    options.foldsReferences = !options_.caseSensitive;
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
    planned.cost = kVerdictBySound;
    const auto [known, isNew] = sounds_.try_emplace(stream.soundKey.sounds, leafCount_);
    if (isNew) ++leafCount_;
    planned.leaf = known->second;
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
    Operands operands;
    for (const auto& child : node.children)
      AddOperand(operands, Add(*child, bringsTags));
    if (operands.list.size() == 1) return std::move(operands.list.front());
    std::vector<StringClauses> required;
    for (Planned& operand : operands.list)
      required.push_back(std::move(operand.required));
    Planned planned = Merge(Kind::kOr, std::move(operands.list));
    planned.required = AnyOfClauses(required);
    return planned;
  }

  /// Adds the stream that was planned last to `operands`, or its tags to its equal among them.
  void AddOperand(Operands& operands, Planned planned) {
    if (planned.leaf != kNoLeaf) {
      const auto [equal, isNew] = operands.streamOfLeaf.try_emplace(planned.leaf, planned.stream);
      if (!isNew) {
        UniteLast(equal->second);
        return;
      }
    }
    operands.list.push_back(std::move(planned));
  }

  /// Makes the last stream one with `stream`, an equal leaf.
  void UniteLast(std::size_t stream) {
    const PlannedStream last = std::move(plan_.streams.back());
    plan_.streams.pop_back();
    AddTags(plan_.streams[stream].tags, last.tags);
    AddTags(plan_.streams[stream].firstTags, last.firstTags);
  }

  static void AddTags(std::vector<int>& tags, const std::vector<int>& more) {
    tags.insert(tags.end(), more.begin(), more.end());
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

  Planned MergeAll(Operands operands) {
    if (operands.list.size() == 1) return std::move(operands.list.front());
    std::vector<StringClauses> required;
    for (Planned& operand : operands.list)
      required.push_back(std::move(operand.required));
    Planned planned = Merge(Kind::kAnd, std::move(operands.list));
    planned.required = AllOfClauses(std::move(required));
    if (planned.height >= kMostNestedStreams) Store(planned);
    return planned;
  }

  /// An AND, from the right: operands without a distance between them are merged together, and each
  /// distance parts what stands left of it from all that stands right of it.
  Planned AddChain(QueryNode& node, bool bringsTags) {
    Operands merged;
    const std::size_t last = node.children.size() - 1;
    const bool isLastNear = last > 0 && node.links[last - 1].IsNear();
    AddOperand(merged, isLastNear ? AddNearOperand(*node.children[last], bringsTags)
                                  : Add(*node.children[last], bringsTags));
    for (std::size_t i = last; i-- > 0;) {
      QueryNode& child = *node.children[i];
      if (!node.links[i].IsNear()) {
        AddOperand(merged, Add(child, bringsTags));
        continue;
      }
      const bool isRightNegated = i + 1 == last && IsNot(*node.children[last]);
      Planned right = MergeAll(std::move(merged));
      Planned left = AddNearOperand(child, bringsTags);
      merged = {};
      const bool isNegated = IsNot(child) || isRightNegated;
      if (!isNegated && !node.links[i].ordered && left.leaf != kNoLeaf && left.leaf == right.leaf) {
        UniteLast(right.stream);
        merged.streamOfLeaf.emplace(right.leaf, right.stream);
        merged.list.push_back(std::move(right));
        continue;
      }
      Planned near =
          AddNear(std::move(left), IsNot(child), std::move(right), isRightNegated, node.links[i]);
      merged.list.push_back(std::move(near));
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
    const bool countsWords = link.distance.has_value() && link.unit == DistanceUnit::kWords;
    plan_.countsWords = plan_.countsWords || countsWords;
    const bool isLong = !countsWords && link.distance.value_or(0) > kMostCountedDistance;
    plan_.countsFew = plan_.countsFew && !isLong;
    plan_.countsCharacters = plan_.countsCharacters || countsWords || isLong;
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
    if (planned.height >= kMostNestedStreams) Store(planned);
    return planned;
  }

  void Store(Planned& planned) {
    Append(Kind::kStored).operands = {planned.stream};
    planned.stream = Last();
    planned.height = 0;
  }

  const QueryOptions& options_;
  /// The leaves that are known: patterns by their trees, sounds by their keys.
  std::unordered_map<std::string, CompiledLeaf> programs_;
  std::unordered_map<std::string, std::size_t> sounds_;
  std::size_t leafCount_ = 0;
  CompileBudget budget_;  // of all patterns together
  SearchPlan& plan_;
};

}  // namespace

std::variant<SearchPlan, QueryFault> MakeSearchPlan(ParsedQuery& query,
                                                    const QueryOptions& options) {
  SearchPlan plan;
  plan.substitute = query.substitute;
  plan.hasTags = query.tagCount > 0;
  try {
    Planner(options, plan).Plan(*query.root);
  } catch (const Refused& refused) {
    return refused.fault;
  }
  return plan;
}

}  // namespace trovex
