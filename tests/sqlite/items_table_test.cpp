// trovex_items(): its rows, its place in joins, and what SQLite plans with it.

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

class Items : public ::testing::Test {
 protected:
  Items() {
    database_.Execute(
        "CREATE TABLE docs(id INTEGER PRIMARY KEY, body);"
        "INSERT INTO docs(body) VALUES ('Das Haus am See'), ('Kein Garten'), ('Der Hof und das "
        "Haus'),"
        " (NULL), ('Tür, Hof')");
  }

  std::string Rows(std::string_view sql, const Row& values = {}) const {
    return Written(database_.Run(sql, values));
  }

  Database database_;
};

TEST_F(Items, AreRowsWithPositionsFromOne) {
  EXPECT_EQ(Rows("SELECT * FROM trovex_items('Haus|Hof', 'Ähre, Haus, Hof')"),
            "7|11|0|Haus|1\n13|16|0|Hof|2\n");
}

TEST_F(Items, SubstrGivesTheText) {
  EXPECT_EQ(Rows("SELECT substr(?1, start, end - start) = text FROM trovex_items('\\w+', ?1)",
                 {"Die Türen 😀 → Größe"s}),
            "1\n1\n1\n");
}

TEST_F(Items, TagsStandBehindTheirItem) {
  EXPECT_EQ(Rows("SELECT item, tag, start, end, text FROM"
                 " trovex_items('(Herr|Frau) ([A-ZÄÖÜ][a-zäöüß]+)', 'Frau Köhler und Herr Groß')"),
            "1|0|1|12|Frau Köhler\n1|1|1|5|Frau\n1|2|6|12|Köhler\n"
            "2|0|17|26|Herr Groß\n2|1|17|21|Herr\n2|2|22|26|Groß\n");
}

TEST_F(Items, ATagMayBeAskedFor) {
  const std::string from = " FROM trovex_items('(H)(aus|of)', 'Haus und Hof') WHERE ";
  EXPECT_EQ(Rows("SELECT text" + from + "tag = 0"), "Haus\nHof\n");
  EXPECT_EQ(Rows("SELECT text" + from + "tag = 2"), "aus\nof\n");
  EXPECT_EQ(Rows("SELECT text" + from + "tag = 3"), "");
  EXPECT_EQ(Rows("SELECT text" + from + "tag = -1"), "");
  EXPECT_EQ(Rows("SELECT text" + from + "tag IN (1, 2)"), "H\nH\naus\nof\n");
  EXPECT_EQ(Rows("SELECT text" + from + "tag > 0"), "H\naus\nH\nof\n");
  EXPECT_EQ(Rows("SELECT text" + from + "tag = 2.0"), "aus\nof\n");
  EXPECT_EQ(Rows("SELECT text" + from + "tag = '2'"), "aus\nof\n");
  EXPECT_EQ(Rows("SELECT text" + from + "tag = NULL"), "");
  EXPECT_EQ(Rows("SELECT text" + from + "tag IS NULL"), "");
  EXPECT_EQ(Rows("SELECT text" + from + "tag = 2 AND tag = 1"), "");
}

TEST_F(Items, ABracketThatTookNoPartHasNoRow) {
  EXPECT_EQ(Rows("SELECT tag, text FROM trovex_items('(Haus)|(Hof)', 'Hof')"), "0|Hof\n2|Hof\n");
}

TEST_F(Items, AreJoinedWithTheTablesThatHoldTheTexts) {
  const std::string expected = "1|5|Haus\n3|5|Hof\n3|17|Haus\n5|6|Hof\n";
  EXPECT_EQ(Rows("SELECT id, start, text FROM docs, trovex_items('Haus|Hof', docs.body)"),
            expected);
  EXPECT_EQ(Rows("SELECT id, start, text FROM trovex_items('Haus|Hof', docs.body), docs"
                 " ORDER BY id, start"),
            expected);
  EXPECT_EQ(Rows("SELECT id, i.start, i.text FROM docs JOIN trovex_items('Haus|Hof', body) AS i"
                 " WHERE i.tag = 0 ORDER BY id, i.start"),
            expected);
  EXPECT_EQ(Rows("SELECT id, count(item) FROM docs LEFT JOIN trovex_items('Haus', body)"
                 " GROUP BY id"),
            "1|1\n2|0\n3|1\n4|0\n5|0\n");
}

TEST_F(Items, ExpressionsMayComeFromATable) {
  database_.Execute(
      "CREATE TABLE queries(name, expression, options);"
      "INSERT INTO queries VALUES ('a', 'haus', ''), ('b', 'haus', 'case'),"
      " ('c', 'Ho.', 'words'), ('d', NULL, ''), ('e', 'x', NULL)");
  EXPECT_EQ(Rows("SELECT name, id, text FROM queries, docs, trovex_items(expression, body, options)"
                 " ORDER BY name, id"),
            "a|1|Haus\na|3|Haus\nc|3|Hof\nc|5|Hof\n");
}

TEST_F(Items, OneSearchMayStandInAnother) {
  EXPECT_EQ(Rows("SELECT o.text, i.start, i.text FROM trovex_items('\\w+', 'aba bab') AS o,"
                 " trovex_items('b', o.text) AS i"),
            "aba|2|b\nbab|1|b\nbab|3|b\n");
  EXPECT_EQ(Rows("SELECT a.start, b.start FROM trovex_items('x', 'xax') AS a,"
                 " trovex_items('x', 'xax') AS b"),
            "1|1\n1|3\n3|1\n3|3\n");
}

TEST_F(Items, MayBeCorrelated) {
  EXPECT_EQ(
      Rows("SELECT id, (SELECT group_concat(text) FROM trovex_items('[dk]\\w+', body)) FROM docs"
           " WHERE EXISTS (SELECT 1 FROM trovex_items('[dk]\\w+', body))"),
      "1|Das\n2|Kein\n3|Der,das\n");
}

TEST_F(Items, ComeInTheOrderOfTheirNumbers) {
  const auto plan = [&](const std::string& order) {
    return Rows("EXPLAIN QUERY PLAN SELECT * FROM trovex_items('a', 'a') ORDER BY " + order);
  };
  EXPECT_EQ(plan("item").find("TEMP B-TREE"), std::string::npos);
  EXPECT_EQ(plan("rowid").find("TEMP B-TREE"), std::string::npos);
  EXPECT_NE(plan("item DESC").find("TEMP B-TREE"), std::string::npos);
  EXPECT_NE(plan("start").find("TEMP B-TREE"), std::string::npos);
  EXPECT_EQ(Rows("SELECT rowid, text FROM trovex_items('(a|b)', 'ab') ORDER BY rowid"),
            "1|a\n2|a\n3|b\n4|b\n");
}

TEST_F(Items, TheArgumentsAreHiddenColumns) {
  EXPECT_EQ(
      Rows("SELECT start, trovex_expression, trovex_text, trovex_options FROM trovex_items"
           " WHERE trovex_expression = 'b' AND trovex_text = 'aba' AND trovex_options = 'case'"),
      "2|b|aba|case\n");
  EXPECT_EQ(Rows("SELECT start, trovex_options FROM trovex_items('b', 'aba')"), "2|NULL\n");
  EXPECT_EQ(Rows("SELECT start FROM trovex_items('b', 'aba') WHERE trovex_expression = 'c'"), "");
}

TEST_F(Items, AnExpressionAndATextAreNeeded) {
  const std::string sentence = "trovex_items() needs an expression and a text.";
  EXPECT_EQ(Rows("SELECT * FROM trovex_items"), sentence);
  EXPECT_EQ(Rows("SELECT * FROM trovex_items('a')"), sentence);
  EXPECT_EQ(Rows("SELECT * FROM trovex_items WHERE trovex_text = 'a'"), sentence);
  EXPECT_NE(database_.Run("SELECT * FROM trovex_items('a', 'b', '', 'd')").status, SQLITE_DONE);
}

TEST_F(Items, NullHasNone) {
  EXPECT_EQ(Rows("SELECT * FROM trovex_items(NULL, 'a')"), "");
  EXPECT_EQ(Rows("SELECT * FROM trovex_items('a', NULL)"), "");
  EXPECT_EQ(Rows("SELECT * FROM trovex_items('a', 'a', NULL)"), "");
}

TEST_F(Items, OfABlobHavePositionsInBytes) {
  EXPECT_EQ(database_
                .Run("SELECT start, end, text FROM trovex_items('Haus', ?)",
                     {Blob{"\xC3\xBC\0\xFCHaus"s}})
                .rows.at(0),
            (Row{sqlite3_int64{5}, sqlite3_int64{9}, Blob{"Haus"}}));
}

TEST_F(Items, OfATextWithZerosAreWhole) {
  EXPECT_EQ(Rows("SELECT start, end, text FROM trovex_items('H.*', ?)", {"a\0Haus\0b"s}),
            "3|9|Haus\0b\n"s);
}

TEST_F(Items, EmptyPlacesAreRowsToo) {
  EXPECT_EQ(Rows("SELECT start, end, text FROM trovex_items('x*', 'axa')"), "1|1|\n2|3|x\n4|4|\n");
}

TEST_F(Items, AFaultIsAnErrorThatTellsThePlace) {
  EXPECT_EQ(
      Rows("SELECT * FROM trovex_items('ä(', 'a')"),
      "The closing bracket ) is missing in a subexpression. (expression, character 2: \"(\")");
  EXPECT_EQ(Rows("SELECT * FROM trovex_items('a', 'a')"), "1|2|0|a|1\n");
}

TEST_F(Items, AreAllThereHoweverManyThereAre) {
  for (const int count : {63, 64, 65, 2047, 2048, 2049, 70'000}) {
    std::string text;
    for (int i = 0; i < count; ++i)
      text += i % 2 == 0
                  ? "\xC3\xBC(Haus), eine lange Zeile, in der sonst nichts ist, und noch etwas\n"
                  : "Hof\n";
    const std::string number = std::to_string(count);
    const std::string houses = std::to_string((count + 1) / 2);
    EXPECT_EQ(Rows("SELECT count(*), max(item), count(DISTINCT start), sum(text = 'Haus' AND start "
                   "% 71 = 3)"
                   " FROM trovex_items('Haus|Hof', ?1)",
                   {text}),
              number + '|' + number + '|' + number + '|' + houses + '\n');
    EXPECT_EQ(Rows("SELECT count(*) FROM trovex_items('(Haus)|(Hof)', ?)", {text}),
              std::to_string(2 * count) + '\n');
    EXPECT_EQ(Rows("SELECT count(*), min(text), max(text) FROM trovex_items('(Haus)|(Hof)', ?)"
                   " WHERE tag = 1",
                   {text}),
              houses + "|Haus|Haus\n");
  }
}

/// A text of `count` lines with an item each, and one after them where the search gives up.
std::string TextThatEndsBadly(int count) {
  std::string text;
  for (int i = 0; i < count; ++i)
    text += "Haus\n";
  for (int i = 0; i < 3000; ++i)
    text += "ab";
  return text + 'x' + text.substr(text.rfind('\n') + 1);
}

TEST_F(Items, AreLookedForNoFurtherThanTheyAreTaken) {
  // The whole text takes more than a search may, so that it has not been searched where nothing is said.
  const std::string text = TextThatEndsBadly(3000);
  const std::string from = " FROM trovex_items('Haus|(.*)(.*)x\\2\\1', ?) ";
  EXPECT_EQ(Rows("SELECT start" + from + "LIMIT 2", {text}), "1\n6\n");
  EXPECT_EQ(Rows("SELECT item" + from + "WHERE tag = 0 LIMIT 1 OFFSET 999", {text}), "1000\n");
  EXPECT_EQ(Rows("SELECT EXISTS (SELECT 1" + from + ")", {text}), "1\n");
}

TEST_F(Items, ComeBeforeTheErrorOfASearchThatGivesUp) {
  const Result result = database_.Run("SELECT text FROM trovex_items('Haus|(.*)(.*)x\\2\\1', ?)",
                                      {TextThatEndsBadly(100)});
  EXPECT_EQ(result.status, SQLITE_ERROR);
  EXPECT_EQ(
      result.message,
      "The search gave up at character 501 of the text: this expression takes too long there.");
  EXPECT_EQ(result.rows.size(), 100U);
}

TEST_F(Items, CannotBeChangedNorMadeAgain) {
  EXPECT_NE(database_.Run("INSERT INTO trovex_items(start) VALUES (1)").status, SQLITE_DONE);
  EXPECT_NE(database_.Run("CREATE VIRTUAL TABLE mine USING trovex_items").status, SQLITE_DONE);
}

}  // namespace
