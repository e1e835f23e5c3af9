// The matcher's state and its compile driver.

#include "matcher/matcher.h"

#include "matcher/case_helpers.h"
#include "matcher/module_state.h"

#include <cstddef>

namespace trovex {

namespace {

constinit ModuleState<MatcherState> matcherState;

/// The table under which the engine reads upper and lower case as the same: everything is upper.
ByteMap UpperCaseMap() {
  ByteMap map{};
  for (std::size_t c = 0; c < map.size(); ++c) {
    map[c] = static_cast<unsigned char>(ToUpperGer(static_cast<int>(c)));
  }
  return map;
}

}  // namespace

MatcherState& Matcher() {
  return matcherState.Get();
}

void SetCompileError(MessageNumber error) {
  Matcher().pendingError = error;
}

MessageNumber CompileMatcher(const char* pattern, std::size_t length) {
  MatcherState& matcher = Matcher();
  matcher.installed = std::make_shared<CompiledPattern>();
  CompiledPattern& compiled = *matcher.installed;

  // The table follows the host's locale; the engine itself must not.
  const ByteMap upperCase = matcher.foldCase ? UpperCaseMap() : ByteMap{};
  const MessageNumber error =
      compiled.regex.Compile(pattern, length, matcher.foldCase ? &upperCase : nullptr);
  compiled.searchable = compiled.regex.IsCompiled();
  return error;
}

}  // namespace trovex
