// How many random searches an agreement test makes.

#ifndef TROVEX_TESTS_AGREEMENT_SEARCHES_H
#define TROVEX_TESTS_AGREEMENT_SEARCHES_H

#include <cstdlib>

#include "tests/sanitizers.h"

namespace trovex::testing {

/// As many as the environment says in TROVEX_AGREEMENT_SEARCHES; without it `ordinary`, and a part of them
/// under a sanitizer.
inline int AgreementSearches(int ordinary) {
  const char* const wanted = std::getenv("TROVEX_AGREEMENT_SEARCHES");
  return wanted != nullptr ? std::atoi(wanted) : CasesToTry(ordinary);
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_AGREEMENT_SEARCHES_H
