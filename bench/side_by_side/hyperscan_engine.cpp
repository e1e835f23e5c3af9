// Hyperscan as it is fastest for this.
//
// It reports every end of every match, in the order of the ends. Matches of one fixed width have
// their start known from the end; others need the leftmost start computed (SOM_LEFTMOST), which
// costs time. Therefore words as alternatives become patterns of their own, each of its own width.
//
// From the reports of one pattern the matches that do not overlap are picked as they come in: a report
// that begins where the last match did makes it longer, one that overlaps it otherwise is none, one
// after it is the next. Of many words the one that begins first may be reported after one that it
// overlaps: their reports are kept, and sorted where that is so, before the matches are picked.

#include "bench/side_by_side/contestants.h"

#include <hs/hs.h>
#include <algorithm>
#include <cstdlib>
#include <new>
#include <stdexcept>

namespace trovex::bench {

namespace {

/// The words of an alternative of plain words, which may stand between "\\b(?:" and ")\\b" and then
/// bring these ends each; any other pattern is all one.
std::vector<std::string> Alternatives(const std::string& pattern) {
  constexpr std::string_view kHead = "\\b(?:";
  constexpr std::string_view kFoot = ")\\b";
  const bool areWhole = pattern.starts_with(kHead) && pattern.ends_with(kFoot);
  const std::string list =
      areWhole ? pattern.substr(kHead.size(), pattern.size() - kHead.size() - kFoot.size())
               : pattern;
  if (list.find_first_of("([\\") != std::string::npos) return {pattern};
  std::vector<std::string> words;
  for (std::size_t start = 0, bar = 0; bar != std::string::npos; start = bar + 1) {
    bar = list.find('|', start);
    const std::string word = list.substr(start, bar - start);
    words.push_back(areWhole ? "\\b" + word + "\\b" : word);
  }
  return words;
}

void Require(hs_error_t result, const char* what) {
  if (result != HS_SUCCESS) throw std::runtime_error(what);
}

/// The width that all matches of `pattern` have; 0 when they differ.
unsigned FixedWidth(const std::string& pattern, unsigned flags) {
  hs_expr_info_t* info = nullptr;
  hs_compile_error_t* error = nullptr;
  if (hs_expression_info(pattern.c_str(), flags, &info, &error) != HS_SUCCESS) {
    hs_free_compile_error(error);
    throw std::runtime_error("Hyperscan cannot compile the pattern");
  }
  const unsigned width = info->min_width == info->max_width ? info->min_width : 0;
  std::free(info);  // NOLINT: allocated by the C library's malloc
  return width;
}

/// Picks the leftmost longest matches that do not overlap, until no more are wanted.
template <class Take>
class MatchPicker {
 public:
  MatchPicker(unsigned width, Take take) : width_(width), take_(take) {}

  static int Report(unsigned, unsigned long long from, unsigned long long to, unsigned,
                    void* picker) {
    auto& self = *static_cast<MatchPicker*>(picker);
    return self.Add(self.width_ != 0 ? to - self.width_ : from, to) ? 0 : 1;
  }

  /// Returns whether more are wanted.
  bool Add(std::size_t start, std::size_t end) {
    if (start >= end_) {
      if (!Finish()) return false;
      start_ = start;
      end_ = end;
    } else if (start == start_) {
      end_ = end;
    }
    return true;
  }

  /// Takes the match that is complete now.
  bool Finish() {
    isWanting_ = isWanting_ && (end_ == 0 || take_(start_, end_));
    return isWanting_;
  }

 private:
  const unsigned width_;  // of all matches; 0: their starts are reported
  Take take_;
  bool isWanting_ = true;
  std::size_t start_ = 0;
  std::size_t end_ = 0;  // 0: no match yet
};

class HyperscanEngine : public PeerEngine<HyperscanEngine> {
 public:
  explicit HyperscanEngine(const PeerPattern& pattern) {
    const std::vector<std::string> parts = Alternatives(pattern.pattern);
    std::vector<const char*> expressions;
    std::vector<unsigned> flags;
    std::vector<unsigned> ids;
    for (const std::string& part : parts) {
      const unsigned common = HS_FLAG_MULTILINE | (pattern.foldCase ? HS_FLAG_CASELESS : 0U);
      const unsigned width = FixedWidth(part, common);
      expressions.push_back(part.c_str());
      flags.push_back(width != 0 ? common : common | HS_FLAG_SOM_LEFTMOST);
      ids.push_back(static_cast<unsigned>(widths_.size()));
      widths_.push_back(width);
    }
    hs_compile_error_t* error = nullptr;
    const auto result =
        hs_compile_multi(expressions.data(), flags.data(), ids.data(),
                         static_cast<unsigned>(parts.size()), HS_MODE_BLOCK, nullptr, &db_, &error);
    hs_free_compile_error(error);
    Require(result, "Hyperscan cannot compile the pattern");
    if (hs_alloc_scratch(db_, &scratch_) != HS_SUCCESS) {
      hs_free_database(db_);
      throw std::bad_alloc();
    }
  }
  ~HyperscanEngine() override {
    hs_free_scratch(scratch_);
    hs_free_database(db_);
  }

  template <class Take>
  void ForEachMatch(std::string_view text, Take take) {
    MatchPicker<Take> picker(widths_.size() == 1 ? widths_[0] : 0, take);
    if (widths_.size() == 1) {
      Scan(text, MatchPicker<Take>::Report, &picker);
    } else {
      reports_.clear();
      Scan(text, Keep, this);
      const auto byStart = [](const Range& a, const Range& b) { return a.start < b.start; };
      if (!std::is_sorted(reports_.begin(), reports_.end(), byStart))
        std::stable_sort(reports_.begin(), reports_.end(), byStart);
      for (const Range& report : reports_) {
        if (!picker.Add(static_cast<std::size_t>(report.start),
                        static_cast<std::size_t>(report.end)))
          return;
      }
    }
    picker.Finish();
  }

 private:
  void Scan(std::string_view text, match_event_handler report, void* context) {
    const hs_error_t result =
        hs_scan(db_, text.data(), static_cast<unsigned>(text.size()), 0, scratch_, report, context);
    if (result != HS_SCAN_TERMINATED) Require(result, "Hyperscan gives up");
  }

  static int Keep(unsigned id, unsigned long long from, unsigned long long to, unsigned,
                  void* engine) {
    auto& self = *static_cast<HyperscanEngine*>(engine);
    const unsigned width = self.widths_[id];
    self.reports_.push_back(MakeRange(width != 0 ? to - width : from, to));
    return 0;
  }

  std::vector<Range> reports_;
  std::vector<unsigned> widths_;  // of the patterns, by number
  hs_database_t* db_ = nullptr;
  hs_scratch_t* scratch_ = nullptr;
};

}  // namespace

std::unique_ptr<Engine> MakeHyperscan(const PeerPattern& pattern) {
  return std::make_unique<HyperscanEngine>(pattern);
}

}  // namespace trovex::bench
