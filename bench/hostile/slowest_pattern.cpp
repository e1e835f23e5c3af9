// Looks for the pattern that takes longest to compile: starts from shapes that are known to be hard,
// changes them at random, and goes on from those that took longest. Prints the worst.
//
// It looks for a short time, at patterns of up to 4,000 bytes. TROVEX_SLOWEST_SECONDS and
// TROVEX_SLOWEST_SIZE make it look longer, and at larger ones.

#include "bench/hostile/hostile.h"
#include "matcher/matcher.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex::bench {

namespace {

int NumberFrom(const char* variable, int otherwise) {
  const char* const text = std::getenv(variable);
  return text != nullptr ? std::atoi(text) : otherwise;
}

/// How a pattern is compiled, and how long that took.
struct Trial {
  std::string pattern;
  bool folds = false;
  bool words = false;
  double seconds = 0;
};

void Measure(Trial& trial) {
  const double begin = ProcessorSeconds();
  CompileMatcher(trial.pattern, {.foldCase = trial.folds, .matchWords = trial.words});
  trial.seconds = ProcessorSeconds() - begin;
}

class SlowestPattern {
 public:
  SlowestPattern(unsigned seed, std::size_t largest) : random_(seed), largest_(largest) {}

  /// The slowest pattern that is found in `seconds`.
  Trial Find(double seconds) {
    const double end = ProcessorSeconds() + seconds;
    for (const std::string& shape : Shapes())
      Try({shape, false, false});
    while (ProcessorSeconds() < end) {
      Trial next = Below(8) == 0 ? Trial{RandomPattern()} : kept_[Below(kept_.size())];
      for (std::size_t changes = 1 + Below(4); changes > 0; --changes)
        Change(next.pattern);
      next.folds = Below(4) == 0;
      next.words = Below(4) == 0;
      Try(std::move(next));
    }
    return kept_.front();
  }

 private:
  static constexpr std::size_t kKept = 24;

  std::size_t Below(std::size_t bound) { return random_() % bound; }

  void Try(Trial trial) {
    if (trial.pattern.size() > largest_) trial.pattern.resize(largest_);
    Measure(trial);
    kept_.push_back(std::move(trial));
    std::stable_sort(kept_.begin(), kept_.end(),
                     [](const Trial& a, const Trial& b) { return a.seconds > b.seconds; });
    if (kept_.size() > kKept) kept_.pop_back();
  }

  std::string Letters(std::size_t count) {
    std::string letters;
    for (std::size_t i = 0; i < count; ++i)
      letters += "ab"[Below(2)];
    return letters;
  }

  /// Pieces of random letters, with `between` between them.
  std::string Pieces(std::size_t count, std::size_t size, std::string_view between) {
    std::string pieces = Letters(size);
    for (std::size_t i = 1; i < count; ++i)
      pieces.append(between).append(Letters(size));
    return pieces;
  }

  std::vector<std::string> Shapes() {
    const std::size_t half = largest_ / 2 - 8;
    std::vector<std::string> shapes;
    for (const std::size_t size : {std::size_t{5}, std::size_t{40}, std::size_t{240}}) {
      const std::size_t count = half / (size + 1);
      shapes.push_back(Pieces(count, size, ".") + "|" + Pieces(count, size, "."));
      shapes.push_back(Pieces(2 * count, size, "|"));
      shapes.push_back(std::string("(") + Pieces(2 * count, size, "?|") + ")*x");
    }
    shapes.push_back(std::string("x") + Letters(half) + "|y" + Letters(half));
    std::string sets;
    for (int i = 0; sets.size() < 2 * half; ++i)
      sets.append("[a").append(1, static_cast<char>('0' + i % 75)).append("-\xFF]");
    shapes.push_back(sets);
    for (const char* shape :
         {"((a|a|a|a|a|a|a|a|a|a|a|a){1,100})+x", "(\\`{,3}|.|\\W){255}", "(\\<{0,600}){10}",
          "a{0,1000}", "(a{200}){290}", "(c*|a{2}{0,3}+){14}", "(\\b|a)*(\\b|a)*(\\b|a)*",
          "^1*{2}*{2}*{2}*{2}", "()()*\\1\\1\\1{200}", "{30000}{30000}a"}) {
      shapes.emplace_back(shape);
    }
    return shapes;
  }

  std::string Piece() {
    static constexpr std::string_view kPieces[] = {
        "a", "b", "x",   ".",   "[ab]", "[^a]", "\\w",  "\\W",   "(a|b)",  "(",     ")",
        "|", "*", "+",   "?",   "{2}",  "{,3}", "{2,}", "{0,9}", "{0,90}", "{200}", "{1,1000}",
        "^", "$", "\\b", "\\B", "\\<",  "\\>",  "\\`",  "\\1",   "()",     "(|a)",  "()*"};
    return std::string(kPieces[Below(std::size(kPieces))]);
  }

  std::string RandomPattern() {
    std::string pattern;
    for (std::size_t i = 1 + Below(20); i > 0; --i)
      pattern += Piece();
    return pattern;
  }

  /// Changes a pattern in one place. It may be faulty then: such patterns are quick, and forgotten.
  void Change(std::string& pattern) {
    const std::size_t place = Below(pattern.size() + 1);
    switch (Below(7)) {
      case 0:
        pattern.insert(place, Piece());
        break;
      case 1:
        pattern.erase(place, 1 + Below(8));
        break;
      case 2:
        pattern.append(pattern.substr(place));
        break;
      case 3:
        pattern.insert(0, 1, '(').append(1, ')').append(Piece());
        break;
      case 4:
        pattern.append("|").append(pattern.substr(0, place));
        break;
      case 5:
        pattern.insert(place, Pieces(1 + Below(20), 1 + Below(60), "."));
        break;
      default:
        pattern += pattern;
        break;
    }
  }

  std::mt19937 random_;
  std::size_t largest_;
  std::vector<Trial> kept_;  // the slowest first
};

}  // namespace

void PrintSlowestPattern() {
  const int seconds = NumberFrom("TROVEX_SLOWEST_SECONDS", 4);
  const int size = NumberFrom("TROVEX_SLOWEST_SIZE", 4'000);
  const auto seed = static_cast<unsigned>(NumberFrom("TROVEX_SLOWEST_SEED", 1));
  Trial slowest = SlowestPattern(seed, static_cast<std::size_t>(size)).Find(seconds);
  // Others may have had the machine.
  for (int again = 0; again < 3; ++again) {
    const double before = slowest.seconds;
    Measure(slowest);
    slowest.seconds = std::min(slowest.seconds, before);
  }
  std::printf("%.3f s for compiling %zu bytes, folding %d, words %d: %.200s\n", slowest.seconds,
              slowest.pattern.size(), slowest.folds, slowest.words, slowest.pattern.c_str());
}

}  // namespace trovex::bench
