// Patterns are read as the engine reads them: the same faults, the same groups, and, where the
// bounded matcher runs what was read, the same matches (bounded_matcher_test.cpp).

#include "matcher/pattern/pattern_syntax.h"

#include "tests/matcher/engine_alone.h"

#include <gtest/gtest.h>
#include <array>
#include <random>
#include <string>
#include <string_view>

namespace trovex {
namespace {

using testing::EngineAlone;

SyntaxTree Parsed(std::string_view pattern) {
  return ParsePattern(pattern.data(), pattern.size(), nullptr);
}

/// The tree as a fully bracketed text.
std::string Shown(const SyntaxTree& tree, int index) {
  const SyntaxNode& node = tree.Node(index);
  std::string children;
  for (int c = node.firstChild; c != kNoNode; c = tree.Node(c).nextSibling) {
    if (!children.empty()) children += node.kind == SyntaxKind::kAlternate ? "|" : " ";
    children += Shown(tree, c);
  }
  switch (node.kind) {
    case SyntaxKind::kEmpty:
      return "-";
    case SyntaxKind::kByte:
      return std::string(1, static_cast<char>(node.value));
    case SyntaxKind::kSet:
      return std::string("[").append(std::to_string(tree.Set(node).count())).append("]");
    case SyntaxKind::kAnchor:
      return std::string("@").append(std::to_string(node.value));
    case SyntaxKind::kBackReference:
      return std::string("\\").append(std::to_string(node.value));
    case SyntaxKind::kGroup:
      return std::to_string(node.value) + "(" + children + ")";
    case SyntaxKind::kRepeat:
      return children + "{" + std::to_string(node.min) + "," + std::to_string(node.max) + "}";
    default:
      return std::string("<").append(children).append(">");
  }
}

struct Reading {
  const char* pattern;
  const char* shown;
};

TEST(PatternSyntax, ReadsWhatTheEngineReads) {
  for (const auto& [pattern, shown] : {
           Reading{"", "-"},
           {"ab", "<a b>"},
           {"a|b\nc", "<a|b|c>"},
           {"a||b", "<a|-|b>"},
           {"()", "1(-)"},
           {"*a", "a"},
           {"a|*b", "<a|b>"},
           {"^*ab", "<@0 a b>"},
           {"{1}", "<1 }>"},
           {"a{,3}", "a{0,3}"},
           {"a{,}", "a{0,-1}"},
           {"a{2}", "a{2,2}"},
           {"a{0}", "a{0,0}"},
           {"a**", "a{0,-1}{0,-1}"},
           {"a}", "<a }>"},
           {"\\d", "d"},
           {"\\w\\s", "<[63] [6]>"},
           {"[[:a:]]", "<[3] ]>"},
           {"[[.a.]-c]", "[3]"},
           {"[[=a=]]", "[1]"},
           {"[]a-]", "[3]"},
           {"[z-a]", "[0]"},
           {"((a)b)\\2", "<1(<2(a) b>) \\2>"},
       }) {
    const SyntaxTree tree = Parsed(pattern);
    EXPECT_FALSE(tree.faulty) << pattern;
    EXPECT_EQ(Shown(tree, tree.Root()), shown) << pattern;
  }
}

TEST(PatternSyntax, StopsAtAFault) {
  for (const char* pattern : {"(a", "a)", "(*)", "a{", "a{3,1}", "a{40000}", "[a", "a\\", "\\1",
                              "(a)|\\1", "(a\\1)", "[[.ab.]]", "[a-[=b=]]", "[a-b-c]"}) {
    EXPECT_TRUE(Parsed(pattern).faulty) << pattern;
    EXPECT_FALSE(EngineAlone(pattern).IsCompiled()) << pattern;
  }
}

TEST(PatternSyntax, TranslatesBytesButNotThoseAfterABackslash) {
  ByteMap upper{};
  for (int c = 0; c < 256; ++c) {
    const bool lower = c >= 'a' && c <= 'z';
    upper[static_cast<std::size_t>(c)] = static_cast<unsigned char>(lower ? c - 32 : c);
  }
  const std::string_view pattern = "a\\q[a-c]\\b";
  const SyntaxTree tree = ParsePattern(pattern.data(), pattern.size(), &upper);
  EXPECT_EQ(Shown(tree, tree.Root()), "<A q [3] @6>");
}

TEST(PatternSyntax, AgreesWithTheEngineOnFaultsAndGroups) {
  constexpr std::array kParts = {"a", "b",  "(",   ")",   "(",     ")",       "|",     "*",
                                 "+", "?",  "{",   "}",   "{1}",   "{2,3}",   "{,2}",  "{0}",
                                 ",", "1",  "\\1", "\\2", "\\b",   "^",       "$",     "\\w",
                                 "[", "]",  "[^",  "-",   "[a-c]", "[[.a.]]", "[=",    "=]",
                                 ".", "\\", "\n",  "\\,", "\\}",   "---",     "[]-a]", "z-a]"};
  constexpr unsigned kSeed = 20;
  std::mt19937 random(kSeed);
  for (int i = 0; i < 100'000; ++i) {
    std::string pattern;
    for (auto n = 1 + random() % 9; n > 0; --n)
      pattern += kParts[random() % kParts.size()];
    const SyntaxTree tree = Parsed(pattern);
    const EngineAlone engine(pattern);
    ASSERT_EQ(tree.faulty, !engine.IsCompiled()) << pattern << " (seed " << kSeed << ")";
    if (tree.faulty) continue;
    ASSERT_EQ(tree.groupCount, engine.GroupCount()) << pattern << " (seed " << kSeed << ")";
  }
}

}  // namespace
}  // namespace trovex
