// Adding to a number where it stands.

#include "hosts/cli/output/line_prefix.h"

namespace trovex::cli {

LinePrefix::LinePrefix(std::string_view name, bool nullAfterName, bool numbers)
    : text_(name), separatesName_(!name.empty() && !nullAfterName), numbers_(numbers) {
  afterName_ = text_.size();
  if (!name.empty()) text_ += nullAfterName ? '\0' : separator_;
  digits_ = text_.size();
}

std::string_view LinePrefix::Of(std::int64_t number, char separator) {
  if (numbers_ && number != number_) {
    if (number_ == 0 || number < number_ || !Raise(number - number_)) Write(number);
    number_ = number;
  }
  if (separator != separator_) Separate(separator);
  return text_;
}

void LinePrefix::Separate(char separator) {
  separator_ = separator;
  if (separatesName_) text_[afterName_] = separator;
  if (number_ > 0) text_.back() = separator;
}

void LinePrefix::Write(std::int64_t number) {
  text_.resize(digits_);
  text_ += std::to_string(number);
  text_ += separator_;
}

/// Adds to the number that stands there, from its last digit on; returns false when it has too few digits.
bool LinePrefix::Raise(std::int64_t difference) {
  for (std::size_t place = text_.size() - 1; difference > 0; difference /= 10) {
    if (place == digits_) return false;
    --place;
    difference += text_[place] - '0';
    text_[place] = static_cast<char>('0' + difference % 10);
  }
  return true;
}

}  // namespace trovex::cli
