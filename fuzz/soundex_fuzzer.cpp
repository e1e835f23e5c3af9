// Soundex codes of words and the search for them, held against the model that the tests use.
//
//     input:  word mode, a code as a host may set it, word, 0, text
//
// Every text is searched for the word's code and for the given code, which may be any ten bytes, as
// a whole word and anywhere, from one match to the next.

#include "fuzz/input.h"
#include "fuzz/require.h"
#include "tests/heap_text.h"
#include "tests/phonetic/soundex_model.h"

#include <trovex/functions.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace trovex::fuzz {
namespace {

using testing::HeapText;
using testing::ModelCode;

std::string Description(bool found, int start, int end) {
  return found ? std::to_string(start) + ".." + std::to_string(end) : "nothing";
}

/// Holds every match of the kept code in `text`, which ends at its zero byte.
void HoldSearches(const std::string& text, const ModelCode& code, bool wholeWords) {
  for (std::size_t from = 0; from <= text.size();) {
    const std::string rest = text.substr(from);
    const HeapText heap(rest);
    int start = -1;
    int end = -1;
    const int found = SearchSoundex(heap.Data(), &start, &end);
    const auto expected = testing::ModelSearch(rest, code, wholeWords);
    RequireSame(Description(found != 0, start, end),
                Description(expected.has_value(), expected ? expected->start : 0,
                            expected ? expected->end : 0),
                "the first place with the code is found");
    if (found == 0) {
      Require(start == -1 && end == -1, "nothing is written without a match");
      return;
    }
    from += static_cast<std::size_t>(end);
  }
}

void HoldEnvironment(const ModelCode& code, int wordMode) {
  SoundexEnvironmentRecord record{};
  int mode = ~wordMode;
  GetSoundexEnvironment(&record, &mode);
  Require(std::memcmp(record.code, code.data(), code.size()) == 0, "the code is kept as it is");
  Require(mode == wordMode, "the mode is kept as it is");
}

}  // namespace
}  // namespace trovex::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace trovex::fuzz;
  Input input(data, size);
  const int wordMode = input.SignedByte();
  ModelCode given{};
  const std::string givenBytes = input.Bytes(given.size());
  std::copy(givenBytes.begin(), givenBytes.end(), given.begin());
  const std::string word = input.UpToZero();
  const std::string text = input.UpToZero();

  const HeapText wordInHeap(word);
  const ModelCode code = trovex::testing::ModelSoundexCode(word);
  const int compiled = CompileSoundex(wordInHeap.Data(), wordMode);
  Require((compiled != 0) == (code[0] != '\0'), "a word has a code when a letter is in it");
  HoldEnvironment(code, wordMode);
  HoldSearches(text, code, wordMode != 0);

  SoundexEnvironmentRecord record{};
  std::copy(given.begin(), given.end(), record.code);
  for (const int mode : {wordMode, wordMode == 0 ? 1 : 0}) {
    SetSoundexEnvironment(&record, mode);
    HoldEnvironment(given, mode);
    HoldSearches(text, given, mode != 0);
  }
  return 0;
}
