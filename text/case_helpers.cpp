// The letter and case functions.

#include "text/case_helpers.h"

#include <cctype>

namespace trovex {

namespace {

constexpr int kUpperAe = 196, kLowerAe = 228;
constexpr int kUpperOe = 214, kLowerOe = 246;
constexpr int kUpperUe = 220, kLowerUe = 252;

constexpr bool IsUpperUmlaut(int c) {
  return c == kUpperAe || c == kUpperOe || c == kUpperUe;
}
constexpr bool IsLowerUmlaut(int c) {
  return c == kLowerAe || c == kLowerOe || c == kLowerUe;
}

// Both cases of a letter of this code page lie 32 apart.
constexpr int kCaseDistance = kLowerAe - kUpperAe;

}  // namespace

int ToUpperGer(int c) {
  return IsLowerUmlaut(c) ? c - kCaseDistance : std::toupper(c);
}

int ToLowerGer(int c) {
  return IsUpperUmlaut(c) ? c + kCaseDistance : std::tolower(c);
}

bool IsUpperGer(int c) {
  return IsUpperUmlaut(c) || std::isupper(c) != 0;
}

bool IsLowerGer(int c) {
  return IsLowerUmlaut(c) || std::islower(c) != 0;
}

bool IsLetterGer(int c) {
  return IsUpperGer(c) || IsLowerGer(c) || std::isalpha(c) != 0;
}

bool IsWordConstituent(int c) {
  return c == '_' || (c < 128 && std::isalnum(c) != 0);
}

}  // namespace trovex
