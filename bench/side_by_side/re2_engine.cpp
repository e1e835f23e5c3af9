// RE2 as it is fastest for this: bytes are Latin-1, the longest match, no groups kept that nobody asks for, and room
// for its automata.

#include "bench/side_by_side/contestants.h"

#include <re2/re2.h>
#include <stdexcept>

namespace trovex::bench {

namespace {

constexpr int kGroupsMax = 9;

re2::RE2::Options MakeOptions(const PeerPattern& pattern) {
  re2::RE2::Options options;
  options.set_encoding(re2::RE2::Options::EncodingLatin1);
  options.set_longest_match(true);
  options.set_case_sensitive(!pattern.foldCase);
  options.set_never_capture(!pattern.NeedsGroups());
  options.set_log_errors(false);
  options.set_max_mem(std::int64_t{64} << 20);
  return options;
}

class Re2Engine : public PeerEngine<Re2Engine> {
 public:
  explicit Re2Engine(const PeerPattern& pattern)
      : re_("(?m)" + pattern.pattern, MakeOptions(pattern)), group_(pattern.group) {
    if (!re_.ok()) throw std::runtime_error(re_.error());
  }

  template <class Take>
  void ForEachMatch(std::string_view text, Take take) {
    const re2::StringPiece whole(text.data(), text.size());
    re2::StringPiece match[kGroupsMax + 1];
    const auto offset = [&](const re2::StringPiece& piece) {
      return static_cast<std::size_t>(piece.data() - text.data());
    };
    for (std::size_t at = 0;
         re_.Match(whole, at, whole.size(), re2::RE2::UNANCHORED, match, group_ + 1);) {
      at = offset(match[0]) + match[0].size();
      const re2::StringPiece& asked = match[group_];
      if (!take(offset(asked), offset(asked) + asked.size())) return;
    }
  }

 private:
  re2::RE2 re_;
  int group_;
};

}  // namespace

std::unique_ptr<Engine> MakeRe2(const PeerPattern& pattern) {
  return std::make_unique<Re2Engine>(pattern);
}

}  // namespace trovex::bench
