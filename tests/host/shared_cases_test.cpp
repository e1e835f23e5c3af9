// The cases that every host runs (tests/shared/), run by a host in C++ and through the functions for C: verdict,
// items, tags, and the faults with their ranges. Positions in the cases are characters; here they are made bytes. A text
// that has only characters of the code page is searched in both encodings.

#include "tests/shared_cases.h"

#include <trovex/query.h>
#include <trovex/query_c.h>

#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

using nlohmann::json;
using trovex::testing::BytesOf;
using trovex::testing::CharactersOf;
using trovex::testing::EachByteOf;
using trovex::testing::SharedCases;

/// UTF-8 in the code page; nothing where it lacks a character.
std::optional<std::string> InCodePage(std::string text) {
  const iconv_t converter = iconv_open("WINDOWS-1252", "UTF-8");
  if (converter == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  std::string bytes(text.size(), '\0');
  char* from = text.data();
  char* to = bytes.data();
  std::size_t left = text.size(), room = bytes.size();
  const bool whole = iconv(converter, &from, &left, &to, &room) == 0 && left == 0;
  iconv_close(converter);
  if (!whole) return std::nullopt;
  bytes.resize(bytes.size() - room);
  return bytes;
}

trovex::ExpressionOptions OptionsOf(const json& one) {
  trovex::ExpressionOptions options;
  for (const std::string name : one.value("options", json::array())) {
    if (name == "words") options.words = true;
    if (name == "case") options.caseSensitive = true;
    if (name == "phonetic") options.phonetic = true;
    if (name == "variants") options.variants = true;
  }
  return options;
}

/// Items as the case writes them: {begin, end, tags}, in characters.
json ItemsOf(const trovex::Searcher& searcher, const std::vector<std::size_t>& characters) {
  const auto character = [&](std::size_t byte) {
    const auto at = std::lower_bound(characters.begin(), characters.end(), byte);
    EXPECT_EQ(*at, byte) << "a position inside a character";
    return at - characters.begin();
  };
  json items = json::array();
  for (const trovex::Item& item : searcher.Items()) {
    json one = {{"begin", character(item.begin)}, {"end", character(item.end)}};
    for (std::size_t i = 0; i < item.tagCount; ++i) {
      const trovex::TagRange& tag = item.tags[i];
      one["tags"][std::to_string(tag.tag)] = {character(tag.begin), character(tag.end)};
    }
    items.push_back(one);
  }
  return items;
}

json ExpectedItems(const json& one) {
  json items = one.at("items");
  for (json& item : items)
    item.erase("text");
  return items;
}

/// The same as items of the functions for C.
json ItemsOf(const trovex_searcher* searcher, const std::vector<std::size_t>& characters) {
  const auto character = [&](std::size_t byte) {
    return std::lower_bound(characters.begin(), characters.end(), byte) - characters.begin();
  };
  json items = json::array();
  for (std::size_t i = 0; i < trovex_item_count(searcher); ++i) {
    trovex_item item;
    EXPECT_EQ(trovex_get_item(searcher, i, &item), TROVEX_OK);
    json one = {{"begin", character(item.begin)}, {"end", character(item.end)}};
    for (std::size_t tag = 0; tag < item.tag_count; ++tag) {
      const trovex_tag& range = item.tags[tag];
      one["tags"][std::to_string(range.number)] = {character(range.begin), character(range.end)};
    }
    items.push_back(one);
  }
  return items;
}

trovex_options PlainOptionsOf(const json& one) {
  const trovex::ExpressionOptions options = OptionsOf(one);
  trovex_options plain = {};
  plain.words = options.words;
  plain.case_sensitive = options.caseSensitive;
  plain.phonetic = options.phonetic;
  plain.variants = options.variants;
  return plain;
}

/// Searches `text` through the functions for C.
void SearchPlainly(const json& one, std::string_view text, trovex::Encoding encoding,
                   const std::vector<std::size_t>& characters) {
  const std::string expression = one.at("expression");
  const trovex_options plain = PlainOptionsOf(one);
  trovex_query* query = nullptr;
  ASSERT_EQ(trovex_compile(expression.data(), expression.size(), &plain, &query, nullptr),
            TROVEX_OK);
  trovex_searcher* searcher = nullptr;
  ASSERT_EQ(trovex_searcher_new(query, &searcher), TROVEX_OK);
  trovex_search_options options = {};
  options.encoding = encoding == trovex::Encoding::kUtf8 ? TROVEX_UTF8 : TROVEX_LATIN1;
  options.tags = 1;
  const int verdict = one.at("satisfied").get<bool>() ? TROVEX_YES : TROVEX_NO;
  EXPECT_EQ(trovex_matches(searcher, text.data(), text.size(), &options), verdict);
  EXPECT_EQ(trovex_search(searcher, text.data(), text.size(), &options), verdict);
  EXPECT_EQ(ItemsOf(searcher, characters), ExpectedItems(one));
  trovex_searcher_free(searcher);
  trovex_query_free(query);
}

/// Searches `text`, which stands in a block of just its length.
void Search(const trovex::Query& query, const json& one, std::string_view text,
            trovex::Encoding encoding, const std::vector<std::size_t>& characters) {
  const auto block = std::make_unique<char[]>(text.size());
  std::copy(text.begin(), text.end(), block.get());
  const std::string_view copy(block.get(), text.size());

  const bool satisfied = one.at("satisfied");
  const trovex::Verdict verdict = satisfied ? trovex::Verdict::kYes : trovex::Verdict::kNo;
  trovex::Searcher searcher(query);
  EXPECT_EQ(searcher.Matches(copy, encoding), verdict);
  trovex::SearchOptions options;
  options.encoding = encoding;
  options.tags = true;
  EXPECT_EQ(searcher.Search(copy, options), verdict);
  EXPECT_EQ(ItemsOf(searcher, characters), ExpectedItems(one));
  SearchPlainly(one, copy, encoding, characters);
}

void SearchText(const trovex::Query& query, const json& one) {
  if (one.contains("bytes")) {
    const std::string bytes = BytesOf(one.at("bytes"));
    Search(query, one, bytes, trovex::Encoding::kUtf8, EachByteOf(bytes));
    return;
  }
  const std::string text = one.at("text");
  Search(query, one, text, trovex::Encoding::kUtf8, CharactersOf(text));
  const std::optional<std::string> latin1 = InCodePage(text);
  if (!latin1) {
    EXPECT_EQ(one.value("encoding", "utf-8"), "utf-8") << "the code page lacks a character";
    return;
  }
  Search(query, one, *latin1, trovex::Encoding::kLatin1, EachByteOf(*latin1));
}

void ExpectFault(const json& one, const trovex::Fault& fault) {
  const std::string expression = one.at("expression");
  const std::vector<std::size_t> characters = CharactersOf(expression);
  const json& expected = one.at("fault");
  EXPECT_EQ(fault.number, expected.at("number").get<int>());
  EXPECT_EQ(fault.begin, characters.at(expected.at("begin")));
  EXPECT_EQ(fault.end, characters.at(expected.at("end")));
  EXPECT_FALSE(fault.sentence.empty());

  const trovex_options options = PlainOptionsOf(one);
  trovex_query* query = nullptr;
  trovex_fault plain;
  EXPECT_EQ(trovex_compile(expression.data(), expression.size(), &options, &query, &plain),
            TROVEX_REFUSED);
  EXPECT_EQ(query, nullptr);
  EXPECT_EQ(plain.number, fault.number);
  EXPECT_EQ(plain.begin, fault.begin);
  EXPECT_EQ(plain.end, fault.end);
  EXPECT_EQ(plain.sentence, fault.sentence);
}

TEST(SharedCases, EachIsAnsweredAsItSays) {
  for (const json& one : SharedCases()) {
    SCOPED_TRACE(one.at("name").get<std::string>());
    const std::string expression = one.at("expression");
    const auto compiled = trovex::Query::Compile(expression, OptionsOf(one));
    const auto* fault = std::get_if<trovex::Fault>(&compiled);
    if (one.contains("fault")) {
      ASSERT_NE(fault, nullptr) << "the expression was not refused";
      ExpectFault(one, *fault);
      continue;
    }
    ASSERT_EQ(fault, nullptr) << fault->sentence;
    SearchText(std::get<trovex::Query>(compiled), one);
  }
}

TEST(SharedCases, AreManyAndHaveNamesOfTheirOwn) {
  std::set<std::string> names;
  for (const json& one : SharedCases())
    EXPECT_TRUE(names.insert(one.at("name")).second) << one.at("name");
  EXPECT_GT(names.size(), 150U);
}

}  // namespace
