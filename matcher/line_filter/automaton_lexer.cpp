// Cutting a pattern into tokens.
//
// A token is a byte, or a backslash and the byte after it; brackets and intervals read on to their
// end. The same byte may be an operator plain or backslashed, as the syntax bits say, so the two
// branches (`PlainToken`, `BackslashedToken`) meet in `SharedOperator` for the bytes whose backslash
// is a matter of syntax. A byte that is no operator where it stands is an ordinary byte.

#include "matcher/line_filter/automaton_lexer.h"

#include "text/case_helpers.h"

#include <regex.h>
#include <algorithm>
#include <cctype>

namespace trovex {

namespace {

constexpr int kAsciiBytes = 128;

bool IsDigit(unsigned char c) {
  return c >= '0' && c <= '9';
}

/// The other case of a letter; `c` itself for a letter without one and for every other byte.
int OtherCase(int c) {
  if (IsUpperGer(c)) return ToLowerGer(c);
  if (IsLetterGer(c)) return ToUpperGer(c);
  return c;
}

/// The bytes below 128 that `belongs`, a test of the platform, accepts.
CharSet AsciiClass(int (*belongs)(int)) {
  CharSet set;
  for (int c = 0; c < kAsciiBytes; ++c) {
    if (belongs(c) != 0) set.set(static_cast<std::size_t>(c));
  }
  return set;
}

CharSet WordBytes() {
  return AsciiClass(std::isalnum);
}

CharSet SpaceBytes() {
  return AsciiClass(std::isspace);
}

}  // namespace

AutomatonLexer::AutomatonLexer(const char* pattern, std::size_t length, PatternAutomaton& automaton)
    : automaton_(automaton),
      syntax_(automaton.syntax),
      next_(reinterpret_cast<const unsigned char*>(pattern)),
      end_(next_ + length) {}

Token AutomatonLexer::NextToken() {
  if (AtEnd()) return TokEnd;
  const Token token = ReadToken();
  // A byte that stands for itself leaves no trace: after "a" at the start of a pattern, "^" is
  // still an anchor in every syntax.
  if (!IsByteToken(token)) previous_ = token;
  return token;
}

Token AutomatonLexer::ReadToken() {
  unsigned char c = ReadByte();
  if (c != '\\') return PlainToken(c);
  if (!TryReadByte(c)) return Fail(MessageNumber::kTrailingBackslash);
  return BackslashedToken(c);
}

Token AutomatonLexer::PlainToken(unsigned char c) {
  switch (c) {
    case '\n':
      if (Has(RE_NEWLINE_ALT) && !Has(RE_LIMITED_OPS)) return Alternation();
      break;
    case '$':
      if (IsLineEnd()) return TokLineEnd;
      break;
    case '^':
      if (IsLineStart()) return TokLineStart;
      break;
    case '*':
      if (IsPostfixAllowed()) return TokStar;
      break;
    case '.':
      return AnyByte();
    case '[':
      return BracketSet();
    default:
      break;
  }
  return SharedOperator(c, false);
}

Token AutomatonLexer::BackslashedToken(unsigned char c) {
  switch (c) {
    case '<':
      return TokWordStart;
    case '>':
      return TokWordEnd;
    case 'b':
      return TokWordEdge;
    case 'B':
      return TokNotWordEdge;
    case '`':
      return TokLineStart;
    case '\'':
      return syntax_.endIsOpen ? TokBackref : TokLineEnd;
    case 'w':
      return SetOf(WordBytes());
    case 'W':
      return SetOf(~WordBytes());
    case 's':
      return SetOf(SpaceBytes());
    case 'S':
      return SetOf(~SpaceBytes());
    default:
      break;
  }
  if (c >= '1' && c <= '9' && !Has(RE_NO_BK_REFS)) {
    atStart_ = false;
    return TokBackref;
  }
  return SharedOperator(c, true);
}

/// The operators that are written with a backslash in one syntax and without it in another.
Token AutomatonLexer::SharedOperator(unsigned char c, bool backslashed) {
  const bool plusNeedsBackslash = Has(RE_BK_PLUS_QM);
  switch (c) {
    case '(':
      if (backslashed != Has(RE_NO_BK_PARENS)) return OpenGroup();
      break;
    case ')':
      if (backslashed == Has(RE_NO_BK_PARENS)) break;
      if (openGroups_ == 0 && Has(RE_UNMATCHED_RIGHT_PAREN_ORD)) break;
      return CloseGroup();
    case '|':
      if (!Has(RE_LIMITED_OPS) && backslashed != Has(RE_NO_BK_VBAR)) return Alternation();
      break;
    case '+':
    case '?':
      if (Has(RE_LIMITED_OPS) || backslashed != plusNeedsBackslash || !IsPostfixAllowed()) break;
      return c == '+' ? TokPlus : TokOptional;
    case '{':
      if (Has(RE_INTERVALS) && backslashed != Has(RE_NO_BK_BRACES)) return Interval();
      break;
    default:
      break;
  }
  return OrdinaryByte(c);
}

/// Whether a "$" that was just read is an anchor.
bool AutomatonLexer::IsLineEnd() const {
  if (Has(RE_CONTEXT_INDEP_ANCHORS) || AtEnd()) return true;
  return ComesNext(')', !Has(RE_NO_BK_PARENS)) || ComesNext('|', !Has(RE_NO_BK_VBAR)) ||
         (Has(RE_NEWLINE_ALT) && ComesNext('\n', false));
}

/// Whether a "^" that was just read is an anchor.
bool AutomatonLexer::IsLineStart() const {
  return Has(RE_CONTEXT_INDEP_ANCHORS) || previous_ == TokEnd || previous_ == TokOpenGroup ||
         previous_ == TokOr;
}

bool AutomatonLexer::IsPostfixAllowed() const {
  return Has(RE_CONTEXT_INDEP_OPS) || !atStart_;
}

Token AutomatonLexer::OpenGroup() {
  ++openGroups_;
  atStart_ = true;
  return TokOpenGroup;
}

Token AutomatonLexer::CloseGroup() {
  --openGroups_;
  atStart_ = false;
  return TokCloseGroup;
}

Token AutomatonLexer::Alternation() {
  atStart_ = true;
  return TokOr;
}

/// An interval, from after its "{".
Token AutomatonLexer::Interval() {
  unsigned char c = 0;
  if (!ReadBounds(c)) return TokEnd;
  if (!Has(RE_NO_BK_BRACES)) {
    if (c != '\\') return Fail(MessageNumber::kInvalidRepetition);
    if (!TryReadByte(c)) return Fail(MessageNumber::kIncompleteRepetition);
  }
  if (c != '}') return Fail(MessageNumber::kInvalidRepetition);
  atStart_ = false;
  return TokRepeat;
}

/// Reads both bounds; `c` is then the byte after them. Returns false after an error.
bool AutomatonLexer::ReadBounds(unsigned char& c) {
  bounds_ = {};
  if (!TryReadByte(c)) {
    Fail(MessageNumber::kIncompleteRepetition);
    return false;
  }
  if (IsDigit(c)) {
    if (!ReadNumber(c, bounds_.min)) return false;
    if (c != ',') {
      bounds_.max = bounds_.min;
      return true;
    }
  } else if (c != ',') {
    Fail(MessageNumber::kInvalidRepetition);
    return false;
  }
  if (!TryReadByte(c)) {
    Fail(MessageNumber::kIncompleteRepetition);
    return false;
  }
  return ReadNumber(c, bounds_.max);
}

/// Reads the digits from `c` on into `number`; `c` is then the byte after them. Too great a number
/// wraps around. Returns false when the pattern ends.
bool AutomatonLexer::ReadNumber(unsigned char& c, int& number) {
  unsigned value = 0;
  while (IsDigit(c)) {
    value = value * 10 + (c - unsigned{'0'});
    if (!TryReadByte(c)) {
      Fail(MessageNumber::kIncompleteRepetition);
      return false;
    }
  }
  number = static_cast<int>(value);
  return true;
}

Token AutomatonLexer::AnyByte() {
  CharSet set;
  set.set();
  if (!Has(RE_DOT_NEWLINE)) set.reset('\n');
  if (Has(RE_DOT_NOT_NULL)) set.reset(0);
  return SetOf(set);
}

/// A bracket expression, from after its "[". `member` runs through the members; the byte after a
/// member tells whether it starts a range. A "]" in the first place is a member.
///
/// Class names such as "[:alpha:]" are not known: their bytes are members.
Token AutomatonLexer::BracketSet() {
  constexpr MessageNumber kError = MessageNumber::kUnmatchedSquareBracket;
  unsigned char member = 0;
  if (!TryReadByte(member)) return Fail(kError);
  const bool negated = member == '^';
  if (negated && !TryReadByte(member)) return Fail(kError);

  CharSet set;
  do {
    if (!ReadMember(member)) return Fail(kError);
    unsigned char last = member;
    unsigned char after = 0;
    if (!TryReadByte(after)) return Fail(kError);
    if (after == '-') {
      if (AtEnd()) return Fail(kError);
      if (!ComesNext(']', false)) {
        last = ReadByte();
        if (!ReadMember(last) || !TryReadByte(after)) return Fail(kError);
      }
    }
    AddFolded(set, member, last);
    member = after;
  } while (member != ']');

  if (negated) {
    set.flip();
    if (Has(RE_HAT_LISTS_NOT_NEWLINE)) set.reset('\n');
  }
  return SetOf(set);
}

/// Takes a backslash in a bracket expression as the escape of the byte after it, in a syntax that
/// has such escapes. Returns false when the pattern ends.
bool AutomatonLexer::ReadMember(unsigned char& c) {
  if (c != '\\' || !Has(RE_BACKSLASH_ESCAPE_IN_LISTS)) return true;
  return TryReadByte(c);
}

/// Adds the bytes from `first` to `last`, none when they are the wrong way round.
void AutomatonLexer::AddFolded(CharSet& set, int first, int last) const {
  for (int c = first; c <= last; ++c) {
    set.set(static_cast<std::size_t>(c));
    if (syntax_.fold) set.set(static_cast<std::size_t>(OtherCase(c)));
  }
}

/// The token for `set`.
Token AutomatonLexer::SetOf(const CharSet& set) {
  atStart_ = false;
  CompileBudget& budget = automaton_.budget;
  budget.ChargeSteps(static_cast<std::int64_t>(automaton_.sets.size()));
  budget.ChargeBytes(2 * sizeof(CharSet));
  return TokFirstSet + StoreCharset(automaton_.sets, set);
}

Token AutomatonLexer::OrdinaryByte(unsigned char c) {
  atStart_ = false;
  if (!syntax_.fold || !IsLetterGer(c)) return c;
  CharSet bothCases;
  AddFolded(bothCases, c, c);
  return SetOf(bothCases);
}

/// Reads a byte into `c` if one is left.
bool AutomatonLexer::TryReadByte(unsigned char& c) {
  if (AtEnd()) return false;
  c = ReadByte();
  return true;
}

/// Whether `c`, after a backslash if there has to be one, comes next.
bool AutomatonLexer::ComesNext(unsigned char c, bool withBackslash) const {
  if (!withBackslash) return !AtEnd() && *next_ == c;
  return end_ - next_ >= 2 && next_[0] == '\\' && next_[1] == c;
}

Token AutomatonLexer::Fail(MessageNumber fault) {
  automaton_.fault = fault;
  return TokEnd;
}

}  // namespace trovex
