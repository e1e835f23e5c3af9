// Hyperscan as it is fastest for this.
//
// It reports every end of every match, in the order of the ends. Matches of one fixed width have
// their start known from the end; others need the leftmost start computed (SOM_LEFTMOST), which
// costs time. Therefore words as alternatives become patterns of their own, each of its own width.
//
// From all those reports the matches that do not overlap are picked as they come in: a report that
// begins where the last match did makes it longer, one that overlaps it otherwise is none, one
// behind it is the next.

#include "bench/side_by_side/contestants.h"

#include <hs/hs.h>
#include <cstdlib>
#include <new>
#include <stdexcept>

namespace trovex::bench {

namespace {

/// The words of an alternative of plain words; any other pattern is all one.
std::vector<std::string> Alternatives(const std::string& pattern) {
  if (pattern.find_first_of("([\\") != std::string::npos) return {pattern};
  std::vector<std::string> words;
  for (std::size_t start = 0, bar = 0; bar != std::string::npos; start = bar + 1) {
    bar = pattern.find('|', start);
    words.push_back(pattern.substr(start, bar - start));
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

/// Picks the leftmost longest matches that do not overlap.
template <class Take>
class MatchPicker {
 public:
  MatchPicker(const unsigned* widths, Take take) : widths_(widths), take_(take) {}

  static int Report(unsigned id, unsigned long long from, unsigned long long to, unsigned,
                    void* picker) {
    auto& self = *static_cast<MatchPicker*>(picker);
    const unsigned width = self.widths_[id];
    self.Add(width != 0 ? to - width : from, to);
    return 0;
  }

  /// Takes the last match; no other report follows.
  void Finish() {
    if (end_ != 0) take_(start_, end_);
  }

 private:
  void Add(std::size_t start, std::size_t end) {
    if (start >= end_) {
      Finish();
      start_ = start;
      end_ = end;
    } else if (start == start_) {
      end_ = end;
    }
  }

  const unsigned* widths_;
  Take take_;
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
  void ForEachMatch(const std::string& text, Take take) {
    MatchPicker<Take> picker(widths_.data(), take);
    Require(hs_scan(db_, text.data(), static_cast<unsigned>(text.size()), 0, scratch_,
                    MatchPicker<Take>::Report, &picker),
            "Hyperscan gives up");
    picker.Finish();
  }

 private:
  std::vector<unsigned> widths_;  // of the patterns, by number
  hs_database_t* db_ = nullptr;
  hs_scratch_t* scratch_ = nullptr;
};

}  // namespace

std::unique_ptr<Engine> MakeHyperscan(const PeerPattern& pattern) {
  return std::make_unique<HyperscanEngine>(pattern);
}

}  // namespace trovex::bench
