// Lines that are longer, and have more matches, than what is written at once, held against the plainest output.

#include "tests/cli/run_program.h"
#include "tests/dice.h"

#include <gtest/gtest.h>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace trovex::testing {
namespace {

class LongLines : public ProgramTest {
 protected:
  /// Lines of up to 400 KB of letters with one, two and three bytes, and if `mixed`, of single bytes that are no
  /// UTF-8.
  static std::vector<std::string> SomeLines(Dice& dice, bool mixed) {
    static const std::vector<std::string> kLetters = {"x", "y", "ä", "€", "\xE4", "\xC3"};
    std::vector<std::string> lines;
    for (int i = dice.Between(1, 5); i > 0; --i) {
      std::string line;
      const int rare = dice.Between(1, 40);
      for (int k = dice.OneIn(3) ? dice.Between(0, 50) : dice.Between(30'000, 150'000); k > 0; --k)
        line += dice.OneIn(rare)
                    ? "x"
                    : kLetters[static_cast<std::size_t>(dice.Between(1, mixed ? 5 : 3))];
      lines.push_back(line + "y");
    }
    return lines;
  }

  static std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
      text += line + "\n";
    return text;
  }

  static std::vector<std::size_t> PlacesOfX(const std::string& line) {
    std::vector<std::size_t> places;
    for (std::size_t at = line.find('x'); at != line.npos; at = line.find('x', at + 1))
      places.push_back(at);
    return places;
  }

  /// UTF-8 as it is shown: every other byte is read as Windows Latin-1.
  static std::string Shown(const std::string& line) {
    std::string shown;
    for (std::size_t i = 0; i < line.size(); ++i) {
      const std::size_t length = line.compare(i, 2, "ä") == 0   ? 2
                                 : line.compare(i, 3, "€") == 0 ? 3
                                                                : 1;
      if (length > 1) {
        shown += line.substr(i, length);
      } else if (line[i] == '\xE4' || line[i] == '\xC3') {
        shown += line[i] == '\xE4' ? "ä" : "Ã";
      } else {
        shown += line[i];
      }
      i += length - 1;
    }
    return shown;
  }
};

TEST_F(LongLines, AreShownWithAndWithoutColours) {
  Write("x", "x\n");
  const std::string sample = Run({"-I", "-N", "--color=always", "x", "x"}).out;
  const std::size_t at = sample.find('x');
  const std::string on = sample.substr(0, at);
  const std::string off = sample.substr(at + 1, sample.size() - at - 2);
  for (std::uint32_t seed = 0; seed < 10; ++seed) {
    Dice dice(seed);
    const std::vector<std::string> lines = SomeLines(dice, true);
    Write("t", Joined(lines));
    std::string plain;
    std::string colored;
    std::string context;
    std::string both;   // in colours, and with context
    std::string first;  // the same of the first line that is found
    for (const std::string& line : lines) {
      const std::string shown = Shown(line);
      context += shown + "\n";
      const bool isFirst = plain.empty();
      std::string marked;
      for (const char c : shown)
        marked += c == 'x' ? on + c + off : std::string(1, c);
      both += marked + "\n";
      first += (isFirst ? marked : shown) + "\n";
      if (PlacesOfX(line).empty()) continue;
      plain += shown + "\n";
      colored += marked + "\n";
    }
    EXPECT_TRUE(Run({"-I", "-N", "x", "t"}).out == plain) << "seed " << seed;
    EXPECT_TRUE(Run({"-I", "-N", "--color=always", "x", "t"}).out == colored) << "seed " << seed;
    EXPECT_TRUE(Run({"-I", "-N", "-C5", "y", "t"}).out == context) << "seed " << seed;
    EXPECT_TRUE(Run({"-I", "-N", "-C5", "x", "t"}).out == (plain.empty() ? "" : context))
        << "seed " << seed;
    if (plain.empty()) continue;
    EXPECT_TRUE(Run({"-I", "-N", "--color=always", "-C5", "x", "t"}).out == both) << seed;
    EXPECT_TRUE(Run({"-I", "-N", "--color=always", "-m1", "-C5", "x", "t"}).out == first) << seed;
  }
}

TEST_F(LongLines, HaveAllTheirMatches) {
  for (std::uint32_t seed = 0; seed < 10; ++seed) {
    Dice dice(seed);
    const std::vector<std::string> lines = SomeLines(dice, true);
    Write("t", Joined(lines));
    std::string alone;
    std::string counted;
    std::string first;
    std::size_t offset = 0;
    std::size_t all = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
      for (const std::size_t place : PlacesOfX(lines[i])) {
        ++all;
        alone += std::to_string(i + 1) + ":" + std::to_string(offset + place) + ":x\n";
        if (counted.empty()) first += "x\n";
      }
      if (!first.empty()) counted = first;
      offset += lines[i].size() + 1;
    }
    for (const char* jobs : {"1", "2"})
      EXPECT_TRUE(Run({"-I", "-n", "-o", "-b", "-j", jobs, "x", "t"}).out == alone)
          << "seed " << seed;
    EXPECT_TRUE(Run({"-I", "-N", "-o", "-m1", "x", "t"}).out == first) << "seed " << seed;
    const RunResult stats = Run({"-c", "--stats", "x", "t"});
    const std::string sentence = all == 1 ? " match\n" : " matches\n";
    EXPECT_TRUE(stats.err.starts_with(std::to_string(all) + sentence)) << stats.err << seed;
  }
}

TEST_F(LongLines, AreNotAskedForAfterTheLastThatIs) {
  Write("x", "x\n" + Times(30'000, "x.") + "\n");
  EXPECT_EQ(Run({"-m1", "-I", "--color=always", "x", "x"}).out,
            Shell("head -1 x | $TROVEX -I --color=always x").out);
}

TEST_F(LongLines, AreFoundWhereverTheyBegin) {
  for (std::uint32_t seed = 0; seed < 6; ++seed) {
    Dice dice(seed);
    const int longest = dice.Between(10, 4'500) * 1000;
    std::string text;
    std::string numbered;
    std::string alone;
    int count = 0;
    for (int line = 1; text.size() < 14'000'000; ++line) {
      const bool isLong = dice.OneIn(3);
      const std::size_t begin = text.size();
      text.append(static_cast<std::size_t>(dice.Between(0, isLong ? longest : 3'000)), 'y');
      if (dice.OneIn(4)) {
        text += 'x';
        ++count;
        const std::string number = std::to_string(line) + ":";
        alone += number + std::to_string(text.size() - 1) + ":x\n";
        numbered += number + text.substr(begin) + "\n";
      }
      text += dice.OneIn(9) ? "\r\n" : "\n";
    }
    if (dice.OneIn(2)) text.erase(text.find_last_not_of("\r\n") + 1);
    Write("t", text);
    for (const char* jobs : {"1", "2", "8"}) {
      EXPECT_TRUE(Run({"-j", jobs, "-I", "-n", "x", "t"}).out == numbered) << seed << jobs;
      EXPECT_TRUE(Run({"-j", jobs, "-I", "-o", "-b", "x", "t"}).out == alone) << seed << jobs;
      EXPECT_EQ(Run({"-j", jobs, "-I", "-c", "x", "t"}).out, std::to_string(count) + "\n") << seed;
      EXPECT_EQ(Run({"-j", jobs, "-I", "-c", "-S", "paragraph", "x & !z", "t"}).out,
                Run({"-j1", "-I", "-c", "-S", "paragraph", "x & !z", "t"}).out)
          << seed;
    }
  }
}

TEST_F(LongLines, AreFoundOnceWhereTheyBeginWithAStretch) {
  for (const int length : {1 << 18, 1 << 20, 1 << 21}) {
    const int count = (12 << 20) / length;
    Write("t", Times(count, std::string(static_cast<std::size_t>(length) - 2, 'y') + "x\n"));
    std::string expected;
    for (int i = 1; i <= count; ++i)
      expected += std::to_string(i) + ":x\n";
    for (const char* jobs : {"1", "2", "8"})
      EXPECT_EQ(Run({"-j", jobs, "-I", "-o", "x", "t"}).out, expected) << length;
  }
}

TEST_F(LongLines, ThatAreSearchedInPartsAreSearchedToTheirEnd) {
  const std::string line = Times(2'100'000, "eine Zeile");
  Write("t", "kurz x\n" + line + "x\nlang x\n" + line + line + "x\n");
  for (const char* jobs : {"1", "2", "8"})
    EXPECT_EQ(Run({"-j", jobs, "-I", "-o", "x", "t"}).out, "1:x\n2:x\n3:x\n4:x\n");
}

TEST_F(LongLines, HaveAllTheirTags) {
  for (std::uint32_t seed = 0; seed < 6; ++seed) {
    Dice dice(seed);
    std::string line;
    std::string expected;
    for (int i = 0; i < 60'000; ++i) {
      const char letter = static_cast<char>('a' + dice.Between(0, 9));
      line += std::string("z") + letter + (dice.OneIn(5) ? "- " : "+ ");
      if (line[line.size() - 2] == '+') expected += std::string(1, letter) + "\n";
    }
    Write("t", line);
    EXPECT_TRUE(Run({"-N", "-I", "-o", "--tag", "1", "z([a-z])\\+|z[a-z]-", "t"}).out == expected)
        << "seed " << seed;
  }
}

TEST_F(LongLines, AreWholeInRecords) {
  for (const bool wide : {false, true}) {
    for (std::uint32_t seed = 0; seed < 6; ++seed) {
      Dice dice(seed);
      const std::vector<std::string> lines = SomeLines(dice, !wide);
      Write("t", Joined(lines));
      Shell("iconv -f utf-8 -t utf-16 t > w");
      std::istringstream records(Run({"--json", "x", wide ? "w" : "t"}).out);
      std::string record;
      std::size_t offset = wide ? 2 : 0;
      for (std::size_t i = 0; i < lines.size(); ++i) {
        std::size_t characters = 0;
        std::size_t before = 0;
        bool first = true;
        for (const std::size_t place : PlacesOfX(lines[i])) {
          const std::string between = Shown(lines[i].substr(before, place - before));
          for (const char c : between)
            characters += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
          before = place;
          ASSERT_TRUE(std::getline(records, record));
          const nlohmann::json match = nlohmann::json::parse(record);
          ASSERT_EQ(match["type"], "match");
          ASSERT_EQ(match["line"], i + 1);
          ASSERT_EQ(match["column"], characters + 1);
          ASSERT_EQ(match["start"], offset + (wide ? 2 * characters : place)) << "seed " << seed;
          ASSERT_EQ(match["end"], offset + (wide ? 2 * characters + 2 : place + 1));
          ASSERT_EQ(match["text"], "x");
          const bool repeats = first || lines[i].size() <= 16 * 1024;
          ASSERT_EQ(match.contains("line_text"), repeats);
          ASSERT_TRUE(!repeats || match["line_text"] == Shown(lines[i])) << "seed " << seed;
          first = false;
        }
        const std::string shown = Shown(lines[i]);
        std::size_t length = lines[i].size() + 1;
        if (wide) {
          length = 2;
          for (const char c : shown)
            length += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 2 : 0;
        }
        offset += length;
      }
      std::size_t ofFirst = 0;
      for (std::size_t i = 0; i < lines.size() && ofFirst == 0; ++i)
        ofFirst = PlacesOfX(lines[i]).size();
      for (const char* context : {"-C0", "-C1"}) {
        const std::string most = Run({"--json", "-m1", context, "x", wide ? "w" : "t"}).out;
        std::size_t matches = 0;
        for (std::size_t at = most.find("\"type\":\"match\""); at != most.npos;
             at = most.find("\"type\":\"match\"", at + 1))
          ++matches;
        EXPECT_EQ(matches, ofFirst) << "seed " << seed;
      }
    }
  }
}

TEST_F(LongLines, AreRepeatedForEditors) {
  const std::string line = Times(50'000, "ä") + "x" + Times(30'000, "y\xE4") + "x";
  Write("t", "x\n" + line + "\n");
  const std::string shown = Shown(line);
  EXPECT_TRUE(Run({"--vimgrep", "x", "t"}).out ==
              "t:1:1:x\nt:2:100001:" + shown + "\nt:2:160002:" + shown + "\n");
}

}  // namespace
}  // namespace trovex::testing
