// Patterns for names of files, held against the plainest way to match them.

#include "hosts/cli/files/glob.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {
namespace {

bool Fits(std::string_view pattern, std::string_view path) {
  return Glob(pattern).Fits(path);
}

/// Tries every way; knows no sets but [ab] and [!a], and no backslash.
bool FitsInAnyWay(std::string_view pattern, std::string_view path, bool atStart = true) {
  const auto rest = [](std::string_view text, std::size_t count) { return text.substr(count); };
  if (pattern.empty()) return path.empty();
  const std::size_t stars = std::min(pattern.find_first_not_of('*'), pattern.size());
  if (atStart && stars >= 2 && stars == pattern.size()) return true;
  if (atStart && stars >= 2 && pattern[stars] == '/') {
    for (std::size_t i = 0; i <= path.size(); ++i) {
      const bool endsFolder = i == 0 || path[i - 1] == '/';
      if (endsFolder && FitsInAnyWay(rest(pattern, stars + 1), rest(path, i))) return true;
    }
    return false;
  }
  if (pattern.front() == '*') {
    const std::string_view after = rest(pattern, stars);
    for (std::size_t i = 0; i <= path.size(); ++i) {
      if (FitsInAnyWay(after, rest(path, i), false)) return true;
      if (i < path.size() && path[i] == '/') return false;
    }
    return false;
  }
  if (path.empty()) return false;
  const char c = path.front();
  if (pattern.starts_with("[ab]")) {
    return (c == 'a' || c == 'b') && FitsInAnyWay(rest(pattern, 4), rest(path, 1), false);
  }
  if (pattern.starts_with("[!a]")) {
    return c != 'a' && c != '/' && FitsInAnyWay(rest(pattern, 4), rest(path, 1), false);
  }
  const bool fits = pattern.front() == '?' ? c != '/' : pattern.front() == c;
  return fits && FitsInAnyWay(rest(pattern, 1), rest(path, 1), pattern.front() == '/');
}

/// All texts made of at most `most` of these pieces.
std::vector<std::string> AllOf(const std::vector<std::string>& pieces, int most) {
  std::vector<std::string> texts = {""};
  std::size_t begin = 0;
  for (int length = 1; length <= most; ++length) {
    const std::size_t end = texts.size();
    for (; begin < end; ++begin) {
      for (const std::string& piece : pieces)
        texts.push_back(texts[begin] + piece);
    }
  }
  return texts;
}

TEST(Glob, FitsAsTheWayThatTriesEverything) {
  const std::vector<std::string> paths = AllOf({"a", "b", "/"}, 5);
  for (const std::string& pattern : AllOf({"a", "*", "?", "/", "[ab]", "[!a]"}, 4)) {
    const Glob glob(pattern);
    for (const std::string& path : paths)
      ASSERT_EQ(glob.Fits(path), FitsInAnyWay(pattern, path)) << pattern << " on " << path;
  }
}

TEST(Glob, AStarTakesNoSlash) {
  EXPECT_TRUE(Fits("*.txt", "a.txt"));
  EXPECT_TRUE(Fits("*.txt", ".txt"));
  EXPECT_FALSE(Fits("*.txt", "b/a.txt"));
  EXPECT_TRUE(Fits("a*", "a"));
  EXPECT_TRUE(Fits("a*c*e", "abcde"));
  EXPECT_FALSE(Fits("a*c", "a/c"));
}

TEST(Glob, TwoStarsTakeFolders) {
  EXPECT_TRUE(Fits("a/**/b", "a/b"));
  EXPECT_TRUE(Fits("a/**/b", "a/x/y/b"));
  EXPECT_FALSE(Fits("a/**/b", "a/xb"));
  EXPECT_TRUE(Fits("**/b", "b"));
  EXPECT_TRUE(Fits("**/b", "x/y/b"));
  EXPECT_TRUE(Fits("a/**", "a/x/y"));
  EXPECT_FALSE(Fits("a/**", "a"));
  EXPECT_TRUE(Fits("**/x/**/y", "x/x/z/y"));
  EXPECT_FALSE(Fits("a**b", "a/b"));
  EXPECT_TRUE(Fits("a**b", "axyb"));
}

TEST(Glob, SetsHoldCharacters) {
  EXPECT_TRUE(Fits("[a-c]x", "bx"));
  EXPECT_FALSE(Fits("[a-c]x", "dx"));
  EXPECT_TRUE(Fits("[!a-c]", "d"));
  EXPECT_TRUE(Fits("[^a-c]", "d"));
  EXPECT_FALSE(Fits("[!a]", "/"));
  EXPECT_TRUE(Fits("[]a]", "]"));
  EXPECT_TRUE(Fits("[a-]", "-"));
  EXPECT_TRUE(Fits("[\\]]", "]"));
  EXPECT_TRUE(Fits("[[:digit:]_]", "7"));
  EXPECT_TRUE(Fits("[[:digit:]_]", "_"));
  EXPECT_FALSE(Fits("[[:digit:]_]", "a"));
}

TEST(Glob, ACharacterIsOneOfUtf8) {
  EXPECT_TRUE(Fits("M?ller", "Müller"));
  EXPECT_TRUE(Fits("M[äöü]ller", "Müller"));
  EXPECT_FALSE(Fits("M[äö]ller", "Müller"));
  EXPECT_TRUE(Fits("*ü*", "Müller"));
  EXPECT_TRUE(Fits("Müller", "Müller"));
  EXPECT_TRUE(Fits("M?ller", "M\xFCller")) << "a byte that is no UTF-8 is one as well";
  EXPECT_TRUE(Fits("M\xFCller", "M\xFCller"));
  EXPECT_FALSE(Fits("M\xFCller", "Müller"));
}

TEST(Glob, ABackslashMakesOrdinary) {
  EXPECT_TRUE(Fits("\\*", "*"));
  EXPECT_FALSE(Fits("\\*", "a"));
  EXPECT_TRUE(Fits("a\\[b", "a[b"));
  EXPECT_TRUE(Fits("\\a", "a"));
}

TEST(Glob, WhatCannotBeReadNeverFits) {
  for (const char* const wrong : {"[a", "a\\", "[", "[!", "x[]"}) {
    EXPECT_FALSE(Glob(wrong).IsRight()) << wrong;
    EXPECT_FALSE(Fits(wrong, wrong)) << wrong;
  }
  EXPECT_TRUE(Glob("a]").IsRight());
  EXPECT_TRUE(Fits("a]", "a]"));
}

using Globs = std::vector<std::string>;

Globs Sorted(Globs globs) {
  std::sort(globs.begin(), globs.end());
  return globs;
}

TEST(Glob, BracesStandForAlternatives) {
  EXPECT_EQ(Sorted(AlternativesOf("*.{txt,md}")), (Globs{"*.md", "*.txt"}));
  EXPECT_EQ(Sorted(AlternativesOf("{a,b}/{c,}")), (Globs{"a/", "a/c", "b/", "b/c"}));
  EXPECT_EQ(Sorted(AlternativesOf("x{a,b{c,d}e}y")), (Globs{"xay", "xbcey", "xbdey"}));
  EXPECT_EQ(Sorted(AlternativesOf("!{a,[},]}")), (Globs{"![},]", "!a"}));
}

TEST(Glob, OtherBracesAreOrdinary) {
  for (const char* glob :
       {"", "a", "{a}", "{", "}", "a}b{c", "{a,b", "a,b}", "\\{a,b}", "[{]a,b}", "[]{,}]"})
    EXPECT_EQ(AlternativesOf(glob), Globs{glob}) << glob;
  EXPECT_EQ(Sorted(AlternativesOf("{a}{b,c}")), (Globs{"{a}b", "{a}c"}));
}

TEST(Glob, TooManyAlternativesAreNone) {
  std::string glob;
  for (int i = 0; i < 60; ++i)
    glob += "{a,b}";
  EXPECT_TRUE(AlternativesOf(glob).empty());
}

TEST(Glob, ManyStarsTakeNoLongTime) {
  std::string pattern;
  for (int i = 0; i < 50; ++i)
    pattern += "a*";
  EXPECT_FALSE(Fits(pattern + "b", std::string(2000, 'a')));
}

}  // namespace
}  // namespace trovex::cli
