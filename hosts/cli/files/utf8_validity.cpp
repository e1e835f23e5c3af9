// Thirty-two bytes at a time, after J. Keiser and D. Lemire, "Validating UTF-8 in less than one
// instruction per byte" (2021): every fault of two bytes shows in the upper half of the first, its
// lower half and the upper half of the second. Three tables say of each half which faults it may be
// part of; what all three agree on is one. That a third or fourth byte follows where one has to, is
// looked at by itself.

#include "hosts/cli/files/utf8_validity.h"

#include "hosts/cli/files/code_page.h"

#include <cstddef>
#include <cstring>

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#endif

namespace trovex::cli {

bool IsValidUtf8Plainly(std::string_view text) {
  for (;;) {
    text.remove_prefix(AsciiPrefixLength(text));
    if (text.empty()) return true;
    const Utf8Character character = ReadUtf8(text);
    if (!character.valid) return false;
    text.remove_prefix(static_cast<std::size_t>(character.length));
  }
}

#if defined(__x86_64__) && defined(__GNUC__)

namespace {

constexpr std::size_t kBlock = 32;
/// Sequences have up to four bytes, so that many before a block decide about its first ones.
constexpr std::size_t kBefore = 3;

// The faults of two bytes. kFollows is none where the byte two or three before asks for it.
constexpr char kTooShort = 0x01;   // a first byte without the second
constexpr char kTooLong = 0x02;    // a following byte after ASCII
constexpr char kOverlong3 = 0x04;  // E0 80 to E0 9F
constexpr char kTooLarge = 0x08;   // F4 90 and above
constexpr char kSurrogate = 0x10;  // ED A0 and above
constexpr char kOverlong2 = 0x20;  // C0, C1
constexpr char kOutside = 0x40;    // F0 80 to F0 8F, F5 80 to FF 8F
constexpr char kFollows = static_cast<char>(0x80);
constexpr char kAny = kTooShort | kTooLong | kFollows;  // whatever the lower half is
constexpr char kLarge = kAny | kTooLarge | kOutside;

#define TROVEX_AVX2 __attribute__((target("avx2")))

TROVEX_AVX2 inline __m256i Table(const char (&entries)[16]) {
  return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(entries)));
}

TROVEX_AVX2 inline __m256i Load(const char* at) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}

TROVEX_AVX2 inline __m256i UpperHalves(__m256i bytes) {
  return _mm256_and_si256(_mm256_srli_epi16(bytes, 4), _mm256_set1_epi8(0x0F));
}

/// The faults of the block at `at`; the bytes before it can be read.
TROVEX_AVX2 inline __m256i Faults(const char* at) {
  constexpr char kFirstUpper[16] = {kTooLong,
                                    kTooLong,
                                    kTooLong,
                                    kTooLong,
                                    kTooLong,
                                    kTooLong,
                                    kTooLong,
                                    kTooLong,
                                    kFollows,
                                    kFollows,
                                    kFollows,
                                    kFollows,
                                    kTooShort | kOverlong2,
                                    kTooShort,
                                    kTooShort | kOverlong3 | kSurrogate,
                                    kTooShort | kTooLarge | kOutside};
  constexpr char kFirstLower[16] = {kAny | kOverlong3 | kOverlong2 | kOutside,
                                    kAny | kOverlong2,
                                    kAny,
                                    kAny,
                                    kAny | kTooLarge,
                                    kLarge,
                                    kLarge,
                                    kLarge,
                                    kLarge,
                                    kLarge,
                                    kLarge,
                                    kLarge,
                                    kLarge,
                                    kLarge | kSurrogate,
                                    kLarge,
                                    kLarge};
  constexpr char kEach = kTooLong | kOverlong2 | kFollows;  // of all that follows
  constexpr char kSecondUpper[16] = {kTooShort,
                                     kTooShort,
                                     kTooShort,
                                     kTooShort,
                                     kTooShort,
                                     kTooShort,
                                     kTooShort,
                                     kTooShort,
                                     kEach | kOverlong3 | kOutside,
                                     kEach | kOverlong3 | kTooLarge,
                                     kEach | kSurrogate | kTooLarge,
                                     kEach | kSurrogate | kTooLarge,
                                     kTooShort,
                                     kTooShort,
                                     kTooShort,
                                     kTooShort};
  const __m256i second = Load(at);
  const __m256i first = Load(at - 1);
  const __m256i lower = _mm256_and_si256(first, _mm256_set1_epi8(0x0F));
  const __m256i pairs =
      _mm256_and_si256(_mm256_and_si256(_mm256_shuffle_epi8(Table(kFirstUpper), UpperHalves(first)),
                                        _mm256_shuffle_epi8(Table(kFirstLower), lower)),
                       _mm256_shuffle_epi8(Table(kSecondUpper), UpperHalves(second)));
  // The highest bit is set where a sequence of three or four bytes has its third or fourth.
  const __m256i third = _mm256_subs_epu8(Load(at - 2), _mm256_set1_epi8(0xE0 - 0x80));
  const __m256i fourth = _mm256_subs_epu8(Load(at - 3), _mm256_set1_epi8(0xF0 - 0x80));
  const __m256i asked =
      _mm256_and_si256(_mm256_or_si256(third, fourth), _mm256_set1_epi8(kFollows));
  return _mm256_xor_si256(asked, pairs);
}

TROVEX_AVX2 bool IsValidWide(std::string_view text) {
  char edge[kBefore + kBlock] = {};
  std::memcpy(edge + kBefore, text.data(), kBlock);
  __m256i faults = Faults(edge + kBefore);
  std::size_t i = kBlock;
  for (; text.size() - i >= kBlock; i += kBlock) {
    const char* const at = text.data() + i;
    const __m256i around = _mm256_or_si256(Load(at), Load(at - kBefore));
    if (_mm256_movemask_epi8(around) != 0) faults = _mm256_or_si256(faults, Faults(at));
  }
  // What is left, and at least one zero byte, before which every sequence has to be whole.
  std::memset(edge, 0, sizeof edge);
  std::memcpy(edge, text.data() + i - kBefore, kBefore + text.size() - i);
  faults = _mm256_or_si256(faults, Faults(edge + kBefore));
  return _mm256_testz_si256(faults, faults) != 0;
}

bool HasWide() {
  static const bool has = __builtin_cpu_supports("avx2") != 0;
  return has;
}

}  // namespace

bool IsValidUtf8(std::string_view text) {
  if (text.size() < kBlock || !HasWide()) return IsValidUtf8Plainly(text);
  return IsValidWide(text);
}

#else

bool IsValidUtf8(std::string_view text) {
  return IsValidUtf8Plainly(text);
}

#endif

}  // namespace trovex::cli
