// Searching many files on all cores.
//
// The library serves one thread, so every core gets a process of its own, made by fork() after the
// expression is compiled. Files are handed out one by one, in order, to whichever worker is free;
// what a worker has to show comes back through its socket.
//
//     parent -> worker   one request a file
//     worker -> parent   frames: pieces of output, complaints, and at the end of a file a summary
//
// The output keeps the order of the files. The file whose turn it is goes straight through; what
// later files have to show is held back in memory. When that grows too large, their workers are no
// longer listened to and no further file is handed out, until the file in front is done. That file
// always has a worker that is listened to, so the work goes on.
//
// A worker that dies takes only the file with it that it was searching.

#ifndef TROVEX_HOSTS_CLI_WORKERS_H
#define TROVEX_HOSTS_CLI_WORKERS_H

#include "hosts/cli/files/file_walk.h"
#include "hosts/cli/output/progress.h"
#include "hosts/cli/search/file_search.h"
#include "hosts/cli/search/result_stream.h"

#include <sys/types.h>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace trovex::cli {

using SearchFunction = std::function<SearchSummary(const FileToSearch&, ResultSink&)>;
using FileSource = std::function<std::optional<FileToSearch>()>;

class WorkerPool {
 public:
  /// At most `jobs` workers, each of which calls `search`. Their results go to `stream`.
  WorkerPool(int jobs, SearchFunction search, ResultStream& stream, Progress& progress);
  /// Ends the workers that are still there.
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  /// Searches the files of `source`, or, with `firstIsEnough`, those up to the first in which
  /// something is found.
  SearchSummary Run(const FileSource& source, bool firstIsEnough);

 private:
  enum class FrameKind : std::uint64_t { kOutput, kComplaint, kDone };
  struct FrameHeader {
    FrameKind kind;
    std::uint64_t length;
  };
  class FrameSink;

  /// A file on its way, and what of it is held back.
  struct Job {
    FileToSearch file;
    struct Piece {
      FrameKind kind;
      std::string text;
    };
    std::vector<Piece> held;
    bool done = false;
  };

  struct Worker {
    pid_t process;
    int socket;
    Job* job = nullptr;            // null: idle
    std::string inbox;             // bytes that make no whole frame yet
    std::uint64_t outputLeft = 0;  // of the output frame that is being received
  };

  void HandOut(const FileSource& source);
  void Assign(FileToSearch file);
  Worker* IdleWorker();
  Worker* Spawn();
  [[noreturn]] void Serve(int socket);

  void Listen();
  void Receive(Worker& worker);
  void ReadFrames(Worker& worker);
  void Deliver(Job& job, FrameKind kind, std::string_view text);
  void Show(FrameKind kind, std::string_view text);
  void FinishJob(Worker& worker, const SearchSummary& summary);
  void Bury(Worker& worker);
  void AdvanceFront();

  bool IsFront(const Job& job) const { return &job == &jobs_.front(); }

  int maxWorkers_;
  SearchFunction search_;
  ResultStream& stream_;
  Progress& progress_;
  std::list<Worker> workers_;
  std::deque<Job> jobs_;  // in the order of the files; the front one's turn it is
  std::size_t heldBytes_ = 0;
  bool sourceEmpty_ = false;
  SearchSummary total_;
};

}  // namespace trovex::cli

#endif  // TROVEX_HOSTS_CLI_WORKERS_H
