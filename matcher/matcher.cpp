// The matcher's compile driver: one pattern through all stages.

#include "matcher/matcher.h"

#include "matcher/automata/position_graph.h"
#include "matcher/costs.h"
#include "matcher/engine/pattern_limits.h"
#include "matcher/limits.h"
#include "matcher/line_filter/automaton_compiler.h"
#include "matcher/line_filter/automaton_parser.h"
#include "matcher/pattern/engine_stream.h"
#include "matcher/pattern/pattern_syntax.h"
#include "matcher/pattern/required_string.h"
#include "matcher/pattern/run_pattern.h"
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

/// The pattern as the line filter gets it, with the word or line condition around it. The engine gets
/// it bare, so that the groups keep their numbers. Where both conditions are asked for, the prefix
/// is that of words and the suffix that of lines.
std::string LineFilterPattern(std::string_view pattern, const PatternOptions& options) {
  if (!options.matchWords && !options.matchLines) return std::string(pattern);
  std::string wrapped = options.matchWords ? "(^|[^0-9A-Za-z_])(" : "^(";
  wrapped += pattern;
  wrapped += options.matchLines ? ")$" : ")([^0-9A-Za-z_]|$)";
  return wrapped;
}

/// Whether an occurrence of `entry` is a match. A string with a line feed is none, wherever it occurs:
/// no line holds it.
bool IsExact(const MustEntry& entry) {
  return entry.exact && entry.text.find('\n') == std::string::npos;
}

/// Makes the keyword set of the line filter's required strings. A fault of it takes the place of any
/// earlier one.
void BuildKeywordPrefilter(CompiledPattern& compiled, bool foldCase, MessageNumber& fault,
                           CompileBudget& budget) {
  const std::vector<MustEntry>& entries = compiled.lineFilter.mustList;
  if (entries.empty()) return;
  budget.ChargeBytes(static_cast<std::int64_t>(entries[0].text.size()) * kBytesPerKeywordByte);
  const ByteMap lowerCase = foldCase ? LowerCaseMap() : ByteMap{};
  compiled.keywords = KeywordSetCreate(foldCase ? &lowerCase : nullptr);
  if (compiled.keywords == nullptr) {
    fault = MessageNumber::kMemoryOverflow;
    return;
  }
  for (const MustEntry& entry : entries) {
    const MessageNumber error =
        KeywordSetAdd(*compiled.keywords, entry.text.data(), static_cast<int>(entry.text.size()));
    if (error != MessageNumber::kNone) fault = error;
  }
  compiled.keywordsAreExact = std::all_of(entries.begin(), entries.end(), IsExact);
  KeywordSetPrepare(*compiled.keywords);
}

/// How the line filter reads the pattern that `stream` is the engine's reading of.
Reading ReadingOf(const TokenStream& stream, std::string_view pattern,
                  const PatternOptions& options, const CompiledPattern& compiled) {
  if (compiled.lineFilter.isOpen)
    return Reading::kAlike;  // every line passes, wherever a match lies
  if (!compiled.lineFilter.anchorsAreComplete) return Reading::kDifferent;
  PatternAutomaton bare;  // without the word condition around it
  bare.syntax = compiled.lineFilter.syntax;
  const bool isWrapped = options.matchWords || options.matchLines;
  if (isWrapped) AutomatonParse(pattern.data(), pattern.size(), bare);
  const PatternAutomaton& automaton = isWrapped ? bare : compiled.lineFilter;
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

GraphOptions GraphOptionsFor(bool words, const CharSet& wordBytes) {
  GraphOptions options = {.words = words, .wordBytes = wordBytes};
  options.mostPositions = kMaxLocatorEdges;
  options.mostEdges = kMaxLocatorEdges;
  return options;
}

/// The graph of `tree` within a part of the budget; null where there is none.
std::unique_ptr<const PositionGraph> MakeGraphWithin(CompileBudget& budget, const SyntaxTree& tree,
                                                     GraphOptions options) {
  CompileBudget part = budget.Part(kMaxLocatorSteps, kMaxLocatorBytes);
  options.budget = &part;
  std::unique_ptr<const PositionGraph> graph;
  try {
    graph = MakePositionGraph(tree, options);
  } catch (const BudgetExhausted&) {
  }
  budget.ChargeSteps(part.StepsUsed() +
                     kGraphStepsPerSet * static_cast<std::int64_t>(tree.sets.size()));
  if (graph != nullptr) budget.ChargeBytes(part.BytesHeld());
  return graph;
}

/// The graph of `tree`; null where automata made of it could not answer as the engine does, or the budget
/// does not allow it.
std::unique_ptr<const PositionGraph> MakeGraph(const SyntaxTree& tree, bool words,
                                               CompileBudget& budget) {
  std::unique_ptr<const PositionGraph> graph =
      MakeGraphWithin(budget, tree, GraphOptionsFor(words, WordBytes(words, tree)));
  // A match shortened to nothing is no match, a match of nothing is one: only the engine knows.
  if (graph != nullptr && words && graph->canBeEmpty) return nullptr;
  return graph;
}

/// Makes the locator, where automata can answer for the engine.
void BuildLocator(CompiledPattern& compiled, std::string_view pattern, const SyntaxTree& tree,
                  const PatternOptions& options, CompileBudget& budget) {
  if (options.matchLines) return;  // the line filter alone knows that condition
  const std::optional<TokenStream> stream = WriteTokenStream(tree);
  if (!stream) return;
  // Shortened lines, in which words are looked for again, end where no anchor but "$" is told so.
  const bool words = options.matchWords;
  if (words && (stream->hasWordAnchors || stream->hasTextEnd)) return;
  std::optional<WordScan> list = MakeWordScan(tree, words, budget);
  std::unique_ptr<const PositionGraph> graph;
  if (!list || list->Longest() > kLongestWordAlone) {
    graph = MakeGraph(tree, words, budget);
    if (graph == nullptr) return;
  }
  compiled.standsAlone = !stream->hasAnchors;
  compiled.lineFilterReading = ReadingOf(*stream, pattern, options, compiled);
  const CharSet wordBytes = WordBytes(words, tree);
  if (list) {
    compiled.locator =
        std::make_unique<LocatorProgram>(std::move(*list), words, wordBytes, std::move(graph));
    return;
  }
  auto locator = std::make_unique<LocatorProgram>(std::move(graph), words,
                                                  FindRequiredString(tree, budget), RunsOf(tree));
  locator->ConsiderList(tree, GraphOptionsFor(words, wordBytes), budget);
  locator->PrepareLooks(budget);
  compiled.locator = std::move(locator);
}

/// Makes the search for a pattern with back-references, where it can answer for the engine.
void BuildReferences(CompiledPattern& compiled, std::string_view pattern, const SyntaxTree& tree,
                     const PatternOptions& options, CompileBudget& budget) {
  const bool hasReferences =
      std::any_of(tree.nodes.begin(), tree.nodes.end(),
                  [](const SyntaxNode& node) { return node.kind == SyntaxKind::kBackReference; });
  // Which shorter match is a whole word, or a whole line, only the engine knows.
  if (!hasReferences || options.matchLines || options.matchWords) return;
  if (tree.nodes.size() > kMaxWalkedNodes) return;
  const auto nodes = static_cast<std::int64_t>(tree.nodes.size());
  budget.ChargeSteps(kWalkStepsPerNode * nodes);
  budget.ChargeBytes(kWalkBytesPerNode * nodes);
  const ReferenceOptions references = {.wordBytes = WordBytes(false, tree),
                                       .comparedAs = tree.translate};
  auto search = std::make_unique<const ReferenceSearch>(tree, references);
  if (!search->IsFast()) return;
  compiled.references = std::move(search);
  auto screen = std::make_unique<TextScreen>();
  screen->Consider({FindRequiredString(WithoutReferences(tree, tree.translate), budget)});
  compiled.ownScreen = std::move(screen);
  // Up to its first back-reference, which the line filter lets pass, a match must be read alike.
  const std::optional<TokenStream> stream = WriteTokenStream(tree, References::kWritten);
  if (stream) compiled.lineFilterReading = ReadingOf(*stream, pattern, options, compiled);
}

/// Makes the locator alone of a list of words that the engine would take long for, or could not be given. It
/// leaves nothing to ask the engine: there are no groups. False where the pattern is none.
bool BuildListAlone(CompiledPattern& compiled, const SyntaxTree& tree,
                    const PatternOptions& options, CompileBudget& budget) {
  const bool isPlain =
      std::none_of(tree.nodes.begin(), tree.nodes.end(),
                   [](const SyntaxNode& node) { return node.kind == SyntaxKind::kAnchor; });
  if (!isPlain || options.matchLines || tree.faulty || tree.groupCount > 0) return false;
  const double size = MeasurePattern(tree).size;
  if (size <= kMaxEngineListSize || size > kMaxListSize) return false;
  std::optional<WordScan> list = MakeWordScan(tree, options.matchWords, budget);
  if (!list || list->Longest() > kLongestWordAlone) return false;
  compiled.lineFilterReading = Reading::kAlike;
  compiled.standsAlone = true;
  compiled.locator = std::make_unique<LocatorProgram>(std::move(*list), options.matchWords,
                                                      WordBytes(options.matchWords, tree), nullptr);
  compiled.searchable = true;
  return true;
}

/// Makes the line filter, for the pattern `wrapped` in its conditions. Where that
/// would be too much, every line goes to the engine.
void BuildLineFilter(PatternAutomaton& automaton, const std::string& wrapped,
                     CompileBudget& budget) {
  automaton.budget = budget.Part(kMaxLineFilterSteps, kMaxLineFilterBytes);
  try {
    AutomatonCompile(wrapped.data(), wrapped.size(), automaton, true);
    budget.Settle(automaton.budget);
  } catch (const BudgetExhausted&) {
    budget.ChargeSteps(automaton.budget.StepsUsed());
    automaton.budget = CompileBudget::Unlimited();
    CompileOpenAutomaton(automaton);
  }
}

/// Compiles `pattern` into `compiled`, which is empty, and returns the fault. Throws BudgetExhausted.
MessageNumber CompileWithin(CompileBudget& budget, std::string_view pattern,
                            const PatternOptions& options, CompiledPattern& compiled) {
  budget.ChargeSteps(kStepsPerPattern +
                     kStepsPerPatternByte * static_cast<std::int64_t>(pattern.size()));
  budget.ChargeBytes(kBytesPerPattern + static_cast<std::int64_t>(pattern.size()));

  // The table follows the host's locale; the engine itself must not.
  const ByteMap upperCase = options.foldCase ? UpperCaseMap() : ByteMap{};
  const auto tree = std::make_shared<const SyntaxTree>(
      ParsePattern(pattern.data(), pattern.size(), options.foldCase ? &upperCase : nullptr));
  budget.ChargeBytes(static_cast<std::int64_t>(tree->nodes.size() * sizeof(SyntaxNode) +
                                               tree->sets.size() * sizeof(CharSet)));
  if (BuildListAlone(compiled, *tree, options, budget)) return MessageNumber::kNone;
  MessageNumber fault = compiled.regex.Compile(pattern, tree, budget);
  if (fault != MessageNumber::kNone) return fault;

  AutomatonSetSyntax(compiled.lineFilter, kPatternSyntax, options.foldCase);
  // A match that is no whole word is looked for again in a shortened line.
  compiled.lineFilter.syntax.endIsOpen = options.matchWords;
  BuildLineFilter(compiled.lineFilter, LineFilterPattern(pattern, options), budget);
  fault = compiled.lineFilter.fault;
  BuildKeywordPrefilter(compiled, options.foldCase, fault, budget);
  compiled.searchable = compiled.regex.IsCompiled() && fault == MessageNumber::kNone;
  if (compiled.searchable) {
    BuildLocator(compiled, pattern, *tree, options, budget);
    BuildReferences(compiled, pattern, *tree, options, budget);
  }
  return fault;
}

void ChooseScreen(CompiledPattern& compiled) {
  const bool isLocated = compiled.isLookedAt;
  const TextScreen* const screen =
      isLocated ? &compiled.locator->Screen() : compiled.ownScreen.get();
  if (!compiled.searchable || screen == nullptr || !screen->IsOfUse()) return;
  compiled.screen = screen;
  compiled.screensWords = isLocated && compiled.locator->Words();
}

}  // namespace

PatternWork::PatternWork(std::shared_ptr<const CompiledPattern> compiled)
    : pattern(std::move(compiled)) {
  if (pattern->locator != nullptr) locator = std::make_unique<MatchLocator>(*pattern->locator);
  if (pattern->references != nullptr)
    references = std::make_unique<ReferenceRun>(*pattern->references);
}

CompileResult CompileMatcher(std::string_view pattern, const PatternOptions& options,
                             CompileBudget& budget) {
  const auto compiled = std::make_shared<CompiledPattern>();
  try {
    const MessageNumber fault = CompileWithin(budget, pattern, options, *compiled);
    compiled->isLookedAt = compiled->searchable && compiled->locator != nullptr &&
                           (!compiled->keywordsAreExact || CanLocateKeyword(*compiled));
    ChooseScreen(*compiled);
    return {compiled, fault};
  } catch (const BudgetExhausted&) {
    return {std::make_shared<CompiledPattern>(), MessageNumber::kMemoryOverflow};
  }
}

CompileResult CompileMatcher(std::string_view pattern, const PatternOptions& options) {
  CompileBudget budget;
  return CompileMatcher(pattern, options, budget);
}

}  // namespace trovex
