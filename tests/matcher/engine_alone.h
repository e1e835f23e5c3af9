// The engine without anything of the library around it, as the tests' other opinion.

#ifndef TROVEX_TESTS_MATCHER_ENGINE_ALONE_H
#define TROVEX_TESTS_MATCHER_ENGINE_ALONE_H

#include "matcher/engine/bounded_matcher.h"
#include "matcher/engine/regular_expression.h"
#include "text/byte_map.h"

#include <regex.h>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

namespace trovex::testing {

class EngineAlone {
 public:
  explicit EngineAlone(std::string_view pattern, const ByteMap* translate = nullptr) {
    if (translate != nullptr) {
      buffer_.translate = static_cast<unsigned char*>(std::malloc(translate->size()));
      std::memcpy(buffer_.translate, translate->data(), translate->size());
    }
    re_set_syntax(kPatternSyntax);
    isCompiled_ = re_compile_pattern(pattern.data(), pattern.size(), &buffer_) == nullptr;
  }
  ~EngineAlone() { regfree(&buffer_); }
  EngineAlone(const EngineAlone&) = delete;
  EngineAlone& operator=(const EngineAlone&) = delete;

  bool IsCompiled() const { return isCompiled_; }
  int GroupCount() const { return static_cast<int>(buffer_.re_nsub); }

  /// The ranges of the first match and its groups; none without a match.
  std::vector<GroupRange> Search(std::string_view line, int from) {
    return SearchUpTo(line, from, static_cast<int>(line.size()));
  }

  /// The same of the first match that starts at `lastStart` or before.
  std::vector<GroupRange> SearchUpTo(std::string_view line, int from, int lastStart) {
    const int length = static_cast<int>(line.size());
    re_registers registers{};
    buffer_.regs_allocated = REGS_UNALLOCATED;
    std::vector<GroupRange> ranges;
    if (re_search(&buffer_, line.data(), length, from, lastStart - from, &registers) >= 0) {
      for (int i = 0; i <= GroupCount(); ++i) {
        ranges.push_back({registers.start[i], registers.end[i]});
      }
    }
    std::free(registers.start);
    std::free(registers.end);
    return ranges;
  }

  /// The match that is found when it is asked for alone, with its groups: those of a match that the
  /// engine denies with its groups took no part.
  std::vector<GroupRange> SearchWholeFirst(std::string_view line, int from) {
    std::vector<GroupRange> whole = SearchWhole(line, from);
    if (whole.empty()) return whole;
    std::vector<GroupRange> ranges = SearchUpTo(line, whole[0].start, whole[0].start);
    if (!ranges.empty() && ranges[0] == whole[0]) return ranges;
    whole.resize(static_cast<std::size_t>(GroupCount()) + 1);
    return whole;
  }

  /// The range of the first match alone; none without a match.
  std::vector<GroupRange> SearchWhole(std::string_view line, int from) {
    const int length = static_cast<int>(line.size());
    regoff_t start = -1;
    regoff_t end = -1;
    re_registers registers{};
    registers.num_regs = 1;
    registers.start = &start;
    registers.end = &end;
    buffer_.regs_allocated = REGS_FIXED;
    if (re_search(&buffer_, line.data(), length, from, length - from, &registers) < 0) return {};
    return {{start, end}};
  }

 private:
  re_pattern_buffer buffer_{};
  bool isCompiled_ = false;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_ENGINE_ALONE_H
