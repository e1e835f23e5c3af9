// The second door as a host sees it.

#include <trovex/query.h>

#include <gtest/gtest.h>
#include <cstddef>
#include <cstring>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace {

using namespace trovex;

Query Compiled(std::string_view expression, const ExpressionOptions& options = {}) {
  auto compiled = Query::Compile(expression, options);
  if (const Fault* const fault = std::get_if<Fault>(&compiled))
    throw std::runtime_error(std::string(expression) + ": " + fault->sentence);
  return std::get<Query>(std::move(compiled));
}

Fault FaultIn(std::string_view expression, const ExpressionOptions& options = {}) {
  auto compiled = Query::Compile(expression, options);
  if (Fault* const fault = std::get_if<Fault>(&compiled)) return std::move(*fault);
  ADD_FAILURE() << expression << " is not refused";
  return {};
}

/// The items with their tags, as text: "4..8 1:4..6 9..11".
std::string AsText(const Item& item) {
  std::ostringstream text;
  text << item.begin << ".." << item.end;
  for (std::size_t i = 0; i < item.tagCount; ++i) {
    const TagRange& tag = item.tags[i];
    text << ' ' << tag.tag << ':' << tag.begin << ".." << tag.end;
  }
  return text.str();
}

std::string AsText(ItemView items) {
  std::ostringstream text;
  for (const Item& item : items)
    text << (&item == items.begin() ? "" : ", ") << AsText(item);
  return text.str();
}

/// A copy in a block of exactly its length, so that a sanitizer sees every read outside.
class ExactText {
 public:
  explicit ExactText(std::string_view text)
      : bytes_(std::make_unique<char[]>(text.size())), size_(text.size()) {
    if (size_ > 0) std::memcpy(bytes_.get(), text.data(), size_);
  }
  std::string_view View() const { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<char[]> bytes_;
  std::size_t size_;
};

SearchOptions WithTags() {
  SearchOptions options;
  options.tags = true;
  return options;
}

std::string Found(std::string_view expression, std::string_view text,
                  const SearchOptions& options = {}, const ExpressionOptions& how = {}) {
  const ExactText exact(text);
  Searcher searcher(Compiled(expression, how));
  const Verdict verdict = searcher.Search(exact.View(), options);
  EXPECT_NE(verdict, Verdict::kGaveUp);
  const std::string items = AsText(searcher.Items());
  EXPECT_TRUE(verdict == Verdict::kYes || items.empty());
  EXPECT_EQ(searcher.Matches(exact.View(), options.encoding), verdict) << expression;
  return verdict == Verdict::kNo ? "no" : items.empty() ? "yes" : items;
}

TEST(Query, FindsItemsByTheirBegin) {
  EXPECT_EQ(Found("Haus|Hof", "Das Haus am Hof."), "4..8, 12..15");
  EXPECT_EQ(Found("Hof & Haus", "Das Haus am Hof."), "4..8, 12..15");
  EXPECT_EQ(Found("(Haus|Hof) &20 !Garten", "Das Haus am Hof."), "4..8, 12..15");
  EXPECT_EQ(Found("(Haus|Hof) &20 !Garten", "Das Haus am Garten."), "no");
  EXPECT_EQ(Found("Haus & Garten", "Das Haus am Hof."), "no");
  EXPECT_EQ(Found("!Garten", "Das Haus am Hof."), "yes");
}

TEST(Query, FindsWhatIsSaidTwice) {
  EXPECT_EQ(Found("\\<([a-z]+) \\1\\>", "die die\nder das das Das", WithTags()),
            "0..7 1:0..3, 12..19 1:12..15");
  EXPECT_EQ(Found("(\xC3\xA4)\\1", "\xC3\x84\xC3\xA4 \xC3\xA4"), "0..4");
  ExpressionOptions exact;
  exact.caseSensitive = true;
  EXPECT_EQ(Found("(.)\\1", "aA bb\ncc", {}, exact), "3..5, 6..8");
  EXPECT_EQ(Found("(a*)\\1", "aab"), "0..2, 3..3");
  EXPECT_EQ(Found("(a)\\1|$", "aa\nb"), "0..2, 4..4");
}

TEST(Query, TellsPositionsInTheBytesOfTheText) {
  EXPECT_EQ(Found("T\xC3\xBCr", "\xC3\x84T\xC3\xBCr T\xC3\xBCr"), "2..6, 7..11");
  EXPECT_EQ(Found("t\xC3\xBCr", "Tu\xCC\x88r."), "0..5");
  SearchOptions latin;
  latin.encoding = Encoding::kLatin1;
  EXPECT_EQ(Found("T\xC3\xBCr", "\xC4T\xFCr", latin), "1..4");
}

TEST(Query, ReadsTheExpressionInItsEncoding) {
  ExpressionOptions latin;
  latin.encoding = Encoding::kLatin1;
  EXPECT_EQ(Found("T\xFCr", "T\xC3\xBCr", {}, latin), "0..4");
}

TEST(Query, HeedsItsOptions) {
  ExpressionOptions words;
  words.words = true;
  EXPECT_EQ(Found("ber",
                  "\xC3\xBC"
                  "ber ber",
                  {}, words),
            "6..9");
  ExpressionOptions exact;
  exact.caseSensitive = true;
  EXPECT_EQ(Found("haus", "Haus haus", {}, exact), "5..9");
  EXPECT_EQ(Found("haus", "Haus haus"), "0..4, 5..9");
  ExpressionOptions phonetic;
  phonetic.phonetic = true;
  EXPECT_EQ(Found("Meier", "Herr Mayr", {}, phonetic), "5..9");
  ExpressionOptions variants;
  variants.variants = true;
  EXPECT_EQ(Found("Strasse",
                  "Stra\xC3\x9F"
                  "e",
                  {}, variants),
            "0..7");
}

TEST(Query, BringsTagsWhenItIsAsked) {
  EXPECT_EQ(Found("(Herr |Frau )?Meier", "Herr Meier, Meier", WithTags()), "0..10 1:0..5, 12..17");
  EXPECT_EQ(Found("((Haus) & (Hof))", "Haus Hof", WithTags()),
            "0..4 1:0..4 2:0..4, 5..8 1:5..8 3:5..8");
  EXPECT_EQ(Found("(\xC3\xA4)(b)",
                  "x\xC3\xA4"
                  "b",
                  WithTags()),
            "1..4 1:1..3 2:3..4");
  EXPECT_EQ(Found("(Haus)", "Haus"), "0..4");
}

TEST(Query, UnitesItemsWithTheSameRange) {
  EXPECT_EQ(Found("((a) & b)|((a.) & b)", "ab", WithTags()),
            "0..1 1:0..1 2:0..1, 0..2 3:0..2 4:0..2, 1..2 1:1..2 3:1..2");
}

TEST(Query, KnowsItsTagsAndItsExpression) {
  const Query query = Compiled("(a)(b) & (c|(d))");
  EXPECT_EQ(query.TagCount(), 4);
  EXPECT_EQ(query.Expression(), "(a)(b) & (c|(d))");
  EXPECT_FALSE(query.Options().words);
}

TEST(Query, DescribesItself) {
  EXPECT_EQ(Compiled("(Haus|Hof) &20 !Garten").Describe(),
            "and\n"
            "  pattern Haus|Hof (tag 1)\n"
            "  at most 20 characters between\n"
            "  not\n"
            "    pattern Garten\n");
}

TEST(Query, DescribesControlCharactersHarmlessly) {
  const std::string text = Compiled("a\x1B[b]\x07").Describe();
  EXPECT_EQ(text.find('\x1B'), std::string::npos);
  EXPECT_EQ(text.find('\n'), text.size() - 1);
  EXPECT_EQ(text.find('\x07'), std::string::npos);
}

TEST(Query, GivesItsPartsOneByOne) {
  const std::vector<QueryPart> parts = Compiled("a & (b|~Meier) &3 !c").Parts();
  std::ostringstream kinds;
  for (const QueryPart& part : parts)
    kinds << static_cast<int>(part.kind) << '@' << part.level << ' ';
  EXPECT_EQ(kinds.str(), "2@0 0@1 2@1 3@2 0@3 1@3 4@2 0@3 ");
  EXPECT_EQ(parts[2].distance, 3);
  EXPECT_EQ(parts[3].tags, std::vector<int>{1});
  EXPECT_EQ(parts[5].text, "Meier");
  EXPECT_FALSE(parts[5].soundKey.empty());
}

TEST(Query, PromisesStringsThatEveryTextHolds) {
  using Clauses = std::vector<std::vector<std::string>>;
  const auto required = [](std::string_view expression, bool exact = false) {
    ExpressionOptions options;
    options.caseSensitive = exact;
    return Compiled(expression, options).Required().clauses;
  };
  EXPECT_EQ(required("Datei &20 Verzeichnis"), (Clauses{{"verzeichnis"}, {"datei"}}));
  EXPECT_EQ(required("Datei", true), (Clauses{{"Datei"}}));
  EXPECT_EQ(required("Haus|Hof"), (Clauses{{"haus", "hof"}}));
  EXPECT_EQ(required("Haus & !Garten"), (Clauses{{"haus"}}));
  EXPECT_EQ(required("Haus &5 !Garten"), (Clauses{{"haus"}}));
  EXPECT_EQ(required("!Garten"), Clauses{});
  EXPECT_EQ(required("~Meier"), Clauses{});
  EXPECT_EQ(required("T\xC3\xBCrgriff"), (Clauses{{"rgriff"}, {"t"}}));
  EXPECT_EQ(required("[a-z]+ung"), (Clauses{{"ung"}}));
  EXPECT_EQ(required("(Haus & Garten)|(Hof & Zaun)"), (Clauses{{"garten", "zaun"}}));
  EXPECT_TRUE(Compiled("a").Required().foldsCase);
}

TEST(Query, IsRefusedWithTheRangeThatIsMeant) {
  const Fault fault = FaultIn("Haus & (Hof");
  EXPECT_EQ(fault.number, 9807);
  EXPECT_FALSE(fault.sentence.empty());
  EXPECT_LE(fault.begin, fault.end);
  EXPECT_LE(fault.end, 11U);
  EXPECT_EQ(fault.begin, 7U);
}

TEST(Query, OutlivesItsExpressionAndItsSearchersOutliveIt) {
  auto expression = std::make_unique<std::string>("Haus");
  auto query = std::make_unique<Query>(Compiled(*expression));
  expression.reset();
  Searcher searcher(*query);
  query.reset();
  EXPECT_EQ(searcher.Search("Haus"), Verdict::kYes);
}

TEST(Query, CanBeCopiedMovedAndAssigned) {
  Query a = Compiled("a");
  Query b = Compiled("b");
  Query copy = a;
  EXPECT_EQ(copy.Expression(), "a");
  copy = b;
  EXPECT_EQ(copy.Expression(), "b");
  Query moved = std::move(copy);
  EXPECT_EQ(moved.Expression(), "b");
  copy = std::move(a);
  EXPECT_EQ(copy.Expression(), "a");
  Searcher first(copy);
  Searcher second = std::move(first);
  first = Searcher(b);
  EXPECT_EQ(second.Search("a"), Verdict::kYes);
  EXPECT_EQ(first.Search("a"), Verdict::kNo);
}

TEST(Searcher, SearchesAnyTexts) {
  Searcher searcher(Compiled("b"));
  EXPECT_EQ(searcher.Search({}), Verdict::kNo);
  EXPECT_EQ(searcher.Search(std::string_view("\0b\0", 3)), Verdict::kYes);
  EXPECT_EQ(AsText(searcher.Items()), "1..2");
  EXPECT_EQ(searcher.Search("\xFF"
                            "b"),
            Verdict::kYes);
  EXPECT_EQ(AsText(searcher.Items()), "1..2");
  EXPECT_EQ(Found("^", ""), "0..0");
  EXPECT_EQ(Found("^", "a\n"), "0..0");
  EXPECT_EQ(Found("$", "a\nb\n\n"), "1..1, 3..3, 4..4");
}

TEST(Searcher, StopsAtTheNumberOfItemsThatIsAsked) {
  Searcher searcher(Compiled("a"));
  SearchOptions options;
  options.mostItems = 2;
  EXPECT_EQ(searcher.Search("a a a", options), Verdict::kYes);
  EXPECT_EQ(AsText(searcher.Items()), "0..1, 2..3");
  options.mostItems = 0;
  EXPECT_EQ(searcher.Search("a a a", options), Verdict::kYes);
  EXPECT_TRUE(searcher.Items().empty());
  EXPECT_EQ(searcher.Search("b", options), Verdict::kNo);
}

TEST(Searcher, BringsTheFirstItemOfEachLineWhereLinesAreAskedFor) {
  const std::string text = "ab a\nb\n\nba ab\nc\na";
  const auto begins = [&](std::string_view expression, Encoding encoding) {
    Searcher searcher(std::get<Query>(Query::Compile(expression)));
    SearchOptions options;
    options.encoding = encoding;
    options.firstOfLine = true;
    std::vector<std::size_t> result;
    searcher.ForEach(text, options, [&](const Item& item) { result.push_back(item.begin); });
    return result;
  };
  for (const Encoding encoding : {Encoding::kUtf8, Encoding::kLatin1}) {
    EXPECT_EQ(begins("a", encoding), (std::vector<std::size_t>{0, 9, 16}));
    EXPECT_EQ(begins("a & b", encoding), (std::vector<std::size_t>{0, 5, 8, 16}));
    EXPECT_EQ(begins("a|~ab", encoding), (std::vector<std::size_t>{0, 9, 16}));
    EXPECT_EQ(begins("^", encoding), (std::vector<std::size_t>{0, 5, 7, 8, 14, 16}));
    EXPECT_EQ(begins("$", encoding), (std::vector<std::size_t>{4, 6, 7, 13, 15, 17}));
  }
}

TEST(Searcher, GivesItemsOneAfterAnother) {
  Searcher searcher(Compiled("(a)."));
  std::string seen;
  EXPECT_EQ(searcher.ForEach("ab ac ad", WithTags(),
                             [&seen](const Item& item) { seen += AsText(item) + ";"; }),
            Verdict::kYes);
  EXPECT_EQ(seen, "0..2 1:0..1;3..5 1:3..4;6..8 1:6..7;");
  EXPECT_TRUE(searcher.Items().empty());
  int calls = 0;
  const auto onlyTwo = [&calls](const Item&) { return ++calls < 2; };
  EXPECT_EQ(searcher.ForEach("ab ac ad", {}, onlyTwo), Verdict::kYes);
  EXPECT_EQ(calls, 2);
}

TEST(Searcher, LetsOutWhatTheVisitorThrowsAndGoesOn) {
  Searcher searcher(Compiled("a &5 b"));
  const auto fail = [](const Item&) { throw std::runtime_error("enough"); };
  EXPECT_THROW(searcher.ForEach("a b", {}, fail), std::runtime_error);
  EXPECT_EQ(searcher.Search("a b"), Verdict::kYes);
  EXPECT_EQ(AsText(searcher.Items()), "0..1, 2..3");
}

TEST(Searcher, GivesItemsOfALongTextBeforeItHasReadIt) {
  std::string text = "Haus\n";
  for (int i = 0; i < 100'000; ++i)
    text += "nichts als Zeilen\n";
  Searcher searcher(Compiled("Haus|nichts als nichts"));
  SearchOptions options;
  std::size_t asked = 0;
  options.interrupt = [](void* context) {
    ++*static_cast<std::size_t*>(context);
    return false;
  };
  options.interruptContext = &asked;
  options.mostItems = 1;
  EXPECT_EQ(searcher.Search(text, options), Verdict::kYes);
  const std::size_t early = asked;
  options.mostItems = SIZE_MAX;
  EXPECT_EQ(searcher.Search(text, options), Verdict::kYes);
  EXPECT_LT(early * 4, asked);
}

TEST(Searcher, IsInterruptedBetweenPiecesOfALongText) {
  std::string text;
  for (int i = 0; i < 200'000; ++i)
    text += "Zeile um Zeile\n";
  Searcher searcher(Compiled("[a-z]+ um"));
  SearchOptions options;
  struct Context {
    int left;
  } context{3};
  options.interrupt = [](void* given) { return --static_cast<Context*>(given)->left == 0; };
  options.interruptContext = &context;
  EXPECT_EQ(searcher.Search(text, options), Verdict::kGaveUp);
  EXPECT_GT(searcher.GaveUpAt(), 0U);
  EXPECT_LT(searcher.GaveUpAt(), text.size());
  ASSERT_FALSE(searcher.Items().empty());
  EXPECT_LE(searcher.Items()[searcher.Items().size() - 1].end, searcher.GaveUpAt());
  EXPECT_EQ(searcher.Search("Zeile um"), Verdict::kYes);
  EXPECT_EQ(searcher.GaveUpAt(), 0U);
}

TEST(Searcher, IsInterruptedInsideOfALongLineWhereMuchIsFound) {
  std::string text;
  for (int i = 0; i < 300'000; ++i)
    text += "ab c ";
  for (const char* const query : {"[a-z]+", "(a &> b) &20 [0-9]|c", "[a-z] &2w [b-y]"}) {
    Searcher searcher(Compiled(query));
    SearchOptions options;
    int asked = 0;
    options.interrupt = [](void* given) { return ++*static_cast<int*>(given) == 5; };
    options.interruptContext = &asked;
    EXPECT_EQ(searcher.Search(text, options), Verdict::kGaveUp) << query;
    EXPECT_EQ(asked, 5) << query;
    EXPECT_LT(searcher.GaveUpAt(), text.size()) << query;
    EXPECT_EQ(searcher.Matches(text), Verdict::kYes) << query;
  }
}

TEST(Searcher, FindsTheSameInPiecesOfALongText) {
  std::string text;
  std::size_t expected = 0;
  for (int i = 0; i < 30'000; ++i) {
    text += i % 7 == 0    ? "Die T\xC3\xBCr zum Haus\n"
            : i % 11 == 0 ? "\xFC Haus\n"
                          : "kurze Zeile\n";
    expected += i % 7 == 0 || i % 11 == 0 ? 1 : 0;
  }
  Searcher searcher(Compiled("Haus"));
  EXPECT_EQ(searcher.Search(text), Verdict::kYes);
  EXPECT_EQ(searcher.Items().size(), expected);
  for (const Item& item : searcher.Items())
    ASSERT_EQ(text.substr(item.begin, item.Size()), "Haus");
}

TEST(Searcher, FindsDistancesOverPiecesOfALongText) {
  std::string text = "\xC3\xA4nfang";
  for (int i = 0; i < 20'000; ++i)
    text += i % 2 == 0 ? " \xC3\xBC"
                         "ber"
                       : "\nunter";  // five characters and a word each, but the first
  text += "\nende";
  const auto found = [&](const std::string& distance) {
    return Found("\xC3\xA4nfang &" + distance + " ende", text);
  };
  EXPECT_NE(found("110001"), "no");
  EXPECT_EQ(found("110000"), "no");
  EXPECT_NE(found("20000w"), "no");
  EXPECT_EQ(found("19999w"), "no");
}

TEST(Searcher, LongChainsOfOperandsAreSearchedInALoop) {
  std::string near = "a";
  std::string all = "a";
  std::string any = "(a)";
  for (int i = 0; i < 3000; ++i) {
    near += " &9 a";
    all += " & a";
    any += "|~xyz";
  }
  EXPECT_EQ(Found(near, "a b a"), "0..1, 4..5");
  EXPECT_EQ(Found(all, "a b a"), "0..1, 4..5");
  EXPECT_EQ(Found(any, "a b a"), "0..1, 4..5");
}

TEST(Library, TellsItsVersionAndWhatItSearchesWith) {
  const trovex::LibraryFacts facts = trovex::AboutLibrary();
  EXPECT_EQ(std::string(facts.version).find_first_not_of("0123456789."), std::string::npos);
  EXPECT_NE(std::string(facts.vectorInstructions), "");
}

}  // namespace
