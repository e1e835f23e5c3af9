// Decoding, and the map back to the file.

#include "hosts/cli/files/source_text.h"

#include "hosts/cli/files/code_page.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace trovex::cli {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kBinaryLookAhead = std::size_t{32} * 1024;
constexpr std::size_t kCheckpointStep = 64;

bool Contains(std::string_view text, char c) {
  return !text.empty() && std::memchr(text.data(), c, text.size()) != nullptr;
}

bool IsUtf8File(std::string_view file, Encoding encoding) {
  return encoding == Encoding::kUtf8 || (encoding == Encoding::kAuto && IsValidUtf8(file));
}

}  // namespace

SourceText::SourceText(FileBytes file, Encoding encoding, bool phonetic)
    : file_(std::move(file)), utf8_(IsUtf8File(file_.View(), encoding)) {
  if (utf8_ && File().starts_with(kByteOrderMark)) {
    fileBegin_ = static_cast<int>(kByteOrderMark.size());
  }
  textBase_ = file_.Data() + fileBegin_;
  length_ = static_cast<int>(file_.Size()) - fileBegin_;
  const std::string_view bytes = File().substr(static_cast<std::size_t>(fileBegin_));

  const char placeholder = phonetic ? kPhoneticPlaceholder : kRegularExpressionPlaceholder;
  if (utf8_ && AsciiPrefixLength(bytes) < bytes.size()) {
    DecodeUtf8(placeholder);
  } else if (Contains(bytes, '\r') || (phonetic && Contains(bytes, '\0'))) {
    UseOwnCopy();  // a search changes such bytes, and the file's are still to be shown
  }
  if (phonetic) std::replace(Data(), Data() + length_, '\0', placeholder);
}

void SourceText::UseOwnCopy() {
  copy_ = FileBytes(File().substr(static_cast<std::size_t>(fileBegin_)));
  textBase_ = copy_.Data();
}

void SourceText::DecodeUtf8(char placeholder) {
  const CodePage& codePage = CodePage::Get();
  const std::string_view file = File();
  std::size_t in = static_cast<std::size_t>(fileBegin_);
  copy_ = FileBytes::WithSize(file.size() - in);
  std::size_t out = 0;
  checkpoints_.reserve(copy_.Size() / kCheckpointStep + 1);
  while (in < file.size()) {
    checkpoints_.push_back(static_cast<std::uint32_t>(in));
    const std::size_t ascii = AsciiPrefixLength(file.substr(in, kCheckpointStep));
    std::memcpy(copy_.Data() + out, file.data() + in, ascii);
    in += ascii;
    const std::size_t blockEnd = out + kCheckpointStep;
    out += ascii;
    while (out < blockEnd && in < file.size()) {
      const Utf8Character character = ReadUtf8(file.substr(in));
      const auto byte = character.valid ? codePage.ByteFor(character.code) : std::nullopt;
      copy_.Data()[out++] = byte.value_or(placeholder);
      in += static_cast<std::size_t>(character.length);
    }
  }
  copy_.Resize(out);
  textBase_ = copy_.Data();
  length_ = static_cast<int>(out);
}

int SourceText::FileOffset(int offset) const {
  if (checkpoints_.empty()) return fileBegin_ + offset;
  if (offset >= length_) return static_cast<int>(file_.Size());
  const auto position = static_cast<std::size_t>(offset);
  std::size_t in = checkpoints_[position / kCheckpointStep];
  for (std::size_t steps = position % kCheckpointStep; steps > 0; --steps) {
    in += static_cast<std::size_t>(ReadUtf8(File().substr(in)).length);
  }
  return static_cast<int>(in);
}

std::string SourceText::ToUtf8(std::string_view piece) const {
  return utf8_ ? std::string(piece) : CodePage::Get().ToUtf8(piece);
}

bool LooksBinary(std::string_view file) {
  return Contains(file.substr(0, kBinaryLookAhead), '\0');
}

}  // namespace trovex::cli
