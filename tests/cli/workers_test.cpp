// The pool of workers with searches made for the test: slow ones, loud ones, deadly ones.

#include "hosts/cli/search/workers.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace trovex::cli {
namespace {

using namespace std::chrono_literals;

/// What a pool showed.
struct Shown {
  std::string out;
  std::string err;
  SearchSummary total;
};

Shown RunPool(int jobs, std::vector<FileToSearch> files, SearchFunction search,
              bool firstIsEnough = false) {
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  Shown shown;
  {
    Progress progress(STDERR_FILENO, Progress::Clock::now());
    ResultStream stream({}, nullptr);
    WorkerPool pool(jobs, std::move(search), stream, progress);
    std::size_t next = 0;
    const auto source = [&]() -> std::optional<FileToSearch> {
      return next < files.size() ? std::optional(files[next++]) : std::nullopt;
    };
    shown.total = pool.Run(source, firstIsEnough);
    stream.Flush();
  }
  shown.out = ::testing::internal::GetCapturedStdout();
  shown.err = ::testing::internal::GetCapturedStderr();
  return shown;
}

std::vector<FileToSearch> Named(const std::vector<std::string>& names) {
  std::vector<FileToSearch> files;
  files.reserve(names.size());
  for (const std::string& name : names)
    files.push_back({name, true, {}});
  return files;
}

SearchSummary OneFile() {
  SearchSummary summary;
  summary.files = 1;
  return summary;
}

TEST(WorkerPool, OutputComesInTheOrderOfTheFilesWhoeverIsFirst) {
  std::vector<std::string> names;
  std::string expected;
  for (int i = 0; i < 50; ++i) {
    names.push_back(std::to_string(i));
    expected += names.back() + "\n";
  }
  const auto search = [](const FileToSearch& file, ResultSink& sink) {
    std::this_thread::sleep_for(file.path.ends_with('0') ? 30ms : 0ms);
    sink.Output(file.path);
    sink.Output("\n");
    return OneFile();
  };
  const Shown shown = RunPool(4, Named(names), search);
  EXPECT_EQ(shown.out, expected);
  EXPECT_EQ(shown.total.files, 50);
  EXPECT_FALSE(shown.total.trouble);
}

TEST(WorkerPool, MoreOutputThanIsHeldBackArrivesWhole) {
  constexpr std::size_t kSize = std::size_t{12} * 1024 * 1024;
  const auto search = [](const FileToSearch& file, ResultSink& sink) {
    if (file.path == "0") std::this_thread::sleep_for(300ms);
    const std::string line(kSize / 8 - 1, file.path.front());
    for (int i = 0; i < 8; ++i)
      sink.Output(line + "\n");
    return OneFile();
  };
  const Shown shown = RunPool(4, Named({"0", "1", "2", "3", "4", "5", "6", "7"}), search);
  ASSERT_EQ(shown.out.size(), 8 * kSize);
  for (std::size_t file = 0; file < 8; ++file) {
    EXPECT_EQ(shown.out[file * kSize], static_cast<char>('0' + file));
    EXPECT_EQ(shown.out[(file + 1) * kSize - 2], static_cast<char>('0' + file));
  }
}

TEST(WorkerPool, AWorkerThatDiesTakesOnlyItsFileWithIt) {
  const auto search = [](const FileToSearch& file, ResultSink& sink) {
    if (file.path == "deadly") {
      sink.Output("unfinished");
      raise(SIGKILL);
    }
    sink.Output(file.path + "\n");
    return OneFile();
  };
  const Shown shown = RunPool(2, Named({"a", "deadly", "b", "deadly", "c"}), search);
  EXPECT_EQ(shown.out, "a\nunfinished\nb\nunfinished\nc\n");
  EXPECT_EQ(shown.err,
            "trovex: deadly: the search of this file broke off: Killed\n"
            "trovex: deadly: the search of this file broke off: Killed\n");
  EXPECT_TRUE(shown.total.trouble);
  EXPECT_EQ(shown.total.files, 3);
}

TEST(WorkerPool, AWorkerThatExitsIsTold) {
  const auto search = [](const FileToSearch&, ResultSink&) -> SearchSummary { _exit(7); };
  const Shown shown = RunPool(2, Named({"a"}), search);
  EXPECT_EQ(shown.err, "trovex: a: the search of this file broke off: exit status 7\n");
}

TEST(WorkerPool, ComplaintsStandWhereTheirFilesWouldStand) {
  std::vector<FileToSearch> files = Named({"a", "b", "c"});
  files.insert(files.begin() + 1, {"x", false, "x: no such thing"});
  const auto search = [](const FileToSearch& file, ResultSink& sink) {
    if (file.path == "a") std::this_thread::sleep_for(50ms);
    sink.Complaint(file.path + ": bad");
    return OneFile();
  };
  const Shown shown = RunPool(3, files, search);
  EXPECT_EQ(shown.err,
            "trovex: a: bad\ntrovex: x: no such thing\ntrovex: b: bad\ntrovex: c: bad\n");
  EXPECT_TRUE(shown.total.trouble);
}

TEST(WorkerPool, NoFilesAreNoWork) {
  const auto search = [](const FileToSearch&, ResultSink&) { return OneFile(); };
  EXPECT_EQ(RunPool(3, {}, search).total.files, 0);
}

TEST(WorkerPool, StopsAtTheFirstFindIfThatIsEnough) {
  const auto search = [](const FileToSearch& file, ResultSink&) {
    if (file.path == "for ever") std::this_thread::sleep_for(1h);
    SearchSummary summary = OneFile();
    summary.filesFound = 1;
    return summary;
  };
  EXPECT_EQ(RunPool(2, Named({"a", "for ever"}), search, true).total.filesFound, 1);
}

}  // namespace
}  // namespace trovex::cli
