// Pattern environments: compiled patterns kept side by side under numbers.
//
// The pattern matcher and the phonetic matcher hold one compiled pattern each. A search tree has
// many leaves, so each leaf's compiled state is kept in an environment of its own: to search, the
// leaf activates its environment, which installs that state, and restores it afterwards, which puts
// back what was installed before.
//
// A pattern environment saves what it replaces; a Soundex environment does not: the phonetic
// matcher keeps the code of the leaf that searched last. Every phonetic search activates its own
// environment first, so nothing depends on the earlier code.
//
// Compiled patterns are shared between the matcher and the environments, so no order of calls can
// leave one of them with a pattern that was freed.

#ifndef TROVEX_API_ENVIRONMENTS_H
#define TROVEX_API_ENVIRONMENTS_H

#include "api/matcher_state.h"
#include "api/module_state.h"

#include <trovex/functions.h>
#include <trovex/host_framework.h>
#include <memory>

namespace trovex {

class CPatternEnvironment;

/// One kept compiled pattern.
class CEnvironment {
 public:
  virtual ~CEnvironment() = default;
  /// Compiles `pattern` and keeps the result. Returns the error's message text, or null.
  virtual const char* Compile(const char* pattern, int caseSensitive, int matchWords);
  /// The environment as one of the pattern matcher; null if it is none.
  inline CPatternEnvironment* AsPattern();
  /// Installs the kept pattern in its matcher.
  virtual void Activate() {}
  /// Puts back what was installed before.
  virtual void Restore() {}

  CEnvironment(const CEnvironment&) = delete;
  CEnvironment& operator=(const CEnvironment&) = delete;

 protected:
  CEnvironment() = default;
  explicit CEnvironment(bool isPattern) : isPattern_(isPattern) {}

 private:
  const bool isPattern_ = false;
};

class CPatternEnvironment : public CEnvironment {
 public:
  CPatternEnvironment() : CEnvironment(true) {}
  /// Takes the compiled pattern out of the matcher, which is left empty.
  const char* Compile(const char* pattern, int caseSensitive, int matchWords) override;
  void Activate() override;
  void Restore() override;

  /// The kept pattern; null while there is none, or while it is active: a search has to go its own way then.
  const CompiledPattern* Pattern() const {
    return saved_ == nullptr && compiled_ != nullptr ? compiled_->pattern.get() : nullptr;
  }
  /// The same, to be kept.
  std::shared_ptr<const CompiledPattern> SharedPattern() const { return compiled_->pattern; }
  /// Leaves behind what an activation and its end do, where `installed` is. For a search that was not necessary.
  void NoteSearched(const std::shared_ptr<PatternWork>& installed) { restored_ = installed; }
  /// Whether that would change nothing.
  bool IsNotedSearched(const std::shared_ptr<PatternWork>& installed) const {
    return !restored_.owner_before(installed) && !installed.owner_before(restored_);
  }

 private:
  std::shared_ptr<PatternWork> compiled_;
  // What was installed before the latest activation: kept alive until it is put back, and from then on
  // no longer, so that freeing the matcher frees it. Restoring again puts it back if it still lives.
  std::shared_ptr<PatternWork> saved_;
  std::weak_ptr<PatternWork> restored_;
};

inline CPatternEnvironment* CEnvironment::AsPattern() {
  return isPattern_ ? static_cast<CPatternEnvironment*>(this) : nullptr;
}

class CSoundexEnvironment : public CEnvironment {
 public:
  /// Case does not matter here; whole words become the phonetic matcher's word mode.
  const char* Compile(const char* pattern, int caseSensitive, int matchWords) override;
  void Activate() override;

 private:
  int wordMode_ = 0;
  SoundexEnvironmentRecord code_{};
};

/// The environments by number. The array owns them.
class CEnvironmentArray : public CPointerArray<CEnvironment> {
 public:
  CEnvironmentArray() = default;
  ~CEnvironmentArray() override;
  /// Deletes every environment; numbers start again at 0.
  void DeleteEnvironments();
};

extern constinit ModuleState<CEnvironmentArray> environmentsOfModule;

/// The module's one array of environments.
inline CEnvironmentArray& Environments() {
  return environmentsOfModule.Get();
}

}  // namespace trovex

#endif  // TROVEX_API_ENVIRONMENTS_H
