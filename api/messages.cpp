// The module's message buffer and the loader that fills it.

#include "api/messages.h"

#include <algorithm>
#include <array>

namespace trovex {

namespace {

/// The module's one message buffer. Its size is fixed so that its address never changes and so that
/// "Memory overflow!" needs no memory; no text is too long for it.
constinit std::array<char, kLongestMessageText + 1> messageBuffer{};

}  // namespace

const char* LoadMessageText(MessageNumber number) {
  const std::string_view text = StringTableText(number);
  std::copy(text.begin(), text.end(), messageBuffer.begin());
  messageBuffer[text.size()] = '\0';
  return messageBuffer.data();
}

const char* MessageTextOrNull(MessageNumber number) {
  return number == MessageNumber::kNone ? nullptr : LoadMessageText(number);
}

}  // namespace trovex
