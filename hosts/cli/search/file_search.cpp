// Roads and pieces.

#include "hosts/cli/search/file_search.h"

#include "hosts/cli/files/decoder.h"
#include "hosts/cli/files/encodings.h"
#include "hosts/cli/output/outlet.h"
#include "hosts/cli/search/classic_search.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace trovex::cli {

namespace {

/// So much of units that are not at their end may all threads have in memory together. Whoever needs more waits
/// until everything before it is done, so that only one does.
constexpr std::size_t kLongUnits = std::size_t{8} * 1024 * 1024;
/// After a longer text a search gives its memory back.
constexpr std::size_t kLongText = std::size_t{2} * 1024 * 1024;
constexpr std::size_t kBinaryLookAhead = std::size_t{32} * 1024;
/// What is read after a stretch, for the end of its last line.
constexpr std::size_t kNearEnd = 4096;

bool LooksBinary(std::string_view text) {
  const std::string_view begin = text.substr(0, kBinaryLookAhead);
  return !begin.empty() && std::memchr(begin.data(), '\0', begin.size()) != nullptr;
}

std::string Reason(SystemError error) {
  return std::strerror(error.number);
}

std::string PartedSentence(std::string_view name, Scope scope) {
  const char* const unit = scope == Scope::kParagraph ? "paragraph" : "line";
  return std::string(name) + ": a " + unit + " has more than 20 MB and was searched in parts";
}

/// Where `piece` begins in its file, and there `place`; `linesBefore` is null where lines are not counted.
std::string GaveUpSentence(const FilePiece& piece, std::size_t place,
                           const std::int64_t* linesBefore) {
  std::string where = ", byte " + std::to_string(piece.offset + place);
  if (linesBefore != nullptr) {
    const std::int64_t line = *linesBefore + CountLineFeeds(piece.text.substr(0, place)) + 1;
    where = ", line " + std::to_string(line);
  }
  return std::string(piece.name) + where +
         ": the search gave up here, so it is not known whether this is found";
}

/// What becomes of a piece of a file: its portions are cut to what is wanted, counted and shown.
class PieceReport {
 public:
  PieceReport(const Printer& printer, const FilePiece& piece, Outlet& outlet)
      : printer_(printer), piece_(piece), outlet_(outlet), lines_(piece.text) {}

  /// Numbers the lines of a portion, if that is needed.
  void Number(Found& found) {
    if (printer_.CountsLines()) lines_.Number(found);
  }
  /// The lines of the piece; 0 where they are not counted.
  std::int64_t Lines() { return printer_.CountsLines() ? lines_.OfText() : 0; }

  /// Takes a portion whose lines are numbered. Returns whether more is wanted.
  bool Take(Found& found, PrintState& state) {
    printer_.KeepWanted(found, state);
    counts_.lines += found.linesWithMatches;
    counts_.units += found.unitsWithout;
    counts_.matches += static_cast<std::int64_t>(found.matches.size()) + found.unitsWithout;
    const bool numbered = printer_.CountsLines() || piece_.offset == 0;
    for (const std::size_t place : found.gaveUp)
      complaints_.push_back(GaveUpSentence(piece_, place, numbered ? &state.linesBefore : nullptr));
    if (!page_.has_value()) page_.emplace(printer_, piece_, state, outlet_);
    page_->Write(found);
    return found.lastGoesOn || !printer_.HasEnough(state);
  }
  void End() {
    if (page_.has_value()) page_->End();
    counts_.incomplete = !complaints_.empty();
    counts_.bytes = static_cast<std::int64_t>(piece_.text.size());
  }

  const FileCounts& Counts() const { return counts_; }
  const std::vector<std::string>& Complaints() const { return complaints_; }

 private:
  const Printer& printer_;
  const FilePiece& piece_;
  Outlet& outlet_;
  LineCount lines_;
  FileCounts counts_;
  std::vector<std::string> complaints_;
  std::optional<Printer::Page> page_;
};

}  // namespace

/// A file while it is searched.
struct FileSearch::CurrentFile {
  std::string name;
  OrderedOutput::Channel& channel;
  Input& input;
  bool named;
  bool binary = false;
  Need need = Need::kVerdict;
  PrintState print{};
  FileCounts counts{};

  bool Decided() const { return need == Need::kVerdict && counts.Any(); }
};

FileSearch::FileSearch(SearchJob& job, int threads, ShareWork share)
    : job_(job),
      threads_(threads),
      longUnit_(kLongUnits / static_cast<std::size_t>(std::max(2, threads))),
      share_(std::move(share)) {
  if (job.plan != nullptr) search_.emplace(*job.plan);
}

void FileSearch::Complain(OrderedOutput::Channel& channel, const std::string& sentence) {
  channel.Complaint(sentence);
  totals_.trouble = true;
}

void FileSearch::Search(const FileToSearch& file, OrderedOutput::Channel& channel) {
  if (!file.complaint.empty()) return Complain(channel, file.complaint);
  try {
    SearchInput(file, channel);
  } catch (const std::bad_alloc&) {
    buffer_.Trim(0);
    Complain(channel, DisplayName(file.path) + ": there is not enough memory to search this file");
  }
}

void FileSearch::SearchInput(const FileToSearch& file, OrderedOutput::Channel& channel) {
  auto opened = Input::Open(file);
  if (const auto* error = std::get_if<SystemError>(&opened))
    return Complain(channel, DisplayName(file.path) + ": " + Reason(*error));
  Input& input = std::get<Input>(opened);
  if (job_.outputFile.has_value() && input.Is(*job_.outputFile)) {
    if (file.named) Complain(channel, DisplayName(file.path) + ": this file is also the output");
    return;
  }
  CurrentFile current{DisplayName(file.path), channel, input, file.named};
  FileBlocks blocks(input, buffer_, longUnit_, channel);
  const EncodingChoice encoding{job_.options.encoding, job_.options.encodingName};
  if (const auto error = blocks.Begin(encoding))
    return Complain(channel, current.name + ": " + Reason(*error));
  current.binary = !job_.options.binary && LooksBinary(blocks.Text());
  if (current.binary && !file.named) {
    ++totals_.binarySkipped;
    return;
  }
  ++totals_.files;
  current.need = job_.printer.NeedOfSearch();
  const bool counted = job_.options.stats || job_.options.json;
  if (current.binary && job_.printer.ShowsContents() && !counted) current.need = Need::kCount;

  const std::string heading = job_.printer.Heading(current.name);
  channel.NextFile(heading);
  SearchByRoad(current, blocks);
  FinishFile(current);
  buffer_.Trim(4 * kBlock);
}

void FileSearch::ComplainOfReading(CurrentFile& file, SystemError error) {
  file.counts.incomplete = true;
  Complain(file.channel, file.name + ": " + Reason(error));
}

void FileSearch::SearchByRoad(CurrentFile& file, FileBlocks& blocks) {
  if (blocks.AtEnd() || job_.plan == nullptr || !job_.plan->InPieces())
    return SearchWhole(file, blocks);
  SearchBlocks(file, blocks);
}

void FileSearch::SearchWhole(CurrentFile& file, FileBlocks& blocks) {
  if (const auto error = blocks.ReadAll()) return ComplainOfReading(file, *error);
  SearchText(file, {file.name, blocks.Text(), blocks.Offset(), blocks.Decoding()});
}

void FileSearch::SearchBlocks(CurrentFile& file, FileBlocks& blocks) {
  bool told = false;
  for (;;) {
    bool parted = false;
    std::size_t size = 0;
    if (const auto error = blocks.FindUnits(job_.plan->scope, size, parted))
      return ComplainOfReading(file, *error);
    if (size == 0 || job_.stop) return;
    if (parted && !std::exchange(told, true))
      Complain(file.channel, PartedSentence(file.name, job_.plan->scope));
    const std::uint64_t offset = blocks.Offset();
    const bool canBeReadAgain = blocks.Decoding() == nullptr && file.input.IsRegular();
    SearchText(file, {file.name, blocks.Take(size), offset, blocks.Decoding(),
                      canBeReadAgain ? &file.input : nullptr});
    if (!file.input.IsRegular()) file.channel.Flush();
    if (file.Decided() || job_.printer.HasEnough(file.print)) return;
    if (!parted && IsSharable(file, blocks)) return SearchShared(file, blocks, size, told);
  }
}

/// Whether the rest of the file can be searched by several threads at the same time.
bool FileSearch::IsSharable(const CurrentFile& file, const FileBlocks& blocks) const {
  return threads_ > 1 && file.input.IsRegular() && blocks.Decoding() == nullptr && !file.binary &&
         file.input.Size() > blocks.Offset() + kBlock;
}

/// The rest of a large file, with whoever has nothing to do. `searched` bytes were so just now.
void FileSearch::SearchShared(CurrentFile& file, const FileBlocks& blocks, std::size_t searched,
                              bool toldOfParting) {
  LargeFile large(file.name, file.input, blocks.Offset(),
                  std::max(blocks.Offset(), file.input.Size()), std::move(file.print),
                  job_.printer.InOrder(), threads_, file.channel);
  if (toldOfParting) large.TellsOfParting();
  if (searched > 2 * kBlock) large.ExpectUnits(searched);
  buffer_.Trim(4 * kBlock);
  share_(large);
  file.counts += large.Wait();
}

void FileSearch::RunSearch(std::string_view text, Need need, const TakePortion& take) {
  if (job_.classic != nullptr) {
    job_.classic->Search(text, need, found_);
  } else {
    search_->Search(text, need, found_, take);
  }
  take(found_);
  // A search of a long text keeps as much memory, and would need both for a longer one.
  if (search_.has_value() && text.size() > kLongText) search_.emplace(*job_.plan);
  job_.progress.Add(0, static_cast<std::int64_t>(text.size()));
}

/// Searches whole units of a file and shows what is found.
void FileSearch::SearchText(CurrentFile& file, const FilePiece& piece) {
  out_.clear();
  Outlet outlet(out_, [&](std::string& text) {
    if (!file.binary) file.channel.Output(text);
    text.clear();
  });
  PieceReport report(job_.printer, piece, outlet);
  RunSearch(piece.text, file.need, [&](Found& found) {
    report.Number(found);
    return report.Take(found, file.print);
  });
  report.End();
  if (!file.binary) file.channel.Output(out_);
  for (const std::string& sentence : report.Complaints())
    Complain(file.channel, sentence);
  file.counts += report.Counts();
  file.print.linesBefore += report.Lines();
}

void FileSearch::FinishFile(CurrentFile& file) {
  out_.clear();
  const bool any = file.counts.Any();
  const bool wholeFile = job_.options.scope == Scope::kFile && file.counts.units > 0;
  if (file.binary && job_.printer.ShowsContents() && any && !wholeFile) {
    job_.printer.PrintBinary(file.name, out_);
  } else {
    job_.printer.PrintFile(file.name, file.counts, out_);
  }
  file.channel.Output(out_);
  totals_.counts += file.counts;
  if (any) ++totals_.filesFound;
  job_.progress.Add(1, 0);
}

/// Where there is not even the memory to tell what became of a piece, those that wait for it would wait for ever:
/// the program ends.
void FileSearch::SearchPieces(LargeFile& file) {
  try {
    while (const std::optional<std::size_t> index = file.Take()) {
      LargeFile::Result result = SearchPiece(file, *index);
      if (!result.complaints.empty()) totals_.trouble = true;
      const bool decided = job_.printer.NeedOfSearch() == Need::kVerdict && result.counts.Any();
      file.Finish(*index, std::move(result));
      if (decided || job_.stop) file.Stop();
    }
  } catch (const std::bad_alloc&) {
    job_.onNoMemory();
  }
}

/// Searches a piece, or tells that there is not enough memory for it.
LargeFile::Result FileSearch::SearchPiece(LargeFile& file, std::size_t index) {
  LargeFile::Result result;
  try {
    SearchStretch(file, index, result);
  } catch (const std::bad_alloc&) {
    stretch_.Trim(0);
    result = {};
    result.counts.incomplete = true;
    totals_.trouble = true;
    if (file.Lose(index)) {
      result.complaints.push_back(std::string(file.Name()) +
                                  ": there is not enough memory to search all of this file");
    }
  }
  return result;
}

/// Reads the units that begin in a stretch. Returns false, with what has been read, where one of them
/// is too long.
bool FileSearch::ReadStretch(LargeFile& file, const LargeFile::Stretch& stretch, FilePiece& piece,
                             std::vector<std::string>& complaints) {
  const Scope scope = job_.plan->scope;
  // What stands before the stretch shows whether a unit begins with it.
  const std::size_t before = stretch.first ? 0 : 3;
  const std::uint64_t readFrom = stretch.begin - before;
  const auto wanted = static_cast<std::size_t>(stretch.end - readFrom);
  std::size_t size = 0;
  bool atEnd = false;
  const auto readTo = [&](std::size_t target) {
    stretch_.Reserve(target);
    while (size < target && !atEnd) {
      const auto count = file.File().ReadAt(stretch_.Data() + size, target - size, readFrom + size);
      if (const auto* error = std::get_if<SystemError>(&count))
        complaints.push_back(std::string(file.Name()) + ": " + Reason(*error));
      const auto* const read = std::get_if<std::size_t>(&count);
      atEnd = read == nullptr || *read == 0;
      size += atEnd ? 0 : *read;
    }
  };
  readTo(stretch.last ? wanted : wanted + kNearEnd);

  const auto take = [&](std::size_t begin, std::size_t end) {
    piece = {file.Name(), stretch_.View(begin, std::max(begin, end)), readFrom + begin, nullptr,
             &file.File()};
  };
  const std::size_t begin = FirstCut(stretch_.View(0, size), scope, before);
  // Units that begin after the stretch are of the next one.
  if (begin >= std::min(size, wanted)) return take(size, size), true;
  if (stretch.last) return take(begin, std::min(size, wanted)), true;
  std::size_t from = wanted;
  for (std::size_t step = 4 * kNearEnd;; step *= 2) {
    const std::size_t end = FirstCut(stretch_.View(0, size), scope, from);
    if (size - wanted > kBlock) file.ExpectUnits(size - wanted);
    if (end != std::string_view::npos) return take(begin, end), true;
    if (atEnd) return take(begin, size), true;
    if (size - wanted >= longUnit_) return take(begin, begin), false;
    from = std::max(wanted, size - 2);
    readTo(size + std::min(step, longUnit_ / 2));
  }
}

/// Searches whole units of a large file and shows what is found. `linesInFront` of them stand before the piece in its
/// stretch; without, the stretch is this piece, and others are told its lines. Returns how many it has.
std::int64_t FileSearch::SearchPieceOf(LargeFile& file, std::size_t index, const FilePiece& piece,
                                       std::optional<std::int64_t> linesInFront,
                                       LargeFile::Result& result) {
  const Printer& printer = job_.printer;
  Outlet outlet(result.output, [&](std::string& text) { file.HandOn(index, text); });
  PieceReport report(printer, piece, outlet);
  bool tells = printer.CountsLines() && !printer.InOrder() && !linesInFront.has_value();
  bool wanted = true;
  PrintState own;
  PrintState* state = nullptr;
  RunSearch(piece.text, printer.NeedOfSearch(), [&](Found& found) {
    report.Number(found);
    // Those that come later need to know this before anything is shown.
    if (std::exchange(tells, false)) file.TellLines(index, report.Lines());
    if (state == nullptr) {
      const bool anything = found.Any() || !found.gaveUp.empty();
      if (!anything && !printer.InOrder()) return true;
      state = StateOf(file, index, linesInFront.value_or(0), own);
      wanted = state != nullptr;
    }
    return wanted && report.Take(found, *state);
  });
  if (!wanted) return 0;
  report.End();
  result.counts += report.Counts();
  result.complaints.insert(result.complaints.end(), report.Complaints().begin(),
                           report.Complaints().end());
  if (state != nullptr) state->linesBefore += report.Lines();
  return report.Lines();
}

/// What has to be known of the pieces before one that is to be shown; it may be written into `own`. Null where nothing
/// more of the file is wanted.
PrintState* FileSearch::StateOf(LargeFile& file, std::size_t index, std::int64_t linesInFront,
                                PrintState& own) {
  const Printer& printer = job_.printer;
  if (printer.InOrder()) {
    PrintState& state = file.WaitForTurn(index);
    if (file.IsLostBefore(index)) return nullptr;
    if (!printer.HasEnough(state)) return &state;
    file.Stop();
    return nullptr;
  }
  if (!printer.CountsLines()) return &own;
  const std::optional<std::int64_t> before = file.LinesBefore(index);
  if (!before.has_value()) return nullptr;
  own.linesBefore = *before + linesInFront;
  return &own;
}

/// Searches the units that begin in a stretch.
void FileSearch::SearchStretch(LargeFile& file, std::size_t index, LargeFile::Result& result) {
  const LargeFile::Stretch stretch = file.StretchOf(index);
  result.output = file.TextToFill();
  FilePiece piece;
  const bool whole = ReadStretch(file, stretch, piece, result.complaints);
  result.counts.incomplete = !result.complaints.empty();
  if (whole) {
    SearchPieceOf(file, index, piece, std::nullopt, result);
  } else {
    SearchLongUnits(file, index, piece.offset, result);
    stretch_.Trim(0);
  }
}

/// The same, from `begin` on, where one of them is long.
void FileSearch::SearchLongUnits(LargeFile& file, std::size_t index, std::uint64_t begin,
                                 LargeFile::Result& result) {
  const Scope scope = job_.plan->scope;
  const std::uint64_t end = file.StretchOf(index).end;
  file.WaitToBeFirst(index);
  FileBlocks blocks(file.File(), stretch_, longUnit_, file.Channel(), begin);
  std::int64_t lines = 0;
  bool parted = false;
  while (blocks.Offset() < end || parted) {
    std::size_t size = 0;
    if (const auto error = blocks.FindUnits(scope, size, parted)) {
      result.complaints.push_back(std::string(file.Name()) + ": " + Reason(*error));
      result.counts.incomplete = true;
      break;
    }
    if (size == 0) break;
    if (parted && file.TellsOfParting())
      result.complaints.push_back(PartedSentence(file.Name(), scope));
    const std::uint64_t offset = blocks.Offset();
    const std::size_t least = offset < end ? static_cast<std::size_t>(end - offset) : 1;
    if (!parted) size = std::min(size, FirstCut(blocks.Text(), scope, least));
    const FilePiece piece{file.Name(), blocks.Take(size), offset, nullptr, &file.File()};
    lines += SearchPieceOf(file, index, piece, lines, result);
  }
  if (job_.printer.CountsLines()) file.TellLines(index, lines);
}

}  // namespace trovex::cli
