// How an expression is understood, for its user.

#ifndef TROVEX_HOSTS_CLI_EXPLAIN_H
#define TROVEX_HOSTS_CLI_EXPLAIN_H

#include "hosts/cli/command/options.h"
#include "hosts/cli/search/classic_search.h"

#include <trovex/query.h>
#include <string>
#include <string_view>

namespace trovex::cli {

/// The query's parts below the expression, in UTF-8.
std::string ExplainQuery(const Query& query, const Options& options);

/// Draws the first door's tree below the expression as it was typed. With `utf8` the result is UTF-8,
/// else patterns keep the code page's bytes and the drawing is ASCII.
///
/// Computes Soundex codes: the library's present code is another one afterwards.
std::string ExplainClassic(const ClassicSearch& search, std::string_view expression,
                           const Options& options, bool utf8);

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_EXPLAIN_H
