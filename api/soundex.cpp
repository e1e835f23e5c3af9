// The exported functions of the phonetic matcher, and the code that it holds.

#include "phonetic/soundex.h"

#include <trovex/functions.h>
#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>

namespace {

/// All state of the phonetic matcher: what the latest compile, or a host, left.
struct SoundexState {
  trovex::SoundexCode code{};
  /// Zero: find the code anywhere. Nonzero: compare whole words.
  int wordMode = 0;
};

constinit SoundexState soundex;

}  // namespace

int CompileSoundex(const char* word, int wordMode) {
  soundex.wordMode = wordMode;
  if (word == nullptr) return 0;
  soundex.code = trovex::MakeSoundexCode(word);
  return soundex.code[0];
}

int SearchSoundex(const char* text, int* start, int* end) {
  if (text == nullptr || start == nullptr || end == nullptr) return 0;
  const std::optional<trovex::SoundexRange> found =
      trovex::FindSoundex(text, soundex.code, soundex.wordMode != 0);
  if (!found || found->end > static_cast<std::size_t>(std::numeric_limits<int>::max())) return 0;
  *start = static_cast<int>(found->start);
  *end = static_cast<int>(found->end);
  return 1;
}

void GetSoundexEnvironment(SoundexEnvironmentRecord* record, int* wordMode) {
  if (record == nullptr || wordMode == nullptr) return;
  std::copy(soundex.code.begin(), soundex.code.end(), record->code);
  *wordMode = soundex.wordMode;
}

void SetSoundexEnvironment(const SoundexEnvironmentRecord* record, int wordMode) {
  if (record == nullptr) return;
  std::copy_n(record->code, soundex.code.size(), soundex.code.begin());
  soundex.wordMode = wordMode;
}
