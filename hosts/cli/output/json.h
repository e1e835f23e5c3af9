// Writing JSON objects, one a line.

#ifndef TROVEX_HOSTS_CLI_JSON_H
#define TROVEX_HOSTS_CLI_JSON_H

#include <cstdint>
#include <string>
#include <string_view>

namespace trovex::cli {

/// An object that is appended to a text, member by member.
class JsonObject {
 public:
  /// Begins an object at the end of `out`, which outlives this.
  explicit JsonObject(std::string& out) : out_(out) { out_ += '{'; }

  /// `value` is valid UTF-8.
  JsonObject& Text(std::string_view name, std::string_view value);
  /// The same in parts, each of whole characters: begun, given, and ended.
  void BeginText(std::string_view name);
  void AddText(std::string_view part);
  void EndText() { out_ += '"'; }
  JsonObject& Number(std::string_view name, std::int64_t value);
  JsonObject& Seconds(std::string_view name, double value);
  JsonObject& Flag(std::string_view name, bool value);
  JsonObject& Null(std::string_view name);
  /// The name of a file: as it is, if it is UTF-8; else read as Windows Latin-1 where it is not, and
  /// its bytes in Base64 as a further member, "file_base64".
  JsonObject& File(std::string_view name);
  /// Ends the object and its line.
  void End() { out_ += "}\n"; }

 private:
  void Name(std::string_view name);

  std::string& out_;
  bool first_ = true;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_JSON_H
