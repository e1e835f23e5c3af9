// Compiling with, searching with and freeing what the engine made of a pattern.

#include "matcher/regular_expression.h"

#include <locale.h>
#include <array>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <new>

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
  if (wholeMatchOnly_) return;
  std::free(registers_.start);
  std::free(registers_.end);
}

RegularExpression::~RegularExpression() {
  // Frees the compiled program and the translate table; both may be null.
  regfree(&buffer_);
}

MessageNumber RegularExpression::Compile(const char* pattern, std::size_t length,
                                         const ByteMap* translate) {
  if (translate != nullptr) {
    // The engine frees the table, with free(), together with the program.
    buffer_.translate = static_cast<unsigned char*>(std::malloc(translate->size()));
    if (buffer_.translate == nullptr) throw std::bad_alloc();
    std::memcpy(buffer_.translate, translate->data(), translate->size());
  }
  const CLocaleScope cLocale;
  // The syntax word is the whole process's; the host may have one of its own.
  const reg_syntax_t hostSyntax = re_set_syntax(kPatternSyntax);
  const char* sentence = re_compile_pattern(pattern, length, &buffer_);
  re_set_syntax(hostSyntax);
  const MessageNumber error =
      sentence == nullptr ? MessageNumber::kNone : MessageForRegexError(ErrorCodeOf(sentence));
  compiled_ = sentence == nullptr;
  return error;
}

int RegularExpression::Search(const char* line, int length, int from, MatchRegisters& registers) {
  UseRegisters(registers);
  buffer_.not_eol = 0;
  return re_search(&buffer_, line, length, from, length - from, &registers.registers_);
}

int RegularExpression::MatchWithin(const char* line, int length, int start,
                                   MatchRegisters& registers) {
  UseRegisters(registers);
  buffer_.not_eol = 1;
  return re_match(&buffer_, line, length, start, &registers.registers_);
}

void RegularExpression::UseRegisters(MatchRegisters& registers) {
  if (registers.wholeMatchOnly_) {
    buffer_.regs_allocated = REGS_FIXED;
  } else {
    buffer_.regs_allocated =
        registers.registers_.num_regs == 0 ? REGS_UNALLOCATED : REGS_REALLOCATE;
  }
}

}  // namespace trovex
