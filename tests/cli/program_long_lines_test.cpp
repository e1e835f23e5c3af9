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
    for (const std::string& line : lines) {
      const std::string shown = Shown(line);
      context += shown + "\n";
      if (PlacesOfX(line).empty()) continue;
      plain += shown + "\n";
      for (const char c : shown)
        colored += c == 'x' ? on + c + off : std::string(1, c);
      colored += '\n';
    }
    EXPECT_TRUE(Run({"-I", "-N", "x", "t"}).out == plain) << "seed " << seed;
    EXPECT_TRUE(Run({"-I", "-N", "--color=always", "x", "t"}).out == colored) << "seed " << seed;
    EXPECT_TRUE(Run({"-I", "-N", "-C5", "y", "t"}).out == context) << "seed " << seed;
    EXPECT_TRUE(Run({"-I", "-N", "-C5", "x", "t"}).out == (plain.empty() ? "" : context))
        << "seed " << seed;
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
