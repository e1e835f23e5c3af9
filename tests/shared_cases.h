// Reads the cases that every host runs: tests/shared/README.md says what stands in them.

#ifndef TROVEX_TESTS_SHARED_CASES_H
#define TROVEX_TESTS_SHARED_CASES_H

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex::testing {

/// All cases of the folder, file by file.
inline std::vector<nlohmann::json> SharedCases() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(TROVEX_SHARED_CASES)) {
    if (entry.path().extension() == ".json") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  std::vector<nlohmann::json> cases;
  for (const std::filesystem::path& path : files) {
    std::ifstream file(path);
    for (nlohmann::json& one : nlohmann::json::parse(file).get<std::vector<nlohmann::json>>())
      cases.push_back(std::move(one));
  }
  return cases;
}

/// The bytes that the member `bytes` tells, as hexadecimal numbers with blanks between.
inline std::string BytesOf(const std::string& numbers) {
  std::istringstream stream(numbers);
  std::string bytes;
  for (std::string number; stream >> number;)
    bytes += static_cast<char>(std::stoi(number, nullptr, 16));
  return bytes;
}

/// The byte where each character of a text in UTF-8 begins, and the end.
inline std::vector<std::size_t> CharactersOf(std::string_view text) {
  std::vector<std::size_t> begins;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U) begins.push_back(i);
  }
  begins.push_back(text.size());
  return begins;
}

/// The same where a byte is a character.
inline std::vector<std::size_t> EachByteOf(std::string_view text) {
  std::vector<std::size_t> begins(text.size() + 1);
  for (std::size_t i = 0; i < begins.size(); ++i)
    begins[i] = i;
  return begins;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_SHARED_CASES_H
