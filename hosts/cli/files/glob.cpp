// A pattern is a row of tokens. A path is read once, from its start to its end, with the set of all
// tokens that can come next. Names without special characters, and those with one star at their
// start, are compared as they are.

#include "hosts/cli/files/glob.h"

#include <algorithm>
#include <cstddef>

namespace trovex::cli {

namespace {

/// Added to a byte that is no character.
constexpr char32_t kNoCharacter = 0x110000;

constexpr std::size_t kNone = std::string_view::npos;

struct NamedClass {
  std::string_view name;
  std::vector<std::pair<char32_t, char32_t>> ranges;
};

/// The classes that a set can name, such as [[:digit:]]; those of ASCII.
const std::vector<NamedClass>& Classes() {
  static const std::vector<NamedClass> classes = {
      {"alpha", {{'A', 'Z'}, {'a', 'z'}}},
      {"digit", {{'0', '9'}}},
      {"alnum", {{'0', '9'}, {'A', 'Z'}, {'a', 'z'}}},
      {"upper", {{'A', 'Z'}}},
      {"lower", {{'a', 'z'}}},
      {"space", {{'\t', '\r'}, {' ', ' '}}},
      {"blank", {{'\t', '\t'}, {' ', ' '}}},
      {"punct", {{'!', '/'}, {':', '@'}, {'[', '`'}, {'{', '~'}}},
      {"print", {{' ', '~'}}},
      {"graph", {{'!', '~'}}},
      {"cntrl", {{0, 31}, {127, 127}}},
      {"xdigit", {{'0', '9'}, {'A', 'F'}, {'a', 'f'}}}};
  return classes;
}

/// The length of the UTF-8 character that `lead` begins; 0 when it begins none.
std::size_t LengthOf(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

}  // namespace

char32_t TakeCharacter(std::string_view& text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = LengthOf(lead);
  const auto none = [&text, lead] {
    text.remove_prefix(1);
    return kNoCharacter + lead;
  };
  if (length == 1) {
    text.remove_prefix(1);
    return lead;
  }
  if (length == 0 || length > text.size()) return none();
  char32_t character = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0U) != 0x80) return none();
    character = character << 6 | (byte & 0x3FU);
  }
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
  if (character < kLeast[length] || isSurrogate || character > 0x10FFFF) return none();
  text.remove_prefix(length);
  return character;
}

Glob::Glob(std::string_view pattern) {
  if (!Read(pattern)) {
    kind_ = Kind::kWrong;
    return;
  }
  ChooseKind();
}

bool Glob::Read(std::string_view pattern) {
  for (std::size_t i = 0; i < pattern.size();) {
    const char c = pattern[i];
    if (c == '*') {
      const std::size_t end = std::min(pattern.find_first_not_of('*', i), pattern.size());
      const bool afterSlash = i == 0 || pattern[i - 1] == '/';
      const bool isDouble = end - i >= 2 && afterSlash;
      if (isDouble && end == pattern.size()) {
        tokens_.push_back({TokenKind::kEverything, 0, false, {}});
        i = end;
      } else if (isDouble && pattern[end] == '/') {
        tokens_.push_back({TokenKind::kFolders, 0, false, {}});
        tokens_.push_back({TokenKind::kInFolder, 0, false, {}});
        i = end + 1;
      } else {
        tokens_.push_back({TokenKind::kStar, 0, false, {}});
        i = end;
      }
    } else if (c == '?') {
      tokens_.push_back({TokenKind::kAny, 0, false, {}});
      ++i;
    } else if (c == '[') {
      i = ReadSet(pattern, i + 1);
      if (i == kNone) return false;
    } else {
      if (c == '\\' && ++i == pattern.size()) return false;
      std::string_view rest = pattern.substr(i);
      const char32_t character = TakeCharacter(rest);
      tokens_.push_back({TokenKind::kCharacter, character, false, {}});
      i = pattern.size() - rest.size();
    }
  }
  return true;
}

/// Reads a set, whose "[" stands before `at`; returns the place after its "]".
std::size_t Glob::ReadSet(std::string_view pattern, std::size_t at) {
  Token set{TokenKind::kSet, 0, false, {}};
  if (at < pattern.size() && (pattern[at] == '!' || pattern[at] == '^')) {
    set.negated = true;
    ++at;
  }
  // Takes one member, which is not at the end.
  const auto take = [&pattern, &at] {
    if (pattern[at] == '\\' && at + 1 < pattern.size()) ++at;
    std::string_view rest = pattern.substr(at);
    const char32_t character = TakeCharacter(rest);
    at = pattern.size() - rest.size();
    return character;
  };
  for (bool first = true; at < pattern.size(); first = false) {
    if (pattern[at] == ']' && !first) {
      tokens_.push_back(std::move(set));
      return at + 1;
    }
    if (pattern.substr(at).starts_with("[:")) {
      const std::size_t end = pattern.find(":]", at + 2);
      if (end != kNone) {
        const std::string_view name = pattern.substr(at + 2, end - at - 2);
        for (const NamedClass& named : Classes()) {
          if (named.name == name) {
            set.ranges.insert(set.ranges.end(), named.ranges.begin(), named.ranges.end());
          }
        }
        at = end + 2;
        continue;
      }
    }
    const char32_t from = take();
    char32_t to = from;
    if (at + 1 < pattern.size() && pattern[at] == '-' && pattern[at + 1] != ']') {
      ++at;
      to = take();
    }
    set.ranges.emplace_back(from, to);
  }
  return kNone;
}

void Glob::ChooseKind() {
  const bool star = !tokens_.empty() && tokens_.front().kind == TokenKind::kStar;
  for (std::size_t i = star ? 1 : 0; i < tokens_.size(); ++i) {
    const Token& token = tokens_[i];
    if (token.kind != TokenKind::kCharacter || token.character >= 0x80) return;
    literal_ += static_cast<char>(token.character);
  }
  kind_ = star ? Kind::kSuffix : Kind::kLiteral;
}

bool Glob::Fits(std::string_view path) const {
  switch (kind_) {
    case Kind::kWrong:
      return false;
    case Kind::kLiteral:
      return path == literal_;
    case Kind::kSuffix:
      return path.ends_with(literal_) &&
             path.substr(0, path.size() - literal_.size()).find('/') == kNone;
    case Kind::kGeneral:
      break;
  }
  return FitsTokens(path);
}

/// Marks the token, and those that can come in its place because it can be nothing.
void Glob::Enter(std::size_t state, std::vector<char>& states) const {
  while (states[state] == 0) {
    states[state] = 1;
    if (state == tokens_.size()) return;
    const TokenKind kind = tokens_[state].kind;
    if (kind == TokenKind::kFolders) {
      states[state + 1] = 1;
      state += 2;
    } else if (kind == TokenKind::kStar || kind == TokenKind::kEverything) {
      ++state;
    } else {
      return;
    }
  }
}

bool Glob::FitsTokens(std::string_view path) const {
  states_.assign(tokens_.size() + 1, 0);
  Enter(0, states_);
  while (!path.empty()) {
    const char32_t character = TakeCharacter(path);
    const bool isSlash = character == '/';
    nextStates_.assign(tokens_.size() + 1, 0);
    for (std::size_t i = 0; i < tokens_.size(); ++i) {
      if (states_[i] == 0) continue;
      const Token& token = tokens_[i];
      switch (token.kind) {
        case TokenKind::kCharacter:
          if (token.character == character) Enter(i + 1, nextStates_);
          break;
        case TokenKind::kAny:
          if (!isSlash) Enter(i + 1, nextStates_);
          break;
        case TokenKind::kSet:
          if (!isSlash && Holds(token, character)) Enter(i + 1, nextStates_);
          break;
        case TokenKind::kStar:
          if (!isSlash) Enter(i, nextStates_);
          break;
        case TokenKind::kEverything:
          Enter(i, nextStates_);
          break;
        case TokenKind::kFolders:
          break;
        case TokenKind::kInFolder:
          nextStates_[i] = 1;
          if (isSlash) Enter(i + 1, nextStates_);
          break;
      }
    }
    states_.swap(nextStates_);
  }
  return states_.back() != 0;
}

bool Glob::Holds(const Token& set, char32_t character) {
  const bool isMember =
      std::any_of(set.ranges.begin(), set.ranges.end(), [character](const auto& range) {
        return range.first <= character && character <= range.second;
      });
  return isMember != set.negated;
}

namespace {

constexpr std::size_t kMostAlternatives = 1000;

/// The first braces of a glob with a comma in them: where they and their commas stand.
struct Braces {
  std::size_t open = kNone;
  std::vector<std::size_t> commas;
  std::size_t close = kNone;
};

/// Where the set ends whose "[" stands at `at`; `at` itself where it has no end.
std::size_t EndOfSet(std::string_view glob, std::size_t at) {
  // A "]" that comes first is a member.
  std::size_t from = at + 1;
  if (from < glob.size() && (glob[from] == '!' || glob[from] == '^')) ++from;
  const std::size_t end = glob.find(']', from + 1);
  return end == kNone ? at : end;
}

/// The braces that open at `open`.
Braces BracesAt(std::string_view glob, std::size_t open) {
  Braces braces{open, {}, kNone};
  std::size_t depth = 0;
  for (std::size_t i = open; i < glob.size(); ++i) {
    const char c = glob[i];
    if (c == '\\') {
      ++i;
    } else if (c == '[') {
      i = EndOfSet(glob, i);
    } else if (c == '{') {
      ++depth;
    } else if (c == ',' && depth == 1) {
      braces.commas.push_back(i);
    } else if (c == '}' && --depth == 0) {
      braces.close = i;
      break;
    }
  }
  return braces;
}

Braces FirstBraces(std::string_view glob) {
  for (std::size_t i = 0; i < glob.size(); ++i) {
    if (glob[i] == '\\') {
      ++i;
    } else if (glob[i] == '[') {
      i = EndOfSet(glob, i);
    } else if (glob[i] == '{') {
      Braces braces = BracesAt(glob, i);
      if (braces.close != kNone && !braces.commas.empty()) return braces;
    }
  }
  return {};
}

}  // namespace

std::vector<std::string> AlternativesOf(std::string_view glob) {
  std::vector<std::string> ready;
  std::vector<std::string> open = {std::string(glob)};
  while (!open.empty()) {
    if (ready.size() + open.size() > kMostAlternatives) return {};
    const std::string text = std::move(open.back());
    open.pop_back();
    Braces braces = FirstBraces(text);
    if (braces.open == kNone) {
      ready.push_back(text);
      continue;
    }
    braces.commas.push_back(braces.close);
    std::size_t begin = braces.open + 1;
    for (const std::size_t end : braces.commas) {
      open.push_back(text.substr(0, braces.open) + text.substr(begin, end - begin) +
                     text.substr(braces.close + 1));
      begin = end + 1;
    }
  }
  return ready;
}

}  // namespace trovex::cli
