// The graph of positions: edges, conditions, kinds, classes, and how large it gets.

#include "matcher/automata/position_graph.h"

#include "tests/matcher/automata/graph_of.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace trovex {
namespace {

using testing::GraphOf;

std::vector<std::uint32_t> Next(const PositionGraph& graph, std::uint32_t node) {
  std::vector<std::uint32_t> positions;
  for (const PositionEdge& edge : graph.next[node])
    positions.push_back(edge.position);
  return positions;
}

using Positions = std::vector<std::uint32_t>;

TEST(PositionGraphTest, APositionLeadsToWhatCanFollowIt) {
  const auto graph = GraphOf("ab*c");
  ASSERT_EQ(graph->size, 3U);
  EXPECT_EQ(Next(*graph, graph->Start()), (Positions{0}));
  EXPECT_EQ(Next(*graph, 0), (Positions{1, 2}));
  EXPECT_EQ(Next(*graph, 1), (Positions{1, 2}));
  EXPECT_EQ(Next(*graph, 2), (Positions{}));
  EXPECT_EQ(graph->ends, (std::vector<Neighbours>{0, 0, kAnyNeighbours, 0}));
  EXPECT_FALSE(graph->canBeEmpty);
}

TEST(PositionGraphTest, PreviousEdgesAreTheNextOnesBackwards) {
  for (const char* pattern : {"ab*c", "(a|^b)*c", "(a$|b)+", "a{2,5}(b|c)?", "\\<a\\B.", "()"}) {
    const auto graph = GraphOf(pattern);
    ASSERT_EQ(graph->previous.ListCount(), graph->size + 1);
    std::size_t into = 0;
    for (std::uint32_t position = 0; position < graph->size; ++position) {
      for (const PositionEdge& edge : graph->previous[position]) {
        bool isThere = false;
        for (const PositionEdge& next : graph->next[edge.position])
          isThere = isThere || next == PositionEdge{position, edge.neighbours};
        EXPECT_TRUE(isThere) << pattern;
        ++into;
      }
    }
    EXPECT_EQ(into + graph->next[graph->Start()].size(), graph->next.EdgeCount()) << pattern;
    for (const PositionEdge& edge : graph->previous[graph->End()])
      EXPECT_EQ(graph->ends[edge.position], edge.neighbours) << pattern;
    for (const PositionEdge& edge : graph->next[graph->Start()])
      EXPECT_EQ(graph->starts[edge.position], edge.neighbours) << pattern;
  }
}

TEST(PositionGraphTest, AnchorsBecomeConditionsWhereverTheyStand) {
  const Neighbours afterNewline =
      static_cast<Neighbours>(NeighbourBit(ByteKind::kNewline, ByteKind::kOther) |
                              NeighbourBit(ByteKind::kNewline, ByteKind::kLetter) |
                              NeighbourBit(ByteKind::kNewline, ByteKind::kNewline));
  const auto graph = GraphOf("(a|^b)*c");
  ASSERT_EQ(graph->next[graph->Start()].size(), 3U);
  EXPECT_EQ(graph->next[graph->Start()][0], (PositionEdge{0, kAnyNeighbours}));
  EXPECT_EQ(graph->next[graph->Start()][1], (PositionEdge{1, afterNewline}));
  EXPECT_EQ(graph->next[graph->Start()][2], (PositionEdge{2, kAnyNeighbours}));
  EXPECT_EQ(graph->next[0][1], (PositionEdge{1, afterNewline}));
}

TEST(PositionGraphTest, AnchorsThatExcludeEachOtherLeadNowhere) {
  const auto graph = GraphOf("\\b\\Ba");
  EXPECT_TRUE(graph->next[graph->Start()].empty());
  EXPECT_EQ(GraphOf("(\\b|\\B)a")->next[1][0].neighbours, kAnyNeighbours);
}

TEST(PositionGraphTest, CountedRepetitionsGrowWithTheirCount) {
  EXPECT_EQ(GraphOf("a.{0,500}b")->size, 502U);
  EXPECT_LE(GraphOf("a.{0,500}b")->next.EdgeCount(), 1'100U);
  EXPECT_EQ(GraphOf("(ab){3}")->size, 6U);
  EXPECT_EQ(GraphOf("a{0}b")->size, 1U);
  EXPECT_EQ(GraphOf("a{2,}")->size, 2U);
  EXPECT_EQ(GraphOf("a{,3}")->size, 3U);
  EXPECT_TRUE(GraphOf("a{,3}")->canBeEmpty);
}

TEST(PositionGraphTest, LargerThanAllowedThereIsNone) {
  EXPECT_EQ(GraphOf("a{1000}", false, 999), nullptr);
  EXPECT_NE(GraphOf("a{1000}", false, 1000), nullptr);
  EXPECT_EQ(GraphOf("((a{300}){300}){300}"), nullptr);
  EXPECT_EQ(GraphOf("(()|^){30000}{30000}", false, 1000), nullptr);
  std::string optional;
  for (int i = 0; i < 500; ++i)
    optional += "a?";
  EXPECT_EQ(GraphOf(optional, false, 100'000), nullptr);
}

TEST(PositionGraphTest, WordsAreDemandedAtBothEnds) {
  const auto graph = GraphOf("a*", true);
  EXPECT_TRUE(graph->canBeEmpty);
  EXPECT_EQ(graph->next[graph->Start()][0].neighbours &
                NeighbourBit(ByteKind::kLetter, ByteKind::kLetter),
            0);
  EXPECT_EQ(graph->ends[0] & NeighbourBit(ByteKind::kLetter, ByteKind::kLetter), 0);
  EXPECT_NE(graph->ends[0] & NeighbourBit(ByteKind::kLetter, ByteKind::kOther), 0);
  EXPECT_EQ(graph->ends[graph->Start()], NeighbourBit(ByteKind::kOther, ByteKind::kOther) |
                                             NeighbourBit(ByteKind::kOther, ByteKind::kNewline) |
                                             NeighbourBit(ByteKind::kNewline, ByteKind::kOther) |
                                             NeighbourBit(ByteKind::kNewline, ByteKind::kNewline));
  EXPECT_EQ(graph->kindOf['a'], ByteKind::kLetter);
  EXPECT_EQ(graph->kindOf[' '], ByteKind::kOther);
}

TEST(PositionGraphTest, WhatNothingTellsApartIsOfOneKindAndOneClass) {
  const auto graph = GraphOf("[a-c]x|\\n");
  EXPECT_EQ(graph->kindOf['a'], ByteKind::kOther);  // no edge asks
  EXPECT_EQ(graph->classOf['a'], graph->classOf['c']);
  EXPECT_NE(graph->classOf['a'], graph->classOf['x']);
  EXPECT_NE(graph->classOf['d'], graph->classOf['x']);
  EXPECT_EQ(graph->classOf['d'], graph->classOf[0xE4]);
  EXPECT_NE(graph->classOf['d'], graph->classOf['\n']);
  for (int c = 0; c < graph->classes; ++c) {
    const unsigned char byte = graph->byteOfClass[static_cast<std::size_t>(c)];
    EXPECT_EQ(graph->classOf[byte], c);
  }
}

TEST(PositionGraphTest, NothingMatchesALineFeed) {
  const auto graph = GraphOf("[^a].|\\s");
  for (const CharSet& bytes : graph->bytes)
    EXPECT_FALSE(bytes['\n']);
}

TEST(PositionGraphTest, OneStringIsKnownAsSuch) {
  EXPECT_TRUE(IsOneString(*GraphOf("Haus")));
  EXPECT_TRUE(IsOneString(*GraphOf("[Hh]a{3}s")));
  EXPECT_TRUE(IsOneString(*GraphOf("Haus", true)));
  EXPECT_TRUE(IsOneString(*GraphOf("^Haus$")));
  for (const char* pattern : {"", "Haus|Hof", "Hau?s", "a*", "Ha\\bus", "ab+", "()"})
    EXPECT_FALSE(IsOneString(*GraphOf(pattern))) << pattern;
}

TEST(PositionGraphTest, LeadingWaysTellAlternativesApart) {
  const auto ways = LeadingWays(*GraphOf("Haus|Hof|Wald"), 8, 8);
  ASSERT_FALSE(ways.empty());
  for (const LeadingBytes& way : ways)
    EXPECT_EQ(way.size(), 3U);
  EXPECT_TRUE(LeadingWays(*GraphOf("a*"), 8, 8).front().empty());
}

}  // namespace
}  // namespace trovex
