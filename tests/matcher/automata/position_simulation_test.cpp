// Steps over sets of positions against the edges of the graph, one by one, in both directions.

#include "matcher/automata/position_simulation.h"

#include "tests/dice.h"
#include "tests/matcher/automata/graph_of.h"
#include "tests/matcher/random_pattern.h"
#include "tests/visible.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace trovex {
namespace {

using testing::Dice;
using testing::GraphOf;
using testing::RandomPattern;
using testing::Visible;

using Word = PositionSimulation::Word;
using Set = std::vector<bool>;  // by node

std::vector<Word> WordsOf(const Set& set, std::size_t words) {
  std::vector<Word> bits(words, 0);
  for (std::size_t node = 0; node < set.size(); ++node) {
    if (set[node]) bits[node / 64] |= Word{1} << node % 64;
  }
  return bits;
}

Set SetOf(const std::vector<Word>& words, std::size_t nodes) {
  Set set(nodes);
  for (std::size_t node = 0; node < nodes; ++node)
    set[node] = (words[node / 64] >> node % 64 & 1) != 0;
  return set;
}

Set Forwards(const PositionGraph& graph, const Set& from, unsigned pair, unsigned char byte) {
  Set to(graph.size + 1);
  for (std::uint32_t node = 0; node <= graph.size; ++node) {
    for (const PositionEdge& edge : graph.next[node]) {
      const bool isOpen = (edge.neighbours >> pair & 1) != 0;
      if (from[node] && isOpen && graph.bytes[edge.position][byte]) to[edge.position] = true;
    }
  }
  return to;
}

Set Backwards(const PositionGraph& graph, const Set& from, unsigned pair, unsigned char byte) {
  Set to(graph.size + 1);
  for (std::uint32_t node = 0; node <= graph.size; ++node) {
    to[node] = (graph.ends[node] >> pair & 1) != 0;
    for (const PositionEdge& edge : graph.next[node]) {
      const bool isOpen = (edge.neighbours >> pair & 1) != 0;
      if (from[edge.position] && isOpen && graph.bytes[edge.position][byte]) to[node] = true;
    }
  }
  return to;
}

void CompareSteps(const std::string& pattern, Dice& dice) {
  const auto graph = GraphOf(pattern);
  ASSERT_NE(graph, nullptr) << Visible(pattern);
  const PositionSimulation simulation(*graph);
  ASSERT_FALSE(simulation.IsTooCostly()) << Visible(pattern);
  const std::size_t nodes = graph->size + 1;
  for (int round = 0; round < 40; ++round) {
    Set from(nodes);
    for (std::size_t node = 0; node < nodes; ++node)
      from[node] = dice.OneIn(round % 4 + 1);
    const auto pair = static_cast<unsigned>(dice.Between(0, kNeighbourPairs - 1));
    const auto byte = static_cast<unsigned char>(dice.Byte("aabbA -xyz"));
    std::vector<Word> words = WordsOf(from, simulation.Words());
    std::vector<Word> to(simulation.Words());
    simulation.StepForwards(words.data(), pair, byte, to.data());
    ASSERT_EQ(SetOf(to, nodes), Forwards(*graph, from, pair, byte)) << Visible(pattern);
    simulation.StepBackwards(words.data(), pair, byte, to.data());
    ASSERT_EQ(SetOf(to, nodes), Backwards(*graph, from, pair, byte)) << Visible(pattern);
  }
}

TEST(PositionSimulationTest, StepsFollowTheEdges) {
  Dice dice(1);
  for (const char* pattern :
       {"a", "()", "ab*c", "(a|b|x)*y", "a.{0,500}b", "(a{1,30}){1,30}b", "^a|b$|\\<x\\>",
        "(\\Ba|b)*", "([ab]*a[ab]{10})+z", "(aa|ab|ba|bb|xy|yz|zx)*", "a{200}"}) {
    CompareSteps(pattern, dice);
  }
}

TEST(PositionSimulationTest, StepsOfRandomPatternsFollowTheEdges) {
  const unsigned seed = std::random_device{}();
  for (unsigned i = 0; i < 300; ++i) {
    const std::string pattern = RandomPattern(seed + i, {.anchors = true}).Pattern();
    if (ParsePattern(pattern.data(), pattern.size(), nullptr).faulty) continue;
    Dice dice(seed + i);
    CompareSteps(pattern, dice);
    if (HasFatalFailure()) FAIL() << "seed " << seed + i;
  }
}

TEST(PositionSimulationTest, ACountCostsAShiftAndNoMore) {
  EXPECT_LT(PositionSimulation(*GraphOf("a.{0,500}b")).StepCost(), 50);
  EXPECT_LT(PositionSimulation(*GraphOf("a{5000}")).StepCost(), 200);
}

TEST(PositionSimulationTest, MoreThanASearchMaySpendIsKnown) {
  EXPECT_TRUE(PositionSimulation::IsTooLarge(*GraphOf("(a{20000}){2}")));
  EXPECT_FALSE(PositionSimulation::IsTooLarge(*GraphOf("a{30000}")));
  EXPECT_TRUE(PositionSimulation(*GraphOf("([ab]*a[ab]{20}){1500}")).IsTooCostly());
}

}  // namespace
}  // namespace trovex
