// How well sound keys tell German family names apart: the share of pairs that sound alike and are found
// (recall), and the share of found pairs that do sound alike (precision), on the lists in data/: one that the
// rules were made with, and one that was made blind and measured once.

#include "phonetic/sound_key.h"
#include "tests/phonetic/utf8_word.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace trovex {
namespace {

struct Name {
  std::string typed;
  SoundKey key;
  int group;  // names that sound alike have the same
};

/// The names of the list `path`. Every name of a "-" line is a group of its own.
std::vector<Name> ReadNames(const char* path) {
  std::vector<Name> names;
  std::ifstream file(path);
  std::string line;
  int group = 0;
  while (std::getline(file, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream words(line.substr(1));
    ++group;
    for (std::string word; words >> word;) {
      names.push_back({word, MakeSoundKey(testing::CodePageWord(word)), group});
      if (line[0] == '-') ++group;
    }
  }
  return names;
}

struct Figures {
  double recall;
  double precision;
};

/// Compares every name with every other one, and prints what was missed and what was wrong.
Figures Measure(const std::vector<Name>& names) {
  std::size_t alike = 0;
  std::size_t found = 0;
  std::size_t right = 0;
  std::string missed;
  std::string wrong;
  for (std::size_t i = 0; i < names.size(); ++i) {
    for (std::size_t j = i + 1; j < names.size(); ++j) {
      const bool isAlike = names[i].group == names[j].group;
      const bool isFound = names[i].key == names[j].key;
      if (!isAlike && !isFound) continue;
      const std::string pair = names[i].typed + "/" + names[j].typed + " ";
      alike += isAlike ? 1 : 0;
      found += isFound ? 1 : 0;
      right += isAlike && isFound ? 1 : 0;
      if (!isFound) missed += pair;
      if (!isAlike) wrong += pair;
    }
  }
  const Figures figures{static_cast<double>(right) / static_cast<double>(alike),
                        static_cast<double>(right) / static_cast<double>(found)};
  std::cout << names.size() << " names, " << alike << " pairs alike: recall " << figures.recall
            << ", precision " << figures.precision << "\nmissed: " << missed << "\nwrong: " << wrong
            << '\n';
  return figures;
}

TEST(SoundNames, OfTheRulesOwnListAreToldApart) {
  const std::vector<Name> names = ReadNames(TROVEX_FAMILY_NAMES);
  ASSERT_GT(names.size(), 600U);
  const Figures figures = Measure(names);
  EXPECT_GE(figures.recall, 0.95);
  EXPECT_GE(figures.precision, 0.95);
}

TEST(SoundNames, OfAListMadeBlindAreToldApartWithRecallAndPrecisionOfNinetyPercent) {
  const std::vector<Name> names = ReadNames(TROVEX_BLIND_FAMILY_NAMES);
  ASSERT_GT(names.size(), 1200U);
  const Figures figures = Measure(names);
  EXPECT_GE(figures.recall, 0.90);
  EXPECT_GE(figures.precision, 0.90);
}

}  // namespace
}  // namespace trovex
