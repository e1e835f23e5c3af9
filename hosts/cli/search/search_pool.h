// Searching many files, and large ones, on all cores.
//
// Threads take files in batches, in order, and search them. Where one of them comes to a large file,
// those that are free help with its pieces. Threads are started when there is work for more than one;
// where the system allows no more of them, those there are go on.

#ifndef TROVEX_HOSTS_CLI_SEARCH_POOL_H
#define TROVEX_HOSTS_CLI_SEARCH_POOL_H

#include "hosts/cli/files/file_walk.h"
#include "hosts/cli/output/ordered_output.h"
#include "hosts/cli/search/file_search.h"

#include <condition_variable>
#include <cstddef>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

namespace trovex::cli {

class SearchPool {
 public:
  /// Searches the files of `walk` on at most `threads` threads, one of which is the caller's.
  SearchPool(int threads, FileWalk& walk, SearchJob& job, OrderedOutput& output);
  ~SearchPool();
  SearchPool(const SearchPool&) = delete;
  SearchPool& operator=(const SearchPool&) = delete;

  SearchTotals Run();

 private:
  struct Batch {
    std::vector<FileToSearch> files;
    OrderedOutput::Channel* channel = nullptr;
  };
  /// A large file whose pieces may be taken, and how many threads are at it.
  struct Shared {
    LargeFile* file;
    int helpers = 0;
  };

  void Work();
  void WorkWith(FileSearch& search);
  bool TakeBatch(Batch& batch);
  void SearchBatch(FileSearch& search, Batch& batch);
  void Share(FileSearch& search, LargeFile& file);
  void Help(FileSearch& search, std::unique_lock<std::mutex>& lock, Shared& shared);
  void StartThreads();

  int threads_;
  FileWalk& walk_;
  SearchJob& job_;
  OrderedOutput& output_;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::thread> started_;
  std::list<Shared> shared_;
  std::size_t taken_ = 0;
  int busy_ = 0;  // threads that have a batch
  bool walkEnded_ = false;
  SearchTotals totals_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_SEARCH_POOL_H
