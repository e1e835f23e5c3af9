// What the person reads who typed the SQL: one line for each failure.

#ifndef TROVEX_HOSTS_SQLITE_SENTENCES_H
#define TROVEX_HOSTS_SQLITE_SENTENCES_H

#include "hosts/sqlite/options.h"

#include <trovex/query.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace trovex::sqlite {

/// The sentence of a fault, with the place of the expression that it is about: its characters, counted
/// from 1, and what stands there.
std::string SentenceFor(const Fault& fault, std::string_view expression);

std::string SentenceFor(const UnknownOption& unknown);

/// A search of `text` ended at the byte `place` without an answer.
std::string SentenceForGivingUp(std::string_view text, std::size_t place);

}  // namespace trovex::sqlite

#endif  // TROVEX_HOSTS_SQLITE_SENTENCES_H
