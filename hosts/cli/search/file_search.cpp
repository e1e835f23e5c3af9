// Roads and pieces.

#include "hosts/cli/search/file_search.h"

#include "hosts/cli/files/decoder.h"
#include "hosts/cli/files/encodings.h"
#include "hosts/cli/search/classic_search.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace trovex::cli {

namespace {

constexpr std::size_t kBlock = std::size_t{256} * 1024;
/// A line or paragraph that is longer is searched in parts, so that memory is bounded.
constexpr std::size_t kLongestUnit = std::size_t{20} * 1024 * 1024;
/// So much of units that are not at their end may all threads have in memory together. Whoever needs more waits
/// until everything before it is done, so that only one does.
constexpr std::size_t kLongUnits = std::size_t{8} * 1024 * 1024;
/// How fast the memory for such a unit grows.
constexpr std::size_t kLargestStep = std::size_t{2} * 1024 * 1024;
constexpr std::size_t kBinaryLookAhead = std::size_t{32} * 1024;
/// What is read after a stretch, for the end of its last line.
constexpr std::size_t kNearEnd = 4096;
constexpr std::size_t kEncodingLookAhead = std::size_t{64} * 1024;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
/// The first bytes of the byte order marks.
constexpr std::string_view kMarkBegins("\xEF\xFE\xFF\0", 4);

bool LooksBinary(std::string_view text) {
  const std::string_view begin = text.substr(0, kBinaryLookAhead);
  return !begin.empty() && std::memchr(begin.data(), '\0', begin.size()) != nullptr;
}

std::string Reason(SystemError error) {
  return std::strerror(error.number);
}

/// Where a unit is parted that is too long: after a blank, if there is one near.
std::size_t ForcedCut(std::string_view text) {
  const std::size_t blank = text.rfind(' ');
  return blank != text.npos && blank + 1024 > text.size() ? blank + 1 : text.size();
}

std::string PartedSentence(std::string_view name, Scope scope) {
  const char* const unit = scope == Scope::kParagraph ? "paragraph" : "line";
  return std::string(name) + ": a " + unit + " has more than 20 MB and was searched in parts";
}

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

/// The text of a file, block by block.
class FileSearch::Blocks {
 public:
  /// From where `input` stands. Units longer than `longUnit` are read when `channel` is in front.
  Blocks(Input& input, Buffer& buffer, std::size_t longUnit, OrderedOutput::Channel& channel)
      : input_(input), buffer_(buffer), longUnit_(longUnit), channel_(channel) {}
  /// From `begin` on, of a regular file.
  Blocks(const Input& input, Buffer& buffer, std::size_t longUnit, OrderedOutput::Channel& channel,
         std::uint64_t begin)
      : input_(const_cast<Input&>(input)),
        buffer_(buffer),
        longUnit_(longUnit),
        channel_(channel),
        readAt_(begin),
        offset_(begin) {}

  /// Reads the first block, of a regular file as much as there is, and sees how it is encoded.
  std::optional<SystemError> Begin(const EncodingChoice& encoding) {
    do {
      if (const auto error = ReadMore()) return error;
    } while (!atEnd_ && (input_.IsRegular() ? end_ < kBlock : MayBeMark()));
    decoder_ = ChooseDecoder(Text().substr(0, kEncodingLookAhead), encoding);
    if (decoder_ != nullptr) {
      const std::string bytes(Text());
      end_ = 0;
      offset_ = decoder_->MarkLength();
      Append(bytes);
    } else if (Text().starts_with(kByteOrderMark)) {
      Take(kByteOrderMark.size());
    }
    return std::nullopt;
  }

  std::optional<SystemError> ReadAll() {
    while (!atEnd_) {
      if (const auto error = ReadMore()) return error;
    }
    return std::nullopt;
  }

  /// What has been read and not been taken, and where it begins in the file.
  std::string_view Text() const { return buffer_.View(begin_, end_); }
  std::uint64_t Offset() const { return offset_; }
  bool AtEnd() const { return atEnd_; }
  /// Null where texts are bytes of the file as they are.
  const Decoder* Decoding() const { return decoder_.get(); }

  std::string_view Take(std::size_t size) {
    const std::string_view piece = Text().substr(0, size);
    begin_ += size;
    offset_ += decoder_ != nullptr ? decoder_->SourceLength(piece) : size;
    return piece;
  }

  /// Writes how many bytes of the text are whole units, and at least one where there is any; reads on
  /// where there is none. `parted` tells whether a unit was too long and has to be parted.
  std::optional<SystemError> FindUnits(Scope scope, std::size_t& size, bool& parted) {
    parted = false;
    std::size_t known = 0;
    for (;;) {
      const std::string_view text = Text();
      size = text.size();
      if (atEnd_) return std::nullopt;
      // An empty line shows in the three bytes around it.
      const std::size_t from = known < 3 ? 0 : known - 3;
      if (const std::size_t cut = LastCut(text.substr(from), scope); cut > 0) {
        size = from + cut;
        return std::nullopt;
      }
      known = text.size();
      if (text.size() >= kLongestUnit) {
        parted = true;
        size = ForcedCut(text);
        return std::nullopt;
      }
      if (text.size() >= longUnit_) channel_.WaitToBeInFront();
      MoveToFront();
      if (const auto error = ReadMore()) return error;
    }
  }

 private:
  /// Whether the bytes of a pipe could be the beginning of a byte order mark.
  bool MayBeMark() const {
    const std::string_view text = Text();
    return text.size() < 4 && kMarkBegins.find(text.front()) != kMarkBegins.npos;
  }

  void MoveToFront() {
    if (begin_ == 0) return;
    std::memmove(buffer_.Data(), buffer_.Data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }

  void MakeRoom(std::size_t room) {
    if (buffer_.Capacity() - end_ >= room) return;
    buffer_.Reserve(std::max(end_ + 2 * room, end_ + std::min(end_ / 2, kLargestStep)));
  }

  void Append(std::string_view bytes) {
    decoded_.clear();
    decoder_->Decode(bytes, atEnd_, decoded_);
    MakeRoom(decoded_.size() + 1);
    std::memcpy(buffer_.Data() + end_, decoded_.data(), decoded_.size());
    end_ += decoded_.size();
  }

  std::optional<SystemError> ReadMore() {
    std::string bytes;
    char* place = nullptr;
    std::size_t room = kBlock / 2;
    if (decoder_ != nullptr) {
      bytes.resize(room);
      place = bytes.data();
    } else {
      MakeRoom(room);
      place = buffer_.Data() + end_;
      room = buffer_.Capacity() - end_;
    }
    const auto count =
        readAt_.has_value() ? input_.ReadAt(place, room, *readAt_) : input_.Read(place, room);
    if (const auto* error = std::get_if<SystemError>(&count)) return *error;
    const std::size_t size = std::get<std::size_t>(count);
    if (readAt_.has_value()) *readAt_ += size;
    atEnd_ = size == 0 || (input_.ReadsWhole() && size < room);
    if (decoder_ != nullptr) {
      Append(std::string_view(bytes).substr(0, size));
    } else {
      end_ += size;
    }
    return std::nullopt;
  }

  Input& input_;
  Buffer& buffer_;
  std::size_t longUnit_;
  OrderedOutput::Channel& channel_;
  std::optional<std::uint64_t> readAt_;
  std::unique_ptr<Decoder> decoder_;
  std::uint64_t offset_ = 0;  // of the text that was not taken, in the file
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool atEnd_ = false;
  std::string decoded_;
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
  Blocks blocks(input, buffer_, longUnit_, channel);
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

void FileSearch::SearchByRoad(CurrentFile& file, Blocks& blocks) {
  if (blocks.AtEnd() || job_.plan == nullptr || !job_.plan->InPieces())
    return SearchWhole(file, blocks);
  SearchBlocks(file, blocks);
}

void FileSearch::SearchWhole(CurrentFile& file, Blocks& blocks) {
  if (const auto error = blocks.ReadAll()) return ComplainOfReading(file, *error);
  SearchText(file, {file.name, blocks.Text(), blocks.Offset(), blocks.Decoding()});
}

void FileSearch::SearchBlocks(CurrentFile& file, Blocks& blocks) {
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
    SearchText(file, {file.name, blocks.Take(size), offset, blocks.Decoding()});
    if (!file.input.IsRegular()) file.channel.Flush();
    if (file.Decided() || job_.printer.HasEnough(file.print)) return;
    if (!parted && IsSharable(file, blocks)) return SearchShared(file, blocks, size, told);
  }
}

/// Whether the rest of the file can be searched by several threads at the same time.
bool FileSearch::IsSharable(const CurrentFile& file, const Blocks& blocks) const {
  return threads_ > 1 && file.input.IsRegular() && blocks.Decoding() == nullptr && !file.binary &&
         file.input.Size() > blocks.Offset() + kBlock;
}

/// The rest of a large file, with whoever has nothing to do. `searched` bytes were so just now.
void FileSearch::SearchShared(CurrentFile& file, const Blocks& blocks, std::size_t searched,
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

void FileSearch::RunSearch(std::string_view text, Need need) {
  if (job_.classic != nullptr) {
    job_.classic->Search(text, need, found_);
  } else {
    search_->Search(text, need, found_);
  }
}

FileCounts FileSearch::CountFound(std::string_view text) const {
  FileCounts counts;
  counts.lines = found_.linesWithMatches;
  counts.units = found_.unitsWithout;
  counts.matches = static_cast<std::int64_t>(found_.matches.size()) + found_.unitsWithout;
  counts.bytes = static_cast<std::int64_t>(text.size());
  counts.incomplete = !found_.gaveUp.empty();
  return counts;
}

/// `linesBefore` is null where lines are not counted.
std::string FileSearch::GaveUpSentence(const FilePiece& piece, std::size_t place,
                                       const std::int64_t* linesBefore) const {
  std::string where = ", byte " + std::to_string(piece.offset + place);
  if (linesBefore != nullptr) {
    const std::int64_t line = *linesBefore + CountLineFeeds(piece.text.substr(0, place)) + 1;
    where = ", line " + std::to_string(line);
  }
  return std::string(piece.name) + where +
         ": the search gave up here, so it is not known whether this is found";
}

/// Searches whole units of a file and shows what is found.
void FileSearch::SearchText(CurrentFile& file, const FilePiece& piece) {
  RunSearch(piece.text, file.need);
  job_.printer.KeepWanted(found_, file.print);
  const std::int64_t lines = CountLinesIfNeeded(piece.text);
  for (const std::size_t place : found_.gaveUp)
    Complain(file.channel, GaveUpSentence(piece, place, &file.print.linesBefore));
  if (!file.binary) {
    out_.clear();
    job_.printer.PrintPiece(piece, found_, file.print, out_);
    file.channel.Output(out_);
    // An assignment would keep the memory.
    if (out_.capacity() > kLargestStep) std::string().swap(out_);
  }
  file.counts += CountFound(piece.text);
  file.print.linesBefore += lines;
  job_.progress.Add(0, static_cast<std::int64_t>(piece.text.size()));
}

/// The lines of `text`, which was searched just now.
std::int64_t FileSearch::CountLinesIfNeeded(std::string_view text) {
  return job_.printer.CountsLines() ? found_.CountLines(text) : 0;
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
    piece = {file.Name(), stretch_.View(begin, std::max(begin, end)), readFrom + begin};
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

/// Searches whole units of a large file.
void FileSearch::SearchPieceOf(const FilePiece& piece) {
  RunSearch(piece.text, job_.printer.NeedOfSearch());
  job_.progress.Add(0, static_cast<std::int64_t>(piece.text.size()));
}

/// Adds what they count for, and what is to be shown of them. `lines` stand before them in the piece.
void FileSearch::ShowPieceOf(LargeFile& file, std::size_t index, const FilePiece& piece,
                             std::int64_t lines, LargeFile::Result& result) {
  const Printer& printer = job_.printer;
  if (printer.InOrder()) return ShowInTurn(file, index, piece, result);
  result.counts += CountFound(piece.text);
  if (!found_.Any() && found_.gaveUp.empty()) return;
  PrintState state;
  if (printer.CountsLines()) {
    const std::optional<std::int64_t> before = file.LinesBefore(index);
    if (!before.has_value()) return;
    state.linesBefore = *before + lines;
  }
  ShowAfter(state, piece, result);
}

/// The same where what was shown before decides what is shown.
void FileSearch::ShowInTurn(LargeFile& file, std::size_t index, const FilePiece& piece,
                            LargeFile::Result& result) {
  const std::int64_t lines = CountLinesIfNeeded(piece.text);
  PrintState& state = file.WaitForTurn(index);
  if (file.IsLostBefore(index)) return;
  if (job_.printer.HasEnough(state)) return file.Stop();
  job_.printer.KeepWanted(found_, state);
  result.counts += CountFound(piece.text);
  ShowAfter(state, piece, result);
  state.linesBefore += lines;
}

void FileSearch::ShowAfter(PrintState& state, const FilePiece& piece, LargeFile::Result& result) {
  const Printer& printer = job_.printer;
  for (const std::size_t place : found_.gaveUp) {
    result.complaints.push_back(
        GaveUpSentence(piece, place, printer.CountsLines() ? &state.linesBefore : nullptr));
  }
  printer.PrintPiece(piece, found_, state, result.output);
}

/// Searches the units that begin in a stretch.
void FileSearch::SearchStretch(LargeFile& file, std::size_t index, LargeFile::Result& result) {
  const LargeFile::Stretch stretch = file.StretchOf(index);
  result.output = file.TextToFill();
  FilePiece piece;
  const bool whole = ReadStretch(file, stretch, piece, result.complaints);
  result.counts.incomplete = !result.complaints.empty();
  if (whole) {
    SearchPieceOf(piece);
    // Those that come later need to know this before anything is shown.
    if (job_.printer.CountsLines() && !job_.printer.InOrder())
      file.TellLines(index, found_.CountLines(piece.text));
    ShowPieceOf(file, index, piece, 0, result);
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
  Blocks blocks(file.File(), stretch_, longUnit_, file.Channel(), begin);
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
    const FilePiece piece{file.Name(), blocks.Take(size), offset};
    SearchPieceOf(piece);
    const std::int64_t ofPiece = CountLinesIfNeeded(piece.text);
    ShowPieceOf(file, index, piece, lines, result);
    lines += ofPiece;
  }
  if (job_.printer.CountsLines()) file.TellLines(index, lines);
}

}  // namespace trovex::cli
