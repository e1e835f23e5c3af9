// The road of one file: open, read, search, show. One thread's.
//
//   a small file          is read and searched at once
//   a large one           is searched in pieces, by all threads that have nothing else to do
//   a pipe, a device, a text that is decoded, and whatever is shown in an order (context)
//                         is read in blocks, each searched as soon as it is there
//   one that is searched as a whole
//                         is read into memory first

#ifndef TROVEX_HOSTS_CLI_FILE_SEARCH_H
#define TROVEX_HOSTS_CLI_FILE_SEARCH_H

#include "hosts/cli/files/file_walk.h"
#include "hosts/cli/files/input.h"
#include "hosts/cli/output/ordered_output.h"
#include "hosts/cli/search/file_blocks.h"
#include "hosts/cli/search/large_file.h"
#include "hosts/cli/search/search_job.h"
#include "hosts/cli/search/text_search.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trovex::cli {

class FileSearch {
 public:
  /// Has threads that are free help with a large file until all its pieces are taken, and returns
  /// when none of them is at it any longer; called on the thread that began it.
  using ShareWork = std::function<void(LargeFile&)>;

  /// `threads` tells whether there is anybody to share with. `job` outlives this.
  FileSearch(SearchJob& job, int threads, ShareWork share);

  /// Searches `file` and shows what is to be seen.
  void Search(const FileToSearch& file, OrderedOutput::Channel& channel);
  /// Searches pieces of `file` until none is left.
  void SearchPieces(LargeFile& file);

  const SearchTotals& Totals() const { return totals_; }

 private:
  struct CurrentFile;

  void SearchInput(const FileToSearch& file, OrderedOutput::Channel& channel);
  void ComplainOfReading(CurrentFile& file, SystemError error);
  void SearchByRoad(CurrentFile& file, FileBlocks& blocks);
  void SearchWhole(CurrentFile& file, FileBlocks& blocks);
  void SearchBlocks(CurrentFile& file, FileBlocks& blocks);
  bool IsSharable(const CurrentFile& file, const FileBlocks& blocks) const;
  void SearchShared(CurrentFile& file, const FileBlocks& blocks, std::size_t searched,
                    bool toldOfParting);
  void SearchText(CurrentFile& file, const FilePiece& piece);
  LargeFile::Result SearchPiece(LargeFile& file, std::size_t index);
  void SearchStretch(LargeFile& file, std::size_t index, LargeFile::Result& result);
  bool ReadStretch(LargeFile& file, const LargeFile::Stretch& stretch, FilePiece& piece,
                   std::vector<std::string>& complaints);
  std::int64_t SearchPieceOf(LargeFile& file, std::size_t index, const FilePiece& piece,
                             std::optional<std::int64_t> linesInFront, LargeFile::Result& result);
  PrintState* StateOf(LargeFile& file, std::size_t index, std::int64_t linesInFront,
                      PrintState& own);
  void SearchLongUnits(LargeFile& file, std::size_t index, std::uint64_t begin,
                       LargeFile::Result& result);
  void FinishFile(CurrentFile& file);

  void RunSearch(std::string_view text, Need need, const TakePortion& take);
  void Complain(OrderedOutput::Channel& channel, const std::string& sentence);

  SearchJob& job_;
  int threads_;
  /// A unit that is longer is not read beside others.
  std::size_t longUnit_;
  ShareWork share_;
  std::optional<TextSearch> search_;
  SearchTotals totals_;
  // Kept for their memory.
  Buffer buffer_;
  Buffer stretch_;
  Found found_;
  std::string out_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_FILE_SEARCH_H
