// The environments and the four exported functions on them.

#include "api/environments.h"

#include "api/messages.h"

#include <trovex/functions.h>
#include <new>

namespace trovex {

constinit ModuleState<CEnvironmentArray> environmentsOfModule;

const char* CEnvironment::Compile(const char* /*pattern*/, int /*caseSensitive*/,
                                  int /*matchWords*/) {
  return nullptr;
}

const char* CPatternEnvironment::Compile(const char* pattern, int caseSensitive, int matchWords) {
  const char* error = ::Compile(pattern, caseSensitive == 0, matchWords);
  if (error != nullptr) return error;
  compiled_ = std::move(Matcher().installed);
  return nullptr;
}

void CPatternEnvironment::Activate() {
  saved_ = std::move(Matcher().installed);
  restored_ = saved_;
  Matcher().installed = compiled_;
}

void CPatternEnvironment::Restore() {
  Matcher().installed = restored_.lock();
  saved_.reset();
}

const char* CSoundexEnvironment::Compile(const char* pattern, int /*caseSensitive*/,
                                         int matchWords) {
  if (CompileSoundex(pattern, matchWords) == 0)
    return LoadMessageText(MessageNumber::kNothingToCode);
  GetSoundexEnvironment(&code_, &wordMode_);
  return nullptr;
}

void CSoundexEnvironment::Activate() {
  SetSoundexEnvironment(&code_, wordMode_);
}

CEnvironmentArray::~CEnvironmentArray() {
  DeleteEnvironments();
}

void CEnvironmentArray::DeleteEnvironments() {
  for (int i = 0; i < GetSize(); ++i)
    delete GetAt(i);
  SetSize(0);
}

}  // namespace trovex

using trovex::CEnvironment;
using trovex::Environments;
using trovex::MessageNumber;

void ResetEnvironment(void) {
  trovex::Matcher().chain.reset();
  Environments().DeleteEnvironments();
}

const char* CompileToEnvironment(const char* pattern, int regularExpression, int phonetic,
                                 int caseSensitive, int matchWords, int* number) {
  if (number != nullptr) *number = -1;
  if (pattern == nullptr || number == nullptr) {
    return trovex::LoadMessageText(MessageNumber::kEmptySubexpression);
  }
  try {
    std::unique_ptr<CEnvironment> environment;
    if (regularExpression == 0 && phonetic != 0) {
      environment = std::make_unique<trovex::CSoundexEnvironment>();
    } else {
      environment = std::make_unique<trovex::CPatternEnvironment>();
    }
    const char* error = environment->Compile(pattern, caseSensitive, matchWords);
    if (error != nullptr) return error;
    *number = Environments().Add(environment.get());
    static_cast<void>(environment.release());  // the array's from here on
    return nullptr;
  } catch (const std::bad_alloc&) {
    return trovex::LoadMessageText(MessageNumber::kMemoryOverflow);
  }
}

int ActivateEnvironment(int number) {
  CEnvironment* environment = Environments().GetAt(number);
  if (environment == nullptr) return 0;
  environment->Activate();
  return 1;
}

int RestoreEnvironment(int number) {
  CEnvironment* environment = Environments().GetAt(number);
  if (environment == nullptr) return 0;
  environment->Restore();
  return 1;
}
