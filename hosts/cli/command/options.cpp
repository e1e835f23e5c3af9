// The options, declared once.
//
// Names of files and the expression are what the parser leaves over. They are not declared to it as
// positional arguments, because it reads "[a,b]" there as a list.

#include "hosts/cli/command/options.h"

#include "hosts/cli/command/help.h"

#include <CLI/CLI.hpp>
#include <limits>
#include <map>
#include <set>
#include <utility>

namespace trovex::cli {

namespace {

/// What the switches were set to, before it is seen what they mean together.
struct Switches {
  Options options;
  std::optional<std::string> expression;
  bool help = false;
  bool version = false;
  bool onlyMatching = false;
  bool count = false;
  bool files = false;
  bool json = false;
  bool quiet = false;
  int fileNames = 0;  // above 0: asked for; below 0: asked to be left out
  int context = 0;
  int before = -1;
  int after = -1;
};

constexpr int kMaxInt = std::numeric_limits<int>::max();
constexpr int kMaxContext = kMaxInt / 2;

template <typename T>
void DeclareChoice(CLI::App& app, const char* name, T& value, std::map<std::string, T> choices) {
  std::set<std::string> names;
  for (const auto& [choice, meaning] : choices)
    names.insert(choice);
  app.add_option_function<std::string>(
         name, [&value, meanings = std::move(choices)](
                   const std::string& choice) { value = meanings.at(choice); })
      ->transform(CLI::IsMember(names, CLI::ignore_case))
      ->take_last();
}

void DeclareSearch(CLI::App& app, Options& options) {
  app.add_flag("-p,--phonetic", options.phonetic);
  app.add_flag("-w,--words", options.words);
  app.add_flag("-s,--case-sensitive,!-i,!--ignore-case", options.caseSensitive)->take_last();
  app.add_flag("-F,--literal", options.literal);
  app.add_option("-t,--tag", options.tag)->check(CLI::Range(1, kMaxInt))->take_last();
  DeclareChoice<Scope>(
      app, "-S,--scope", options.scope,
      {{"file", Scope::kFile}, {"paragraph", Scope::kParagraph}, {"line", Scope::kLine}});
  DeclareChoice<Encoding>(app, "-E,--encoding", options.encoding,
                          {{"auto", Encoding::kAuto},
                           {"utf-8", Encoding::kUtf8},
                           {"windows-1252", Encoding::kWindows1252}});
  app.add_flag("--hidden", options.hidden);
  app.add_flag("-a,--binary", options.binary);
  app.add_option("-j,--jobs", options.jobs)->check(CLI::Range(1, 1024))->take_last();
}

void DeclareOutput(CLI::App& app, Switches& switches) {
  const auto context = CLI::Range(0, kMaxContext);
  app.add_option("-A,--after-context", switches.after)->check(context)->take_last();
  app.add_option("-B,--before-context", switches.before)->check(context)->take_last();
  app.add_option("-C,--context", switches.context)->check(context)->take_last();
  app.add_flag("-c,--count", switches.count);
  app.add_flag("-l,--files-with-matches", switches.files);
  app.add_flag("-o,--only-matching", switches.onlyMatching);
  app.add_flag("--json", switches.json)
      ->excludes("--count")
      ->excludes("--files-with-matches")
      ->excludes("--only-matching");
  app.add_flag("-q,--quiet", switches.quiet);
  app.add_flag("-H,--with-filename,!-I,!--no-filename", switches.fileNames)->take_last();
  app.add_flag("-n,--line-number,!-N,!--no-line-number", switches.options.lineNumbers)->take_last();
  DeclareChoice<ColorMode>(
      app, "--color,--colour", switches.options.color,
      {{"auto", ColorMode::kAuto}, {"always", ColorMode::kAlways}, {"never", ColorMode::kNever}});
  app.add_flag("--stats", switches.options.stats);
  app.add_flag("--explain", switches.options.explain);
}

void Declare(CLI::App& app, Switches& switches) {
  app.set_help_flag();
  app.allow_extras();
  app.add_option("-e,--expression", switches.expression);
  app.add_flag("-h,--help", switches.help);
  app.add_flag("-V,--version", switches.version);
  DeclareSearch(app, switches.options);
  DeclareOutput(app, switches);
}

OutputMode ModeFrom(const Switches& switches) {
  if (switches.quiet) return OutputMode::kQuiet;
  if (switches.files) return OutputMode::kFiles;
  if (switches.count) return OutputMode::kCount;
  if (switches.json) return OutputMode::kJson;
  if (switches.onlyMatching) return OutputMode::kOnlyMatching;
  return OutputMode::kLines;
}

/// What is left over are the expression and the files. What looks like an option there is an
/// unknown one, up to a "--", which is left over too.
std::variant<std::vector<std::string>, UsageError> Positionals(
    const std::vector<std::string>& leftOver) {
  std::vector<std::string> positionals;
  bool optionsEnded = false;
  for (const std::string& argument : leftOver) {
    if (!optionsEnded && argument == "--") {
      optionsEnded = true;
    } else if (!optionsEnded && argument.size() > 1 && argument.front() == '-') {
      return UsageError{"There is no option " + argument + "."};
    } else {
      positionals.push_back(argument);
    }
  }
  return positionals;
}

std::variant<Options, Information, UsageError> Interpret(Switches switches,
                                                         std::vector<std::string> positionals) {
  if (switches.help) return Information{HelpText()};
  if (switches.version) return Information{VersionText()};

  Options options = std::move(switches.options);
  if (switches.expression.has_value()) {
    options.expression = *switches.expression;
  } else if (!positionals.empty()) {
    options.expression = positionals.front();
    positionals.erase(positionals.begin());
  } else {
    return UsageError{"An expression is missing."};
  }
  options.files = std::move(positionals);
  if (options.files.empty()) options.files.emplace_back("-");

  const bool standardInputOnly = options.files.size() == 1 && options.files.front() == "-";
  options.fileNames = switches.fileNames == 0 ? !standardInputOnly : switches.fileNames > 0;
  options.contextBefore = switches.before >= 0 ? switches.before : switches.context;
  options.contextAfter = switches.after >= 0 ? switches.after : switches.context;
  options.output = ModeFrom(switches);
  return options;
}

}  // namespace

std::variant<Options, Information, UsageError> ParseOptions(int argc, const char* const* argv) {
  CLI::App app;
  Switches switches;
  Declare(app, switches);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return UsageError{error.what()};
  }
  auto positionals = Positionals(app.remaining());
  if (auto* error = std::get_if<UsageError>(&positionals)) return std::move(*error);
  return Interpret(std::move(switches), std::get<std::vector<std::string>>(std::move(positionals)));
}

std::vector<std::string> OptionNames() {
  CLI::App app;
  Switches switches;
  Declare(app, switches);
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_snames())
      names.push_back("-" + name);
    for (const std::string& name : option->get_lnames())
      names.push_back("--" + name);
  }
  return names;
}

}  // namespace trovex::cli
