#include "query/plan/spelled_strings.h"

#include "query/plan/required_strings.h"
#include "text/utf8_character.h"

#include <algorithm>
#include <utility>

namespace trovex {

namespace {

unsigned char Folded(unsigned char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c - 'A' + 'a') : c;
}

/// Whether a match is decided by its own characters, and has no groups.
bool IsFree(const SyntaxTree& tree) {
  return std::none_of(tree.nodes.begin(), tree.nodes.end(), [](const SyntaxNode& node) {
    return node.kind == SyntaxKind::kAnchor || node.kind == SyntaxKind::kGroup ||
           node.kind == SyntaxKind::kBackReference;
  });
}

/// Whether a combining mark at `end` makes another letter of the byte before it.
bool IsComposedOn(TextView text, std::size_t end) {
  if (end == text.size() || text[end] < 0x80) return false;
  const unsigned char* const at = text.data() + end;
  return ComposedWithLast(text.data(), at, ReadSequence(at, text.data() + text.size())) != 0;
}

}  // namespace

SpelledStrings::SpelledStrings(std::vector<std::string> certain, std::vector<std::string> uncertain,
                               bool foldsCase)
    : certain_(std::move(certain)), uncertain_(std::move(uncertain)), foldsCase_(foldsCase) {
  std::stable_sort(certain_.begin(), certain_.end(),
                   [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
}

std::optional<SpelledStrings> SpelledStrings::Of(const SyntaxTree& tree, bool foldsCase) {
  if (tree.nodes.empty() || !IsFree(tree)) return std::nullopt;
  StringClause certain = ExactStrings(tree, foldsCase, Spelling::kUtf8);
  const StringClause all = ExactStrings(tree, foldsCase, Spelling::kEveryWay);
  if (certain.empty() || all.empty()) return std::nullopt;
  StringClause uncertain;
  std::set_difference(all.begin(), all.end(), certain.begin(), certain.end(),
                      std::back_inserter(uncertain));
  if (uncertain.empty()) return std::nullopt;  // plain ASCII
  return SpelledStrings(std::move(certain), std::move(uncertain), foldsCase);
}

std::optional<PlaceScan> SpelledStrings::Scan() const {
  StringClause all = certain_;
  all.insert(all.end(), uncertain_.begin(), uncertain_.end());
  // A letter as a byte alone says little; as a sequence it has two or three.
  constexpr std::size_t kSequence = 2;
  return ScanForClauses({all}, foldsCase_, kSequence);
}

bool SpelledStrings::StandsAt(const std::string& string, TextView text, std::size_t place) const {
  if (text.size() - place < string.size()) return false;
  return std::equal(string.begin(), string.end(), text.begin() + static_cast<std::ptrdiff_t>(place),
                    [this](char wanted, unsigned char c) {
                      return static_cast<unsigned char>(wanted) == (foldsCase_ ? Folded(c) : c);
                    });
}

SpelledStrings::Answer SpelledStrings::At(TextView text, std::size_t place,
                                          std::size_t& end) const {
  const auto stands = [&](const std::string& string) { return StandsAt(string, text, place); };
  if (std::any_of(uncertain_.begin(), uncertain_.end(), stands)) return Answer::kUnknown;
  for (const std::string& string : certain_) {
    if (!stands(string) || IsComposedOn(text, place + string.size())) continue;
    end = place + string.size();
    return Answer::kMatch;
  }
  return Answer::kNoMatch;
}

}  // namespace trovex
