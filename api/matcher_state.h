// The pattern matcher as the plain functions know it: one installed pattern, and the flags of the latest
// compile.

#ifndef TROVEX_API_MATCHER_STATE_H
#define TROVEX_API_MATCHER_STATE_H

#include "api/module_state.h"
#include "expr/string_chain.h"
#include "matcher/budget.h"
#include "matcher/matcher.h"
#include "resources/string_table.h"

#include <memory>

namespace trovex {

/// All state of the pattern matcher that outlives a call.
struct MatcherState {
  /// The installed pattern, with the work space of the one thread that the module serves; null when there is
  /// none.
  std::shared_ptr<PatternWork> installed;

  /// What the latest compile was asked for. An environment does not keep it: a search judges words and
  /// lines as the latest compile left them, whichever pattern is installed. No host can ask for whole
  /// lines; only the tests do.
  PatternOptions options;

  /// Every line goes to the engine in turn. No host can set it.
  bool engineOnly = false;

  /// What the compiles of one expression share; null where a pattern is compiled alone.
  CompileBudget* expressionBudget = nullptr;

  /// The chain of strings that was searched last; null when nothing is kept of it.
  std::unique_ptr<StringChain> chain;

  /// What the search of a text by a tree may take together; null where no tree is searched.
  WorkCredit* textCredit = nullptr;

  /// The latest error that was reported through `SetCompileError`; every compile begins without one.
  MessageNumber pendingError = MessageNumber::kNone;
};

extern constinit ModuleState<MatcherState> matcherOfModule;

/// The module's one matcher.
inline MatcherState& Matcher() {
  return matcherOfModule.Get();
}

/// What the latest compile asks of a search.
inline SearchConditions ConditionsOf(const MatcherState& matcher) {
  return {matcher.options.matchWords, matcher.options.matchLines, matcher.engineOnly};
}

/// Lets the patterns that are compiled while the object lives share one budget. Inside of another one it
/// changes nothing: whoever compiles a part of a tree joins the whole.
class SharedCompileBudget {
 public:
  SharedCompileBudget() : isOutermost_(Matcher().expressionBudget == nullptr) {
    if (isOutermost_) Matcher().expressionBudget = &budget_;
  }
  ~SharedCompileBudget() {
    if (isOutermost_) Matcher().expressionBudget = nullptr;
  }
  SharedCompileBudget(const SharedCompileBudget&) = delete;
  SharedCompileBudget& operator=(const SharedCompileBudget&) = delete;

 private:
  CompileBudget budget_;
  const bool isOutermost_;
};

/// The error hook: records `error` as the pending compile error, in place of any earlier one.
void SetCompileError(MessageNumber error);

/// Finds the first match of the installed pattern under the flags of the latest compile, as
/// `ExecuteMatcher` does; none when no pattern is installed. Here the outcome becomes what the plain
/// functions promise: a search that gave up has found nothing. Without a match `range` is untouched.
bool SearchInstalled(const char* text, int length, int group, MatchRange& range,
                     TextNotes* notes = nullptr);

}  // namespace trovex

#endif  // TROVEX_API_MATCHER_STATE_H
