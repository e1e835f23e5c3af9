// How well sound keys tell German family names apart: the share of pairs that sound alike and are found
// (recall), and the share of found pairs that do sound alike (precision), on the list in data/.

#include "phonetic/sound_key.h"
#include "tests/phonetic/utf8_word.h"

#include <gtest/gtest.h>
#include <cstddef>
#include <fstream>
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

/// The names of the list. Every name of a "-" line is a group of its own.
std::vector<Name> ReadNames() {
  std::vector<Name> names;
  std::ifstream file(TROVEX_FAMILY_NAMES);
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

TEST(SoundNames, AreToldApartWithRecallAndPrecisionOfNinetyPercent) {
  const std::vector<Name> names = ReadNames();
  std::size_t alike = 0;
  std::size_t found = 0;
  std::size_t right = 0;
  std::string missed;
  std::string wrong;
  for (std::size_t i = 0; i < names.size(); ++i) {
    for (std::size_t j = i + 1; j < names.size(); ++j) {
      const bool isAlike = names[i].group == names[j].group;
      const bool isFound = names[i].key == names[j].key;
      const std::string pair = names[i].typed + "/" + names[j].typed + " ";
      alike += isAlike ? 1 : 0;
      found += isFound ? 1 : 0;
      right += isAlike && isFound ? 1 : 0;
      if (isAlike && !isFound) missed += pair;
      if (isFound && !isAlike) wrong += pair;
    }
  }
  ASSERT_GT(names.size(), 600U);
  const double recall = static_cast<double>(right) / static_cast<double>(alike);
  const double precision = static_cast<double>(right) / static_cast<double>(found);
  std::cout << names.size() << " names, " << alike << " pairs alike: recall " << recall
            << ", precision " << precision << "\nmissed: " << missed << "\nwrong: " << wrong
            << '\n';
  EXPECT_GE(recall, 0.95);
  EXPECT_GE(precision, 0.95);
}

}  // namespace
}  // namespace trovex
