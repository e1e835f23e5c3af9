// The module's message buffer and the loader that fills it.

#include "api/messages.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace trovex {

namespace {

/// The module's one message buffer. Its size is fixed so that its address never changes and so that
/// "Memory overflow!" needs no memory.
constinit std::array<char, 160> messageBuffer{};

}  // namespace

const char* LoadMessageText(MessageNumber number) {
  const std::string_view text = StringTableText(number);
  const std::size_t length = std::min(text.size(), messageBuffer.size() - 1);
  std::copy_n(text.data(), length, messageBuffer.data());
  messageBuffer[length] = '\0';
  return messageBuffer.data();
}

const char* MessageTextOrNull(MessageNumber number) {
  return number == MessageNumber::kNone ? nullptr : LoadMessageText(number);
}

}  // namespace trovex
