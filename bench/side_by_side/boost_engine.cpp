// Boost.Regex as it is fastest for this: its own syntax, no groups kept, matching over plain pointers.

#include "bench/side_by_side/contestants.h"

#include <boost/regex.hpp>

namespace trovex::bench {

namespace {

class BoostEngine : public PeerEngine<BoostEngine> {
 public:
  explicit BoostEngine(const PeerPattern& pattern)
      : re_(pattern.pattern, boost::regex::perl | boost::regex::optimize | boost::regex::nosubs |
                                 (pattern.foldCase ? boost::regex::icase : boost::regex::perl)) {}

  template <class Take>
  void ForEachMatch(const std::string& text, Take take) {
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    boost::cmatch match;
    for (const char* at = begin;
         regex_search(at, end, match, re_, boost::match_not_dot_newline, begin);) {
      at = match[0].second;
      take(static_cast<std::size_t>(match[0].first - begin), static_cast<std::size_t>(at - begin));
    }
  }

 private:
  boost::regex re_;
};

}  // namespace

std::unique_ptr<Engine> MakeBoost(const PeerPattern& pattern) {
  return std::make_unique<BoostEngine>(pattern);
}

}  // namespace trovex::bench
