// The tree that an expression became, drawn for its user.

#ifndef TROVEX_HOSTS_CLI_EXPLAIN_H
#define TROVEX_HOSTS_CLI_EXPLAIN_H

#include "hosts/cli/command/options.h"
#include "hosts/cli/search/query.h"

#include <string>

namespace trovex::cli {

/// Draws the tree of `query` below the expression as it was typed. With `utf8` the result is UTF-8,
/// else patterns keep the code page's bytes and the drawing is ASCII.
///
/// Computes Soundex codes: the library's present code is another one afterwards.
std::string ExplainQuery(const Query& query, const Options& options, bool utf8);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_EXPLAIN_H
