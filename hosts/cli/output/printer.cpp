// Printing pieces.
//
// Matches may overlap or repeat each other, for the operands of an AND are searched one by one. A
// line is printed once, its colours cover the union of its matches; where matches are shown by
// themselves, every one of them is. An empty match marks its line and has nothing to show itself.

#include "hosts/cli/output/printer.h"

#include "hosts/cli/files/decoder.h"
#include "hosts/cli/files/input.h"
#include "hosts/cli/files/utf8_validity.h"
#include "hosts/cli/output/json.h"
#include "hosts/cli/output/line_prefix.h"
#include "hosts/cli/output/outlet.h"

#include <limits.h>
#include <unistd.h>
#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <utility>
#include <variant>

namespace trovex::cli {

namespace {

/// Where less is shown than a line in so many bytes, each is looked at by itself.
constexpr std::size_t kSparse = 256;
/// Longer lines that may become context are read again rather than kept.
constexpr std::size_t kLineToKeep = std::size_t{4} * 1024;
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

/// Where places of a piece stand in its file. In a text that was decoded they are counted, on from the latest one.
class PlaceCount {
 public:
  explicit PlaceCount(const FilePiece& piece) : piece_(piece) {}

  std::size_t Latest() const { return latest_; }

  std::uint64_t OffsetOf(std::size_t place) {
    if (piece_.decoder == nullptr) return piece_.offset + place;
    if (count_ == nullptr || place < latest_) {
      count_ = piece_.decoder->Count();
      latest_ = 0;
    }
    const std::uint64_t length = count_->Add(Piece(piece_.text, {latest_, place}));
    latest_ = place;
    return piece_.offset + length;
  }

 private:
  const FilePiece& piece_;
  std::unique_ptr<SourceCount> count_;
  std::size_t latest_ = 0;
};

}  // namespace

/// The output of one piece while it is written.
class Printer::Page::Writing {
 public:
  Writing(const Printer& printer, const FilePiece& piece, PrintState& state, Outlet& outlet)
      : printer_(printer),
        piece_(piece),
        state_(state),
        outlet_(outlet),
        out_(outlet.Text()),
        begins_(piece),
        ends_(piece) {
    number_ = state.linesBefore + 1;
    if (printer.fileNames_ && !printer.heading_) printer.AppendName(piece.name, name_);
    if (!printer.colored_) prefix_.emplace(name_, printer.nullAfterName_, printer.lineNumbers_);
  }

  void Write(const Found& found);
  void EndContext();

 private:
  void WriteLines();
  void WriteWithContext();
  void WriteJson();

  void SeeWhetherAsItIs();
  bool Enough() const { return printer_.maxCount_ >= 0 && state_.shown >= printer_.maxCount_; }

  /// Makes `number_` that of the line.
  void GoTo(const FoundLine& found) { number_ = state_.linesBefore + found.linesBefore + 1; }
  /// Whether there are further matches of the line.
  bool IsUnfinished(const FoundLine& found) const {
    return found_->lastGoesOn && &found == &found_->lines.back();
  }

  void WriteFoundLine(const FoundLine& found);
  void WriteMatches(const FoundLine& found);
  void WriteColored(Range match, Range line);
  void WritePrefix(char separator, std::int64_t number, std::int64_t column, std::uint64_t offset);
  void WriteColoredPrefix(char separator, std::int64_t number);
  void WriteField(std::int64_t value, char separator);
  template <typename Take>
  void ForEachPart(std::string_view text, Take take);
  void WriteShort(std::string_view text) {
    if (asItIs_) {
      out_ += text;
    } else {
      AppendText(text, printer_.textForm_, out_);
    }
  }
  void WriteText(std::string_view text) {
    if (text.size() <= kPart) return WriteShort(text);
    ForEachPart(text, [this](std::string_view part) { WriteShort(part); });
  }
  void WriteText(Range range) { WriteText(Piece(piece_.text, range)); }
  void EndLine() {
    out_ += '\n';
    outlet_.Pour();
  }
  void WriteSeparator(char separator) {
    printer_.AppendColored({&separator, 1}, printer_.palette_.separator, out_);
  }
  template <typename WriteLine>
  void WriteContext(std::int64_t number, std::uint64_t offset, std::uint64_t length,
                    WriteLine writeLine);
  void WriteContextLine(Range line, std::int64_t number);
  void WriteLineInFront(const LineInFront& line, std::int64_t number);
  template <typename Take>
  void ReadAgain(const LineInFront& line, Take take);
  void KeepInFront(Range line);
  std::string_view Shown(std::string_view text);
  std::string_view Converted(std::string_view text);
  void WriteContextAfter(std::size_t& place, std::size_t end);
  void WriteContextBefore(std::size_t place, const FoundLine& found);
  void KeepLinesInFront(std::size_t place);
  std::size_t LinesBefore(std::size_t end, std::size_t place, std::int64_t& count) const;
  void WriteGap(std::int64_t first);

  std::uint64_t OffsetOf(std::size_t place) { return begins_.OffsetOf(place); }
  std::uint64_t OffsetBehind(std::size_t begin, std::size_t end);
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
  void WriteJsonText(JsonObject& object, std::string_view name, Range range);
  void WriteJsonMatch(Range match, Range line, bool withLine);
  void WriteJsonUnit(Range unit);
  void WriteJsonLine(const FoundLine& found);
  void WriteJsonUnitAt(std::size_t begin);
  TextForm JsonForm() const { return {true, printer_.textForm_.fromLatin1, false}; }

  /// Texts that are longer are written in parts.
  static constexpr std::size_t kPart = std::size_t{64} * 1024;

  const Printer& printer_;
  const FilePiece& piece_;
  PrintState& state_;
  Outlet& outlet_;
  std::string& out_;
  /// The portion at hand.
  const Found* found_ = nullptr;
  std::string name_;
  /// Where nothing is coloured.
  std::optional<LinePrefix> prefix_;
  /// Whether all that is shown of the piece is known to be written as it is, and whether that was looked for.
  bool asItIs_ = false;
  bool sawWhetherAsItIs_ = false;
  /// Of a line that is shown with its matches in colour: what is not shown yet begins here.
  std::size_t unshown_ = 0;
  /// After the last line that was shown with its context.
  std::size_t afterShown_ = 0;
  std::string shown_;
  /// Of places that something begins at, which come in order, and of those that something ends at.
  PlaceCount begins_;
  PlaceCount ends_;
  /// The latest place whose characters were counted, in which line.
  std::size_t columnLine_ = 0;
  std::size_t columnPlace_ = 0;
  std::int64_t characters_ = 0;
  /// For JSON: the next unit of the portion that satisfies the expression without a match.
  std::vector<Range>::const_iterator unit_;
  std::int64_t number_ = 1;
};

/// Where `end` stands in the file, of what begins at `begin`, which was asked for just now. Ends need not be in order,
/// and then what is shorter is counted again, from the begin of its line.
std::uint64_t Printer::Page::Writing::OffsetBehind(std::size_t begin, std::size_t end) {
  const Decoder* const decoder = piece_.decoder;
  if (decoder == nullptr) return piece_.offset + end;
  if (decoder->CountsOn())
    return OffsetOf(begin) + decoder->SourceLength(Piece(piece_.text, {begin, end}));
  if (end >= ends_.Latest()) return ends_.OffsetOf(end);
  const auto count = decoder->Count();
  const std::uint64_t before =
      count->Add(Piece(piece_.text, {LineAround(piece_.text, begin).begin, begin}));
  return OffsetOf(begin) + count->Add(Piece(piece_.text, {begin, end})) - before;
}

/// The characters of the line before `place`, counted on from the latest place.
std::int64_t Printer::Page::Writing::CharactersBefore(std::size_t place, Range line) {
  if (printer_.textForm_.fromLatin1) return static_cast<std::int64_t>(place - line.begin);
  if (line.begin != columnLine_ || place < columnPlace_) {
    columnLine_ = columnPlace_ = line.begin;
    characters_ = 0;
  }
  characters_ += static_cast<std::int64_t>(CharactersOf(Piece(piece_.text, {columnPlace_, place})));
  columnPlace_ = place;
  return characters_;
}

/// Sees whether all that is shown of the piece is written as it is. Where that is little, it does not matter.
void Printer::Page::Writing::SeeWhetherAsItIs() {
  const TextForm form = printer_.json_ ? JsonForm() : printer_.textForm_;
  const auto around = static_cast<std::size_t>(printer_.contextBefore_ + printer_.contextAfter_);
  const bool dense = found_->lines.size() * (around + 1) > piece_.text.size() / kSparse;
  if (form.utf8 && !dense) return;
  sawWhetherAsItIs_ = true;
  asItIs_ = !form.visible && (!form.utf8 || (!form.fromLatin1 && IsValidUtf8(piece_.text)));
}

/// Gives a text to `take` in parts of whole characters, and hands on what has been written.
template <typename Take>
void Printer::Page::Writing::ForEachPart(std::string_view text, Take take) {
  while (!text.empty()) {
    const std::string_view part = WholeCharacters(text, kPart);
    take(part);
    text.remove_prefix(part.size());
    if (!text.empty()) outlet_.Pour();
  }
}

void Printer::Page::Writing::WriteField(std::int64_t value, char separator) {
  out_ += printer_.palette_.lineNumber;
  AppendNumber(value, out_);
  if (!printer_.palette_.lineNumber.empty()) out_ += printer_.palette_.reset;
  WriteSeparator(separator);
}

void Printer::Page::Writing::WriteColoredPrefix(char separator, std::int64_t number) {
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

void Printer::Page::Writing::WritePrefix(char separator, std::int64_t number, std::int64_t column,
                                         std::uint64_t offset) {
  if (prefix_.has_value()) {
    out_ += prefix_->Of(number, separator);
  } else {
    WriteColoredPrefix(separator, number);
  }
  if (printer_.column_ && column > 0) WriteField(column, separator);
  if (printer_.byteOffset_) WriteField(static_cast<std::int64_t>(offset), separator);
}

/// Writes the line up to the end of `match`, which is coloured.
void Printer::Page::Writing::WriteColored(Range match, Range line) {
  const std::size_t begin = std::clamp(match.begin, unshown_, line.end);
  const std::size_t end = std::clamp(match.end, begin, line.end);
  WriteText(Range{unshown_, begin});
  if (end > begin) {
    out_ += printer_.palette_.match;
    WriteText(Range{begin, end});
    out_ += printer_.palette_.reset;
  }
  unshown_ = end;
  outlet_.Pour();
}

/// Each match by itself, or for editors its line.
void Printer::Page::Writing::WriteMatches(const FoundLine& found) {
  const bool whole = printer_.output_ == OutputMode::kVimgrep;
  for (std::size_t i = found.firstMatch; i < found.firstMatch + found.matchCount; ++i) {
    const Range& match = found_->matches[i];
    unshown_ = whole ? found.line.begin : match.begin;
    if (!whole && match.begin >= std::min(match.end, found.line.end)) continue;
    WritePrefix(':', number_, printer_.column_ ? ColumnOf(found, match.begin) : 0,
                OffsetIfShown(match.begin));
    if (!printer_.palette_.match.empty()) {
      WriteColored(match, found.line);
    } else if (!whole) {
      WriteText(Range{match.begin, std::min(match.end, found.line.end)});
    }
    if (whole) WriteText(Range{unshown_, found.line.end});
    EndLine();
  }
}

void Printer::Page::Writing::WriteFoundLine(const FoundLine& found) {
  if (!found.goesOn) ++state_.shown;
  if (printer_.output_ != OutputMode::kLines && found.matched) return WriteMatches(found);
  const bool colored = found.matchCount > 0 && !printer_.palette_.match.empty();
  if (!found.goesOn) {
    const std::size_t place =
        found.matchCount > 0 ? found_->matches[found.firstMatch].begin : found.line.begin;
    WritePrefix(':', number_, printer_.column_ ? ColumnOf(found, place) : 0,
                OffsetIfShown(found.line.begin));
    unshown_ = found.line.begin;
  }
  if (colored) {
    for (std::size_t i = found.firstMatch; i < found.firstMatch + found.matchCount; ++i)
      WriteColored(found_->matches[i], found.line);
  }
  if (IsUnfinished(found)) return;
  WriteText(Range{unshown_, found.line.end});
  EndLine();
}

void Printer::Page::Writing::WriteLines() {
  for (const FoundLine& found : found_->lines) {
    if (Enough() && !found.goesOn) return;
    GoTo(found);
    WriteFoundLine(found);
  }
}

/// Writes a line of context that has `length` bytes in the file and begins at `offset`. `writeLine` gives what it is
/// told to call the line in parts of whole characters.
template <typename WriteLine>
void Printer::Page::Writing::WriteContext(std::int64_t number, std::uint64_t offset,
                                          std::uint64_t length, WriteLine writeLine) {
  state_.afterShown = number + 1;
  if (!printer_.json_) {
    WritePrefix('-', number, 0, offset);
    writeLine([this](std::string_view part) { out_ += part; });
    return EndLine();
  }
  JsonObject object(out_);
  object.Text("type", "context").File(piece_.name).Number("line", number);
  object.Number("start", static_cast<std::int64_t>(offset));
  object.Number("end", static_cast<std::int64_t>(offset + length));
  object.BeginText("line_text");
  writeLine([&object](std::string_view part) { object.AddText(part); });
  object.EndText();
  object.End();
  outlet_.Pour();
}

void Printer::Page::Writing::WriteContextLine(Range line, std::int64_t number) {
  const std::uint64_t offset = OffsetIfShown(line.begin);
  const std::uint64_t length = printer_.json_ ? OffsetBehind(line.begin, line.end) - offset : 0;
  WriteContext(number, offset, length, [&](auto write) {
    ForEachPart(Piece(piece_.text, line), [&](std::string_view part) { write(Shown(part)); });
  });
}

void Printer::Page::Writing::WriteLineInFront(const LineInFront& line, std::int64_t number) {
  WriteContext(number, line.offset, line.length, [&](auto write) {
    if (line.shown.has_value()) return ForEachPart(*line.shown, write);
    ReadAgain(line, [&](std::string_view part) {
      ForEachPart(part, [&](std::string_view shorter) { write(Converted(shorter)); });
    });
  });
}

/// Gives a line that was not kept to `take` in parts of whole characters. Where the file has changed meanwhile, it is
/// what stands there now.
template <typename Take>
void Printer::Page::Writing::ReadAgain(const LineInFront& line, Take take) {
  std::string read(kPart, '\0');
  std::string_view unused;  // at the begin of what was read
  for (std::uint64_t done = 0; done < line.length;) {
    const std::size_t wanted = static_cast<std::size_t>(
        std::min<std::uint64_t>(kPart - unused.size(), line.length - done));
    std::copy(unused.begin(), unused.end(), read.begin());
    const auto count =
        piece_.source->ReadAt(read.data() + unused.size(), wanted, line.offset + done);
    const auto* const size = std::get_if<std::size_t>(&count);
    if (size == nullptr || *size == 0) break;
    done += *size;
    unused = std::string_view(read).substr(0, unused.size() + *size);
    if (done == line.length) break;
    if (unused.size() < kPart / 2) continue;
    const std::string_view part = WholeCharacters(unused, unused.size() - 4);
    take(part);
    unused.remove_prefix(part.size());
  }
  take(unused);
}

/// What is shown of a short text; valid until the next call.
std::string_view Printer::Page::Writing::Shown(std::string_view text) {
  return asItIs_ ? text : Converted(text);
}

/// The same of a text that is not of the piece.
std::string_view Printer::Page::Writing::Converted(std::string_view text) {
  shown_.clear();
  AppendText(text, printer_.json_ ? JsonForm() : printer_.textForm_, shown_);
  return shown_;
}

/// Marks that lines have been left out before line `first`.
void Printer::Page::Writing::WriteGap(std::int64_t first) {
  if (state_.afterShown == 0 || state_.afterShown >= first || printer_.json_) return;
  printer_.AppendColored("--", printer_.palette_.separator, out_);
  out_ += '\n';
}

/// Shows the lines of the text from `place` to `end`, which follow one that was shown, as far as they are context
/// of it; moves `place` after them.
void Printer::Page::Writing::WriteContextAfter(std::size_t& place, std::size_t end) {
  for (Range line; state_.contextToCome > 0 && place < end; --state_.contextToCome) {
    NextUnit(piece_.text, Scope::kLine, place, line);
    WriteContextLine(line, state_.afterShown);
  }
}

/// Where the `count` lines before `end`, which is the begin of a line, begin, or those from `place` on; lowers
/// `count` by what is missing.
std::size_t Printer::Page::Writing::LinesBefore(std::size_t end, std::size_t place,
                                                std::int64_t& count) const {
  std::int64_t lines = 0;
  for (; lines < count && end > place; ++lines)
    end = LineAround(piece_.text, end - 1).begin;
  count = lines;
  return end;
}

/// Shows the lines before the line that is found, from `place` on and those of the pieces before, as far as
/// they are context of it.
void Printer::Page::Writing::WriteContextBefore(std::size_t place, const FoundLine& found) {
  std::int64_t count = printer_.contextBefore_;
  place = LinesBefore(found.line.begin, place, count);
  auto& inFront = state_.mayBeContext;
  const auto missing = static_cast<std::size_t>(printer_.contextBefore_ - count);
  if (inFront.size() > missing)
    inFront.erase(inFront.begin(), inFront.end() - static_cast<std::ptrdiff_t>(missing));
  std::int64_t number = number_ - count - static_cast<std::int64_t>(inFront.size());
  WriteGap(number);
  for (const LineInFront& line : inFront)
    WriteLineInFront(line, number++);
  inFront.clear();
  for (Range line; number < number_; ++number) {
    NextUnit(piece_.text, Scope::kLine, place, line);
    WriteContextLine(line, number);
  }
}

/// Keeps what may be context of lines of the next piece: of the lines from `place` on, none of which was shown.
void Printer::Page::Writing::KeepLinesInFront(std::size_t place) {
  std::int64_t count = printer_.contextBefore_;
  place = LinesBefore(piece_.text.size(), place, count);
  for (Range line; NextUnit(piece_.text, Scope::kLine, place, line);)
    KeepInFront(line);
  auto& inFront = state_.mayBeContext;
  while (inFront.size() > static_cast<std::size_t>(printer_.contextBefore_))
    inFront.pop_front();
}

void Printer::Page::Writing::KeepInFront(Range line) {
  const std::string_view text = Piece(piece_.text, line);
  auto& inFront = state_.mayBeContext;
  if (text.size() > kLineToKeep && piece_.source != nullptr) {
    inFront.push_back({std::nullopt, piece_.offset + line.begin, text.size()});
    return;
  }
  const std::uint64_t offset = OffsetIfShown(line.begin);
  const std::uint64_t length = printer_.json_ ? OffsetBehind(line.begin, line.end) - offset : 0;
  std::string shown;
  ForEachPart(text, [&](std::string_view part) { shown += Shown(part); });
  inFront.push_back({std::move(shown), offset, length});
}

/// Lines with their context. Context that touches is joined; a gap is marked.
void Printer::Page::Writing::WriteWithContext() {
  if (printer_.json_ && printer_.scope_ == Scope::kFile) WriteJsonUnitAt(0);
  for (const FoundLine& found : found_->lines) {
    if (Enough() && !found.goesOn) break;
    GoTo(found);
    if (!found.goesOn) {
      WriteContextAfter(afterShown_, found.line.begin);
      WriteContextBefore(afterShown_, found);
    }
    if (printer_.json_) {
      WriteJsonLine(found);
    } else {
      WriteFoundLine(found);
    }
    state_.afterShown = number_ + 1;
    state_.contextToCome = printer_.contextAfter_;
    afterShown_ = NextLineBegin(piece_.text, found.line.end);
  }
}

/// The context after the last line of the piece that was shown, and what may be context of the next piece's.
void Printer::Page::Writing::EndContext() {
  WriteContextAfter(afterShown_, piece_.text.size());
  if (!printer_.HasEnough(state_)) KeepLinesInFront(afterShown_);
}

JsonObject Printer::Page::Writing::Match(Range range, Range line) {
  JsonObject object(out_);
  const std::size_t begin = std::max(line.begin, range.begin);
  object.Text("type", "match").File(piece_.name).Number("line", number_);
  object.Number("column", CharactersBefore(begin, line) + 1);
  object.Number("byte_column", static_cast<std::int64_t>(begin - line.begin) + 1);
  object.Number("start", static_cast<std::int64_t>(OffsetOf(range.begin)));
  object.Number("end", static_cast<std::int64_t>(OffsetBehind(range.begin, range.end)));
  return object;
}

void Printer::Page::Writing::WriteJsonText(JsonObject& object, std::string_view name, Range range) {
  object.BeginText(name);
  ForEachPart(Piece(piece_.text, range),
              [&](std::string_view part) { object.AddText(Shown(part)); });
  object.EndText();
}

void Printer::Page::Writing::WriteJsonMatch(Range match, Range line, bool withLine) {
  JsonObject object = Match(match, line);
  WriteJsonText(object, "text", match);
  if (withLine) WriteJsonText(object, "line_text", line);
  if (printer_.tag_ > 0) {
    object.Number("tag", printer_.tag_);
  } else {
    object.Null("tag");
  }
  object.Flag("negative", false).End();
  outlet_.Pour();
}

void Printer::Page::Writing::WriteJsonUnit(Range unit) {
  JsonObject object = Match(unit, unit);
  // A whole file may be huge, and its reader has it.
  if (printer_.scope_ != Scope::kFile) {
    WriteJsonText(object, "text", unit);
    WriteJsonText(object, "line_text", LineAround(piece_.text, unit.begin));
  }
  object.Null("tag").Flag("negative", true).End();
  outlet_.Pour();
}

void Printer::Page::Writing::WriteJsonUnitAt(std::size_t begin) {
  if (unit_ == found_->satisfied.end() || unit_->begin != begin || Enough()) return;
  WriteJsonUnit(*unit_++);
  ++state_.shown;
}

/// The unit that begins with the line, or the matches on it.
void Printer::Page::Writing::WriteJsonLine(const FoundLine& found) {
  WriteJsonUnitAt(found.line.begin);
  if (found.matchCount == 0 || (Enough() && !found.goesOn)) return;
  const bool repeats = found.line.end - found.line.begin <= kLineToRepeat;
  for (std::size_t i = 0; i < found.matchCount; ++i) {
    WriteJsonMatch(found_->matches[found.firstMatch + i], found.line,
                   repeats || (i == 0 && !found.goesOn));
  }
  if (!found.goesOn) ++state_.shown;
}

/// Matches, and units without one, in their order.
void Printer::Page::Writing::WriteJson() {
  if (printer_.scope_ == Scope::kFile) WriteJsonUnitAt(0);
  for (const FoundLine& found : found_->lines) {
    if (Enough() && !found.goesOn) return;
    GoTo(found);
    WriteJsonLine(found);
  }
}

void Printer::Page::Writing::Write(const Found& found) {
  found_ = &found;
  unit_ = found.satisfied.begin();
  if (!sawWhetherAsItIs_) SeeWhetherAsItIs();
  if (printer_.hasContext_) return WriteWithContext();
  if (printer_.json_) return WriteJson();
  WriteLines();
}

Printer::Page::Page(const Printer& printer, const FilePiece& piece, PrintState& state,
                    Outlet& outlet)
    : printer_(printer), piece_(piece), state_(state), outlet_(outlet) {}

Printer::Page::~Page() = default;

void Printer::Page::Write(const Found& found) {
  if (!printer_.ShowsContents()) {
    state_.shown += found.linesWithMatches + found.unitsWithout;
    return;
  }
  if (writing_ == nullptr) {
    if (!printer_.hasContext_ && !found.Any()) return;
    writing_ = std::make_unique<Writing>(printer_, piece_, state_, outlet_);
  }
  writing_->Write(found);
}

void Printer::Page::End() {
  if (writing_ != nullptr && printer_.hasContext_) writing_->EndContext();
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
