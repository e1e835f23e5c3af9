// The line of progress, shown on a terminal made for the test.

#include "hosts/cli/output/progress.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <cstdlib>
#include <string>

namespace trovex::cli {
namespace {

using namespace std::chrono_literals;

/// A terminal whose output the test can read.
class Terminal {
 public:
  Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
    grantpt(master_);
    unlockpt(master_);
    slave_ = open(ptsname(master_), O_RDWR | O_NOCTTY);
    fcntl(master_, F_SETFL, O_NONBLOCK);
  }
  ~Terminal() {
    close(slave_);
    close(master_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  int Descriptor() const { return slave_; }

  std::string Shown() const {
    char buffer[4096];
    const ssize_t count = read(master_, buffer, sizeof buffer);
    return count > 0 ? std::string(buffer, static_cast<std::size_t>(count)) : "";
  }

 private:
  int master_;
  int slave_ = -1;
};

TEST(Progress, AppearsAfterOneSecondAndGoesAway) {
  const Terminal terminal;
  Progress young(terminal.Descriptor(), Progress::Clock::now());
  young.Add(1, 1000);
  young.Erase();
  EXPECT_EQ(terminal.Shown(), "");
  Progress progress(terminal.Descriptor(), Progress::Clock::now() - 2s);
  progress.Add(20, 3000000);
  EXPECT_EQ(terminal.Shown().find("\r\033[K3.0 MB, 20 files, 1."), 0U);
  EXPECT_TRUE(progress.IsDrawn());
  progress.Add(1, 100000);
  EXPECT_EQ(terminal.Shown(), "");
  progress.Erase();
  EXPECT_EQ(terminal.Shown(), "\r\033[K");
  EXPECT_FALSE(progress.IsDrawn());
}

TEST(Progress, IsForTerminalsAlone) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  Progress progress(ends[1], Progress::Clock::now() - 5s);
  progress.Add(1, 1);
  close(ends[1]);
  char byte = 0;
  EXPECT_EQ(read(ends[0], &byte, 1), 0);
  close(ends[0]);
}

TEST(Progress, BytesAreReadable) {
  EXPECT_EQ(ReadableBytes(0), "0 bytes");
  EXPECT_EQ(ReadableBytes(999), "999 bytes");
  EXPECT_EQ(ReadableBytes(1500), "1.5 kB");
  EXPECT_EQ(ReadableBytes(2.5e9), "2.5 GB");
  EXPECT_EQ(ReadableBytes(2.5e13), "25000.0 GB");
}

TEST(Progress, FitsFewColumns) {
  EXPECT_EQ(ProgressText(1, 500, 0, 80), "500 bytes, 1 file, 0 bytes/s, 0 s");
  EXPECT_EQ(ProgressText(123456, 987654321012, 12345, 40), "987.7 GB, 123456 files, 80.0 MB/s");
  EXPECT_EQ(ProgressText(2, 500, 0, 20), "500 bytes, 2 files");
}

}  // namespace
}  // namespace trovex::cli
