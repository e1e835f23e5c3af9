// Boost.Regex as it is fastest for this: its own syntax, no groups kept that nobody asks for, matching over plain pointers.

#include "bench/side_by_side/contestants.h"

#include <boost/regex.hpp>

namespace trovex::bench {

namespace {

class BoostEngine : public PeerEngine<BoostEngine> {
 public:
  explicit BoostEngine(const PeerPattern& pattern)
      : re_(pattern.pattern,
            boost::regex::perl | boost::regex::optimize |
                (pattern.NeedsGroups() ? boost::regex::perl : boost::regex::nosubs) |
                (pattern.foldCase ? boost::regex::icase : boost::regex::perl)),
        group_(pattern.group) {}

  template <class Take>
  void ForEachMatch(std::string_view text, Take take) {
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    boost::cmatch match;
    for (const char* at = begin;
         regex_search(at, end, match, re_, boost::match_not_dot_newline, begin);) {
      at = match[0].second;
      const auto& range = match[group_];
      if (!take(static_cast<std::size_t>(range.first - begin),
                static_cast<std::size_t>(range.second - begin)))
        return;
    }
  }

 private:
  boost::regex re_;
  int group_;
};

}  // namespace

std::unique_ptr<Engine> MakeBoost(const PeerPattern& pattern) {
  return std::make_unique<BoostEngine>(pattern);
}

}  // namespace trovex::bench
