// Conversion, escaping, and what to do about faults.

#include "hosts/cli/expression/expression.h"

#include "hosts/cli/expression/word_list.h"
#include "hosts/cli/files/code_page.h"
#include "hosts/cli/output/terminal.h"
#include "hosts/cli/search/search_plan.h"

#include <algorithm>
#include <utility>

namespace trovex::cli {

namespace {

constexpr std::string_view kPatternCharacters = ".[]*+?{}|^$~";
constexpr std::string_view kOperators = "&!()";

/// The numbers of some faults.
constexpr int kExpressionTooLong = 9814;
constexpr int kNothingToRepeat = 9816;
constexpr int kNoSuchEscape = 9850;

/// What a person can do about the fault of this number.
std::string_view Advice(int number) {
  switch (number) {
    case 9802:
      return "Only characters of the Windows Latin-1 code page can be searched; \".\" finds any.";
    case 9803:
      return "Names are alpha, digit, alnum, upper, lower, space, blank, punct and others.";
    case 9804:
      return "Write \\\\ for a backslash.";
    case 9805:
      return "\\1 to \\9 repeat a bracket that is complete before them.";
    case 9806:
      return "Close it with ], or write \\[ for the character.";
    case 9807:
      return "Close it with ), or write \\( for the character.";
    case 9808:
    case 9809:
      return "Write {3}, {2,} or {2,5}; \\{ is the character.";
    case 9810:
      return "A range is written as in [a-z]; a \"-\" at either end of a set is itself.";
    case kExpressionTooLong:
      return "Put a list of words into a file and search with --file.";
    case 9815:
      return "Write \\) for the character.";
    case kNothingToRepeat:
      return "Write \\ before it for the character.";
    case 9819:
      return "Type something there, or leave the operator out.";
    case 9820:
      return "Write \"& !\" for a NOT, or \\! for the character.";
    case 9821:
    case 9822:
    case 9823:
      return "Type an operand there, or write \\ before the operator for the character.";
    case kNoSuchEscape:
      return "Leave the backslash out, or write \\\\ for a backslash.";
    case 9851:
    case 9852:
      return "Write \"&\" or \"|\" between them.";
    case 9853:
      return "Only a bracket of a pattern, without & and !, can be repeated.";
    case 9854:
      return "Search the parts with ~ one by one, joined by \"&\".";
    case 9855:
    case 9856:
      return "Use \"&\" without a distance there.";
    default:
      return {};
  }
}

/// The same where what is meant shows what was intended: other languages write it so.
std::string_view AdviceAt(int number, std::string_view expression, std::size_t begin) {
  const std::string_view meant = expression.substr(std::min(begin, expression.size()));
  const bool opensGroup = begin > 0 && expression[begin - 1] == '(';
  if (meant.starts_with("&&")) return "A single & is AND.";
  if (meant.starts_with("||")) return "A single | is OR.";
  if (number == kExpressionTooLong && meant.starts_with('{'))
    return "The numbers of a repetition go up to 32767.";
  if (number == kNothingToRepeat && meant.starts_with('*'))
    return "Write .* for any characters, or \\* for the character.";
  if (number == kNothingToRepeat && meant.starts_with('?') && opensGroup)
    return "Groups that begin with (? are not known; write \\? for the character.";
  if (number == kNoSuchEscape && meant.starts_with("\\n"))
    return "A match never crosses the end of a line; & joins what stands on several.";
  return Advice(number);
}

ExpressionFault WithRange(const Fault& fault, std::string expression, std::size_t begin,
                          std::size_t end) {
  const std::string_view advice = AdviceAt(fault.number, expression, begin);
  return {fault.sentence, std::string(advice), std::move(expression), begin, end, true};
}

/// The fault of joined expressions and words as one of the part that is meant; `before` bytes stand before
/// what was joined. A fault that is about more than one of them is about the whole.
ExpressionFault FaultOfPart(const Fault& fault, std::size_t before, const JoinedExpression& joined,
                            const std::vector<std::string>& expressions,
                            const std::vector<std::string>& words) {
  if (!words.empty() && fault.number == kExpressionTooLong)
    return {"The list is too long: it has " + std::to_string(words.size()) + " words.",
            "Search in several runs; 40000 words of ordinary length are not too many for one."};
  const ExpressionPart* const part =
      fault.begin < before ? nullptr : joined.PartAt(fault.begin - before);
  if (part == nullptr || fault.end > before + part->end)
    return {fault.sentence, std::string(Advice(fault.number))};
  const std::size_t begin = fault.begin - before - part->begin;
  const std::size_t end = fault.end - before - part->begin;
  if (part->index < expressions.size())
    return WithRange(fault, expressions[part->index], begin, end);
  const std::size_t index = part->index - expressions.size();
  const bool isQuoted = part->end - part->begin != words[index].size();
  ExpressionFault result =
      WithRange(fault, words[index], isQuoted ? 0 : begin, isQuoted ? words[index].size() : end);
  result.word = index;
  return result;
}

/// Where what stands at `place` of the escaped expression was typed.
std::size_t PlaceInTyped(std::string_view typed, std::size_t place) {
  std::size_t begin = 0;
  for (std::size_t end = typed.size(); begin < end;) {
    const std::size_t middle = (begin + end + 1) / 2;
    const bool isBefore = EscapePatternCharacters(typed.substr(0, middle)).size() <= place;
    isBefore ? begin = middle : end = middle - 1;
  }
  return begin;
}

/// A literal phonetic word is found by its sound all the same.
bool IsEscaped(const Options& options) {
  return options.literal && !options.phonetic;
}

ExpressionOptions OptionsOfExpression(const Options& options) {
  ExpressionOptions result;
  result.words = options.words;
  result.caseSensitive = options.caseSensitive;
  result.phonetic = options.phonetic;
  result.variants = options.variants;
  return result;
}

}  // namespace

std::variant<std::string, ExpressionFault> ExpressionToUtf8(std::string_view typed,
                                                            std::string_view encoding) {
  if (IsUtf8Encoding(encoding) || IsPlainAscii(encoding)) return std::string(typed);
  const std::string name(encoding);
  std::optional<std::string> utf8 = ConvertToUtf8(typed, name.c_str());
  if (utf8.has_value()) return *std::move(utf8);
  return ExpressionFault{"The expression is not valid in the terminal's encoding, " + name + "."};
}

ExpressionFault NoSuchTag(int tag, int tagCount) {
  std::string sentence = "There is no bracket " + std::to_string(tag) + ": the expression has ";
  sentence += tagCount == 0   ? "no bracket."
              : tagCount == 1 ? "one bracket."
                              : std::to_string(tagCount) + " brackets.";
  return {sentence};
}

std::string EscapePatternCharacters(std::string_view expression) {
  std::string result;
  for (std::size_t i = 0; i < expression.size(); ++i) {
    const char c = expression[i];
    if (c == '\\') {
      const char next = i + 1 < expression.size() ? expression[i + 1] : '\0';
      const bool escapes =
          next == '\\' || (next != '\0' && kOperators.find(next) != kOperators.npos);
      result += '\\';
      result += escapes ? next : '\\';
      if (escapes) ++i;
      continue;
    }
    if (kPatternCharacters.find(c) != kPatternCharacters.npos) result += '\\';
    result += c;
  }
  return result;
}

std::variant<CompiledExpression, ExpressionFault> CompileExpressions(
    std::vector<std::string> expressions, const std::vector<std::string>& words,
    const Options& options) {
  const ExpressionOptions how = OptionsOfExpression(options);
  std::vector<int> tagCounts;
  const bool single = expressions.size() == 1 && words.empty();
  for (std::string& expression : expressions) {
    const std::string typed = expression;
    if (IsEscaped(options)) expression = EscapePatternCharacters(typed);
    // Each for itself, so that a fault of one does not look like that of another.
    auto compiled = Query::Compile(expression, how);
    if (const auto* fault = std::get_if<Fault>(&compiled)) {
      if (!IsEscaped(options)) return WithRange(*fault, typed, fault->begin, fault->end);
      return WithRange(*fault, typed, PlaceInTyped(typed, fault->begin),
                       PlaceInTyped(typed, fault->end));
    }
    Query& query = std::get<Query>(compiled);
    tagCounts.push_back(query.TagCount());
    if (single && options.tag > query.TagCount()) return NoSuchTag(options.tag, query.TagCount());
    if (single && !options.invert) return CompiledExpression{std::move(query), options.tag};
  }
  JoinedExpression joined = JoinExpressions(expressions, words);
  std::string text = joined.text;
  int tag = 0;
  if (options.tag > 0) {
    const auto inJoined = TagInJoined(options.tag, tagCounts, joined.bracketed);
    int total = 0;
    for (const int count : tagCounts)
      total += count;
    if (!inJoined.has_value()) return NoSuchTag(options.tag, total);
    tag = *inJoined + (options.invert ? 1 : 0);
  }
  const std::size_t before = options.invert ? 2 : 0;
  if (options.invert) text.insert(0, "!(").append(")");
  auto compiled = Query::Compile(text, how);
  if (const auto* fault = std::get_if<Fault>(&compiled))
    return FaultOfPart(*fault, before, joined, expressions, words);
  return CompiledExpression{std::get<Query>(std::move(compiled)), tag};
}

}  // namespace trovex::cli
