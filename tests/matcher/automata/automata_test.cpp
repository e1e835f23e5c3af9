// The automata that read forwards and backwards, each by itself, and what they do without credit.

#include "matcher/automata/backward_automaton.h"
#include "matcher/automata/forward_automaton.h"
#include "tests/matcher/automata/graph_of.h"

#include <gtest/gtest.h>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace trovex {
namespace {

using testing::GraphOf;
using Outcome = ForwardAutomaton::Outcome;

constexpr std::int64_t kPlenty = 1'000'000;

/// A text in a heap block of exactly its length, read forwards.
class Reading {
 public:
  Reading(std::string_view pattern, std::string_view text, bool stopsWhenIdle = false)
      : graph_(GraphOf(pattern)),
        bytes_(std::make_unique<unsigned char[]>(text.size())),
        size_(text.size()),
        credit_(kPlenty, kPlenty),
        forward_(*graph_, stopsWhenIdle, credit_),
        backward_(*graph_, credit_) {
    if (size_ > 0) std::memcpy(bytes_.get(), text.data(), size_);
    run_ = {.place = bytes_.get(), .textEnd = bytes_.get() + size_, .before = ByteKind::kNewline};
  }

  Outcome Go() { return forward_.Go(run_); }
  ForwardAutomaton::Run& Run() { return run_; }
  SearchCredit& Credit() { return credit_; }

  /// Offsets in the text; below 0: null.
  std::ptrdiff_t Start() const { return Offset(run_.start); }
  std::ptrdiff_t End() const { return Offset(run_.end); }
  std::ptrdiff_t Place() const { return Offset(run_.place); }

  /// The leftmost start of a match that ends at `end`.
  std::optional<std::ptrdiff_t> StartOf(std::ptrdiff_t end) {
    const ByteKind after = end == static_cast<std::ptrdiff_t>(size_)
                               ? ByteKind::kNewline
                               : graph_->kindOf[bytes_[static_cast<std::size_t>(end)]];
    const auto start =
        backward_.StartOfMatch({bytes_.get(), ByteKind::kNewline, bytes_.get() + end}, after);
    return start ? std::optional(Offset(*start)) : std::nullopt;
  }
  std::ptrdiff_t StartOfPrefix(std::ptrdiff_t end) {
    return Offset(*backward_.StartOfPrefix({bytes_.get(), ByteKind::kNewline, bytes_.get() + end}));
  }

 private:
  std::ptrdiff_t Offset(const unsigned char* place) const {
    return place == nullptr ? -1 : place - bytes_.get();
  }

  std::unique_ptr<const PositionGraph> graph_;
  std::unique_ptr<unsigned char[]> bytes_;
  std::size_t size_;
  SearchCredit credit_;
  ForwardAutomaton forward_;
  BackwardAutomaton backward_;
  ForwardAutomaton::Run run_{};
};

TEST(ForwardAutomatonTest, FindsTheEndOfTheLeftmostMatch) {
  Reading reading("abcd|c", "xabcx");
  EXPECT_EQ(reading.Go(), Outcome::kMatch);
  EXPECT_EQ(reading.End(), 4);
  EXPECT_EQ(reading.StartOf(4), 3);
}

TEST(ForwardAutomatonTest, OfTheMatchesThatStartThereTheLongestCounts) {
  Reading reading("ab|abab|b", "xababab");
  EXPECT_EQ(reading.Go(), Outcome::kMatch);
  EXPECT_EQ(reading.End(), 5);
  EXPECT_EQ(reading.StartOf(5), 1);
}

TEST(ForwardAutomatonTest, KnowsTheStartWhereTheFirstWayBeganWithTheRun) {
  Reading reading("ab+", "abbb", true);
  EXPECT_EQ(reading.Go(), Outcome::kMatch);
  EXPECT_EQ(reading.Start(), 0);
  EXPECT_EQ(reading.End(), 4);
}

TEST(ForwardAutomatonTest, StopsWhereNothingHasBegun) {
  Reading reading("ab", "acab", true);
  EXPECT_EQ(reading.Go(), Outcome::kIdle);
  EXPECT_EQ(reading.Place(), 2);
  EXPECT_EQ(reading.Go(), Outcome::kMatch);
  EXPECT_EQ(reading.Start(), 2);
}

TEST(ForwardAutomatonTest, TheEndOfTheTextIsTheEndOfALine) {
  Reading reading("b$", "ab");
  EXPECT_EQ(reading.Go(), Outcome::kMatch);
  EXPECT_EQ(reading.End(), 2);
  Reading none("b$", "ba");
  EXPECT_EQ(none.Go(), Outcome::kEndOfText);
}

TEST(ForwardAutomatonTest, AnEmptyTextHasAnEmptyLine) {
  Reading reading("^$", "");
  EXPECT_EQ(reading.Go(), Outcome::kMatch);
  EXPECT_EQ(reading.End(), 0);
  Reading none("a", "");
  EXPECT_EQ(none.Go(), Outcome::kEndOfText);
}

TEST(ForwardAutomatonTest, RefusesAnEmptyMatchWhereItBeginsAlone) {
  Reading reading("b*", "aab");
  reading.Run().refusesEmpty = true;
  EXPECT_EQ(reading.Go(), Outcome::kMatch);
  EXPECT_EQ(reading.End(), 1);
  Reading longer("b*", "bba");
  longer.Run().refusesEmpty = true;
  EXPECT_EQ(longer.Go(), Outcome::kMatch);
  EXPECT_EQ(longer.End(), 2);
}

TEST(ForwardAutomatonTest, RefusesAMatchAtTheEndOfALine) {
  Reading reading("ab*|x", "abb\nx.");
  reading.Run().refusesLineEnd = true;
  EXPECT_EQ(reading.Go(), Outcome::kMatch);
  EXPECT_EQ(reading.End(), 2);
}

TEST(ForwardAutomatonTest, StartsAtItsPlaceAlone) {
  Reading reading("a.{0,3}b", "aaaccb", true);
  reading.Run().startsAtPlace = true;
  EXPECT_EQ(reading.Go(), Outcome::kIdle);
  EXPECT_EQ(reading.Place(), 1);
  reading.Run().before = ByteKind::kOther;
  EXPECT_EQ(reading.Go(), Outcome::kMatch);
  EXPECT_EQ(reading.Start(), 1);
  EXPECT_EQ(reading.End(), 6);
}

TEST(ForwardAutomatonTest, LeapsToTheEndOfALongMatch) {
  std::string text = "x";
  text += std::string(5'000, 'a') + "z" + std::string(5'000, 'b') + "\n" + "z";
  Reading reading("x.*z", text);
  EXPECT_EQ(reading.Go(), Outcome::kMatch);
  EXPECT_EQ(reading.End(), 5'002);
}

TEST(ForwardAutomatonTest, WithoutCreditItSaysSo) {
  Reading reading("(a|b)*a(a|b)(a|b)(a|b)z|q", "abbabbabababbabababbababbabbba");
  reading.Credit().Spend(kPlenty - 2'000);
  EXPECT_EQ(reading.Go(), Outcome::kSpent);
  EXPECT_TRUE(reading.Credit().IsSpent());
  EXPECT_EQ(reading.Place(), 0);
  reading.Credit().Grant(kPlenty);
  EXPECT_EQ(reading.Go(), Outcome::kEndOfText);
}

TEST(ForwardAutomatonTest, ReadingOnInVainIsPaidFor) {
  Reading reading("a.*z|a", "a" + std::string(10'000, 'b'));
  EXPECT_EQ(reading.Go(), Outcome::kMatch);
  EXPECT_EQ(reading.End(), 1);
  reading.Credit().Spend(kPlenty);
  EXPECT_TRUE(reading.Credit().IsSpent());
  EXPECT_GE(reading.Credit().Debt(), 10'000);
}

TEST(BackwardAutomatonTest, FindsTheLeftmostStart) {
  Reading reading("a*b", "caaab");
  EXPECT_EQ(reading.StartOf(5), 1);
  EXPECT_EQ(reading.StartOf(4), -1);
}

TEST(BackwardAutomatonTest, ConditionsAtBothEndsCount) {
  EXPECT_EQ(Reading("\\<a+\\>", "aa a").StartOf(2), 0);
  EXPECT_EQ(Reading("\\<a+\\>", "aa a").StartOf(1), -1);
  EXPECT_EQ(Reading("^a+", "aa").StartOf(2), 0);
  EXPECT_EQ(Reading("a+$", "aab").StartOf(2), -1);
}

TEST(BackwardAutomatonTest, FindsWhereABeginningCanStart) {
  Reading reading("x[a-z]*ung", "1xabung");
  EXPECT_EQ(reading.StartOfPrefix(7), 1);
  EXPECT_EQ(reading.StartOfPrefix(1), -1);
}

TEST(BackwardAutomatonTest, WithoutCreditItSaysSo) {
  Reading reading("(a|b)*c", "abababc");
  reading.Credit().Spend(kPlenty + 1);
  EXPECT_EQ(reading.StartOf(7), std::nullopt);
  reading.Credit().Grant(kPlenty);
  EXPECT_EQ(reading.StartOf(7), 0);
}

}  // namespace
}  // namespace trovex
