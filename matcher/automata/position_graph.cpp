#include "matcher/automata/position_graph.h"

#include "matcher/limits.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/pattern/stream_analysis.h"
#include "text/case_helpers.h"

#include <algorithm>
#include <map>

namespace trovex {

namespace {

constexpr int kNewline = '\n';
constexpr std::uint32_t kNoPosition = UINT32_MAX;

/// The pairs of neighbours that `allows` accepts.
template <typename Condition>
constexpr Neighbours NeighboursWhere(Condition allows) {
  Neighbours neighbours = 0;
  for (int before = 0; before < kByteKinds; ++before) {
    for (int behind = 0; behind < kByteKinds; ++behind) {
      const auto b = static_cast<ByteKind>(before);
      const auto a = static_cast<ByteKind>(behind);
      if (allows(b, a)) neighbours |= NeighbourBit(b, a);
    }
  }
  return neighbours;
}

constexpr bool IsLetter(ByteKind kind) {
  return kind == ByteKind::kLetter;
}

constexpr Neighbours kNoLetterBefore =
    NeighboursWhere([](ByteKind before, ByteKind) { return !IsLetter(before); });
constexpr Neighbours kNoLetterBehind =
    NeighboursWhere([](ByteKind, ByteKind behind) { return !IsLetter(behind); });

/// What an anchor demands.
constexpr Neighbours AnchorNeighbours(Token anchor) {
  switch (anchor) {
    case TokLineStart:
      return NeighboursWhere(
          [](ByteKind before, ByteKind) { return before == ByteKind::kNewline; });
    case TokLineEnd:
      return NeighboursWhere(
          [](ByteKind, ByteKind behind) { return behind == ByteKind::kNewline; });
    case TokWordStart:
      return NeighboursWhere(
          [](ByteKind before, ByteKind behind) { return !IsLetter(before) && IsLetter(behind); });
    case TokWordEnd:
      return NeighboursWhere(
          [](ByteKind before, ByteKind behind) { return IsLetter(before) && !IsLetter(behind); });
    case TokWordEdge:
      return NeighboursWhere(
          [](ByteKind before, ByteKind behind) { return IsLetter(before) != IsLetter(behind); });
    case TokNotWordEdge:
      return NeighboursWhere(
          [](ByteKind before, ByteKind behind) { return IsLetter(before) == IsLetter(behind); });
    default:
      return kAnyNeighbours;
  }
}

/// Whether `neighbours` asks if the byte on one side is a letter: whether some pair with a letter and the
/// same with another byte in its place are not both in it or both not.
bool TellsLettersApart(Neighbours neighbours) {
  const auto has = [&](ByteKind before, ByteKind behind) {
    return (neighbours & NeighbourBit(before, behind)) != 0;
  };
  for (int i = 0; i < kByteKinds; ++i) {
    const auto kind = static_cast<ByteKind>(i);
    if (has(ByteKind::kLetter, kind) != has(ByteKind::kOther, kind)) return true;
    if (has(kind, ByteKind::kLetter) != has(kind, ByteKind::kOther)) return true;
  }
  return false;
}

class GraphMaker {
 public:
  GraphMaker(const TokenStream& stream, const GraphOptions& options)
      : stream_(stream), options_(options), analysis_(stream.tokens, budget_) {}

  std::unique_ptr<PositionGraph> Make();

 private:
  void NumberPositions();
  bool AddNode(std::uint32_t node, const IndexList& follows);
  void DemandWords();
  void ClassifyKinds();
  void ClassifyBytes();
  void SplitOff(std::size_t byte);
  void SplitClasses(const CharSet& set);
  bool AsksForLetters() const;

  const TokenStream& stream_;
  const GraphOptions& options_;
  CompileBudget budget_{kMaxLineFilterSteps, kMaxLineFilterBytes};
  const StreamAnalysis analysis_;
  std::unique_ptr<PositionGraph> graph_ = std::make_unique<PositionGraph>();
  std::vector<std::uint32_t> positionOf_;  // per token
  std::array<int, 256> classSize_{};
  int classes_ = 0;
};

std::unique_ptr<PositionGraph> GraphMaker::Make() {
  NumberPositions();
  PositionGraph& graph = *graph_;
  graph.next.resize(graph.size + 1);
  graph.ends.resize(graph.size + 1);
  for (std::size_t index = 0; index < positionOf_.size(); ++index) {
    const std::uint32_t position = positionOf_[index];
    if (position != kNoPosition && !AddNode(position, analysis_.Follows(index))) return nullptr;
  }
  if (!AddNode(graph.Start(), analysis_.First())) return nullptr;
  if (options_.words) {
    // A match shortened to nothing is no match, a match of nothing is one: only the engine knows.
    if (graph.ends[graph.Start()] != 0) return nullptr;
    DemandWords();
  }
  ClassifyKinds();
  ClassifyBytes();
  return std::move(graph_);
}

void GraphMaker::NumberPositions() {
  PositionGraph& graph = *graph_;
  positionOf_.assign(stream_.tokens.size(), kNoPosition);
  for (std::size_t index = 0; index < stream_.tokens.size(); ++index) {
    const Token token = stream_.tokens[index];
    if (!IsByteToken(token) && !IsSetToken(token)) continue;
    positionOf_[index] = graph.size++;
    CharSet bytes = IsByteToken(token)
                        ? CharSet().set(static_cast<std::size_t>(token))
                        : stream_.sets[static_cast<std::size_t>(token - TokFirstSet)];
    graph.bytes.push_back(bytes.reset(kNewline));
  }
}

/// Adds the edges of `node`, from which `follows` can be reached: each anchor gives way to what
/// follows it, under its condition. Anchors stand in no repetition, so what follows one has a greater
/// index, and going through them in ascending order meets every way.
bool GraphMaker::AddNode(std::uint32_t node, const IndexList& follows) {
  std::map<std::uint32_t, Neighbours> anchors;
  std::map<std::uint32_t, Neighbours> reached;
  std::vector<PositionEdge>& edges = graph_->next[node];
  const auto add = [&](const IndexList& indices, Neighbours neighbours, bool direct) {
    for (const std::uint32_t index : indices) {
      const Token token = stream_.tokens[index];
      if (IsAnchorToken(token)) {
        anchors[index] |= neighbours;
      } else if (token < 0) {
        graph_->ends[node] |= neighbours;
      } else if (direct) {
        edges.push_back({positionOf_[index], neighbours});
      } else {
        reached[positionOf_[index]] |= neighbours;
      }
    }
  };
  add(follows, kAnyNeighbours, true);
  while (!anchors.empty()) {
    const auto [index, neighbours] = *anchors.begin();
    anchors.erase(anchors.begin());
    const auto left = static_cast<Neighbours>(neighbours & AnchorNeighbours(stream_.tokens[index]));
    if (left != 0) add(analysis_.Follows(index), left, false);
  }
  for (PositionEdge& edge : edges)
    reached.erase(edge.position);  // taken between any neighbours as it is
  for (const auto& [position, neighbours] : reached)
    edges.push_back({position, neighbours});
  std::sort(edges.begin(), edges.end(),
            [](const PositionEdge& a, const PositionEdge& b) { return a.position < b.position; });
  graph_->edgeCount += edges.size();
  return graph_->edgeCount <= kMaxLocatorEdges;
}

void GraphMaker::DemandWords() {
  for (PositionEdge& edge : graph_->next[graph_->Start()])
    edge.neighbours &= kNoLetterBefore;
  for (Neighbours& end : graph_->ends)
    end &= kNoLetterBehind;
}

/// Whether some edge asks whether a neighbour is a letter.
bool GraphMaker::AsksForLetters() const {
  for (std::size_t node = 0; node < graph_->next.size(); ++node) {
    for (const PositionEdge& edge : graph_->next[node]) {
      if (TellsLettersApart(edge.neighbours)) return true;
    }
    if (TellsLettersApart(graph_->ends[node])) return true;
  }
  return false;
}

void GraphMaker::ClassifyKinds() {
  graph_->kindOf.fill(ByteKind::kOther);
  graph_->kindOf[kNewline] = ByteKind::kNewline;
  if (!AsksForLetters()) return;
  for (std::size_t c = 0; c < graph_->kindOf.size(); ++c) {
    const int compared =
        options_.translate != nullptr ? (*options_.translate)[c] : static_cast<int>(c);
    const bool letter =
        options_.words ? IsWordConstituent(static_cast<int>(c)) : IsEngineWordByte(compared);
    if (letter) graph_->kindOf[c] = ByteKind::kLetter;
  }
}

void GraphMaker::ClassifyBytes() {
  graph_->classOf.fill(0);
  classSize_[0] = static_cast<int>(graph_->classOf.size());
  classes_ = 1;
  SplitOff(kNewline);
  CharSet letters;
  for (std::size_t c = 0; c < letters.size(); ++c)
    letters.set(c, graph_->kindOf[c] == ByteKind::kLetter);
  SplitClasses(letters);
  for (const Token token : stream_.tokens) {
    if (IsByteToken(token)) SplitOff(static_cast<std::size_t>(token));
  }
  for (const CharSet& set : stream_.sets)
    SplitClasses(set);
}

/// Gives `byte` a class of its own.
void GraphMaker::SplitOff(std::size_t byte) {
  std::uint8_t& c = graph_->classOf[byte];
  if (classSize_[c] == 1) return;
  --classSize_[c];
  c = static_cast<std::uint8_t>(classes_++);
  classSize_[c] = 1;
}

/// Splits every class that lies partly in `set`.
void GraphMaker::SplitClasses(const CharSet& set) {
  std::array<int, 256> inside{};
  std::array<int, 256> splitTo{};
  const auto forEachByte = [&set](auto&& take) {
    for (std::size_t c = set._Find_first(); c < set.size(); c = set._Find_next(c))
      take(c);
  };
  forEachByte([&](std::size_t c) { ++inside[graph_->classOf[c]]; });
  forEachByte([&](std::size_t c) {
    std::uint8_t& number = graph_->classOf[c];
    if (inside[number] == classSize_[number]) return;
    if (splitTo[number] == 0) splitTo[number] = classes_++;
    number = static_cast<std::uint8_t>(splitTo[number]);
  });
  for (std::size_t old = 0; old < splitTo.size(); ++old) {
    if (splitTo[old] == 0) continue;
    classSize_[static_cast<std::size_t>(splitTo[old])] = inside[old];
    classSize_[old] -= inside[old];
  }
}

// Leading bytes.

/// One way to begin, as far as it was followed, and the nodes that it has come to.
struct Way {
  LeadingBytes bytes;
  std::vector<std::uint32_t> nodes;
};

bool CanEnd(const PositionGraph& graph, const Way& way) {
  return std::any_of(way.nodes.begin(), way.nodes.end(),
                     [&](std::uint32_t node) { return graph.ends[node] != 0; });
}

/// The positions behind `way`, those with the lowest bytes first.
std::vector<std::uint32_t> PositionsBehind(const PositionGraph& graph, const Way& way) {
  std::vector<std::uint32_t> behind;
  for (const std::uint32_t node : way.nodes) {
    for (const PositionEdge& edge : graph.next[node])
      behind.push_back(edge.position);
  }
  std::sort(behind.begin(), behind.end());
  behind.erase(std::unique(behind.begin(), behind.end()), behind.end());
  std::stable_sort(behind.begin(), behind.end(), [&](std::uint32_t a, std::uint32_t b) {
    return graph.bytes[a]._Find_first() < graph.bytes[b]._Find_first();
  });
  return behind;
}

/// Adds `way` with one more offset, at which `positions` are reached, to `ways`; where it looks like one
/// that is there, both become one.
void AddWay(const PositionGraph& graph, const Way& way, const std::vector<std::uint32_t>& positions,
            std::vector<Way>& ways) {
  CharSet bytes;
  for (const std::uint32_t position : positions)
    bytes |= graph.bytes[position];
  Way longer = {way.bytes, positions};
  longer.bytes.push_back(bytes);
  const auto same = std::find_if(ways.begin(), ways.end(),
                                 [&](const Way& other) { return other.bytes == longer.bytes; });
  if (same == ways.end()) {
    ways.push_back(std::move(longer));
  } else {
    same->nodes.insert(same->nodes.end(), positions.begin(), positions.end());
  }
}

/// All `ways` with one more offset. Each splits into one for every position behind it, or, if these were
/// too many, into as many as it has a share in `mostWays`.
std::vector<Way> Lengthened(const PositionGraph& graph, const std::vector<Way>& ways,
                            std::size_t mostWays) {
  std::vector<std::vector<std::uint32_t>> behind;
  std::size_t count = 0;
  for (const Way& way : ways) {
    behind.push_back(PositionsBehind(graph, way));
    count += behind.back().size();
  }
  std::vector<Way> longer;
  for (std::size_t i = 0; i < ways.size(); ++i) {
    const std::size_t parts = count <= mostWays ? behind[i].size() : mostWays / ways.size();
    const std::size_t size = parts == 0 ? 1 : (behind[i].size() + parts - 1) / parts;
    for (auto part = behind[i].begin(); part != behind[i].end();) {
      const auto left = static_cast<std::size_t>(behind[i].end() - part);
      const auto end = part + static_cast<std::ptrdiff_t>(std::min(size, left));
      AddWay(graph, ways[i], {part, end}, longer);
      part = end;
    }
  }
  return longer;
}

}  // namespace

std::unique_ptr<PositionGraph> MakePositionGraph(const TokenStream& stream,
                                                 const GraphOptions& options) {
  // Shortened lines, in which words are looked for again, end where no anchor but "$" is told so.
  if (options.words && (stream.hasWordAnchors || stream.hasTextEnd)) return nullptr;
  try {
    return GraphMaker(stream, options).Make();
  } catch (const BudgetExhausted&) {
    return nullptr;
  }
}

std::vector<LeadingBytes> LeadingWays(const PositionGraph& graph, std::size_t mostWays,
                                      std::size_t mostOffsets) {
  const auto isLast = [&](const Way& way) {
    constexpr std::size_t kWidest = 256;  // more positions abreast tell nothing
    return way.nodes.size() > kWidest || CanEnd(graph, way);
  };
  std::vector<Way> ways = {{{}, {graph.Start()}}};
  for (std::size_t offset = 0; offset < mostOffsets; ++offset) {
    if (std::any_of(ways.begin(), ways.end(), isLast)) break;
    ways = Lengthened(graph, ways, mostWays);
  }
  std::vector<LeadingBytes> leading;
  leading.reserve(ways.size());
  for (Way& way : ways)
    leading.push_back(std::move(way.bytes));
  return leading;
}

}  // namespace trovex
