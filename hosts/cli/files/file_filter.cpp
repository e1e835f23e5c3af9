// Globs are read like the lines of a file of rules, but what fits is wanted, and what fits one with
// "!" is not.

#include "hosts/cli/files/file_filter.h"

#include "hosts/cli/files/file_types.h"

#include <algorithm>
#include <string>

namespace trovex::cli {

namespace {

std::vector<Glob> GlobsOf(const std::vector<std::string>& types) {
  std::vector<Glob> globs;
  for (const std::string& type : types) {
    for (const std::string_view glob : GlobsOfType(type))
      globs.emplace_back(glob);
  }
  return globs;
}

bool FitsAny(const std::vector<Glob>& globs, std::string_view name) {
  return std::any_of(globs.begin(), globs.end(),
                     [name](const Glob& glob) { return glob.Fits(name); });
}

}  // namespace

FileFilter::FileFilter(const Options& options)
    : types_(GlobsOf(options.types)), typesLeftOut_(GlobsOf(options.typesLeftOut)) {
  for (const std::string& glob : options.globs) {
    for (const std::string& alternative : AlternativesOf(glob))
      globs_.Add(alternative);
    if (!glob.starts_with('!')) onlyWanted_ = true;
  }
}

Judgement FileFilter::JudgeByGlobs(std::string_view path, std::string_view shown,
                                   bool isFolder) const {
  if (globs_.IsEmpty()) return Judgement::kNone;
  Judgement judgement = globs_.Judge(path, isFolder);
  if (judgement == Judgement::kNone && shown != path) judgement = globs_.Judge(shown, isFolder);
  if (judgement == Judgement::kIgnored) return Judgement::kWanted;
  if (judgement == Judgement::kWanted) return Judgement::kIgnored;
  return onlyWanted_ && !isFolder ? Judgement::kIgnored : Judgement::kNone;
}

bool FileFilter::HasType(std::string_view name) const {
  if (!types_.empty() && !FitsAny(types_, name)) return false;
  return typesLeftOut_.empty() || !FitsAny(typesLeftOut_, name);
}

}  // namespace trovex::cli
