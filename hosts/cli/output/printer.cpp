// Printing one file's result.
//
// Matches may overlap or repeat each other, for the operands of an AND are searched one by one. A
// line is printed once, its colours cover the union of its matches; where matches are shown by
// themselves, every one of them is. An empty match marks its line and has nothing to show itself.

#include "hosts/cli/output/printer.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace trovex::cli {

namespace {

constexpr std::size_t kPieceSize = std::size_t{64} * 1024;

/// A line to be shown, with the matches that begin on it.
struct HitLine {
  int line;
  std::size_t firstMatch;
  std::size_t matchCount;
};

/// The lines of a result, each once, in order. A file that is satisfied as a whole has none.
std::vector<HitLine> HitLines(const FileResult& result, const LineIndex& index, Scope scope) {
  std::vector<HitLine> hits;
  for (std::size_t i = 0; i < result.matches.size(); ++i) {
    const int line = index.LineOf(result.matches[i].begin);
    if (hits.empty() || hits.back().line != line) hits.push_back({line, i, 0});
    ++hits.back().matchCount;
  }
  if (scope == Scope::kFile) return hits;
  for (const Unit& unit : result.satisfied) {
    const int last = index.LineOf(unit.end);
    for (int line = index.LineOf(unit.begin); line <= last; ++line)
      hits.push_back({line, 0, 0});
  }
  return hits;
}

std::string JsonLine(const nlohmann::ordered_json& object) {
  return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace

/// The output for one file while it is written.
class Printer::Page {
 public:
  Page(const Printer& printer, std::string_view name, const SourceText& text,
       const FileResult& result, ResultSink& sink)
      : printer_(printer),
        palette_(printer.palette_),
        name_(name),
        text_(text),
        result_(result),
        index_(text.File(), text.FileBegin()),
        hits_(HitLines(result, index_, printer.scope_)),
        sink_(sink) {}

  ResultCounts Counts() const {
    return {static_cast<std::int64_t>(result_.matches.size() + result_.satisfied.size()),
            static_cast<std::int64_t>(hits_.size())};
  }

  void WriteFileName() {
    Colored(palette_.fileName, name_);
    EndLine();
  }

  void WriteCount() {
    if (printer_.fileNames_) {
      Colored(palette_.fileName, name_);
      Colored(palette_.separator, ":");
    }
    out_ += std::to_string(result_.satisfied.empty() ? hits_.size() : result_.satisfied.size());
    EndLine();
  }

  void WriteBinaryNotice() {
    out_ += "Binary file ";
    out_.append(name_).append(" matches");
    EndLine();
  }

  void WriteLines();
  void WriteMatches();
  void WriteJson();
  void Finish() { SendPiece(); }

 private:
  void SendPiece() {
    sink_.Output(out_);
    out_.clear();
  }

  void EndLine() {
    out_ += '\n';
    if (out_.size() >= kPieceSize) SendPiece();
  }

  void Colored(std::string_view color, std::string_view text) {
    out_.append(color).append(text);
    if (!color.empty()) out_ += palette_.reset;
  }

  std::string_view FilePiece(int begin, int end) const {
    return text_.File().substr(static_cast<std::size_t>(begin),
                               static_cast<std::size_t>(end - begin));
  }

  /// A piece of the file in the terminal's encoding.
  void Show(std::string_view piece, std::string_view color = {}) {
    if (piece.empty()) return;
    if (printer_.utf8Terminal_ && !text_.IsUtf8()) {
      Colored(color, text_.ToUtf8(piece));
    } else {
      Colored(color, piece);
    }
  }

  void WritePrefix(int line, std::string_view separator) {
    if (printer_.fileNames_) {
      Colored(palette_.fileName, name_);
      Colored(palette_.separator, separator);
    }
    if (printer_.lineNumbers_) {
      Colored(palette_.lineNumber, std::to_string(line + 1));
      Colored(palette_.separator, separator);
    }
  }

  void WriteContext(int first, int behind) {
    for (int line = first; line < behind; ++line) {
      const Unit range = index_.Line(line);
      WritePrefix(line, "-");
      Show(FilePiece(range.begin, range.end));
      EndLine();
    }
  }

  void WriteHit(const HitLine& hit);
  nlohmann::ordered_json JsonObject(int begin, int end) const;

  const Printer& printer_;
  const Palette& palette_;
  std::string_view name_;
  const SourceText& text_;
  const FileResult& result_;
  LineIndex index_;
  std::vector<HitLine> hits_;
  ResultSink& sink_;
  std::string out_;
};

void Printer::Page::WriteHit(const HitLine& hit) {
  const Unit line = index_.Line(hit.line);
  WritePrefix(hit.line, ":");
  int shown = line.begin;
  for (std::size_t i = hit.firstMatch; i < hit.firstMatch + hit.matchCount; ++i) {
    const Match& match = result_.matches[i];
    const int begin = std::clamp(match.begin, shown, line.end);
    const int end = std::clamp(match.end, begin, line.end);
    Show(FilePiece(shown, begin));
    Show(FilePiece(begin, end), palette_.match);
    shown = end;
  }
  Show(FilePiece(shown, line.end));
  EndLine();
}

/// Lines with their context. Context that touches is joined; a gap is marked.
void Printer::Page::WriteLines() {
  const bool hasContext = printer_.contextBefore_ > 0 || printer_.contextAfter_ > 0;
  int next = 0;  // the first line that is not yet shown
  for (std::size_t i = 0; i < hits_.size(); ++i) {
    const int line = hits_[i].line;
    const int first = std::max(next, line - printer_.contextBefore_);
    if (hasContext && i > 0 && first > next) {
      Colored(palette_.separator, "--");
      EndLine();
    }
    WriteContext(first, line);
    WriteHit(hits_[i]);
    const int room = (i + 1 < hits_.size() ? hits_[i + 1].line : index_.LineCount()) - line - 1;
    next = line + 1 + std::min(printer_.contextAfter_, room);
    WriteContext(line + 1, next);
  }
}

void Printer::Page::WriteMatches() {
  for (const HitLine& hit : hits_) {
    const Unit line = index_.Line(hit.line);
    for (std::size_t i = hit.firstMatch; i < hit.firstMatch + hit.matchCount; ++i) {
      const Match& match = result_.matches[i];
      if (match.begin >= std::min(match.end, line.end)) continue;
      WritePrefix(hit.line, ":");
      Show(FilePiece(match.begin, std::min(match.end, line.end)));
      EndLine();
    }
    if (hit.matchCount == 0) WriteHit(hit);  // nothing in it matched, so it is shown whole
  }
}

nlohmann::ordered_json Printer::Page::JsonObject(int begin, int end) const {
  nlohmann::ordered_json object;
  object["file"] = name_;
  const bool hasLine = index_.LineCount() > 0;
  const int line = hasLine ? index_.LineOf(begin) : 0;
  object["line"] = line + 1;
  object["column"] = hasLine ? begin - index_.Line(line).begin + 1 : 1;
  object["start"] = begin;
  object["end"] = end;
  return object;
}

void Printer::Page::WriteJson() {
  for (const Match& match : result_.matches) {
    nlohmann::ordered_json object = JsonObject(match.begin, match.end);
    object["text"] = text_.ToUtf8(FilePiece(match.begin, match.end));
    object["tag"] = printer_.tag_ > 0 ? nlohmann::ordered_json(printer_.tag_) : nullptr;
    object["negative"] = false;
    out_ += JsonLine(object);
    if (out_.size() >= kPieceSize) SendPiece();
  }
  for (const Unit& unit : result_.satisfied) {
    nlohmann::ordered_json object = JsonObject(unit.begin, unit.end);
    // A whole file may be huge, and its reader has it.
    if (printer_.scope_ != Scope::kFile)
      object["text"] = text_.ToUtf8(FilePiece(unit.begin, unit.end));
    object["tag"] = nullptr;
    object["negative"] = true;
    out_ += JsonLine(object);
    if (out_.size() >= kPieceSize) SendPiece();
  }
}

Printer::Printer(const Options& options, bool utf8Terminal, const Palette& palette)
    : output_(options.output),
      json_(options.json),
      scope_(options.scope),
      fileNames_(options.fileNames),
      lineNumbers_(options.lineNumbers),
      contextBefore_(options.contextBefore),
      contextAfter_(options.contextAfter),
      tag_(options.tag),
      utf8Terminal_(utf8Terminal),
      palette_(palette) {}

ResultCounts Printer::Print(std::string_view name, const SourceText& text, const FileResult& result,
                            bool binary, ResultSink& sink) const {
  Page page(*this, name, text, result, sink);
  const bool found = result.Found();
  const bool wholeFile = scope_ == Scope::kFile && !result.satisfied.empty();
  const bool showsLines = output_ == OutputMode::kLines || output_ == OutputMode::kOnlyMatching;
  if (output_ == OutputMode::kCount) {
    page.WriteCount();
  } else if (!found || output_ == OutputMode::kQuiet) {
    return page.Counts();
  } else if (json_) {
    page.WriteJson();
  } else if (output_ == OutputMode::kFiles || wholeFile) {
    page.WriteFileName();
  } else if (showsLines && binary) {
    page.WriteBinaryNotice();
  } else if (output_ == OutputMode::kOnlyMatching) {
    page.WriteMatches();
  } else {
    page.WriteLines();
  }
  page.Finish();
  return page.Counts();
}

}  // namespace trovex::cli
