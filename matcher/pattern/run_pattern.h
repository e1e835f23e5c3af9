// Patterns that are a row of runs: of sets of bytes, each as often as a range of numbers says, one after
// the other.
//
//   [A-Z][a-z]+            [A-Z] once, [a-z] once or more
//   https?://[^ ]+         "http", "s" once or not, "://", [^ ] once or more
//   "[^"]*"                a quote, any number of other bytes, a quote
//   a.{0,100}b             a, up to 100 bytes, b
//   [a-z]*(er|en)          [a-z] any number of times, e, [rn]: alternatives may differ in one byte
//
// Anchors may stand at both ends of the row; what they ask for is not said here.
//
// Where each run takes all that it can, no automaton is needed to find their matches (run_scan.h).

#ifndef TROVEX_MATCHER_PATTERN_RUN_PATTERN_H
#define TROVEX_MATCHER_PATTERN_RUN_PATTERN_H

#include "matcher/pattern/pattern_syntax.h"
#include "matcher/runs/run_scan.h"

#include <vector>

namespace trovex {

/// The runs of `tree`, which has no back-references, without the anchors at both of its ends; none if it is nothing of
/// the kind, if a match may be empty, or if finding out where one ends might take too long.
std::vector<Run> RunsOf(const SyntaxTree& tree);

}  // namespace trovex

#endif  // TROVEX_MATCHER_PATTERN_RUN_PATTERN_H
