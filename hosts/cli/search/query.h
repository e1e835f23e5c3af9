// A compiled search expression, and its search in one text: the only place where the program calls
// the library's search.

#ifndef TROVEX_HOSTS_CLI_QUERY_H
#define TROVEX_HOSTS_CLI_QUERY_H

#include "hosts/cli/command/options.h"
#include "hosts/cli/search/expression.h"

#include <trovex/trovex.h>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace trovex::cli {

/// A match: a range of the text that was searched, its end exclusive.
struct Match {
  int begin;
  int end;

  friend bool operator==(const Match&, const Match&) = default;
};

/// What a search of one text says.
enum class Answer {
  kNothing,    // the text does not satisfy the expression
  kMatches,    // it does, at these matches
  kSatisfied,  // it does, because nothing that must not occur does occur
};

class Query {
 public:
  /// Compiles `expression`, which is of the texts' code page. The latest query made is the only one
  /// that can search.
  static std::variant<Query, ExpressionFault> Compile(const std::string& expression,
                                                      const Options& options);

  /// Searches `length` bytes at `text` and appends the matches, in the order of their starts, with
  /// `base` added to their offsets. The byte after the text must be writable; it is zero during
  /// the search and then what it was.
  Answer Search(char* text, int length, int base, std::vector<Match>& matches);

  /// The tree's root, for a look at it.
  CSearchTreeItem& Root() const { return *root_; }
  /// The number of brackets, which is the highest tag.
  int TagCount() const { return tagCount_; }

 private:
  Query(std::unique_ptr<CSearchTreeItem> root, int tagCount, int tag)
      : root_(std::move(root)), tagCount_(tagCount), tag_(tag) {}

  std::unique_ptr<CSearchTreeItem> root_;
  int tagCount_;
  int tag_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_QUERY_H
