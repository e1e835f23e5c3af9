// The exported plain functions on one pattern and one text.
//
// They are thin: null pointers, flags and the way from message numbers to texts are dealt with
// here, the work is the matcher's. Memory that runs out ends here too, as a message or as "not
// found": no exception crosses the library's border.

#include "api/messages.h"
#include "expr/item_blocks.h"
#include "matcher/matcher.h"
#include "text/case_helpers.h"

#include <trovex/functions.h>
#include <cstring>
#include <new>

using trovex::LoadMessageText;
using trovex::Matcher;
using trovex::MatcherState;
using trovex::MessageNumber;

const char* Compile(const char* pattern, int foldCase, int matchWords) {
  if (pattern == nullptr) return nullptr;
  MatcherState& matcher = Matcher();
  matcher.foldCase = foldCase != 0;
  matcher.matchWords = matchWords != 0;
  matcher.matchLines = false;
  matcher.pendingError = MessageNumber::kNone;
  try {
    const MessageNumber error = trovex::CompileMatcher(pattern, std::strlen(pattern));
    return trovex::MessageTextOrNull(error != MessageNumber::kNone ? error : matcher.pendingError);
  } catch (const std::bad_alloc&) {
    matcher.installed.reset();
    return LoadMessageText(MessageNumber::kMemoryOverflow);
  }
}

int Search(const char* text, int length, int* start, int* end, int subexpression) {
  if (text == nullptr || start == nullptr || end == nullptr) return 0;
  try {
    trovex::MatchRange range{};
    if (!trovex::ExecuteMatcher(text, length, subexpression, range)) return 0;
    *start = range.start;
    *end = range.end;
    return 1;
  } catch (const std::bad_alloc&) {
    return 0;
  }
}

int GetSubExpressionCount(void) {
  const MatcherState& matcher = Matcher();
  return matcher.installed ? static_cast<int>(matcher.installed->regex.GroupCount()) : 0;
}

void FreeBuffersInTrovexDll(void) {
  Matcher().installed.reset();
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
