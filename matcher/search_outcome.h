// How a bounded search ends.

#ifndef TROVEX_MATCHER_SEARCH_OUTCOME_H
#define TROVEX_MATCHER_SEARCH_OUTCOME_H

namespace trovex {

enum class SearchOutcome {
  kFound,
  kNotFound,
  kGaveUp,  // its budget ended before the answer was known
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_SEARCH_OUTCOME_H
