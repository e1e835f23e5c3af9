// The second door through its C header: any expression, any text.
//
//     input:  options, how it is searched, expression up to a zero byte, text
//
// Every answer is one of those that the header promises; the items are in order and in the text; who asks
// for the verdict alone, for one item after the other, or for the first few, hears the same; and a
// text that satisfies a query holds the strings that it promises.

#include "fuzz/input.h"
#include "fuzz/require.h"

#include <trovex/query_c.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace trovex::fuzz {
namespace {

/// A block of exactly the bytes.
std::unique_ptr<char[]> Exactly(const std::string& bytes) {
  auto block = std::make_unique<char[]>(bytes.size());
  if (!bytes.empty()) std::memcpy(block.get(), bytes.data(), bytes.size());
  return block;
}

struct Places {
  std::vector<std::size_t> numbers;
};

int Note(void* context, const trovex_item* item) {
  std::vector<std::size_t>& numbers = static_cast<Places*>(context)->numbers;
  numbers.push_back(item->begin);
  numbers.push_back(item->end);
  return 1;
}

void HoldItems(const trovex_searcher* searcher, std::size_t length, int tagCount, Places& places) {
  std::size_t begin = 0;
  std::size_t end = 0;
  for (std::size_t i = 0; i < trovex_item_count(searcher); ++i) {
    trovex_item item;
    Require(trovex_get_item(searcher, i, &item) == TROVEX_OK, "an item that is counted is there");
    Require(item.begin <= item.end && item.end <= length, "an item lies in the text");
    const bool isLater = item.begin > begin || (item.begin == begin && item.end > end);
    Require(i == 0 || isLater, "items come by begin, then by end, and once");
    begin = item.begin;
    end = item.end;
    for (std::size_t tag = 0; tag < item.tag_count; ++tag) {
      const trovex_tag& range = item.tags[tag];
      Require(range.number >= 1 && range.number <= tagCount, "tags are counted");
      Require(tag == 0 || item.tags[tag - 1].number < range.number, "tags come by number");
      Require(item.begin <= range.begin && range.begin <= range.end && range.end <= item.end,
              "a tag lies in its item");
    }
    Note(&places, &item);
  }
}

std::string Folded(std::string text) {
  for (char& c : text)
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return text;
}

void HoldPromises(const trovex_query* query, const std::string& text) {
  const std::string held = trovex_required_folds_case(query) != 0 ? Folded(text) : text;
  for (std::size_t clause = 0; clause < trovex_required_clause_count(query); ++clause) {
    bool holds = false;
    for (std::size_t i = 0; i < trovex_required_string_count(query, clause); ++i)
      holds = holds || held.find(trovex_required_string(query, clause, i, nullptr)) != held.npos;
    Require(holds, "a text that satisfies a query holds the strings that it promises");
  }
}

void HoldSearches(const trovex_query* query, const std::string& text, std::uint8_t bits) {
  trovex_searcher* searcher = nullptr;
  Require(trovex_searcher_new(query, &searcher) == TROVEX_OK, "a query can be searched");
  const auto block = Exactly(text);
  trovex_search_options options{};
  options.encoding = bits & 1;
  options.tags = bits & 2;
  const int verdict = trovex_search(searcher, block.get(), text.size(), &options);
  Require(verdict >= TROVEX_NO && verdict <= TROVEX_GAVE_UP, "a search has a verdict");
  Places all;
  HoldItems(searcher, text.size(), trovex_tag_count(query), all);
  Require(verdict != TROVEX_NO || all.numbers.empty(), "without satisfaction there are no items");
  Require(trovex_gave_up_at(searcher) <= text.size(), "a search gives up in its text");
  if (verdict != TROVEX_GAVE_UP) {
    const int alone = trovex_matches(searcher, block.get(), text.size(), &options);
    Require(alone == verdict || alone == TROVEX_GAVE_UP, "the verdict alone is the same");
    Places visited;
    const int streamed =
        trovex_search_each(searcher, block.get(), text.size(), &options, Note, &visited);
    Require(streamed == verdict && visited.numbers == all.numbers,
            "items one after the other are the same");
    options.most_items = 1 + bits / 64;
    trovex_search(searcher, block.get(), text.size(), &options);
    Places first;
    HoldItems(searcher, text.size(), trovex_tag_count(query), first);
    all.numbers.resize(std::min(all.numbers.size(), 2 * options.most_items));
    Require(first.numbers == all.numbers, "the first items are the first");
    if (verdict == TROVEX_YES) HoldPromises(query, text);
  }
  trovex_searcher_free(searcher);
}

}  // namespace
}  // namespace trovex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace trovex::fuzz;
  Input input(data, size);
  const std::uint8_t bits = input.Byte();
  const std::uint8_t how = input.Byte();
  const std::string expression = input.UpToZero();
  const std::string text = input.Rest();
  trovex_options options{};
  options.words = bits & 1;
  options.case_sensitive = bits & 2;
  options.phonetic = bits & 4;
  options.variants = bits & 8;
  options.encoding = bits >> 4 & 1;

  const auto block = Exactly(expression);
  trovex_query* query = nullptr;
  trovex_fault fault;
  const int status = trovex_compile(block.get(), expression.size(), &options, &query, &fault);
  if (status == TROVEX_REFUSED) {
    Require(query == nullptr && fault.number >= 9800 && fault.sentence[0] != '\0',
            "a fault has a number and a sentence");
    Require(fault.begin <= fault.end && fault.end <= expression.size(), "a fault has a place");
    return 0;
  }
  Require(status == TROVEX_OK && query != nullptr, "an expression is compiled or refused");
  Require(trovex_describe(query, nullptr, 0) > 0 && trovex_part_count(query) > 0,
          "a query describes itself");
  HoldSearches(query, text, how);
  trovex_query_free(query);
  return 0;
}
