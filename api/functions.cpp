// The exported plain functions on one pattern and one text.
//
// They are thin: null pointers, flags and the way from message numbers to texts are dealt with
// here, the work is the matcher's. Memory that runs out ends here too, as a message or as "not
// found": no exception crosses the library's border.

#include "api/matcher_state.h"
#include "api/messages.h"
#include "expr/item_blocks.h"
#include "text/case_helpers.h"

#include <trovex/functions.h>
#include <new>
#include <utility>

namespace trovex {

constinit ModuleState<MatcherState> matcherOfModule;

void SetCompileError(MessageNumber error) {
  Matcher().pendingError = error;
}

bool SearchInstalled(const char* text, int length, int group, MatchRange& range, TextNotes* notes) {
  const MatcherState& matcher = Matcher();
  if (matcher.installed == nullptr) return false;
  const SearchConditions conditions = ConditionsOf(matcher);
  if (IsScreenedOut(*matcher.installed->pattern, conditions, text, length)) return false;
  const MatchResult result =
      ExecuteMatcher(*matcher.installed, conditions, text, length, group, notes);
  if (result.outcome != SearchOutcome::kFound) return false;
  range = result.range;
  return true;
}

}  // namespace trovex

using trovex::LoadMessageText;
using trovex::Matcher;
using trovex::MatcherState;
using trovex::MessageNumber;

const char* Compile(const char* pattern, int foldCase, int matchWords) {
  if (pattern == nullptr) return nullptr;
  MatcherState& matcher = Matcher();
  matcher.options = {.foldCase = foldCase != 0, .matchWords = matchWords != 0};
  matcher.pendingError = MessageNumber::kNone;
  matcher.installed.reset();
  try {
    trovex::CompileBudget alone;
    trovex::CompileBudget& budget =
        matcher.expressionBudget != nullptr ? *matcher.expressionBudget : alone;
    trovex::CompileResult result = trovex::CompileMatcher(pattern, matcher.options, budget);
    matcher.installed = std::make_shared<trovex::PatternWork>(std::move(result.pattern));
    if (result.fault != MessageNumber::kNone) trovex::SetCompileError(result.fault);
    return trovex::MessageTextOrNull(matcher.pendingError);
  } catch (const std::bad_alloc&) {
    return LoadMessageText(MessageNumber::kMemoryOverflow);
  }
}

int Search(const char* text, int length, int* start, int* end, int subexpression) {
  if (text == nullptr || start == nullptr || end == nullptr) return 0;
  try {
    trovex::MatchRange range{};
    if (!trovex::SearchInstalled(text, length, subexpression, range)) return 0;
    *start = range.start;
    *end = range.end;
    return 1;
  } catch (const std::bad_alloc&) {
    return 0;
  }
}

int GetSubExpressionCount(void) {
  const MatcherState& matcher = Matcher();
  return matcher.installed ? static_cast<int>(matcher.installed->pattern->regex.GroupCount()) : 0;
}

void FreeBuffersInTrovexDll(void) {
  Matcher().installed.reset();
  Matcher().chain.reset();
  trovex::FreeStockedItemBlocks();
}

void ReplaceChars(char* text) {
  if (text == nullptr) return;
  for (char* p = text; *p != '\0'; ++p) {
    if (*p == '\r') *p = '\n';
    if (*p == '\t') *p = ' ';
  }
}

int IsAlphaGer(int character) {
  if (character < 0 || character > 255) return 0;
  return trovex::IsLetterGer(character) ? 1 : 0;
}
