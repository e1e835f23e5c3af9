// Many files on several workers: the same output as one process gives, whatever happens to them.

#include "tests/cli/run_program.h"
#include "tests/dice.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace trovex::testing {
namespace {

class Workers : public ProgramTest {
 protected:
  /// 120 files of very different sizes, three megabytes together.
  void WriteMany() const {
    for (int i = 0; i < 120; ++i) {
      const int lines = i % 10 == 0 ? 10000 : i;
      Write("many/" + std::to_string(i), Times(lines, "eine Zeile mit ü und Wort\n"));
    }
  }
};

TEST_F(Workers, OutputKeepsTheOrderOfTheFiles) {
  WriteMany();
  const RunResult alone = Run({"--jobs", "1", "Wort", "many"});
  EXPECT_EQ(alone.status, 0);
  EXPECT_GT(alone.out.size(), 4000000U);
  for (const char* jobs : {"2", "3", "16"}) {
    const RunResult several = Run({"--jobs", jobs, "Wort", "many"});
    EXPECT_EQ(several.status, 0);
    EXPECT_TRUE(several.out == alone.out) << jobs;
    EXPECT_EQ(several.err, "");
  }
  EXPECT_TRUE(Run({"Wort", "many"}).out == alone.out);
}

/// The lines of `text` that hold an x, at most `most` of them, with their context: "12:x", "13-y", "--".
std::string WithContext(const std::string& text, int before, int after, int most) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  std::vector<char> marks(lines.size(), ' ');
  for (std::size_t i = 0; i < lines.size() && most > 0; ++i) {
    if (lines[i].find('x') == std::string::npos) continue;
    --most;
    const std::size_t first = i - std::min(i, static_cast<std::size_t>(before));
    const std::size_t last = std::min(lines.size() - 1, i + static_cast<std::size_t>(after));
    for (std::size_t k = first; k <= last; ++k)
      marks[k] = marks[k] == ':' ? ':' : '-';
    marks[i] = ':';
  }
  std::string out;
  bool gap = false;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (marks[i] == ' ') {
      gap = true;
      continue;
    }
    if (gap && !out.empty()) out += "--\n";
    gap = false;
    out += std::to_string(i + 1) + marks[i] + lines[i] + "\n";
  }
  return out;
}

/// `text` as it is shown: the only byte of it that is no UTF-8 is the ä of Windows Latin-1.
std::string Shown(const std::string& text) {
  std::string shown;
  for (const char c : text)
    shown += c == '\xE4' ? "ä" : std::string(1, c);
  return shown;
}

/// The same lines as they are shown without JSON, of the records of matches and context; whose places in
/// `text` have to be right.
std::string LinesOfRecords(const std::string& records, const std::string& text) {
  std::string lines;
  std::int64_t latest = 0;
  std::istringstream stream(records);
  for (std::string line; std::getline(stream, line);) {
    const nlohmann::json record = nlohmann::json::parse(line);
    if (record["type"] == "summary") continue;
    const auto begin = record["start"].get<std::size_t>();
    const auto end = record["end"].get<std::size_t>();
    const std::string shown = record[record["type"] == "match" ? "text" : "line_text"];
    EXPECT_EQ(Shown(text.substr(begin, end - begin)), shown);
    const auto number = record["line"].get<std::int64_t>();
    if (number == latest) continue;
    if (latest > 0 && number > latest + 1) lines += "--\n";
    latest = number;
    lines += std::to_string(number) + (record["type"] == "match" ? ':' : '-');
    lines += record["line_text"].get<std::string>() + "\n";
  }
  return lines;
}

TEST_F(Workers, ContextOfALargeFileIsWhatStandsAroundItsLines) {
  for (std::uint32_t seed = 0; seed < 6; ++seed) {
    Dice dice(seed);
    const int rarity = dice.Between(2, 3000);
    const int foreign = dice.Between(3, 30'000);
    std::string text;
    while (text.size() < 1'500'000) {
      const bool found = dice.OneIn(rarity);
      text += std::string(static_cast<std::size_t>(dice.Between(0, 200)), 'y');
      if (dice.OneIn(foreign)) text += "\xE4y";
      text += found ? "x\n" : "\n";
    }
    if (dice.OneIn(2)) text.pop_back();
    Write("t", text);
    const int before = dice.Between(0, 30);
    const int after = dice.Between(before == 0 ? 1 : 0, 30);
    const int most = dice.OneIn(2) ? dice.Between(1, 500) : 1'000'000;
    std::vector<std::string> arguments = {"-I", "-B", std::to_string(before), "-A",
                                          std::to_string(after)};
    if (most < 1000) arguments.insert(arguments.end(), {"-m", std::to_string(most)});
    arguments.insert(arguments.end(), {"-j", "", "x", "t"});
    const std::string expected = WithContext(Shown(text), before, after, most);
    for (const char* jobs : {"1", "2", "5"}) {
      arguments[arguments.size() - 3] = jobs;
      EXPECT_TRUE(Run(arguments).out == expected) << "seed " << seed << ", jobs " << jobs;
    }
    arguments.insert(arguments.begin(), "--json");
    EXPECT_TRUE(LinesOfRecords(Run(arguments).out, text) == expected) << "seed " << seed;
  }
}

TEST_F(Workers, ContextFromThePieceBeforeIsShownInUtf8Too) {
  for (std::uint32_t seed = 0; seed < 8; ++seed) {
    Dice dice(seed);
    std::string text;
    while (text.size() < 3'000'000) {
      text += Times(dice.Between(0, 90'000), seed % 2 == 0 ? "y" : "€");
      text += dice.OneIn(4) ? "\xE4\n" : dice.OneIn(2) ? "x\n" : "\n";
    }
    Write("t", text);
    const std::string expected = WithContext(Shown(text), 1000, 0, 1'000'000);
    EXPECT_TRUE(Run({"-I", "-B1000", "x", "t"}).out == expected) << "seed " << seed;
  }
}

TEST_F(Workers, TheMostLinesOfALargeFileAreItsFirst) {
  Write("t", Times(100000, "eine Zeile mit Wort\n"));
  for (const char* jobs : {"1", "2", "5"}) {
    EXPECT_EQ(Run({"-j", jobs, "-m", "70000", "-c", "-I", "Wort", "t"}).out, "70000\n");
    const RunResult run =
        Run({"-j", jobs, "-m", "70000", "--stats", "-b", "-o", "-I", "Wort", "t"});
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 70000);
    EXPECT_TRUE(run.out.ends_with("70000:1399995:Wort\n"));
  }
}

TEST_F(Workers, ManyMatchesOfALargeFileKeepTheirOrder) {
  Write("t", Times(2'000'000, "x\n"));
  std::string expected;
  for (int i = 1; i <= 2'000'000; ++i)
    expected += std::to_string(i) + ":x\n";
  for (const char* jobs : {"2", "8"})
    EXPECT_TRUE(Run({"-j", jobs, "-I", "-o", "x", "t"}).out == expected) << jobs;
}

TEST_F(Workers, CountsAndNamesKeepTheOrderToo) {
  WriteMany();
  EXPECT_EQ(Run({"-j4", "-c", "Wort", "many"}).out, Run({"-j1", "-c", "Wort", "many"}).out);
  EXPECT_EQ(Run({"-j4", "-l", "Wort", "many"}).out, Run({"-j1", "-l", "Wort", "many"}).out);
  EXPECT_EQ(Run({"-j4", "-C1", "Wort", "many/10", "many/3", "many/20"}).out,
            Run({"-j1", "-C1", "Wort", "many/10", "many/3", "many/20"}).out);
}

TEST_F(Workers, ComplaintsKeepTheirPlace) {
  WriteMany();
  const RunResult run = Shell("$TROVEX -j3 -c Wort many/10 no1 many/20 no2 many/30 many 2>&1");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out.find("many/10:10000\ntrovex: no1: No such file or directory\n"
                         "many/20:10000\ntrovex: no2: No such file or directory\n"
                         "many/30:10000\n"),
            0U);
}

TEST_F(Workers, StatsAddUp) {
  WriteMany();
  const auto counts = [](const std::string& stats) {
    return stats.substr(0, stats.rfind("searched"));
  };
  const RunResult alone = Run({"-j1", "--stats", "-c", "ü &30 Wort", "many"});
  const RunResult several = Run({"-j4", "--stats", "-c", "ü &30 Wort", "many"});
  EXPECT_EQ(counts(several.err), counts(alone.err));
  EXPECT_NE(alone.err.find("120 files searched"), std::string::npos);
}

TEST_F(Workers, NothingFoundIsStatusOne) {
  WriteMany();
  EXPECT_EQ(Run({"-j4", "Nirgends", "many"}).status, 1);
  EXPECT_EQ(Run({"-j4", "-q", "Wort", "many"}).status, 0);
}

TEST_F(Workers, StandardInputMayBeAmongTheFiles) {
  WriteMany();
  EXPECT_EQ(Run({"-j3", "-c", "Wort", "many/10", "-", "many/20", "many/30", "many/40", "many/50"},
                "Wort\n")
                .out,
            "many/10:10000\n(standard input):1\nmany/20:10000\nmany/30:10000\nmany/40:10000\n"
            "many/50:10000\n");
}

TEST_F(Workers, AReaderThatStopsEndsThemAll) {
  WriteMany();
  const RunResult run = Shell("$TROVEX -j3 Wort many | head -2");
  EXPECT_EQ(run.out, "many/0:1:eine Zeile mit ü und Wort\nmany/0:2:eine Zeile mit ü und Wort\n");
  EXPECT_EQ(run.err, "");
}

TEST_F(Workers, ThousandsOfFilesAreNoTrouble) {
  std::string expected;
  for (int i = 10000; i < 13000; ++i) {
    Write("d/" + std::to_string(i), "Wort" + Times(100, " mehr") + "\n");
    expected += "d/" + std::to_string(i) + "\n";
  }
  const RunResult run = Run({"-j3", "-l", "Wort", "d"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, expected);
}

}  // namespace
}  // namespace trovex::testing
