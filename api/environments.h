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

#include <trovex/functions.h>
#include <trovex/host_framework.h>
#include <memory>

namespace trovex {

/// One kept compiled pattern.
class CEnvironment {
 public:
  virtual ~CEnvironment() = default;
  /// Compiles `pattern` and keeps the result. Returns the error's message text, or null.
  virtual const char* Compile(const char* pattern, int caseSensitive, int matchWords);
  /// Whether a look at a short text tells that the kept pattern has no match in it. Then nothing is to be
  /// searched, and what an activation and its end would leave behind is done.
  virtual bool IsKnownToLack(const char* /*text*/, int /*length*/) { return false; }
  /// Installs the kept pattern in its matcher.
  virtual void Activate() {}
  /// Puts back what was installed before.
  virtual void Restore() {}

  CEnvironment(const CEnvironment&) = delete;
  CEnvironment& operator=(const CEnvironment&) = delete;

 protected:
  CEnvironment() = default;
};

class CPatternEnvironment : public CEnvironment {
 public:
  /// Takes the compiled pattern out of the matcher, which is left empty.
  const char* Compile(const char* pattern, int caseSensitive, int matchWords) override;
  bool IsKnownToLack(const char* text, int length) override;
  void Activate() override;
  void Restore() override;

 private:
  std::shared_ptr<PatternWork> compiled_;
  // What was installed before the latest activation: kept alive until it is put back, and from then on
  // no longer, so that freeing the matcher frees it. Restoring again puts it back if it still lives.
  std::shared_ptr<PatternWork> saved_;
  std::weak_ptr<PatternWork> restored_;
};

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

/// The module's one array of environments.
CEnvironmentArray& Environments();

}  // namespace trovex

#endif  // TROVEX_API_ENVIRONMENTS_H
