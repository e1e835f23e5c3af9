// Locales for tests: a host may have set any, and most machines have but few. Those that are
// missing are built from the system's sources into a folder of the test's own.

#ifndef TROVEX_TESTS_HOST_LOCALE_H
#define TROVEX_TESTS_HOST_LOCALE_H

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace trovex::testing {

/// The host's locale, for as long as the object lives; the C locale afterwards.
class HostLocale {
 public:
  explicit HostLocale(const char* name) : isSet_(std::setlocale(LC_ALL, name) != nullptr) {}
  ~HostLocale() { std::setlocale(LC_ALL, "C"); }
  HostLocale(const HostLocale&) = delete;
  HostLocale& operator=(const HostLocale&) = delete;

  bool IsSet() const { return isSet_; }

 private:
  bool isSet_;
};

/// A locale that is built for the test, such as ("de_DE", "ISO-8859-1"), and set as the host's. It
/// is not set where the system has no sources of locales.
class BuiltHostLocale {
 public:
  BuiltHostLocale(const std::string& language, const std::string& charset) {
    std::string folder = (std::filesystem::temp_directory_path() / "trovex-locale-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) return;
    folder_ = folder;
    const std::string name = language + "." + charset;
    const std::string command = "localedef -i " + language + " -f " + charset + " --no-archive '" +
                                (folder_ / name).string() + "' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) return;  // NOLINT: a command of fixed words
    setenv("LOCPATH", folder_.c_str(), 1);
    isSet_ = std::setlocale(LC_ALL, name.c_str()) != nullptr;
    unsetenv("LOCPATH");
  }
  ~BuiltHostLocale() {
    std::setlocale(LC_ALL, "C");
    std::error_code ignored;
    if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
  }
  BuiltHostLocale(const BuiltHostLocale&) = delete;
  BuiltHostLocale& operator=(const BuiltHostLocale&) = delete;

  bool IsSet() const { return isSet_; }

 private:
  std::filesystem::path folder_;
  bool isSet_ = false;
};

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_HOST_LOCALE_H
