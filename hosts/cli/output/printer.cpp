// Printing pieces.
//
// Matches may overlap or repeat each other, for the operands of an AND are searched one by one. A
// line is printed once, its colours cover the union of its matches; where matches are shown by
// themselves, every one of them is. An empty match marks its line and has nothing to show itself.

#include "hosts/cli/output/printer.h"

#include "hosts/cli/files/decoder.h"
#include "hosts/cli/files/utf8_validity.h"
#include "hosts/cli/output/json.h"
#include "hosts/cli/output/line_prefix.h"

#include <limits.h>
#include <unistd.h>
#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <optional>

namespace trovex::cli {

namespace {

/// Where less is shown than a line in so many bytes, each is looked at by itself.
constexpr std::size_t kSparse = 256;
/// In JSON, a longer line stands with the first of its matches alone.
constexpr std::size_t kLineToRepeat = std::size_t{16} * 1024;

void AppendNumber(std::int64_t number, std::string& out) {
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  out.append(digits, static_cast<std::size_t>(end - digits));
}

/// The address of a file for a link.
std::string FileAddress(std::string_view name) {
  char path[PATH_MAX];
  if (realpath(std::string(name).c_str(), path) == nullptr) return {};
  char host[256] = "";
  if (gethostname(host, sizeof host - 1) != 0) host[0] = '\0';
  std::string address = std::string("file://") + host;
  constexpr std::string_view kPlain = "/-._~";
  for (const char c : std::string_view(path)) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (letter || kPlain.find(c) != kPlain.npos) {
      address += c;
    } else {
      constexpr std::string_view kDigits = "0123456789ABCDEF";
      const auto byte = static_cast<unsigned char>(c);
      address += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return address;
}

}  // namespace

/// The output of one piece while it is written.
class Printer::Page {
 public:
  Page(const Printer& printer, const FilePiece& piece, const Found& found, PrintState& state,
       std::string& out)
      : printer_(printer), piece_(piece), found_(found), state_(state), out_(out) {
    number_ = state.linesBefore + 1;
    offset_ = piece.offset;
    unit_ = found.satisfied.begin();
    if (printer.fileNames_ && !printer.heading_) printer.AppendName(piece.name, name_);
    if (!printer.colored_) prefix_.emplace(name_, printer.nullAfterName_, printer.lineNumbers_);
    asItIs_ = StaysAsItIs();
  }

  void WriteLines();
  void WriteWithContext();
  void WriteJson();

 private:
  bool StaysAsItIs() const;
  bool Enough() const { return printer_.maxCount_ >= 0 && state_.shown >= printer_.maxCount_; }

  /// Makes `number_` that of the line.
  void GoTo(const FoundLine& found) { number_ = state_.linesBefore + found.linesBefore + 1; }

  void WriteFoundLine(const FoundLine& found);
  void WriteMatches(const FoundLine& found);
  void WriteWhole(const FoundLine& found);
  void WritePrefix(char separator, std::int64_t number, std::int64_t column, std::uint64_t offset);
  void WriteColoredPrefix(char separator, std::int64_t number);
  void WriteField(std::int64_t value, char separator);
  void WriteText(std::string_view text) {
    if (asItIs_) {
      out_ += text;
    } else {
      AppendText(text, printer_.textForm_, out_);
    }
  }
  void WriteSeparator(char separator) {
    printer_.AppendColored({&separator, 1}, printer_.palette_.separator, out_);
  }
  void WriteContext(std::string_view text, std::int64_t number, std::uint64_t offset,
                    std::uint64_t length);
  void WriteContextLine(Range line, std::int64_t number);
  std::string_view Shown(Range range);
  void WriteContextAfter(std::size_t& place, std::size_t end);
  void WriteContextBefore(std::size_t place, const FoundLine& found);
  void KeepLinesInFront(std::size_t place);
  std::size_t LinesBefore(std::size_t end, std::size_t place, std::int64_t& count) const;
  void WriteGap(std::int64_t first);

  std::uint64_t OffsetOf(std::size_t place);
  /// Where `place` stands in the file; in a text that is decoded, that has to be counted.
  std::uint64_t OffsetIfShown(std::size_t place) {
    return printer_.byteOffset_ || printer_.json_ ? OffsetOf(place) : 0;
  }

  std::int64_t CharactersBefore(std::size_t place, Range line);
  /// In characters, or for editors in bytes.
  std::int64_t ColumnOf(const FoundLine& found, std::size_t place) {
    if (printer_.output_ == OutputMode::kVimgrep)
      return static_cast<std::int64_t>(place - found.line.begin) + 1;
    return CharactersBefore(place, found.line) + 1;
  }

  JsonObject Match(Range range, Range line);
  void WriteJsonMatch(std::size_t index, const FoundLine& found);
  void WriteJsonUnit(Range unit);
  void WriteJsonLine(const FoundLine& found);
  void WriteJsonUnitAt(std::size_t begin);
  void WriteJsonContext(std::string_view text, std::int64_t number, std::uint64_t offset,
                        std::uint64_t length);
  TextForm JsonForm() const { return {true, printer_.textForm_.fromLatin1, false}; }

  const Printer& printer_;
  const FilePiece& piece_;
  const Found& found_;
  PrintState& state_;
  std::string& out_;
  std::string name_;
  /// Where nothing is coloured.
  std::optional<LinePrefix> prefix_;
  bool asItIs_ = false;
  std::string shown_;
  /// The latest place whose offset was counted, and the latest whose characters were, in which line.
  std::size_t offsetPlace_ = 0;
  std::uint64_t offset_;
  std::size_t columnLine_ = 0;
  std::size_t columnPlace_ = 0;
  std::int64_t characters_ = 0;
  /// For JSON: the next unit that satisfies the expression without a match.
  std::vector<Range>::const_iterator unit_;
  std::int64_t number_ = 1;
};

/// Where `place` stands in the file. In a text that was decoded it is counted, on from the latest place.
std::uint64_t Printer::Page::OffsetOf(std::size_t place) {
  if (piece_.decoder == nullptr) return piece_.offset + place;
  if (place < offsetPlace_ || !piece_.decoder->CountsOn()) {
    offsetPlace_ = 0;
    offset_ = piece_.offset;
  }
  offset_ += piece_.decoder->SourceLength(Piece(piece_.text, {offsetPlace_, place}));
  offsetPlace_ = place;
  return offset_;
}

/// The characters of the line before `place`, counted on from the latest place.
std::int64_t Printer::Page::CharactersBefore(std::size_t place, Range line) {
  if (printer_.textForm_.fromLatin1) return static_cast<std::int64_t>(place - line.begin);
  if (line.begin != columnLine_ || place < columnPlace_) {
    columnLine_ = columnPlace_ = line.begin;
    characters_ = 0;
  }
  characters_ += static_cast<std::int64_t>(CharactersOf(Piece(piece_.text, {columnPlace_, place})));
  columnPlace_ = place;
  return characters_;
}

/// Whether all that is shown of the piece is written as it is. Where that is little, it is not known.
bool Printer::Page::StaysAsItIs() const {
  const TextForm form = printer_.json_ ? JsonForm() : printer_.textForm_;
  if (form.visible) return false;
  if (!form.utf8) return true;
  const auto around = static_cast<std::size_t>(printer_.contextBefore_ + printer_.contextAfter_);
  const bool dense = found_.lines.size() * (around + 1) > piece_.text.size() / kSparse;
  return dense && !form.fromLatin1 && IsValidUtf8(piece_.text);
}

void Printer::Page::WriteField(std::int64_t value, char separator) {
  out_ += printer_.palette_.lineNumber;
  AppendNumber(value, out_);
  if (!printer_.palette_.lineNumber.empty()) out_ += printer_.palette_.reset;
  WriteSeparator(separator);
}

void Printer::Page::WriteColoredPrefix(char separator, std::int64_t number) {
  if (!name_.empty()) {
    out_ += name_;
    if (printer_.nullAfterName_) {
      out_ += '\0';
    } else {
      WriteSeparator(separator);
    }
  }
  if (printer_.lineNumbers_) WriteField(number, separator);
}

void Printer::Page::WritePrefix(char separator, std::int64_t number, std::int64_t column,
                                std::uint64_t offset) {
  if (prefix_.has_value()) {
    out_ += prefix_->Of(number, separator);
  } else {
    WriteColoredPrefix(separator, number);
  }
  if (printer_.column_ && column > 0) WriteField(column, separator);
  if (printer_.byteOffset_) WriteField(static_cast<std::int64_t>(offset), separator);
}

void Printer::Page::WriteWhole(const FoundLine& found) {
  const Range line = found.line;
  if (line.end - line.begin > kLineToRepeat)
    out_.reserve(out_.size() + (line.end - line.begin) + kLineToRepeat);
  if (printer_.palette_.match.empty() || found.matchCount == 0) {
    WriteText(Piece(piece_.text, line));
    out_ += '\n';
    return;
  }
  std::size_t shown = line.begin;
  for (std::size_t i = found.firstMatch; i < found.firstMatch + found.matchCount; ++i) {
    const Range& match = found_.matches[i];
    const std::size_t begin = std::clamp(match.begin, shown, line.end);
    const std::size_t end = std::clamp(match.end, begin, line.end);
    WriteText(Piece(piece_.text, {shown, begin}));
    if (end > begin) {
      out_ += printer_.palette_.match;
      WriteText(Piece(piece_.text, {begin, end}));
      out_ += printer_.palette_.reset;
    }
    shown = end;
  }
  WriteText(Piece(piece_.text, {shown, line.end}));
  out_ += '\n';
}

void Printer::Page::WriteMatches(const FoundLine& found) {
  const bool whole = printer_.output_ == OutputMode::kVimgrep;
  for (std::size_t i = found.firstMatch; i < found.firstMatch + found.matchCount; ++i) {
    const Range& match = found_.matches[i];
    const Range shown{match.begin, std::min(match.end, found.line.end)};
    if (!whole && shown.begin >= shown.end) continue;
    WritePrefix(':', number_, printer_.column_ ? ColumnOf(found, match.begin) : 0,
                OffsetIfShown(match.begin));
    if (whole) {
      WriteWhole(found);
    } else {
      out_ += printer_.palette_.match;
      WriteText(Piece(piece_.text, shown));
      if (!printer_.palette_.match.empty()) out_ += printer_.palette_.reset;
      out_ += '\n';
    }
  }
}

void Printer::Page::WriteFoundLine(const FoundLine& found) {
  ++state_.shown;
  if (printer_.output_ != OutputMode::kLines && found.matchCount > 0) return WriteMatches(found);
  const std::size_t place =
      found.matchCount > 0 ? found_.matches[found.firstMatch].begin : found.line.begin;
  WritePrefix(':', number_, printer_.column_ ? ColumnOf(found, place) : 0,
              OffsetIfShown(found.line.begin));
  WriteWhole(found);
}

void Printer::Page::WriteLines() {
  for (const FoundLine& found : found_.lines) {
    if (Enough()) return;
    GoTo(found);
    WriteFoundLine(found);
  }
}

/// `text` is what is shown of a line that has `length` bytes in the file and begins at `offset`.
void Printer::Page::WriteContext(std::string_view text, std::int64_t number, std::uint64_t offset,
                                 std::uint64_t length) {
  state_.afterShown = number + 1;
  if (printer_.json_) return WriteJsonContext(text, number, offset, length);
  WritePrefix('-', number, 0, offset);
  out_.append(text) += '\n';
}

void Printer::Page::WriteContextLine(Range line, std::int64_t number) {
  const std::uint64_t offset = OffsetIfShown(line.begin);
  const std::uint64_t length = printer_.json_ ? OffsetOf(line.end) - offset : 0;
  WriteContext(Shown(line), number, offset, length);
}

/// What is shown of a range; valid until the next call.
std::string_view Printer::Page::Shown(Range range) {
  const std::string_view text = Piece(piece_.text, range);
  if (asItIs_) return text;
  shown_.clear();
  AppendText(text, printer_.json_ ? JsonForm() : printer_.textForm_, shown_);
  return shown_;
}

/// Marks that lines have been left out before line `first`.
void Printer::Page::WriteGap(std::int64_t first) {
  if (state_.afterShown == 0 || state_.afterShown >= first || printer_.json_) return;
  printer_.AppendColored("--", printer_.palette_.separator, out_);
  out_ += '\n';
}

/// Shows the lines of the text from `place` to `end`, which follow one that was shown, as far as they are context
/// of it; moves `place` after them.
void Printer::Page::WriteContextAfter(std::size_t& place, std::size_t end) {
  for (Range line; state_.contextToCome > 0 && place < end; --state_.contextToCome) {
    NextUnit(piece_.text, Scope::kLine, place, line);
    WriteContextLine(line, state_.afterShown);
  }
}

/// Where the `count` lines before `end`, which is the begin of a line, begin, or those from `place` on; lowers
/// `count` by what is missing.
std::size_t Printer::Page::LinesBefore(std::size_t end, std::size_t place,
                                       std::int64_t& count) const {
  std::int64_t lines = 0;
  for (; lines < count && end > place; ++lines)
    end = LineAround(piece_.text, end - 1).begin;
  count = lines;
  return end;
}

/// Shows the lines before the line that is found, from `place` on and those of the pieces before, as far as
/// they are context of it.
void Printer::Page::WriteContextBefore(std::size_t place, const FoundLine& found) {
  std::int64_t count = printer_.contextBefore_;
  place = LinesBefore(found.line.begin, place, count);
  auto& inFront = state_.mayBeContext;
  const auto missing = static_cast<std::size_t>(printer_.contextBefore_ - count);
  if (inFront.size() > missing)
    inFront.erase(inFront.begin(), inFront.end() - static_cast<std::ptrdiff_t>(missing));
  std::int64_t number = number_ - count - static_cast<std::int64_t>(inFront.size());
  WriteGap(number);
  for (const LineInFront& line : inFront)
    WriteContext(line.shown, number++, line.offset, line.length);
  inFront.clear();
  for (Range line; number < number_; ++number) {
    NextUnit(piece_.text, Scope::kLine, place, line);
    WriteContextLine(line, number);
  }
}

/// Keeps what may be context of lines of the next piece: of the lines from `place` on, none of which was shown.
void Printer::Page::KeepLinesInFront(std::size_t place) {
  std::int64_t count = printer_.contextBefore_;
  place = LinesBefore(piece_.text.size(), place, count);
  auto& inFront = state_.mayBeContext;
  for (Range line; NextUnit(piece_.text, Scope::kLine, place, line);) {
    const std::uint64_t offset = OffsetIfShown(line.begin);
    const std::uint64_t length = printer_.json_ ? OffsetOf(line.end) - offset : 0;
    inFront.push_back({std::string(Shown(line)), offset, length});
  }
  while (inFront.size() > static_cast<std::size_t>(printer_.contextBefore_))
    inFront.pop_front();
}

/// Lines with their context. Context that touches is joined; a gap is marked.
void Printer::Page::WriteWithContext() {
  if (printer_.json_ && printer_.scope_ == Scope::kFile) WriteJsonUnitAt(0);
  std::size_t place = 0;
  for (const FoundLine& found : found_.lines) {
    if (Enough()) break;
    WriteContextAfter(place, found.line.begin);
    GoTo(found);
    WriteContextBefore(place, found);
    if (printer_.json_) {
      WriteJsonLine(found);
    } else {
      WriteFoundLine(found);
    }
    state_.afterShown = number_ + 1;
    state_.contextToCome = printer_.contextAfter_;
    place = NextLineBegin(piece_.text, found.line.end);
  }
  WriteContextAfter(place, piece_.text.size());
  if (!printer_.HasEnough(state_)) KeepLinesInFront(place);
}

JsonObject Printer::Page::Match(Range range, Range line) {
  JsonObject object(out_);
  const std::size_t begin = std::max(line.begin, range.begin);
  object.Text("type", "match").File(piece_.name).Number("line", number_);
  object.Number("column", CharactersBefore(begin, line) + 1);
  object.Number("byte_column", static_cast<std::int64_t>(begin - line.begin) + 1);
  object.Number("start", static_cast<std::int64_t>(OffsetOf(range.begin)));
  object.Number("end", static_cast<std::int64_t>(OffsetOf(range.end)));
  return object;
}

void Printer::Page::WriteJsonMatch(std::size_t index, const FoundLine& found) {
  const Range match = found_.matches[index];
  JsonObject object = Match(match, found.line);
  object.Text("text", Shown(match));
  if (index == found.firstMatch || found.line.end - found.line.begin <= kLineToRepeat)
    object.Text("line_text", Shown(found.line));
  if (printer_.tag_ > 0) {
    object.Number("tag", printer_.tag_);
  } else {
    object.Null("tag");
  }
  object.Flag("negative", false).End();
}

void Printer::Page::WriteJsonUnit(Range unit) {
  JsonObject object = Match(unit, unit);
  // A whole file may be huge, and its reader has it.
  if (printer_.scope_ != Scope::kFile) {
    object.Text("text", Shown(unit));
    object.Text("line_text", Shown(LineAround(piece_.text, unit.begin)));
  }
  object.Null("tag").Flag("negative", true).End();
}

void Printer::Page::WriteJsonContext(std::string_view text, std::int64_t number,
                                     std::uint64_t offset, std::uint64_t length) {
  JsonObject object(out_);
  object.Text("type", "context").File(piece_.name).Number("line", number);
  object.Number("start", static_cast<std::int64_t>(offset));
  object.Number("end", static_cast<std::int64_t>(offset + length));
  object.Text("line_text", text).End();
}

void Printer::Page::WriteJsonUnitAt(std::size_t begin) {
  if (unit_ == found_.satisfied.end() || unit_->begin != begin || Enough()) return;
  WriteJsonUnit(*unit_++);
  ++state_.shown;
}

/// The unit that begins with the line, or the matches on it.
void Printer::Page::WriteJsonLine(const FoundLine& found) {
  WriteJsonUnitAt(found.line.begin);
  if (found.matchCount == 0 || Enough()) return;
  for (std::size_t i = found.firstMatch; i < found.firstMatch + found.matchCount; ++i)
    WriteJsonMatch(i, found);
  ++state_.shown;
}

/// Matches, and units without one, in their order.
void Printer::Page::WriteJson() {
  if (printer_.scope_ == Scope::kFile) WriteJsonUnitAt(0);
  for (const FoundLine& found : found_.lines) {
    if (Enough()) return;
    GoTo(found);
    WriteJsonLine(found);
  }
}

Printer::Printer(const Options& options, const Display& display)
    : output_(options.output),
      json_(options.json),
      scope_(options.scope),
      fileNames_(options.fileNames),
      lineNumbers_(options.lineNumbers),
      column_(options.column || options.output == OutputMode::kVimgrep),
      byteOffset_(options.byteOffset),
      heading_(options.heading && !options.json),
      includeZero_(options.includeZero),
      nullAfterName_(options.nullAfterName),
      links_(display.links),
      hasContext_(options.output == OutputMode::kLines &&
                  (options.contextBefore > 0 || options.contextAfter > 0)),
      contextBefore_(options.contextBefore),
      contextAfter_(options.contextAfter),
      maxCount_(options.maxCount),
      tag_(options.tag),
      nameForm_{display.terminal && display.utf8, false, display.terminal},
      textForm_{display.utf8, options.encoding == Encoding::kWindows1252,
                display.terminal && !options.raw},
      palette_(Palette::For(options.colors, display.colors)),
      colored_(display.colors) {
  countsLines_ = ShowsContents() && (lineNumbers_ || json_ || hasContext_);
  need_ = FindNeed(options);
}

Need Printer::FindNeed(const Options& options) const {
  if (ShowsContents()) {
    const bool lines = output_ == OutputMode::kLines && !json_ && palette_.match.empty();
    return lines && !column_ && !options.stats ? Need::kLines : Need::kMatches;
  }
  if (options.stats) return Need::kMatches;
  return output_ == OutputMode::kCount ? Need::kCount : Need::kVerdict;
}

void Printer::AppendColored(std::string_view text, const std::string& color,
                            std::string& out) const {
  out.append(color).append(text);
  if (!color.empty()) out += palette_.reset;
}

void Printer::AppendName(std::string_view name, std::string& out) const {
  const std::string address = links_ ? FileAddress(name) : std::string();
  if (!address.empty()) out += "\033]8;;" + address + "\033\\";
  out += palette_.fileName;
  AppendText(name, nameForm_, out);
  if (!palette_.fileName.empty()) out += palette_.reset;
  if (!address.empty()) out += "\033]8;;\033\\";
}

std::string Printer::Heading(std::string_view name) const {
  std::string heading;
  if (!heading_ || !ShowsContents()) return heading;
  AppendName(name, heading);
  heading += nullAfterName_ ? '\0' : '\n';
  return heading;
}

std::string Printer::Separator() const {
  if (heading_ && ShowsContents()) return "\n";
  if (!hasContext_ || json_) return {};
  std::string separator;
  AppendColored("--", palette_.separator, separator);
  return separator + "\n";
}

void Printer::PrintPiece(const FilePiece& piece, const Found& found, PrintState& state,
                         std::string& out) const {
  if (!ShowsContents()) {
    state.shown += found.linesWithMatches + found.unitsWithout;
    return;
  }
  if (!hasContext_ && !found.Any()) return;
  Page page(*this, piece, found, state, out);
  if (hasContext_) return page.WriteWithContext();
  if (json_) return page.WriteJson();
  page.WriteLines();
}

void Printer::PrintFile(std::string_view name, const FileCounts& counts, std::string& out) const {
  const auto end = [&] { out += nullAfterName_ ? '\0' : '\n'; };
  if (output_ == OutputMode::kCount) {
    std::int64_t count = counts.lines + counts.units;
    if (maxCount_ >= 0) count = std::min(count, maxCount_);
    if (count == 0 && (counts.incomplete || (!includeZero_ && fileNames_))) return;
    if (json_) {
      JsonObject(out).Text("type", "count").File(name).Number("count", count).End();
      return;
    }
    if (fileNames_) {
      AppendName(name, out);
      if (nullAfterName_) {
        out += '\0';
      } else {
        AppendColored(":", palette_.separator, out);
      }
    }
    AppendNumber(count, out);
    out += '\n';
    return;
  }
  const bool wholeFile = ShowsContents() && scope_ == Scope::kFile && counts.units > 0;
  const bool listed = (output_ == OutputMode::kFiles && counts.Any()) ||
                      (output_ == OutputMode::kFilesWithout && !counts.Any() && !counts.incomplete);
  if (json_) {
    if (listed) JsonObject(out).Text("type", "file").File(name).End();
  } else if (listed || wholeFile) {
    AppendName(name, out);
    end();
  }
}

void Printer::PrintBinary(std::string_view name, std::string& out) const {
  if (json_) {
    JsonObject(out).Text("type", "binary").File(name).End();
    return;
  }
  out += "Binary file ";
  AppendText(name, nameForm_, out);
  out += " matches\n";
}

}  // namespace trovex::cli
