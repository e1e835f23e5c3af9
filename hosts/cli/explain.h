// The tree that an expression became, drawn for its user.

#ifndef TROVEX_HOSTS_CLI_EXPLAIN_H
#define TROVEX_HOSTS_CLI_EXPLAIN_H

#include "hosts/cli/options.h"
#include "hosts/cli/query.h"

#include <string>

namespace trovex::cli {

/// Draws the tree of `query`, which was compiled from `expression`, a text of the code page. With
/// `utf8` the result is UTF-8, else it keeps the code page's bytes and draws in ASCII.
///
/// Computes Soundex codes: the library's present code is another one afterwards.
std::string ExplainQuery(const Query& query, const std::string& expression, const Options& options,
                         bool utf8);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_EXPLAIN_H
