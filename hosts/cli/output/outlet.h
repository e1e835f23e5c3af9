// Text on its way out. A single line may have millions of matches, so what is shown of a piece of a file is
// handed on before all of it is written.

#ifndef TROVEX_HOSTS_CLI_OUTLET_H
#define TROVEX_HOSTS_CLI_OUTLET_H

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace trovex::cli {

class Outlet {
 public:
  /// Gets the text when it has become long; takes it away, or leaves it to grow. Of whole characters, not of
  /// whole lines.
  using HandOn = std::function<void(std::string& text)>;

  /// `text` outlives this, and has what was not handed on.
  Outlet(std::string& text, HandOn handOn) : text_(text), handOn_(std::move(handOn)) {}

  /// What is appended to.
  std::string& Text() { return text_; }
  /// A place where the text may be handed on.
  void Pour() {
    if (text_.size() < next_) return;
    handOn_(text_);
    next_ = text_.size() + kStep;
  }

 private:
  static constexpr std::size_t kStep = std::size_t{256} * 1024;

  std::string& text_;
  HandOn handOn_;
  std::size_t next_ = kStep;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_OUTLET_H
