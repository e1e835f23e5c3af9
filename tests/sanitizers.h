// Whether a test runs under a sanitizer, with which nothing is said of memory, time and stack, and tests
// that try very many cases try a part of them.

#ifndef TROVEX_TESTS_SANITIZERS_H
#define TROVEX_TESTS_SANITIZERS_H

#include <cstddef>

namespace trovex::testing {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kUnderSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kUnderSanitizer = true;
#else
inline constexpr bool kUnderSanitizer = false;
#endif
#else
inline constexpr bool kUnderSanitizer = false;
#endif

/// How many of `count` random cases a test tries: all of them, or one in ten under a sanitizer, which takes
/// a hundred times as long for searches in processes of their own.
inline constexpr int CasesToTry(int count) {
  return kUnderSanitizer ? count / 10 : count;
}

/// Of all small patterns a test that goes through them takes each, or one in eleven under a sanitizer (the
/// number divides no number of pieces that they are made of).
inline constexpr std::size_t kPatternStride = kUnderSanitizer ? 11 : 1;

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_SANITIZERS_H
