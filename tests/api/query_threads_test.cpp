// Eight threads search with one Query at the same time, each with a work space of its own, and find
// what one finds. Under the thread sanitizer this tells whether anything is shared that changes.

#include <trovex/query.h>

#include <gtest/gtest.h>
#include <array>
#include <cstddef>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace {

using namespace trovex;

constexpr std::size_t kThreads = 8;

std::vector<std::string> Texts() {
  std::vector<std::string> texts;
  for (int i = 0; i < 40; ++i) {
    std::string text;
    for (int line = 0; line < 5 * i; ++line) {
      text.append("Zeile ").append(std::to_string(line * i));
      text += line % 3 == 0 ? " vom Haus" : " vom Hof";
      text += line % 5 == 0   ? " und der T\xC3\xBCr\n"
              : line % 7 == 0 ? " und Herrn Mayr\n"
                              : " und\n";
    }
    texts.push_back(text);
  }
  return texts;
}

std::vector<std::size_t> FoundIn(const Query& query, const std::vector<std::string>& texts) {
  std::vector<std::size_t> found;
  Searcher searcher(query);
  SearchOptions options;
  options.tags = true;
  for (const std::string& text : texts) {
    searcher.Search(text, options);
    for (const Item& item : searcher.Items()) {
      found.push_back(item.begin);
      found.push_back(item.end);
      for (std::size_t i = 0; i < item.tagCount; ++i)
        found.push_back(item.tags[i].begin);
    }
    found.push_back(text.size());
  }
  return found;
}

class OneQuery : public ::testing::TestWithParam<const char*> {};

TEST_P(OneQuery, IsSearchedByEightThreadsAtTheSameTime) {
  const auto compiled = Query::Compile(GetParam());
  ASSERT_TRUE(std::holds_alternative<Query>(compiled));
  const Query& query = std::get<Query>(compiled);
  const std::vector<std::string> texts = Texts();
  std::array<std::vector<std::size_t>, kThreads> found;
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      const Query copy = query;
      found[i] = FoundIn(copy, texts);
      (void)copy.Describe();
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  const std::vector<std::size_t> expected = FoundIn(query, texts);
  EXPECT_GT(expected.size(), texts.size());
  for (std::size_t i = 0; i < kThreads; ++i)
    EXPECT_EQ(found[i], expected) << "thread " << i;
}

INSTANTIATE_TEST_SUITE_P(OverEveryRoad, OneQuery,
                         ::testing::Values("Haus", "haus|hof", "[a-z]+ [0-9]+", "(V)om (H)(aus|of)",
                                           "\\<und$", "T\xC3\xBCr", "~Meier", "Haus & !Garten",
                                           "Haus &20 T\xC3\xBCr", "Haus &>3w !Mayr",
                                           "(Haus &5 und)|(Hof & ~Meier)"));

TEST(Queries, AreCompiledByEightThreadsAtTheSameTime) {
  std::vector<std::thread> threads;
  std::array<int, kThreads> compiled{};
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&compiled, i] {
      for (const char* const expression : {"(a|b)+c & ~Meier", "[[:alpha:]]+ &5w d", "(", "x{2,3}"})
        compiled[i] += std::holds_alternative<Query>(Query::Compile(expression)) ? 1 : 0;
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  for (const int count : compiled)
    EXPECT_EQ(count, 3);
}

}  // namespace
