// What was found, as the user sees it: lines with context, the matches alone, counts, names or JSON.
//
// A file is printed piece by piece, each on a page of its own. What a piece has to know of those before it is
// carried from one to the next; where that is only the number of lines, pieces can be printed at the same time.
// Lines that are neither found nor context of one that is are not looked at. Of a line there may be more to be shown
// than fits into memory; so nothing is kept that can be written.

#ifndef TROVEX_HOSTS_CLI_PRINTER_H
#define TROVEX_HOSTS_CLI_PRINTER_H

#include "hosts/cli/command/options.h"
#include "hosts/cli/output/terminal.h"
#include "hosts/cli/output/visible_text.h"
#include "hosts/cli/search/found.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace trovex::cli {

class Decoder;
class Input;
class Outlet;

/// What was found in a file, or in several.
struct FileCounts {
  std::int64_t matches = 0;  // and units that satisfy the expression without one
  std::int64_t lines = 0;
  std::int64_t units = 0;  // those without a match
  std::int64_t bytes = 0;
  /// A part was not searched to its end, so nobody knows whether the file has no more.
  bool incomplete = false;

  bool Any() const { return lines > 0 || units > 0; }

  FileCounts& operator+=(const FileCounts& other) {
    matches += other.matches;
    lines += other.lines;
    units += other.units;
    bytes += other.bytes;
    incomplete = incomplete || other.incomplete;
    return *this;
  }
};

/// A piece of a file, of whole lines.
struct FilePiece {
  std::string_view name;
  std::string_view text;
  /// Where it begins in the file.
  std::uint64_t offset = 0;
  /// What made the text of the file's bytes; null where they are the same.
  const Decoder* decoder = nullptr;
  /// Where it can be read again; null where it cannot.
  const Input* source = nullptr;
};

/// A line of a piece before, without its end: what is shown of it, or if that is long and can be read again, only
/// where it stands. Offset and length are in the file, and known where they are shown or needed.
struct LineInFront {
  std::optional<std::string> shown;
  std::uint64_t offset;
  std::uint64_t length;
};

/// What the output of a piece has to know of the pieces before it.
struct PrintState {
  /// How many lines they have. Not changed by printing.
  std::int64_t linesBefore = 0;
  /// How many lines that were found have been shown.
  std::int64_t shown = 0;
  /// The lines in front that may become context, and how many lines of context are still to come.
  std::deque<LineInFront> mayBeContext;
  std::int64_t contextToCome = 0;
  /// The number of the line after the last one that was shown; 0: none was.
  std::int64_t afterShown = 0;
};

class Printer {
 public:
  Printer(const Options& options, const Display& display);

  /// What has to be known of each text.
  Need NeedOfSearch() const { return need_; }
  /// Whether a piece can be printed only when all before it are.
  bool InOrder() const { return hasContext_ || maxCount_ >= 0; }
  /// Whether lines have to be counted.
  bool CountsLines() const { return countsLines_; }
  /// Whether no further line is asked for.
  bool HasEnough(const PrintState& state) const {
    return maxCount_ >= 0 && state.shown >= maxCount_ && state.contextToCome == 0;
  }
  /// Forgets what comes after the last line that is asked for. With InOrder(), pieces come in order.
  void KeepWanted(Found& found, const PrintState& state) const {
    if (maxCount_ >= 0) found.KeepLines(std::max<std::int64_t>(0, maxCount_ - state.shown));
  }
  /// What stands above the output of a file.
  std::string Heading(std::string_view name) const;
  /// What stands between the outputs of two files.
  std::string Separator() const;

  /// The output of one piece. With InOrder(), pieces come in order.
  class Page;
  /// Appends what is told of a file as a whole, when it is searched.
  void PrintFile(std::string_view name, const FileCounts& counts, std::string& out) const;
  /// Appends that a binary file has matches, where lines would be shown.
  void PrintBinary(std::string_view name, std::string& out) const;
  /// Whether lines or matches are shown.
  bool ShowsContents() const {
    return output_ == OutputMode::kLines || output_ == OutputMode::kOnlyMatching ||
           output_ == OutputMode::kVimgrep;
  }

 private:
  Need FindNeed(const Options& options) const;
  void AppendName(std::string_view name, std::string& out) const;
  void AppendColored(std::string_view text, const std::string& color, std::string& out) const;

  OutputMode output_;
  bool json_;
  Scope scope_;
  bool fileNames_;
  bool lineNumbers_;
  bool column_;
  bool byteOffset_;
  bool heading_;
  bool includeZero_;
  bool nullAfterName_;
  bool links_;
  bool hasContext_;
  std::int64_t contextBefore_;
  std::int64_t contextAfter_;
  std::int64_t maxCount_;
  int tag_;
  bool countsLines_;
  Need need_;
  TextForm nameForm_;
  TextForm textForm_;
  Palette palette_;
  bool colored_;
};

class Printer::Page {
 public:
  /// All of these outlive the page.
  Page(const Printer& printer, const FilePiece& piece, PrintState& state, Outlet& outlet);
  ~Page();
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  /// Writes what is to be seen of a portion of what is found in the piece. Portions come in order.
  void Write(const Found& found);
  /// Nothing more is found in the piece.
  void End();

 private:
  class Writing;

  const Printer& printer_;
  const FilePiece& piece_;
  PrintState& state_;
  Outlet& outlet_;
  /// Most pieces have nothing to show.
  std::unique_ptr<Writing> writing_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_PRINTER_H
