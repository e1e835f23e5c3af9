// Runs a fuzzer's target over stored inputs, without the fuzzing engine: every file of the folders
// that are named. This is how the ordinary tests, built with any compiler, keep what fuzzing found.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

/// Runs all files of `folder` and returns how many there were. A target that finds a fault ends the
/// process, so the name of the input comes first.
int Replay(const std::filesystem::path& folder) {
  int inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    const std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());
    std::printf("%s\n", entry.path().c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
    ++inputs;
  }
  return inputs;
}

}  // namespace

int main(int argc, char** argv) {
  int inputs = 0;
  for (int i = 1; i < argc; ++i)
    inputs += Replay(argv[i]);
  std::printf("%d inputs\n", inputs);
  return inputs == 0 ? 1 : 0;
}
