// Reading files whose size is not what the file system told.

#include "hosts/cli/files/file_bytes.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <cstdio>
#include <memory>
#include <string>
#include <variant>

namespace trovex::cli {
namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File FileWith(const std::string& content) {
  File file(std::tmpfile(), &std::fclose);
  std::fwrite(content.data(), 1, content.size(), file.get());
  std::fflush(file.get());
  lseek(fileno(file.get()), 0, SEEK_SET);
  return file;
}

std::string ReadFrom(const File& file) {
  auto result = ReadDescriptor(fileno(file.get()));
  if (const auto* error = std::get_if<ReadError>(&result)) return "error: " + error->reason;
  FileBytes& bytes = std::get<FileBytes>(result);
  EXPECT_EQ(bytes.Data()[bytes.Size()], '\0');
  bytes.Data()[bytes.Size()] = 'x';  // the byte behind is writable
  return std::string(bytes.View());
}

TEST(ReadDescriptor, ReadsFilesOfAnySize) {
  for (const std::size_t size : {0U, 1U, 4095U, 4096U, 65535U, 65536U, 65537U, 1000000U}) {
    std::string content(size, 'a');
    if (size > 0) content.back() = 'z';
    EXPECT_TRUE(ReadFrom(FileWith(content)) == content) << size;
  }
}

TEST(ReadDescriptor, AFileThatIsShorterThanItWasToldIsWhatItIs) {
  const File file = FileWith(std::string(100000, 'a') + "rest");
  lseek(fileno(file.get()), 100000, SEEK_SET);
  EXPECT_EQ(ReadFrom(file), "rest");
}

TEST(ReadDescriptor, APipeIsReadToItsEnd) {
  const File pipe(popen("head -c 300000 /dev/zero", "r"), &pclose);
  EXPECT_TRUE(ReadFrom(pipe) == std::string(300000, '\0'));
}

TEST(ReadDescriptor, TwoGibibytesAreRefused) {
  const File file = FileWith("");
  ASSERT_EQ(ftruncate(fileno(file.get()), off_t{1} << 31), 0);
  EXPECT_EQ(ReadFrom(file), "error: the text has 2 GiB or more and is not searched");
}

TEST(ReadFile, TellsWhyThereIsNone) {
  const auto result = ReadFile("/no/such/file");
  ASSERT_TRUE(std::holds_alternative<ReadError>(result));
  EXPECT_EQ(std::get<ReadError>(result).reason, "No such file or directory");
}

TEST(FileBytes, ResizingKeepsWhatFits) {
  FileBytes bytes("abcdef");
  bytes.Resize(3);
  EXPECT_EQ(bytes.View(), "abc");
  EXPECT_EQ(bytes.Data()[3], '\0');
  bytes.Resize(5000);
  EXPECT_EQ(bytes.View().substr(0, 3), "abc");
  EXPECT_EQ(bytes.Data()[5000], '\0');
}

}  // namespace
}  // namespace trovex::cli
