// The matcher's state and its compile driver.

#include "matcher/matcher.h"

#include "matcher/automata/position_graph.h"
#include "matcher/limits.h"
#include "matcher/line_filter/automaton_compiler.h"
#include "matcher/line_filter/automaton_parser.h"
#include "matcher/module_state.h"
#include "matcher/pattern/engine_stream.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/pattern/required_string.h"
#include "text/case_helpers.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex {

namespace {

constinit ModuleState<MatcherState> matcherState;

/// The table under which the engine reads upper and lower case as the same: everything is upper.
ByteMap UpperCaseMap() {
  ByteMap map{};
  for (std::size_t c = 0; c < map.size(); ++c) {
    map[c] = static_cast<unsigned char>(ToUpperGer(static_cast<int>(c)));
  }
  return map;
}

/// The table under which the keyword set does: everything is lower.
ByteMap LowerCaseMap() {
  ByteMap map{};
  for (std::size_t i = 0; i < map.size(); ++i) {
    const int c = static_cast<int>(i);
    map[i] = static_cast<unsigned char>(IsUpperGer(c) ? ToLowerGer(c) : c);
  }
  return map;
}

/// The pattern as the automaton gets it, with the word or line condition around it. The engine gets
/// it bare, so that the groups keep their numbers. Where both conditions are asked for, the prefix
/// is that of words and the suffix that of lines.
std::string AutomatonPattern(std::string_view pattern, const MatcherState& matcher) {
  if (!matcher.matchWords && !matcher.matchLines) return std::string(pattern);
  std::string wrapped = matcher.matchWords ? "(^|[^0-9A-Za-z_])(" : "^(";
  wrapped += pattern;
  wrapped += matcher.matchLines ? ")$" : ")([^0-9A-Za-z_]|$)";
  return wrapped;
}

/// Whether an occurrence of `entry` is a match. A string with a line feed is none, wherever it occurs:
/// no line holds it.
bool IsExact(const MustEntry& entry) {
  return entry.exact && entry.text.find('\n') == std::string::npos;
}

/// Makes the keyword set of the automaton's required strings.
void BuildKeywordPrefilter(CompiledPattern& compiled, bool foldCase, CompileBudget& budget) {
  const std::vector<MustEntry>& entries = compiled.automaton.mustEntries;
  if (entries.empty()) return;
  constexpr std::size_t kBytesPerKeywordByte = 200;
  budget.ChargeBytes(static_cast<std::int64_t>(entries[0].text.size() * kBytesPerKeywordByte));
  const ByteMap lowerCase = foldCase ? LowerCaseMap() : ByteMap{};
  compiled.keywords = KeywordSetCreate(foldCase ? &lowerCase : nullptr);
  if (compiled.keywords == nullptr) {
    SetCompileError(MessageNumber::kMemoryOverflow);
    return;
  }
  for (const MustEntry& entry : entries) {
    const MessageNumber error =
        KeywordSetAdd(*compiled.keywords, entry.text.data(), static_cast<int>(entry.text.size()));
    if (error != MessageNumber::kNone) SetCompileError(error);
  }
  compiled.keywordsAreExact = std::all_of(entries.begin(), entries.end(), IsExact);
  KeywordSetPrepare(*compiled.keywords);
}

/// How the automaton reads the pattern that `stream` is the engine's reading of.
Reading ReadingOf(const TokenStream& stream, std::string_view pattern,
                  const CompiledPattern& compiled) {
  if (compiled.automaton.isOpen)
    return Reading::kAlike;  // what it lets pass, it lets pass anywhere
  if (!compiled.automaton.anchorsAreComplete) return Reading::kDifferent;
  PatternAutomaton bare;  // without the word condition around it
  const bool isWrapped = Matcher().matchWords || Matcher().matchLines;
  if (isWrapped) AutomatonParse(pattern.data(), pattern.size(), bare);
  const PatternAutomaton& automaton = isWrapped ? bare : compiled.automaton;
  if (stream.tokens != automaton.tokens || stream.sets != automaton.sets) {
    return Reading::kDifferent;
  }
  return stream.hasWordAnchors ? Reading::kAlikeButForUnderscores : Reading::kAlike;
}

/// The bytes that words are made of: where whole words are asked for, as the host's locale has it; in
/// anchors, as the engine has it.
CharSet WordBytes(bool words, const SyntaxTree& tree) {
  CharSet bytes;
  for (std::size_t c = 0; c < bytes.size(); ++c) {
    bytes.set(c,
              words ? IsWordConstituent(static_cast<int>(c)) : IsEngineWordByte(tree.translate[c]));
  }
  return bytes;
}

/// The graph of `tree`; null where automata made of it could not answer as the engine does, or the budget
/// does not allow it.
std::unique_ptr<const PositionGraph> MakeGraph(const SyntaxTree& tree, const TokenStream& stream,
                                               CompileBudget& budget) {
  const bool words = Matcher().matchWords;
  // Shortened lines, in which words are looked for again, end where no anchor but "$" is told so.
  if (words && (stream.hasWordAnchors || stream.hasTextEnd)) return nullptr;
  GraphOptions options = {.words = words, .wordBytes = WordBytes(words, tree)};
  // What positions and edges take, with what is made of them: measured.
  constexpr std::int64_t kBytesPerPosition = 200;
  constexpr std::int64_t kBytesPerEdge = 24;
  constexpr std::int64_t kStepsPerEdge = 20;
  constexpr std::int64_t kStepsPerSet = 1'000;
  const CompileBudget part = budget.Part(INT64_MAX, INT64_MAX);
  const auto most = [&](std::int64_t bytes) {
    return std::min(kMaxLocatorEdges, static_cast<std::size_t>(part.BytesLeft() / bytes));
  };
  options.mostPositions = most(kBytesPerPosition);
  options.mostEdges = most(kBytesPerEdge);
  std::unique_ptr<const PositionGraph> graph = MakePositionGraph(tree, options);
  if (graph != nullptr) {
    const auto edges = static_cast<std::int64_t>(graph->next.EdgeCount());
    budget.ChargeSteps(kStepsPerEdge * edges +
                       kStepsPerSet * static_cast<std::int64_t>(tree.sets.size()));
    budget.ChargeBytes(kBytesPerPosition * graph->size + kBytesPerEdge * edges);
  }
  // A match shortened to nothing is no match, a match of nothing is one: only the engine knows.
  if (graph != nullptr && words && graph->canBeEmpty) return nullptr;
  return graph;
}

/// Makes the locator, where automata can answer for the engine.
void BuildLocator(CompiledPattern& compiled, std::string_view pattern, const ByteMap* translate,
                  CompileBudget& budget) {
  if (Matcher().matchLines) return;  // the automaton alone knows that condition
  const SyntaxTree tree = ParsePattern(pattern.data(), pattern.size(), translate);
  const std::optional<TokenStream> stream = WriteTokenStream(tree);
  if (!stream) return;
  std::unique_ptr<const PositionGraph> graph = MakeGraph(tree, *stream, budget);
  if (graph == nullptr) return;
  compiled.standsAlone = !stream->hasAnchors;
  compiled.automatonReading = ReadingOf(*stream, pattern, compiled);
  compiled.locatorProgram = std::make_unique<LocatorProgram>(std::move(graph), Matcher().matchWords,
                                                             FindRequiredString(tree, budget));
  compiled.locator = std::make_unique<MatchLocator>(*compiled.locatorProgram);
}

/// Makes the automaton that throws out lines, for the pattern `wrapped` in its conditions. Where that
/// would be too much, every line goes to the engine.
void BuildLineFilter(CompiledPattern& compiled, const std::string& wrapped, CompileBudget& budget) {
  PatternAutomaton& automaton = compiled.automaton;
  automaton.budget = budget.Part(kMaxLineFilterSteps, kMaxLineFilterBytes);
  try {
    AutomatonCompile(wrapped.data(), wrapped.size(), automaton, true);
    budget.Settle(automaton.budget);
  } catch (const BudgetExhausted&) {
    budget.ChargeSteps(automaton.budget.StepsUsed());
    automaton = PatternAutomaton();
    CompileOpenAutomaton(automaton);
  }
}

/// Compiles `pattern` under the flags of `matcher` into `compiled`, which is empty. Throws
/// BudgetExhausted.
MessageNumber CompileWithin(CompileBudget& budget, std::string_view pattern,
                            const MatcherState& matcher, CompiledPattern& compiled) {
  // What any pattern takes.
  constexpr std::int64_t kStepsPerPattern = 5'000;
  constexpr std::int64_t kBytesPerPattern = 10 << 10;
  constexpr std::int64_t kStepsPerByte = 60;
  budget.ChargeSteps(kStepsPerPattern + kStepsPerByte * static_cast<std::int64_t>(pattern.size()));
  budget.ChargeBytes(kBytesPerPattern + static_cast<std::int64_t>(pattern.size()));

  // The table follows the host's locale; the engine itself must not.
  const ByteMap upperCase = matcher.foldCase ? UpperCaseMap() : ByteMap{};
  const ByteMap* const translate = matcher.foldCase ? &upperCase : nullptr;
  const MessageNumber error =
      compiled.regex.Compile(pattern.data(), pattern.size(), translate, budget);
  if (error != MessageNumber::kNone) return error;

  AutomatonSetSyntax(kPatternSyntax, matcher.foldCase);
  // A match that is no whole word is looked for again in a shortened line.
  CurrentAutomatonSyntax().endIsOpen = matcher.matchWords;
  BuildLineFilter(compiled, AutomatonPattern(pattern, matcher), budget);
  BuildKeywordPrefilter(compiled, matcher.foldCase, budget);
  compiled.searchable = compiled.regex.IsCompiled() && matcher.pendingError == MessageNumber::kNone;
  if (compiled.searchable) BuildLocator(compiled, pattern, translate, budget);
  return MessageNumber::kNone;
}

}  // namespace

MatcherState& Matcher() {
  return matcherState.Get();
}

void SetCompileError(MessageNumber error) {
  Matcher().pendingError = error;
}

MessageNumber CompileMatcher(const char* pattern, std::size_t length) {
  MatcherState& matcher = Matcher();
  CompileBudget alone;
  CompileBudget& budget = matcher.expressionBudget != nullptr ? *matcher.expressionBudget : alone;
  matcher.installed = std::make_shared<CompiledPattern>();
  try {
    return CompileWithin(budget, {pattern, length}, matcher, *matcher.installed);
  } catch (const BudgetExhausted&) {
    matcher.installed = std::make_shared<CompiledPattern>();
    return MessageNumber::kMemoryOverflow;
  }
}

}  // namespace trovex
