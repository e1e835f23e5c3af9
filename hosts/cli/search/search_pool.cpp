// Handing out files and pieces.

#include "hosts/cli/search/search_pool.h"

#include <algorithm>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

namespace trovex::cli {

namespace {

constexpr std::size_t kLargestBatch = 32;
/// From so many files on, further threads are worth their start.
constexpr std::size_t kManyFiles = 8;

}  // namespace

SearchPool::SearchPool(int threads, FileWalk& walk, SearchJob& job, OrderedOutput& output)
    : threads_(threads), walk_(walk), job_(job), output_(output) {}

SearchPool::~SearchPool() {
  job_.stop = true;
  changed_.notify_all();
  for (std::thread& thread : started_)
    thread.join();
}

SearchTotals SearchPool::Run() {
  Work();
  for (std::thread& thread : started_)
    thread.join();
  started_.clear();
  return totals_;
}

/// What each thread does until there is nothing left.
void SearchPool::Work() {
  FileSearch* self = nullptr;
  FileSearch search(job_, threads_, [&](LargeFile& file) { Share(*self, file); });
  self = &search;
  try {
    WorkWith(search);
  } catch (const std::bad_alloc&) {
    job_.onNoMemory();  // files that were taken would be passed over in silence
  }
}

void SearchPool::WorkWith(FileSearch& search) {
  std::unique_lock lock(mutex_);
  for (;;) {
    if (job_.stop) break;
    if (!shared_.empty()) {
      Help(search, lock, shared_.front());
      continue;
    }
    Batch batch;
    if (TakeBatch(batch)) {
      ++busy_;
      if (taken_ >= kManyFiles) StartThreads();
      lock.unlock();
      SearchBatch(search, batch);
      lock.lock();
      --busy_;
      changed_.notify_all();
      continue;
    }
    if (busy_ == 0) break;
    changed_.wait(lock);
  }
  totals_ += search.Totals();
}

/// Batches grow, so that a few files are spread over the threads and many take few turns.
bool SearchPool::TakeBatch(Batch& batch) {
  const std::size_t size = std::clamp<std::size_t>(taken_ / 8, 1, kLargestBatch);
  while (!walkEnded_ && batch.files.size() < size) {
    std::optional<FileToSearch> file = walk_.Next();
    if (!file.has_value()) {
      walkEnded_ = true;
      break;
    }
    batch.files.push_back(std::move(*file));
  }
  if (batch.files.empty()) return false;
  taken_ += batch.files.size();
  batch.channel = &output_.Open();
  return true;
}

void SearchPool::SearchBatch(FileSearch& search, Batch& batch) {
  for (const FileToSearch& file : batch.files) {
    if (job_.stop) break;
    search.Search(file, *batch.channel);
    if (job_.firstIsEnough && search.Totals().filesFound > 0) job_.onEnough();
  }
  batch.channel->Close();
}

/// Lets others take pieces of `file`, takes some as well, and waits until nobody is at it.
void SearchPool::Share(FileSearch& search, LargeFile& file) {
  std::unique_lock lock(mutex_);
  const auto shared = shared_.insert(shared_.end(), {&file, 0});
  StartThreads();
  changed_.notify_all();
  ++shared->helpers;
  lock.unlock();
  search.SearchPieces(file);
  lock.lock();
  --shared->helpers;
  // Nobody comes any more to what is not in the list.
  std::list<Shared> ended;
  ended.splice(ended.end(), shared_, shared);
  changed_.wait(lock, [&] { return shared->helpers == 0; });
}

void SearchPool::Help(FileSearch& search, std::unique_lock<std::mutex>& lock, Shared& shared) {
  ++shared.helpers;
  lock.unlock();
  search.SearchPieces(*shared.file);
  lock.lock();
  --shared.helpers;
  // Its pieces are all taken: who shares it takes it out of the list.
  if (!shared_.empty() && &shared_.front() == &shared) {
    changed_.notify_all();
    changed_.wait(lock,
                  [&] { return job_.stop || shared_.empty() || &shared_.front() != &shared; });
  } else {
    changed_.notify_all();
  }
}

void SearchPool::StartThreads() {
  while (static_cast<int>(started_.size()) + 1 < threads_) {
    try {
      started_.emplace_back([this] {
        try {
          Work();
        } catch (const std::bad_alloc&) {
          // What this thread would have done is done by the others.
        }
      });
    } catch (const std::exception&) {
      threads_ = static_cast<int>(started_.size()) + 1;
      return;
    }
  }
}

}  // namespace trovex::cli
