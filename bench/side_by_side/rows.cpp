// The rows. Texts are Windows Latin-1, so umlauts stand in patterns as escapes. The peers fold A to Z
// only, as bytes, and their negated sets match line feeds unless told otherwise: such rows word the
// same search differently for them.

#include "bench/side_by_side/rows.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace trovex::bench {

namespace {

// What no peer's "\b" knows of: umlauts are letters.
#define LETTER "[A-Za-z0-9_\xC0-\xFF]"

std::vector<Row> Patterns() {
  return {
      {"rare word", "Tastaturbelegung"},
      {"common word", "Datei"},
      {"\"er\"", "er"},
      {"word, folded", "datei", Mode::kFolded},
      {"\"übersetzung\", folded",
       "\xFC"
       "bersetzung",
       Mode::kFolded, "[\xFC\xDC]bersetzung"},
      {"whole word \"und\"", "und", Mode::kWholeWords, "\\bund\\b"},
      {"Fehler|Warnung|Hinweis", "Fehler|Warnung|Hinweis"},
      {"eight words, folded", "datei|verzeichnis|prozess|speicher|fehler|benutzer|adresse|argument",
       Mode::kFolded},
      {"[A-Z][a-z]+", "[A-Z][a-z]+"},
      {"[a-z]+ung", "[a-z]+ung"},
      {"[A-ZÄÖÜ][a-zäöüß]+keit", "[A-Z\xC4\xD6\xDC][a-z\xE4\xF6\xFC\xDF]+keit"},
      {"[A-Za-z]+verzeichnis[a-z]*", "[A-Za-z]+verzeichnis[a-z]*"},
      {"[A-Z][a-z]+ [A-Z][a-z]+", "[A-Z][a-z]+ [A-Z][a-z]+"},
      {"(Herr|Frau) (Dr\\. )?[A-Z][a-z]+", "(Herr|Frau) (Dr\\. )?[A-Z][a-z]+", Mode::kLeaf},
      {"Datei.*Verzeichnis", "Datei.*Verzeichnis"},
      {.name = "a.{0,100}b", .expression = "a.{0,100}b", .without = "Hyperscan"},
      {"\"[^\"]*\"", "\"[^\"]*\"", Mode::kPlain, "\"[^\"\\n]*\""},
      {"[^a-z]{8}", "[^a-z]{8}", Mode::kPlain, "[^a-z\\n]{8}"},
      {"dotted numbers", "[0-9]{1,3}\\.[0-9]{1,3}\\.[0-9]{1,3}\\.[0-9]{1,3}"},
      {"dates", "[0-9]{4}-[0-9]{2}-[0-9]{2}"},
      {"mail addresses", "[A-Za-z0-9._-]+@[A-Za-z0-9.-]+\\.[a-z]+"},
      {"https?://[^ ]+", "https?://[^ ]+", Mode::kPlain, "https?://[^ \\n]+"},
      {"^\\.SH", "^\\.SH"},
      {"werden\\.$", "werden\\.$"},
      {"([a-z]+)-([a-z]+)", "([a-z]+)-([a-z]+)", Mode::kLeaf},
      {.name = "([a-z]+)-([a-z]+)., group 2",
       .expression = "([a-z]+)-([a-z]+).",
       .group = 2,
       .without = "Hyperscan"},
      {.name = "\\<([a-z]+) \\1\\>",
       .expression = "\\<([a-z]+) \\1\\>",
       .mode = Mode::kLeaf,
       .peerPattern = "(?<!" LETTER ")([a-z]+) \\1(?!" LETTER ")",
       .without = "Hyperscan RE2",
       .readOtherwiseBy = "trovex.h"},  // to which umlauts are no letters here
      {.name = "([a-z][a-z][a-z])\\1",
       .expression = "([a-z][a-z][a-z])\\1",
       .mode = Mode::kLeaf,
       .without = "Hyperscan RE2"},
      {.name = "(.)(.)\\2\\1",
       .expression = "(.)(.)\\2\\1",
       .mode = Mode::kLeaf,
       .without = "Hyperscan RE2"},
  };
}

/// `operands` with `op` between them.
std::string Joined(const std::vector<std::string>& operands, const std::string& op) {
  std::string expression;
  for (const std::string& operand : operands)
    expression += expression.empty() ? operand : op + operand;
  return expression;
}

Row Anywhere(const std::vector<std::string>& operands, const std::string& name = {}) {
  const std::string expression = Joined(operands, " & ");
  return {.name = name.empty() ? expression : name,
          .expression = expression,
          .byHand = {.operands = operands}};
}

Row Near(const std::vector<std::string>& operands, int nearBy, const std::string& name = {}) {
  const std::string expression = Joined(operands, " &" + std::to_string(nearBy) + " ");
  return {.name = name.empty() ? expression : name,
          .expression = expression,
          .byHand = {.operands = operands, .nearBy = nearBy}};
}

/// The last operand must not occur.
Row Without(Row row, const std::string& excluded) {
  row.expression.replace(row.expression.rfind(excluded), 0, "!");
  row.name = row.expression;
  row.byHand.lastExcluded = true;
  return row;
}

std::vector<Row> Expressions() {
  const std::vector<std::string> four = {"Datei", "Verzeichnis", "Option", "Name"};
  const std::vector<std::string> eight = {"Datei", "Verzeichnis", "Option",  "Name",
                                          "Wert",  "Zeichen",     "Ausgabe", "Befehl"};
  return {
      Anywhere({"Datei", "Verzeichnis"}),
      Anywhere(four, "four words, AND"),
      Anywhere(eight, "eight words, AND"),
      Near({"Datei", "Verzeichnis"}, 40),
      Near(four, 80, "four words within 80"),
      Near(eight, 200, "eight words within 200"),
      Without(Anywhere({"Datei", "Xylophon"}), "Xylophon"),
      Without(Near({"Zeiger", "Verzeichnis"}, 40), "Verzeichnis"),
      {.name = "sounds like \"Meier\"",
       .expression = "Meier",
       .mode = Mode::kPhonetic,
       .readOtherwiseBy = "trovex.h"},
  };
}

bool IsOfPlainLetters(const std::string& word) {
  return std::all_of(word.begin(), word.end(),
                     [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); });
}

/// `count` of the words of 6 to 15 letters, taken at one stride; the longest first, because some peers
/// take the first alternative that matches, and not the longest.
std::string ListOfWords(const std::vector<std::string>& words, std::size_t count) {
  std::vector<std::string> fitting;
  std::copy_if(words.begin(), words.end(), std::back_inserter(fitting), [](const auto& word) {
    return word.size() >= 6 && word.size() <= 15 && IsOfPlainLetters(word);
  });
  std::vector<std::string> list;
  for (std::size_t i = 0; i < count; ++i)
    list.push_back(fitting[i * fitting.size() / count]);
  std::stable_sort(list.begin(), list.end(),
                   [](const auto& a, const auto& b) { return a.size() > b.size(); });
  return Joined(list, "|");
}

std::vector<Row> ListsOf(const std::vector<std::string>& words) {
  std::vector<Row> rows;
  if (words.empty()) return rows;
  for (const std::size_t count : {10, 100, 1'000, 10'000}) {
    const std::string list = ListOfWords(words, count);
    const std::string name = std::to_string(count) + " words";
    rows.push_back({name, list});
    rows.push_back({name + ", folded", list, Mode::kFolded});
    rows.push_back({name + ", whole", list, Mode::kWholeWords, "\\b(?:" + list + ")\\b"});
    // It would compile 10,000 words with their ends for minutes.
    if (count == 10'000) rows.back().without = "Hyperscan";
  }
  return rows;
}

/// The patterns of `expression`, between which operators stand; of a NOT its operand.
std::vector<std::string> OperandsOf(const std::string& expression) {
  std::vector<std::string> operands;
  for (std::size_t begin = 0;;) {
    const std::size_t op = expression.find(" &", begin);
    const std::string operand = expression.substr(begin, op - begin);
    operands.push_back(operand.starts_with('!') ? operand.substr(1) : operand);
    if (op == std::string::npos) return operands;
    begin = expression.find(' ', op + 1) + 1;
  }
}

}  // namespace

std::vector<Row> MakeRows(const std::vector<std::string>& words) {
  std::vector<Row> rows = Patterns();
  for (const std::vector<Row>& more : {Expressions(), ListsOf(words)})
    rows.insert(rows.end(), more.begin(), more.end());
  return rows;
}

Row RowOfLine(const std::string& line) {
  std::istringstream fields(line);
  Row row;
  std::string mode;
  std::getline(fields, row.name, '\t');
  std::getline(fields, mode, '\t');
  std::getline(fields, row.expression, '\t');
  std::getline(fields, row.peerPattern, '\t');
  std::getline(fields, row.without, '\t');
  std::istringstream words(mode);
  for (std::string word; words >> word;) {
    if (word == "and" || word == "near") row.byHand.operands = OperandsOf(row.expression);
    if (word == "near") words >> row.byHand.nearBy;
    if (word == "not") row.byHand.lastExcluded = true;
  }
  if (row.byHand.operands.size() > 1) return row;
  if (mode == "folded") {
    row.mode = Mode::kFolded;
  } else if (mode == "whole") {
    row.mode = Mode::kWholeWords;
  } else if (mode == "leaf") {
    row.mode = Mode::kLeaf;
  } else if (mode != "plain" || row.expression.empty()) {
    throw std::runtime_error("no row: " + line);
  }
  return row;
}

}  // namespace trovex::bench
