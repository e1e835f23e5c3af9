// Making the graph, in two steps. First the tree is written out as a net of states: each leaf leads
// from one state to another with a byte, and links lead on without one, some under the condition of an
// anchor. Then, from the state after each position, all states that can be reached without a byte
// are found, with the pairs of neighbours between which they can: what grows only, until nothing
// changes any more, so that links may go round in any way, with anchors or without.
//
//   (a|^b)*c   0 -a-> 1    2 -^-> 3 -b-> 4    in: 5 -> 0, 2, 6   1 -> 5   4 -> 5   6 -c-> 7

#include "matcher/automata/position_graph.h"

#include "matcher/costs.h"
#include "matcher/limits.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace trovex {

namespace {

constexpr int kNewline = '\n';
constexpr std::uint32_t kNone = UINT32_MAX;

/// The states and links that a tree is written out as.
class StateNet {
 public:
  struct Link {
    std::uint32_t to;
    Neighbours neighbours;
    std::uint32_t nextLink;
  };
  struct State {
    std::uint32_t firstLink = kNone;
    std::uint32_t position = kNone;  // the position that leads on from here
  };
  struct Piece {
    std::uint32_t in;
    std::uint32_t out;
  };

  StateNet(const SyntaxTree& tree, const GraphOptions& options) : tree_(tree), options_(options) {
    for (std::size_t c = 0; c < tree.translate.size(); ++c)
      sources_[tree.translate[c]].set(c);
    for (CharSet& bytes : sources_)
      bytes.reset(kNewline);
    for (const CharSet& set : tree.sets)
      sets_.push_back(BeforeTranslation(set));
  }

  /// Writes the tree out. Returns false where that takes too many states or positions.
  bool Write() {
    whole_ = Write(tree_.Root());
    return !isTooLarge_;
  }

  const Piece& Whole() const { return whole_; }
  const State& At(std::uint32_t state) const { return states_[state]; }
  const Link& LinkAt(std::uint32_t link) const { return links_[link]; }
  std::size_t Size() const { return states_.size(); }

  std::vector<CharSet>& Bytes() { return bytes_; }
  /// The state after each position.
  const std::vector<std::uint32_t>& After() const { return after_; }

 private:
  /// Recurses as deep as the pattern is nested, which is limited before.
  Piece Write(int index) {
    const SyntaxNode& node = tree_.Node(index);
    switch (node.kind) {
      case SyntaxKind::kByte:
        return WriteLeaf(sources_[static_cast<std::size_t>(node.value)]);
      case SyntaxKind::kSet:
        return WriteLeaf(sets_[static_cast<std::size_t>(node.value)]);
      case SyntaxKind::kAnchor:
        return WriteAnchor(static_cast<Anchor>(node.value));
      case SyntaxKind::kGroup:
        return Write(node.firstChild);
      case SyntaxKind::kConcat:
        return WriteConcat(node);
      case SyntaxKind::kAlternate:
        return WriteAlternate(node);
      case SyntaxKind::kRepeat:
        return WriteRepeat(node);
      case SyntaxKind::kEmpty:
      case SyntaxKind::kBackReference:
        break;
    }
    const std::uint32_t state = NewState();
    return {state, state};
  }

  Piece WriteLeaf(const CharSet& bytes) {
    const Piece piece = {NewState(), NewState()};
    states_[piece.in].position = static_cast<std::uint32_t>(bytes_.size());
    bytes_.push_back(bytes);
    after_.push_back(piece.out);
    if (bytes_.size() > options_.mostPositions) isTooLarge_ = true;
    return piece;
  }

  Piece WriteAnchor(Anchor anchor) {
    const Piece piece = {NewState(), NewState()};
    AddLink(piece.in, piece.out, AnchorNeighbours(anchor));
    return piece;
  }

  Piece WriteConcat(const SyntaxNode& node) {
    Piece whole = Write(node.firstChild);
    for (int child = tree_.Node(node.firstChild).nextSibling; child != kNoNode && !isTooLarge_;
         child = tree_.Node(child).nextSibling) {
      const Piece piece = Write(child);
      AddLink(whole.out, piece.in);
      whole.out = piece.out;
    }
    return whole;
  }

  Piece WriteAlternate(const SyntaxNode& node) {
    const Piece whole = {NewState(), NewState()};
    for (int child = node.firstChild; child != kNoNode && !isTooLarge_;
         child = tree_.Node(child).nextSibling) {
      const Piece piece = Write(child);
      AddLink(whole.in, piece.in);
      AddLink(piece.out, whole.out);
    }
    return whole;
  }

  /// Writes the body as often as it must match, the last time round and round if there is no upper
  /// bound; then as often as it may, each time with a way past the rest.
  Piece WriteRepeat(const SyntaxNode& node) {
    Piece whole = {NewState(), NewState()};
    std::uint32_t last = whole.in;
    const auto append = [&] {
      const Piece piece = Write(node.firstChild);
      AddLink(last, piece.in);
      last = piece.out;
      return piece;
    };
    for (int copy = 1; copy < node.min && !isTooLarge_; ++copy)
      append();
    if (node.max == kUnbounded) {
      if (node.min == 0) AddLink(last, whole.out);
      const Piece loop = append();
      AddLink(loop.out, loop.in);
    } else {
      if (node.min > 0) append();
      for (int copy = node.min; copy < node.max && !isTooLarge_; ++copy) {
        AddLink(last, whole.out);
        append();
      }
    }
    AddLink(last, whole.out);
    return whole;
  }

  std::uint32_t NewState() {
    if (options_.budget != nullptr) {
      options_.budget->ChargeSteps(kGraphStepsPerState);
      options_.budget->ChargeBytes(kGraphBytesPerState);
    }
    if (states_.size() > kMaxStatesPerPosition * options_.mostPositions) isTooLarge_ = true;
    states_.emplace_back();
    return static_cast<std::uint32_t>(states_.size() - 1);
  }

  void AddLink(std::uint32_t from, std::uint32_t to, Neighbours neighbours = kAnyNeighbours) {
    links_.push_back({to, neighbours, states_[from].firstLink});
    states_[from].firstLink = static_cast<std::uint32_t>(links_.size() - 1);
  }

  /// The bytes of the text that are compared as one of `translated`.
  CharSet BeforeTranslation(const CharSet& translated) const {
    CharSet bytes;
    for (std::size_t c = 0; c < bytes.size(); ++c) {
      if (translated[c]) bytes |= sources_[c];
    }
    return bytes;
  }

  const SyntaxTree& tree_;
  const GraphOptions& options_;
  std::array<CharSet, 256> sources_;  // the bytes of the text that are compared as each byte
  std::vector<CharSet> sets_;
  std::vector<State> states_;
  std::vector<Link> links_;
  std::vector<CharSet> bytes_;  // by position
  std::vector<std::uint32_t> after_;
  Piece whole_{};
  bool isTooLarge_ = false;
};

class GraphMaker {
 public:
  GraphMaker(const SyntaxTree& tree, const GraphOptions& options)
      : net_(tree, options), options_(options) {}

  std::unique_ptr<const PositionGraph> Make();

 private:
  bool AddNode(std::uint32_t state);
  void Charge(std::size_t steps);
  void Reach(std::uint32_t state, Neighbours neighbours);
  void DemandWords();
  void AddPrevious();
  bool AsksForLetters() const;
  void ClassifyKinds();
  void ClassifyBytes();
  void SplitOff(std::size_t byte);
  void SplitClasses(const CharSet& set);

  StateNet net_;
  const GraphOptions& options_;
  std::unique_ptr<PositionGraph> graph_ = std::make_unique<PositionGraph>();

  // What was reached from the node that is being added.
  std::vector<Neighbours> reached_;  // by state
  std::vector<std::uint32_t> touched_;
  std::vector<std::uint32_t> waiting_;
  std::vector<PositionEdge> edges_;
  std::size_t steps_ = 0;

  std::array<int, 256> classSize_{};
};

std::unique_ptr<const PositionGraph> GraphMaker::Make() {
  if (!net_.Write()) return nullptr;
  PositionGraph& graph = *graph_;
  graph.bytes = std::move(net_.Bytes());
  graph.size = static_cast<std::uint32_t>(graph.bytes.size());
  reached_.resize(net_.Size(), 0);
  for (const std::uint32_t state : net_.After()) {
    if (!AddNode(state)) return nullptr;
  }
  if (!AddNode(net_.Whole().in)) return nullptr;
  graph.canBeEmpty = graph.ends[graph.Start()] != 0;
  if (options_.words) DemandWords();
  AddPrevious();
  ClassifyKinds();
  ClassifyBytes();
  return std::move(graph_);
}

/// Adds the edges of the next node, after which `state` stands.
bool GraphMaker::AddNode(std::uint32_t state) {
  Neighbours ends = 0;
  const std::size_t stepsBefore = steps_;
  edges_.clear();
  Reach(state, kAnyNeighbours);
  while (!waiting_.empty()) {
    const std::uint32_t from = waiting_.back();
    waiting_.pop_back();
    for (std::uint32_t i = net_.At(from).firstLink; i != kNone; i = net_.LinkAt(i).nextLink) {
      const StateNet::Link& link = net_.LinkAt(i);
      Reach(link.to, static_cast<Neighbours>(reached_[from] & link.neighbours));
      ++steps_;
    }
  }
  for (const std::uint32_t reached : touched_) {
    const Neighbours neighbours = std::exchange(reached_[reached], Neighbours{0});
    const std::uint32_t position = net_.At(reached).position;
    if (position != kNone) edges_.push_back({position, neighbours});
    if (reached == net_.Whole().out) ends |= neighbours;
  }
  touched_.clear();
  Charge(steps_ - stepsBefore);
  std::sort(edges_.begin(), edges_.end(),
            [](const PositionEdge& a, const PositionEdge& b) { return a.position < b.position; });
  for (const PositionEdge& edge : edges_)
    graph_->next.Add(edge);
  graph_->next.EndList();
  graph_->ends.push_back(ends);
  return graph_->next.EdgeCount() <= options_.mostEdges &&
         steps_ <= kMaxGraphStepsPerEdge * options_.mostEdges;
}

/// Charges for what the node that is being added took, and for its edges in both directions.
void GraphMaker::Charge(std::size_t steps) {
  if (options_.budget == nullptr) return;
  options_.budget->ChargeSteps(
      static_cast<std::int64_t>(2 * steps + kGraphStepsPerEdge * edges_.size()));
  options_.budget->ChargeBytes(static_cast<std::int64_t>(2 * sizeof(PositionEdge) * edges_.size()));
}

/// Notes that `state` is reached between `neighbours` too.
void GraphMaker::Reach(std::uint32_t state, Neighbours neighbours) {
  const auto all = static_cast<Neighbours>(reached_[state] | neighbours);
  if (all == reached_[state]) return;
  if (reached_[state] == 0) touched_.push_back(state);
  reached_[state] = all;
  waiting_.push_back(state);
}

/// The start is the latest node.
void GraphMaker::DemandWords() {
  if (options_.wordsAtStart) {
    for (PositionEdge& edge : graph_->next.Latest())
      edge.neighbours &= kNoLetterBefore;
    graph_->ends[graph_->Start()] &= kNoLetterBefore;
  }
  if (!options_.wordsAtEnd) return;
  for (Neighbours& end : graph_->ends)
    end &= kNoLetterAfter;
}

void GraphMaker::AddPrevious() {
  PositionGraph& graph = *graph_;
  graph.starts.assign(graph.size + 1, 0);
  for (const PositionEdge& edge : graph.next[graph.Start()])
    graph.starts[edge.position] = edge.neighbours;
  graph.starts[graph.End()] = graph.ends[graph.Start()];

  std::vector<std::uint32_t> place(graph.size + 1, 0);  // where the next edge into each is put
  for (std::uint32_t node = 0; node < graph.size; ++node) {
    for (const PositionEdge& edge : graph.next[node])
      ++place[edge.position + 1];
  }
  for (std::size_t i = 1; i < place.size(); ++i)
    place[i] += place[i - 1];
  std::vector<PositionEdge> into(place.back());
  std::vector<std::uint32_t> end = place;
  for (std::uint32_t node = 0; node < graph.size; ++node) {
    for (const PositionEdge& edge : graph.next[node])
      into[end[edge.position]++] = {node, edge.neighbours};
  }
  for (std::uint32_t position = 0; position < graph.size; ++position) {
    for (std::uint32_t i = place[position]; i < place[position + 1]; ++i)
      graph.previous.Add(into[i]);
    graph.previous.EndList();
  }
  for (std::uint32_t node = 0; node < graph.size; ++node) {
    if (graph.ends[node] != 0) graph.previous.Add({node, graph.ends[node]});
  }
  graph.previous.EndList();
}

/// Whether some edge asks whether a neighbour is a letter.
bool GraphMaker::AsksForLetters() const {
  for (std::size_t node = 0; node < graph_->ends.size(); ++node) {
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
    if (options_.wordBytes[c]) graph_->kindOf[c] = ByteKind::kLetter;
  }
}

void GraphMaker::ClassifyBytes() {
  PositionGraph& graph = *graph_;
  graph.classOf.fill(0);
  classSize_[0] = static_cast<int>(graph.classOf.size());
  graph.classes = 1;
  SplitOff(kNewline);
  CharSet letters;
  for (std::size_t c = 0; c < letters.size(); ++c)
    letters.set(c, graph.kindOf[c] == ByteKind::kLetter);
  SplitClasses(letters);
  std::unordered_set<CharSet> seen;
  for (const CharSet& bytes : graph.bytes) {
    if (seen.insert(bytes).second) SplitClasses(bytes);
  }
  for (std::size_t c = graph.classOf.size(); c-- > 0;)
    graph.byteOfClass[graph.classOf[c]] = static_cast<unsigned char>(c);
}

/// Gives `byte` a class of its own.
void GraphMaker::SplitOff(std::size_t byte) {
  std::uint8_t& c = graph_->classOf[byte];
  if (classSize_[c] == 1) return;
  --classSize_[c];
  c = static_cast<std::uint8_t>(graph_->classes++);
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
    if (splitTo[number] == 0) splitTo[number] = graph_->classes++;
    number = static_cast<std::uint8_t>(splitTo[number]);
  });
  for (std::size_t old = 0; old < splitTo.size(); ++old) {
    if (splitTo[old] == 0) continue;
    classSize_[static_cast<std::size_t>(splitTo[old])] = inside[old];
    classSize_[old] -= inside[old];
  }
}

}  // namespace

std::unique_ptr<const PositionGraph> MakePositionGraph(const SyntaxTree& tree,
                                                       const GraphOptions& options) {
  return GraphMaker(tree, options).Make();
}

bool IsOneString(const PositionGraph& graph) {
  if (graph.size == 0) return false;
  const std::uint32_t last = graph.size - 1;
  for (std::uint32_t node = 0; node <= graph.size; ++node) {
    const auto next = graph.next[node];
    if ((graph.ends[node] != 0) != (node == last)) return false;
    if (node == last ? !next.empty() : next.size() != 1) return false;
    if (node == last) continue;
    const bool isStart = node == graph.Start();
    if (next[0].position != (isStart ? 0 : node + 1)) return false;
    if (!isStart && next[0].neighbours != kAnyNeighbours) return false;
  }
  return true;
}

}  // namespace trovex
