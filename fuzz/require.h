// How a fuzzer says that a promise was broken: it names the promise and aborts, which the fuzzing
// engine takes for a crash and keeps the input.

#ifndef TROVEX_FUZZ_REQUIRE_H
#define TROVEX_FUZZ_REQUIRE_H

#include <cstdio>
#include <cstdlib>
#include <string>

namespace trovex::fuzz {

inline void Require(bool kept, const char* promise) {
  if (kept) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

/// The same for two descriptions that must be one.
inline void RequireSame(const std::string& actual, const std::string& expected,
                        const char* promise) {
  if (actual == expected) return;
  std::fprintf(stderr, "expected: %s\n  actual: %s\n", expected.c_str(), actual.c_str());
  Require(false, promise);
}

}  // namespace trovex::fuzz

#endif  // TROVEX_FUZZ_REQUIRE_H
