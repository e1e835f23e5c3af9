// The functions of SQL, each through SQLite as a program calls it.

#include "tests/sqlite/database.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace {

using trovex::testing::Blob;
using trovex::testing::Database;
using trovex::testing::Result;
using trovex::testing::Row;
using trovex::testing::Value;
using trovex::testing::Written;

using std::string_literals::operator""s;

const Value kNull;

Value Text(std::string text) {
  return text;
}

Value Number(sqlite3_int64 number) {
  return number;
}

class Functions : public ::testing::Test {
 protected:
  Value One(std::string_view sql, const Row& values = {}) const {
    return database_.One(sql, values);
  }

  Database database_;
};

TEST_F(Functions, TrovexTellsWhetherATextSatisfiesAQuery) {
  EXPECT_EQ(One("SELECT trovex('(Haus|Hof) &20 !Garten', 'Das Haus am Hof.')"), Number(1));
  EXPECT_EQ(One("SELECT trovex('Haus & Garten', 'Das Haus am Hof.')"), Number(0));
  EXPECT_EQ(One("SELECT trovex('!Garten', 'Das Haus am Hof.')"), Number(1));
  EXPECT_EQ(One("SELECT trovex('ÜBUNG', 'Die Übung')"), Number(1));
}

TEST_F(Functions, OptionsAreNamesWithCommasOrBlanksBetween) {
  EXPECT_EQ(One("SELECT trovex('haus', 'Rathaus')"), Number(1));
  EXPECT_EQ(One("SELECT trovex('haus', 'Rathaus', 'words')"), Number(0));
  EXPECT_EQ(One("SELECT trovex('haus', 'das Haus', 'words')"), Number(1));
  EXPECT_EQ(One("SELECT trovex('haus', 'das Haus', 'words, case')"), Number(0));
  EXPECT_EQ(One("SELECT trovex('haus', 'das Haus', ' case  words,')"), Number(0));
  EXPECT_EQ(One("SELECT trovex('Meier', 'Herr Mayr', 'phonetic')"), Number(1));
  EXPECT_EQ(One("SELECT trovex('Strasse', 'Straße', 'variants')"), Number(1));
  EXPECT_EQ(One("SELECT trovex('haus', 'Rathaus', '')"), Number(1));
  EXPECT_EQ(One("SELECT trovex('haus', 'Rathaus', ' , ,')"), Number(1));
}

TEST_F(Functions, AnUnknownOptionIsAnError) {
  const Value sentence =
      Text("There is no option \"word\"; the options are words, case, phonetic and variants.");
  EXPECT_EQ(One("SELECT trovex('haus', 'Rathaus', 'case,word')"), sentence);
  EXPECT_EQ(One("SELECT trovex_count('haus', 'Rathaus', 'word')"), sentence);
  EXPECT_EQ(One("SELECT trovex_highlight('haus', 'Rathaus', '[', ']', 'word')"), sentence);
  EXPECT_EQ(One("SELECT trovex_snippet('haus', 'Rathaus', '[', ']', '', 5, 'word')"), sentence);
  EXPECT_EQ(One("SELECT trovex_explain('haus', 'word')"), sentence);
  EXPECT_EQ(One("SELECT text FROM trovex_items('haus', 'Rathaus', 'word')"), sentence);
}

TEST_F(Functions, OptionsMayDifferFromRowToRow) {
  const Result result = database_.Run(
      "SELECT column1, trovex('haus', 'Rathaus', column1) FROM (VALUES (''), ('words'), ('case'),"
      " ('words'), (NULL), (''))");
  EXPECT_EQ(Written(result), "|1\nwords|0\ncase|1\nwords|0\nNULL|NULL\n|1\n");
}

TEST_F(Functions, ExpressionsMayDifferFromRowToRow) {
  // More than are kept, and some of them come again.
  std::string expected;
  for (int i = 0; i < 200; ++i)
    expected.append(i % 70 == 5 || i % 70 == 69 ? "1" : "0").append("\n");
  const Result result = database_.Run(
      "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 199)"
      " SELECT trovex('w' || (i % 70) || 'x', 'w5x und w69x') FROM n");
  EXPECT_EQ(Written(result), expected);
}

TEST_F(Functions, NullGivesNull) {
  for (const char* const call :
       {"trovex(NULL, 'a')", "trovex('a', NULL)", "trovex('a', 'a', NULL)",
        "trovex_count(NULL, 'a')", "trovex_count('a', NULL)", "trovex_highlight(NULL, 'a', '', '')",
        "trovex_highlight('a', NULL, '', '')", "trovex_highlight('a', 'a', NULL, '')",
        "trovex_highlight('a', 'a', '', NULL)", "trovex_snippet('a', NULL, '', '', '', 5)",
        "trovex_snippet('a', 'a', '', '', NULL, 5)", "trovex_snippet('a', 'a', '', '', '', NULL)",
        "trovex_explain(NULL)"}) {
    EXPECT_EQ(One("SELECT " + std::string(call)), kNull) << call;
  }
  // A fault is a fault only where something is searched.
  EXPECT_EQ(One("SELECT trovex('(a', NULL)"), kNull);
}

TEST_F(Functions, CountTellsTheNumberOfItems) {
  EXPECT_EQ(One("SELECT trovex_count('Haus|Hof', 'Haus, Hof und Haus')"), Number(3));
  EXPECT_EQ(One("SELECT trovex_count('(Haus) & Hof', 'Haus, Hof und Haus')"), Number(3));
  EXPECT_EQ(One("SELECT trovex_count('Haus & Garten', 'Haus, Hof und Haus')"), Number(0));
  EXPECT_EQ(One("SELECT trovex_count('!Garten', 'Haus')"), Number(0));
  EXPECT_EQ(One("SELECT trovex_count('haus', 'Haus haus', 'case')"), Number(1));
}

TEST_F(Functions, HighlightSetsMarksAroundWhatIsFound) {
  EXPECT_EQ(One("SELECT trovex_highlight('Haus|Tür', 'Die Tür im Haus.', '<b>', '</b>')"),
            Text("Die <b>Tür</b> im <b>Haus</b>."));
  EXPECT_EQ(One("SELECT trovex_highlight('Garten', 'Die Tür', '<b>', '</b>')"), Text("Die Tür"));
  EXPECT_EQ(One("SELECT trovex_highlight('!Garten', 'Die Tür', '<b>', '</b>')"), Text("Die Tür"));
  EXPECT_EQ(One("SELECT trovex_highlight('haus', 'Rathaus Haus', '<', '>', 'words')"),
            Text("Rathaus <Haus>"));
  EXPECT_EQ(One("SELECT trovex_highlight('a', '', '<', '>')"), Text(""));
}

TEST_F(Functions, HighlightMarksWhatOverlapsOnce) {
  EXPECT_EQ(One("SELECT trovex_highlight('Haust & ustür', 'Die Haustür', '[', ']')"),
            Text("Die [Haust][ür]"));
  EXPECT_EQ(One("SELECT trovex_highlight('Haustür & stü', 'Die Haustür', '[', ']')"),
            Text("Die [Haustür]"));
}

TEST_F(Functions, HighlightMarksNoEmptyPlaces) {
  EXPECT_EQ(One("SELECT trovex_highlight('x*', 'aaxxa', '[', ']')"), Text("aa[xx]a"));
}

TEST_F(Functions, SnippetShowsWhatIsFoundAmongItsNeighbours) {
  const std::string text = "eins zwei drei vier fünf Hof sechs sieben acht neun zehn";
  EXPECT_EQ(One("SELECT trovex_snippet('Hof', ?, '[', ']', '…', 5)", {text}),
            Text("…vier fünf [Hof] sechs sieben…"));
  EXPECT_EQ(One("SELECT trovex_snippet('Garten', ?, '[', ']', '…', 3)", {text}),
            Text("eins zwei drei…"));
  EXPECT_EQ(One("SELECT trovex_snippet('haus', 'Rathaus Haus', '<', '>', '…', 1, 'words')"),
            Text("…<Haus>"));
}

TEST_F(Functions, ASnippetHasAtLeastOneWord) {
  const Value sentence = Text("The number of words of a snippet must be at least 1.");
  EXPECT_EQ(One("SELECT trovex_snippet('Hof', 'Hof', '[', ']', '…', 0)"), sentence);
  EXPECT_EQ(One("SELECT trovex_snippet('Hof', 'Hof', '[', ']', '…', -3)"), sentence);
  EXPECT_EQ(One("SELECT trovex_snippet('Hof', 'Hof', '[', ']', '…', 'many')"), sentence);
  EXPECT_EQ(One("SELECT trovex_snippet('Hof', 'Hof', '[', ']', '…', 9223372036854775807)"),
            Text("[Hof]"));
}

TEST_F(Functions, ExplainShowsHowAnExpressionIsUnderstood) {
  EXPECT_EQ(One("SELECT trovex_explain('Haus &5w !Hof')"),
            Text("and\n  pattern Haus\n  at most 5 words between\n  not\n    pattern Hof\n"));
}

TEST_F(Functions, TheVersionIsTold) {
  EXPECT_EQ(One("SELECT trovex_version()"), Text(TROVEX_VERSION));
}

TEST_F(Functions, AFaultIsAnErrorThatTellsThePlace) {
  EXPECT_EQ(One("SELECT trovex('Tür & (Äpfel', 'x')"),
            Text("The closing bracket ) is missing in a subexpression."
                 " (expression, character 7: \"(\")"));
  EXPECT_EQ(One("SELECT trovex_count('ä[[:foo:]]', 'x')"),
            Text("The search expression contains an invalid name for a character class."
                 " (expression, character 3 to 9: \"[:foo:]\")"));
  EXPECT_EQ(
      One("SELECT trovex('', 'x')"),
      Text("The search expression contains an empty subexpression. (expression, character 1)"));
}

TEST_F(Functions, AFaultIsToldOnALine) {
  const Row faulty = {"a(\x1B[31m\0"s + std::string(200, 'x') + "&)"};
  const Value message = One("SELECT trovex(?, 'x')", faulty);
  const std::string& text = std::get<std::string>(message);
  EXPECT_EQ(text.find('\x1B'), std::string::npos);
  EXPECT_EQ(text.back(), ')') << text;
  EXPECT_LT(text.size(), 300U);
}

TEST_F(Functions, AFaultEndsTheStatement) {
  const Result result = database_.Run("SELECT trovex('(', column1) FROM (VALUES ('a'), ('b'))");
  EXPECT_EQ(result.status, SQLITE_ERROR);
  EXPECT_TRUE(result.rows.empty());
  EXPECT_EQ(One("SELECT trovex('a', 'a')"), Number(1));
}

TEST_F(Functions, NumbersAreSearchedAsTheyAreWritten) {
  EXPECT_EQ(One("SELECT trovex('4711', 14711)"), Number(1));
  EXPECT_EQ(One("SELECT trovex(4711, 14711)"), Number(1));
  EXPECT_EQ(One("SELECT trovex('^1\\.5$', 1.5)"), Number(1));
  EXPECT_EQ(One("SELECT trovex_highlight('7', 471, '[', ']')"), Text("4[7]1"));
  EXPECT_EQ(One("SELECT trovex_highlight('9', 471, '[', ']')"), Text("471"));
}

TEST_F(Functions, BlobsAreSearchedAsBytes) {
  const Row blob = {Blob{"Das T\xFCr\0Haus"s}};
  EXPECT_EQ(One("SELECT trovex('Tür & Haus', ?)", blob), Number(1));
  EXPECT_EQ(One("SELECT trovex_highlight('Tür', ?, '[', ']')", blob),
            Value(Blob{"Das [T\xFCr]\0Haus"s}));
  EXPECT_EQ(One("SELECT trovex('a', x'')"), Number(0));
  EXPECT_EQ(One("SELECT trovex('!a', zeroblob(100000))"), Number(1));
  EXPECT_EQ(One("SELECT trovex_highlight('a', x'', '[', ']')"), Value(Blob{""}));
}

TEST_F(Functions, TextsMayHoldZeros) {
  const Row text = {"eins\0Haus\0zwei"s};
  EXPECT_EQ(One("SELECT trovex('Haus', ?)", text), Number(1));
  EXPECT_EQ(One("SELECT trovex_highlight('Haus', ?, '[', ']')", text), Text("eins\0[Haus]\0zwei"s));
  EXPECT_EQ(One("SELECT trovex_count('a.b', ?)", {"a\0b"s}), Number(1));
}

TEST_F(Functions, DatabasesMayBeInUtf16) {
  Database wide;
  wide.Execute(
      "PRAGMA encoding = 'UTF-16'; CREATE TABLE docs(body TEXT, mark TEXT);"
      "INSERT INTO docs VALUES ('Die Tür 😀 im Häuschen', '→')");
  EXPECT_EQ(wide.One("SELECT trovex('tür & Häuschen', body) FROM docs"), Number(1));
  EXPECT_EQ(wide.One("SELECT trovex_highlight('Häuschen', body, mark, mark) FROM docs"),
            Text("Die Tür 😀 im →Häuschen→"));
  EXPECT_EQ(Written(wide.Run("SELECT start, end, text FROM docs, trovex_items('Häuschen', body)")),
            "14|22|Häuschen\n");
}

TEST_F(Functions, TheyMayBeUsedInIndexesAndGeneratedColumns) {
  database_.Execute(
      "CREATE TABLE docs(body, found AS (trovex('Haus', body)) STORED);"
      "CREATE INDEX houses ON docs(trovex_count('Haus', body));"
      "INSERT INTO docs(body) VALUES ('Haus'), ('Hof'), ('Haus und Haus')");
  EXPECT_EQ(One("SELECT sum(found) FROM docs"), Number(2));
  EXPECT_EQ(One("SELECT body FROM docs WHERE trovex_count('Haus', body) = 2"),
            Text("Haus und Haus"));
  const Result plan = database_.Run(
      "EXPLAIN QUERY PLAN SELECT body FROM docs WHERE trovex_count('Haus', body) = 2");
  EXPECT_NE(Written(plan).find("USING INDEX houses"), std::string::npos) << Written(plan);
}

TEST_F(Functions, SchemasThatNobodyTrustsMayUseThem) {
  database_.Execute(
      "PRAGMA trusted_schema = OFF; CREATE TABLE docs(body);"
      "INSERT INTO docs VALUES ('Haus und Haus');"
      "CREATE VIEW found AS SELECT trovex_count('Haus', body) AS n FROM docs;"
      "CREATE VIEW places AS SELECT start FROM docs, trovex_items('Haus', body)");
  EXPECT_EQ(One("SELECT n FROM found"), Number(2));
  EXPECT_EQ(One("SELECT max(start) FROM places"), Number(10));
}

TEST_F(Functions, AResultThatIsTooLongIsAnError) {
  sqlite3_limit(database_.Handle(), SQLITE_LIMIT_LENGTH, 100'000);
  const Result result = database_.Run("SELECT trovex_highlight('a', ?, ?, '')",
                                      {std::string(50'000, 'a'), std::string(50'000, '<')});
  EXPECT_EQ(result.status, SQLITE_TOOBIG);
}

TEST_F(Functions, ASearchThatGivesUpIsAnErrorAndNoAnswer) {
  // Nobody can tell within the bounds how such a line is to be parted.
  std::string text;
  for (int i = 0; i < 3000; ++i)
    text += "ab";
  for (const char* const sql : {"SELECT trovex('(.*)(.*)x\\2\\1', ?)",
                                "SELECT start FROM trovex_items('(.*)(.*)x\\2\\1', ?)"}) {
    const Result result = database_.Run(sql, {text + "x" + text});
    EXPECT_EQ(result.status, SQLITE_ERROR) << sql;
    EXPECT_EQ(
        result.message,
        "The search gave up at character 1 of the text: this expression takes too long there.");
  }
}

TEST_F(Functions, ExpressionsThatAreKeptDoNotAddUp) {
  // Long ones: together they are more than the cache may hold.
  for (int i = 0; i < 40; ++i) {
    const std::string number = std::to_string(i % 20);
    const std::string expression = number + std::string(4000, 'x') + "|Hof";
    EXPECT_EQ(One("SELECT trovex(?, 'ein Hof')", {expression}), Number(1));
  }
}

}  // namespace
