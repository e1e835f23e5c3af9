// RE2 as it is fastest for this: bytes are Latin-1, the longest match, no groups asked for, and room
// for its automata.

#include "bench/side_by_side/contestants.h"

#include <re2/re2.h>
#include <stdexcept>

namespace trovex::bench {

namespace {

re2::RE2::Options MakeOptions(bool foldCase) {
  re2::RE2::Options options;
  options.set_encoding(re2::RE2::Options::EncodingLatin1);
  options.set_longest_match(true);
  options.set_case_sensitive(!foldCase);
  options.set_never_capture(true);
  options.set_log_errors(false);
  options.set_max_mem(std::int64_t{64} << 20);
  return options;
}

class Re2Engine : public PeerEngine<Re2Engine> {
 public:
  explicit Re2Engine(const PeerPattern& pattern)
      : re_("(?m)" + std::string(pattern.pattern), MakeOptions(pattern.foldCase)) {
    if (!re_.ok()) throw std::runtime_error(re_.error());
  }

  template <class Take>
  void ForEachMatch(const std::string& text, Take take) {
    re2::StringPiece match;
    for (std::size_t at = 0; re_.Match(text, at, text.size(), re2::RE2::UNANCHORED, &match, 1);) {
      const auto start = static_cast<std::size_t>(match.data() - text.data());
      at = start + match.size();
      take(start, at);
    }
  }

 private:
  re2::RE2 re_;
};

}  // namespace

std::unique_ptr<Engine> MakeRe2(const PeerPattern& pattern) {
  return std::make_unique<Re2Engine>(pattern);
}

}  // namespace trovex::bench
