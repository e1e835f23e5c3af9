// The parent's loop and the workers' loop.

#include "hosts/cli/search/workers.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>
#include <utility>

namespace trovex::cli {

namespace {

constexpr std::size_t kMaxHeldBytes = std::size_t{64} * 1024 * 1024;
constexpr std::size_t kMaxJobs = 4096;
constexpr int kProgressInterval = 200;  // milliseconds

struct RequestHeader {
  std::uint64_t pathLength;
  std::uint64_t named;
};

/// Sends all of `text`. Returns false when there is nobody to receive it.
bool SendAll(int socket, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = send(socket, text.data(), text.size(), MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

/// Receives exactly `size` bytes. Returns false when the other side is gone.
bool ReceiveAll(int socket, void* data, std::size_t size) {
  char* place = static_cast<char*>(data);
  while (size > 0) {
    const ssize_t count = recv(socket, place, size, 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    place += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

template <typename T>
std::string_view BytesOf(const T& object) {
  static_assert(std::is_trivially_copyable_v<T>);
  return {reinterpret_cast<const char*>(&object), sizeof object};
}

bool SendRequest(int socket, const FileToSearch& file) {
  const RequestHeader header{file.path.size(), file.named ? 1U : 0U};
  return SendAll(socket, BytesOf(header)) && SendAll(socket, file.path);
}

std::optional<FileToSearch> ReceiveRequest(int socket) {
  RequestHeader header{};
  if (!ReceiveAll(socket, &header, sizeof header)) return std::nullopt;
  FileToSearch file;
  file.named = header.named != 0;
  file.path.resize(header.pathLength);
  if (!ReceiveAll(socket, file.path.data(), file.path.size())) return std::nullopt;
  return file;
}

std::string EndOfProcess(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFSIGNALED(status)) return strsignal(WTERMSIG(status));
  return "exit status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

/// A worker's way to its parent. When the parent is gone, so is the worker.
class WorkerPool::FrameSink : public ResultSink {
 public:
  explicit FrameSink(int socket) : socket_(socket) {}

  void Output(std::string_view text) override {
    if (!text.empty()) SendFrame(FrameKind::kOutput, text);
  }
  void Complaint(std::string_view sentence) override { SendFrame(FrameKind::kComplaint, sentence); }
  void Done(const SearchSummary& summary) { SendFrame(FrameKind::kDone, BytesOf(summary)); }

 private:
  void SendFrame(FrameKind kind, std::string_view text) const {
    const FrameHeader header{kind, text.size()};
    if (!SendAll(socket_, BytesOf(header)) || !SendAll(socket_, text)) _exit(kExitTrouble);
  }

  int socket_;
};

WorkerPool::WorkerPool(int jobs, SearchFunction search, ResultStream& stream, Progress& progress)
    : maxWorkers_(jobs), search_(std::move(search)), stream_(stream), progress_(progress) {}

WorkerPool::~WorkerPool() {
  for (const Worker& worker : workers_) {
    close(worker.socket);
    if (worker.job != nullptr) kill(worker.process, SIGTERM);
  }
  for (const Worker& worker : workers_)
    EndOfProcess(worker.process);
}

SearchSummary WorkerPool::Run(const FileSource& source, bool firstIsEnough) {
  for (;;) {
    HandOut(source);
    if (jobs_.empty()) return total_;
    if (!jobs_.front().done) Listen();
    AdvanceFront();
    if (firstIsEnough && total_.filesFound > 0) return total_;
    progress_.Show(total_.files, total_.bytes, Progress::Clock::now());
  }
}

void WorkerPool::HandOut(const FileSource& source) {
  while (!sourceEmpty_ && heldBytes_ < kMaxHeldBytes && jobs_.size() < kMaxJobs) {
    const bool idle = std::any_of(workers_.begin(), workers_.end(),
                                  [](const Worker& worker) { return worker.job == nullptr; });
    if (!idle && workers_.size() >= static_cast<std::size_t>(maxWorkers_)) return;
    std::optional<FileToSearch> file = source();
    if (!file.has_value()) {
      sourceEmpty_ = true;
      return;
    }
    Assign(std::move(*file));
  }
}

/// Makes a job of `file` and gives it to a worker, unless it is only a complaint.
void WorkerPool::Assign(FileToSearch file) {
  Job& job = jobs_.emplace_back();
  job.file = std::move(file);
  if (IsFront(job)) stream_.NextFile();
  if (!job.file.complaint.empty()) {
    Deliver(job, FrameKind::kComplaint, job.file.complaint);
    total_.trouble = true;
    job.done = true;
    return;
  }
  for (;;) {
    Worker* const worker = IdleWorker();
    if (SendRequest(worker->socket, job.file)) {
      worker->job = &job;
      return;
    }
    Bury(*worker);  // it died idle; no file is lost
  }
}

WorkerPool::Worker* WorkerPool::IdleWorker() {
  for (Worker& worker : workers_) {
    if (worker.job == nullptr) return &worker;
  }
  return Spawn();
}

WorkerPool::Worker* WorkerPool::Spawn() {
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot start a worker");
  }
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process < 0) {
    const int error = errno;
    close(sockets[0]);
    close(sockets[1]);
    throw std::system_error(error, std::generic_category(), "cannot start a worker");
  }
  if (process == 0) {
    // A worker whose parent is gone has nobody to search for.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(kExitTrouble);
    close(sockets[0]);
    for (const Worker& other : workers_)
      close(other.socket);
    Serve(sockets[1]);
  }
  close(sockets[1]);
  return &workers_.emplace_back(Worker{process, sockets[0], nullptr, {}, 0});
}

void WorkerPool::Serve(int socket) {
  FrameSink sink(socket);
  while (const std::optional<FileToSearch> file = ReceiveRequest(socket))
    sink.Done(search_(*file, sink));
  _exit(0);
}

/// Waits until a worker that is listened to has something to say, and hears it.
void WorkerPool::Listen() {
  std::vector<pollfd> descriptors;
  std::vector<Worker*> listened;
  for (Worker& worker : workers_) {
    if (worker.job == nullptr) continue;
    if (!IsFront(*worker.job) && heldBytes_ >= kMaxHeldBytes) continue;
    descriptors.push_back({worker.socket, POLLIN, 0});
    listened.push_back(&worker);
  }
  const int patience = progress_.IsVisible() ? kProgressInterval : -1;
  const int ready = poll(descriptors.data(), static_cast<nfds_t>(descriptors.size()), patience);
  if (ready <= 0) return;
  for (std::size_t i = 0; i < descriptors.size(); ++i) {
    if (descriptors[i].revents != 0) Receive(*listened[i]);
  }
}

void WorkerPool::Receive(Worker& worker) {
  char buffer[64 * 1024];
  const ssize_t count = recv(worker.socket, buffer, sizeof buffer, 0);
  if (count < 0 && errno == EINTR) return;
  if (count > 0) {
    worker.inbox.append(buffer, static_cast<std::size_t>(count));
    ReadFrames(worker);
    return;
  }
  Job& job = *worker.job;
  const std::string name = DisplayName(job.file.path);
  FinishJob(worker, SearchSummary{});
  total_.trouble = true;
  const std::string end = EndOfProcess(worker.process);
  Deliver(job, FrameKind::kComplaint, name + ": the search of this file broke off: " + end);
  close(worker.socket);
  workers_.remove_if([&worker](const Worker& other) { return &other == &worker; });
}

/// Takes every whole frame, and all there is of an output frame, out of the worker's inbox.
void WorkerPool::ReadFrames(Worker& worker) {
  std::string_view rest = worker.inbox;
  while (worker.job != nullptr) {
    if (worker.outputLeft > 0) {
      const auto piece = rest.substr(0, std::min<std::uint64_t>(worker.outputLeft, rest.size()));
      Deliver(*worker.job, FrameKind::kOutput, piece);
      worker.outputLeft -= piece.size();
      rest.remove_prefix(piece.size());
    }
    FrameHeader header{};
    if (worker.outputLeft > 0 || rest.size() < sizeof header) break;
    std::memcpy(&header, rest.data(), sizeof header);
    if (header.kind == FrameKind::kOutput) {
      rest.remove_prefix(sizeof header);
      worker.outputLeft = header.length;
      continue;
    }
    if (rest.size() - sizeof header < header.length) break;
    const std::string_view payload = rest.substr(sizeof header, header.length);
    rest.remove_prefix(sizeof header + header.length);
    if (header.kind == FrameKind::kComplaint) {
      Deliver(*worker.job, FrameKind::kComplaint, payload);
    } else {
      SearchSummary summary;
      std::memcpy(&summary, payload.data(), sizeof summary);
      FinishJob(worker, summary);
    }
  }
  worker.inbox.erase(0, worker.inbox.size() - rest.size());
}

void WorkerPool::FinishJob(Worker& worker, const SearchSummary& summary) {
  total_ += summary;
  worker.job->done = true;
  worker.job = nullptr;
}

/// Removes a worker that has ended.
void WorkerPool::Bury(Worker& worker) {
  close(worker.socket);
  EndOfProcess(worker.process);
  workers_.remove_if([&worker](const Worker& other) { return &other == &worker; });
}

void WorkerPool::Deliver(Job& job, FrameKind kind, std::string_view text) {
  if (IsFront(job)) {
    Show(kind, text);
    return;
  }
  heldBytes_ += text.size();
  const bool joins =
      kind == FrameKind::kOutput && !job.held.empty() && job.held.back().kind == kind;
  if (joins) {
    job.held.back().text += text;
  } else {
    job.held.push_back({kind, std::string(text)});
  }
}

void WorkerPool::Show(FrameKind kind, std::string_view text) {
  if (kind == FrameKind::kOutput) {
    stream_.Output(text);
  } else {
    stream_.Complaint(text);
  }
}

/// Lets the next file have its turn, as long as the one in front is done.
void WorkerPool::AdvanceFront() {
  while (!jobs_.empty() && jobs_.front().done) {
    jobs_.pop_front();
    if (jobs_.empty()) return;
    stream_.NextFile();
    for (const Job::Piece& piece : std::exchange(jobs_.front().held, {})) {
      Show(piece.kind, piece.text);
      heldBytes_ -= piece.text.size();
    }
  }
}

}  // namespace trovex::cli
