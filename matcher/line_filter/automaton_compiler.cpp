// With folding, every letter of the pattern is a set of two bytes, and nothing would be left for a
// must string. It is taken from a copy of the pattern in lower case instead, parsed without
// folding; whoever searches for the string folds the text to lower case.

#include "matcher/line_filter/automaton_compiler.h"

#include "matcher/line_filter/automaton_builder.h"
#include "matcher/line_filter/automaton_parser.h"
#include "matcher/line_filter/must_string.h"
#include "text/case_helpers.h"

#include <string>
#include <utility>

namespace trovex {

namespace {

constexpr int kAsciiBytes = 128;

/// The pattern with the letters below 128 in lower case; all other bytes stay, the umlauts among
/// them.
std::string LowerCaseCopy(const char* pattern, std::size_t length) {
  std::string copy(pattern, length);
  for (char& byte : copy) {
    const int c = static_cast<unsigned char>(byte);
    if (c < kAsciiBytes && IsUpperGer(c)) byte = static_cast<char>(ToLowerGer(c));
  }
  return copy;
}

/// Takes the must string of a folded pattern, and what fault there is, into `automaton`.
void ExtractFoldedMustString(const char* pattern, std::size_t length, PatternAutomaton& automaton) {
  const std::string copy = LowerCaseCopy(pattern, length);
  PatternAutomaton unfolded;
  unfolded.syntax = automaton.syntax;
  unfolded.syntax.fold = false;
  AutomatonParse(copy.data(), copy.size(), unfolded);
  ExtractMustString(unfolded);
  automaton.mustList = std::move(unfolded.mustList);
  if (unfolded.fault != MessageNumber::kNone) automaton.fault = unfolded.fault;
}

}  // namespace

void AutomatonInit(PatternAutomaton& automaton) {
  const AutomatonSyntax syntax = automaton.syntax;
  automaton = PatternAutomaton{};
  automaton.syntax = syntax;
}

void AutomatonFree(PatternAutomaton* automaton) {
  delete automaton;
}

void AutomatonCompile(const char* pattern, std::size_t length, PatternAutomaton& automaton,
                      bool searchFlag) {
  AutomatonInit(automaton);
  const bool folded = automaton.syntax.fold;
  if (folded) ExtractFoldedMustString(pattern, length, automaton);
  AutomatonParse(pattern, length, automaton);
  if (!folded) ExtractMustString(automaton);
  AnalyseAutomaton(automaton, searchFlag);
}

}  // namespace trovex
