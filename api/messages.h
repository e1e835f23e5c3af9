// Message texts: how a failure, which is a number inside the library, becomes the sentence that the
// host shows to its user.

#ifndef TROVEX_API_MESSAGES_H
#define TROVEX_API_MESSAGES_H

#include "resources/string_table.h"

namespace trovex {

/// Loads text `number` from the string table into the module's one message buffer and returns the
/// buffer's text, zero-terminated. Every call returns the same buffer, so the text is valid until
/// the next call. A number that the table lacks gives the empty text. Never allocates.
const char* LoadMessageText(MessageNumber number);

/// The result of an operation that may have failed: null for `kNone`, else the loaded text.
const char* MessageTextOrNull(MessageNumber number);

}  // namespace trovex

#endif  // TROVEX_API_MESSAGES_H
