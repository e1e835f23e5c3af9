// Compiling with, searching with and freeing what the engine made of a pattern.

#include "matcher/engine/regular_expression.h"

#include "matcher/costs.h"
#include "matcher/engine/pattern_limits.h"
#include "matcher/limits.h"

#include <locale.h>
#include <array>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

namespace trovex {

namespace {

constexpr int kFirstErrorCode = 1;
constexpr int kLastErrorCode = 16;

/// The C locale for this thread, for as long as the object lives.
class CLocaleScope {
 public:
  CLocaleScope()
      : cLocale_(newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr))),
        hostLocale_(uselocale(cLocale_)) {}
  ~CLocaleScope() {
    uselocale(hostLocale_);
    freelocale(cLocale_);
  }
  CLocaleScope(const CLocaleScope&) = delete;
  CLocaleScope& operator=(const CLocaleScope&) = delete;

 private:
  locale_t cLocale_;
  locale_t hostLocale_;
};

/// The error code that `sentence`, an answer of the engine under the C locale, stands for. The
/// engine keeps one sentence per code and gives no other sign of the code; 0 when it is none of
/// them.
int ErrorCodeOf(const char* sentence) {
  for (int code = kFirstErrorCode; code <= kLastErrorCode; ++code) {
    std::array<char, 128> known{};
    regerror(code, nullptr, known.data(), known.size());
    if (std::strcmp(sentence, known.data()) == 0) return code;
  }
  return 0;
}

/// Compiles `pattern` into `buffer`, which is empty. Returns whether that went well; otherwise
/// `error` is the error's message number.
bool CompileProgram(const std::string& pattern, const ByteMap& translate, re_pattern_buffer& buffer,
                    MessageNumber& error) {
  if (translate != kSameBytes) {
    // The engine frees the table, with free(), together with the program.
    buffer.translate = static_cast<unsigned char*>(std::malloc(translate.size()));
    if (buffer.translate == nullptr) throw std::bad_alloc();
    std::memcpy(buffer.translate, translate.data(), translate.size());
  }
  const CLocaleScope cLocale;
  // The syntax word is the whole process's; the host may have one of its own.
  const reg_syntax_t hostSyntax = re_set_syntax(kPatternSyntax);
  const char* sentence = re_compile_pattern(pattern.data(), pattern.size(), &buffer);
  re_set_syntax(hostSyntax);
  if (sentence != nullptr) error = MessageForRegexError(ErrorCodeOf(sentence));
  return sentence == nullptr;
}

/// Frees the compiled program and the translate table; both may be null.
void FreeRegexBuffer(re_pattern_buffer& buffer) {
  regfree(&buffer);
}

}  // namespace

MessageNumber MessageForRegexError(int code) {
  if (code < kFirstErrorCode || code > kLastErrorCode) return MessageNumber::kNone;
  const auto first = static_cast<int>(MessageNumber::kTextNotFound);
  return static_cast<MessageNumber>(first + code - kFirstErrorCode);
}

MatchRegisters::MatchRegisters(bool wholeMatchOnly) : wholeMatchOnly_(wholeMatchOnly) {
  if (wholeMatchOnly) {
    registers_.num_regs = 1;
    registers_.start = &wholeStart_;
    registers_.end = &wholeEnd_;
  }
}

MatchRegisters::~MatchRegisters() {
  // Where memory for the second array ran out, the engine has freed the first and left its address.
  if (wholeMatchOnly_ || registers_.num_regs == 0) return;
  std::free(registers_.start);
  std::free(registers_.end);
}

/// Takes over `ranges`, of the whole match and of every group.
void MatchRegisters::Set(const std::vector<GroupRange>& ranges) {
  if (!wholeMatchOnly_ && registers_.num_regs == 0) {
    // The engine may go on with these arrays, and frees and grows them as its own.
    auto* starts = static_cast<regoff_t*>(std::malloc(ranges.size() * sizeof(regoff_t)));
    auto* ends = static_cast<regoff_t*>(std::malloc(ranges.size() * sizeof(regoff_t)));
    if (starts == nullptr || ends == nullptr) {
      std::free(starts);
      std::free(ends);
      throw std::bad_alloc();
    }
    registers_.start = starts;
    registers_.end = ends;
    registers_.num_regs = static_cast<decltype(registers_.num_regs)>(ranges.size());
  }
  for (std::size_t i = 0; i < registers_.num_regs; ++i) {
    const GroupRange range = i < ranges.size() ? ranges[i] : GroupRange{};
    registers_.start[i] = range.start;
    registers_.end[i] = range.end;
  }
}

RegularExpression::~RegularExpression() {
  FreeRegexBuffer(program_.buffer);
}

MessageNumber RegularExpression::Compile(const char* pattern, std::size_t length,
                                         const ByteMap* translate) {
  CompileBudget budget;
  return Compile({pattern, length},
                 std::make_shared<const SyntaxTree>(ParsePattern(pattern, length, translate)),
                 budget);
}

MessageNumber RegularExpression::Compile(std::string_view pattern,
                                         std::shared_ptr<const SyntaxTree> tree,
                                         CompileBudget& budget) {
  const MessageNumber excess = CheckPatternLimits(*tree, budget);
  if (excess != MessageNumber::kNone) return excess;

  pattern_ = pattern;
  tree_ = std::move(tree);
  MessageNumber error = MessageNumber::kNone;
  compiled_ = CompileProgram(pattern_, tree_->translate, program_.buffer, error);
  groupCount_ = program_.buffer.re_nsub;
  hazards_ = FindHazards(*tree_);
  hasRepetitions_ = pattern_.find_first_of("{+") != std::string::npos;
  return error;
}

const BoundedMatcher& RegularExpression::Bounded() const {
  if (const BoundedMatcher* const made = madeBounded_.load(std::memory_order_acquire)) return *made;
  const std::lock_guard<std::mutex> alone(boundedLock_);
  if (bounded_ == nullptr) {
    bounded_ = std::make_unique<const BoundedMatcher>(tree_);
    madeBounded_.store(bounded_.get(), std::memory_order_release);
  }
  return *bounded_;
}

/// Whether the engine is to search a line of `length` bytes.
bool RegularExpression::IsForEngine(int length) const {
  if (hazards_.search) return false;
  if (length <= kMaxEngineLine && pattern_.size() <= kMaxEngineSteps / 4) {
    // Only repetitions make a pattern larger than it looks.
    if (!hasRepetitions_ || Bounded().Size() <= kMaxEngineSteps) return true;
  }
  return !Bounded().HasGraph();
}

int RegularExpression::Search(const char* line, int length, int from,
                              MatchRegisters& registers) const {
  WorkCredit credit(static_cast<std::size_t>(length));
  const SearchOutcome outcome = Search(line, length, from, registers, credit);
  return outcome == SearchOutcome::kFound ? registers.Start(0) : -1;
}

SearchOutcome RegularExpression::Search(const char* line, int length, int from,
                                        MatchRegisters& registers, WorkCredit& credit) const {
  const BoundedText text{line, length, true};
  if (hazards_.search) return FindBounded(text, from, length, registers, credit);
  GroupRange match;
  const SearchOutcome outcome = FindWhole(text, from, length, match, credit);
  if (outcome == SearchOutcome::kFound) FindGroups(text, match, registers, credit);
  return outcome;
}

int RegularExpression::MatchWithin(const char* line, int length, int start,
                                   MatchRegisters& registers) const {
  WorkCredit credit(static_cast<std::size_t>(length));
  const SearchOutcome outcome = MatchWithin(line, length, start, registers, credit);
  return outcome == SearchOutcome::kFound ? registers.End(0) - start : -1;
}

SearchOutcome RegularExpression::MatchWithin(const char* line, int length, int start,
                                             MatchRegisters& registers, WorkCredit& credit) const {
  const BoundedText text{line, length, false};
  if (hazards_.search) return FindBounded(text, start, start, registers, credit);
  GroupRange match;
  const SearchOutcome outcome = FindWhole(text, start, start, match, credit);
  if (outcome == SearchOutcome::kFound) FindGroups(text, match, registers, credit);
  return outcome;
}

bool RegularExpression::CanSearchWord(int length) const {
  if (IsForEngine(length)) return false;
  return !Bounded().HasAnchors() && (hazards_.search || !Bounded().CanBeEmpty());
}

SearchOutcome RegularExpression::SearchWord(const WordRule& rule, int from, GroupRange& match,
                                            WorkCredit& credit) const {
  const BoundedText text{rule.line, rule.length, true};
  if (!hazards_.search) {
    return Bounded().FindWhole(text, from, rule.length, match, credit, &rule);
  }
  std::vector<GroupRange> ranges;
  const SearchOutcome outcome = Bounded().Find(text, from, rule.length, ranges, credit, &rule);
  if (outcome == SearchOutcome::kFound) match = ranges[0];
  return outcome;
}

bool RegularExpression::CanMatchWord(int length) const {
  return !hazards_.search && !IsForEngine(length) && !Bounded().HasAnchors();
}

SearchOutcome RegularExpression::MatchWord(const WordRule& rule, int start, GroupRange& match,
                                           WorkCredit& credit) const {
  const BoundedText text{rule.line, rule.length, true};
  return Bounded().FindWhole(text, start, start, match, credit, &rule);
}

std::unique_ptr<LineGroups> RegularExpression::MakeLineGroups() const {
  if (hazards_.search || hazards_.groups || !Bounded().CanReadLines()) return nullptr;
  return Bounded().MakeLineGroups();
}

SearchOutcome RegularExpression::FindGroups(const BoundedText& text, GroupRange match,
                                            MatchRegisters& registers, WorkCredit& credit) const {
  SearchOutcome outcome = SearchOutcome::kNotFound;
  if (!registers.wholeMatchOnly_) {
    const bool isBounded = hazards_.groups || !IsForEngine(text.length);
    outcome = isBounded ? FillBounded(text, match, registers, credit)
                        : FillByEngine(text, match, registers);
  }
  if (outcome == SearchOutcome::kFound) return outcome;
  std::vector<GroupRange> ranges(GroupCount() + 1);
  ranges[0] = match;
  registers.Set(ranges);
  return registers.wholeMatchOnly_ ? SearchOutcome::kFound : outcome;
}

/// Finds a match and its groups without the engine.
SearchOutcome RegularExpression::FindBounded(const BoundedText& text, int from, int lastStart,
                                             MatchRegisters& registers, WorkCredit& credit) const {
  std::vector<GroupRange> ranges;
  const SearchOutcome outcome = Bounded().Find(text, from, lastStart, ranges, credit);
  if (outcome == SearchOutcome::kFound) registers.Set(ranges);
  return outcome;
}

/// Finds the range of the match alone, of a pattern that the engine may search for.
SearchOutcome RegularExpression::FindWhole(const BoundedText& text, int from, int lastStart,
                                           GroupRange& match, WorkCredit& credit) const {
  if (credit.IsSpent()) return SearchOutcome::kGaveUp;
  return IsForEngine(text.length) ? FindWholeByEngine(text, from, lastStart, match, credit)
                                  : Bounded().FindWhole(text, from, lastStart, match, credit);
}

SearchOutcome RegularExpression::FindWholeByEngine(const BoundedText& text, int from, int lastStart,
                                                   GroupRange& match, WorkCredit& credit) const {
  const std::int64_t bytes = text.length - from;
  const std::int64_t tries = bytes <= kMaxEngineLine ? kMaxEngineLine / 16 : bytes;
  if (!credit.Spend(kEngineCallUnits + bytes * tries)) return SearchOutcome::kGaveUp;
  MatchRegisters whole(true);
  if (text.endsLine) {
    match.start = SearchEngine(text.begin, text.length, from, lastStart, whole);
  } else {
    const int matched = MatchEngineWithin(text.begin, text.length, from, whole);
    match.start = matched < 0 ? -1 : from;
  }
  match.end = whole.End(0);
  return match.start >= 0 ? SearchOutcome::kFound : SearchOutcome::kNotFound;
}

/// Asks the engine for `match` with its groups.
SearchOutcome RegularExpression::FillByEngine(const BoundedText& text, GroupRange match,
                                              MatchRegisters& registers) const {
  const int length = text.length;
  const int start = text.endsLine
                        ? SearchEngine(text.begin, length, match.start, match.start, registers)
                        : MatchEngineWithin(text.begin, length, match.start, registers);
  return start >= 0 && registers.End(0) == match.end ? SearchOutcome::kFound
                                                     : SearchOutcome::kNotFound;
}

/// Looks for the groups of `match` without the engine.
SearchOutcome RegularExpression::FillBounded(const BoundedText& text, GroupRange match,
                                             MatchRegisters& registers, WorkCredit& credit) const {
  std::vector<GroupRange> ranges;
  const SearchOutcome outcome = Bounded().FindGroups(text, match, ranges, credit);
  if (outcome != SearchOutcome::kFound) return outcome;
  ranges[0] = match;
  registers.Set(ranges);
  return outcome;
}

int RegularExpression::SearchEngine(const char* line, int length, int from, int lastStart,
                                    MatchRegisters& registers) const {
  const std::lock_guard<std::mutex> alone(program_.lock);
  RenewIfDamaged();
  UseRegisters(registers);
  program_.buffer.not_eol = 0;
  return Checked(
      re_search(&program_.buffer, line, length, from, lastStart - from, &registers.registers_));
}

int RegularExpression::MatchEngineWithin(const char* line, int length, int start,
                                         MatchRegisters& registers) const {
  const std::lock_guard<std::mutex> alone(program_.lock);
  RenewIfDamaged();
  UseRegisters(registers);
  program_.buffer.not_eol = 1;
  return Checked(re_match(&program_.buffer, line, length, start, &registers.registers_));
}

/// Looks at an answer of the engine's search or match, which is -2 when memory ran out: a line that
/// was not searched to its end must not count as one without a match.
int RegularExpression::Checked(int answer) const {
  if (answer != -2) return answer;
  program_.isDamaged = true;
  throw std::bad_alloc();
}

void RegularExpression::RenewIfDamaged() const {
  if (!program_.isDamaged) return;
  re_pattern_buffer renewed{};
  MessageNumber error = MessageNumber::kNone;
  const bool isRenewed = CompileProgram(pattern_, tree_->translate, renewed, error);
  if (isRenewed) std::swap(program_.buffer, renewed);
  FreeRegexBuffer(renewed);
  if (!isRenewed) throw std::bad_alloc();
  program_.isDamaged = false;
}

void RegularExpression::UseRegisters(MatchRegisters& registers) const {
  if (registers.wholeMatchOnly_) {
    program_.buffer.regs_allocated = REGS_FIXED;
  } else {
    program_.buffer.regs_allocated =
        registers.registers_.num_regs == 0 ? REGS_UNALLOCATED : REGS_REALLOCATE;
  }
}

}  // namespace trovex
