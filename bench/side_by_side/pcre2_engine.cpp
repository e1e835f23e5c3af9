// PCRE2 as it is fastest for this: translated to machine code, called past the checks of the ordinary
// interface, no groups kept that nobody asks for.

#include "bench/side_by_side/contestants.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>
#include <stdexcept>

namespace trovex::bench {

namespace {

/// The stack of the translated code: backtracking over one endless line takes much of it.
constexpr std::size_t kStackStart = std::size_t{64} << 10;
constexpr std::size_t kStackMax = std::size_t{256} << 20;

template <class T, void (*Free)(T*)>
struct Freed {
  void operator()(T* object) const { Free(object); }
};
template <class T, void (*Free)(T*)>
using Owned = std::unique_ptr<T, Freed<T, Free>>;

class Pcre2Engine : public PeerEngine<Pcre2Engine> {
 public:
  explicit Pcre2Engine(const PeerPattern& pattern) : group_(pattern.group) {
    const std::uint32_t options = PCRE2_MULTILINE |
                                  (pattern.NeedsGroups() ? 0U : PCRE2_NO_AUTO_CAPTURE) |
                                  (pattern.foldCase ? PCRE2_CASELESS : 0U);
    int error = 0;
    PCRE2_SIZE errorOffset = 0;
    code_.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.pattern.data()),
                              pattern.pattern.size(), options, &error, &errorOffset, nullptr));
    if (code_ == nullptr || pcre2_jit_compile(code_.get(), PCRE2_JIT_COMPLETE) != 0)
      throw std::runtime_error("PCRE2 cannot compile the pattern");
    data_.reset(pcre2_match_data_create(static_cast<std::uint32_t>(group_) + 1, nullptr));
    context_.reset(pcre2_match_context_create(nullptr));
    stack_.reset(pcre2_jit_stack_create(kStackStart, kStackMax, nullptr));
    pcre2_jit_stack_assign(context_.get(), nullptr, stack_.get());
  }

  template <class Take>
  void ForEachMatch(std::string_view text, Take take) {
    const auto* const bytes = reinterpret_cast<PCRE2_SPTR>(text.data());
    const PCRE2_SIZE* const range = pcre2_get_ovector_pointer(data_.get());
    const PCRE2_SIZE* const asked = range + 2 * group_;
    int result = 0;
    for (PCRE2_SIZE at = 0; (result = pcre2_jit_match(code_.get(), bytes, text.size(), at, 0,
                                                      data_.get(), context_.get())) >= 0;) {
      at = range[1];
      if (!take(asked[0], asked[1])) return;
    }
    if (result != PCRE2_ERROR_NOMATCH) throw std::runtime_error("PCRE2 gives up");
  }

 private:
  int group_;
  Owned<pcre2_code, pcre2_code_free> code_;
  Owned<pcre2_match_data, pcre2_match_data_free> data_;
  Owned<pcre2_match_context, pcre2_match_context_free> context_;
  Owned<pcre2_jit_stack, pcre2_jit_stack_free> stack_;
};

}  // namespace

std::unique_ptr<Engine> MakePcre2(const PeerPattern& pattern) {
  return std::make_unique<Pcre2Engine>(pattern);
}

}  // namespace trovex::bench
