// Input and outputs go through files beside the test's folder, so that no pipe can fill up.

#include "tests/cli/run_program.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace trovex::testing {

namespace fs = std::filesystem;

namespace {

/// What a terminal shows when a command on it has ended.
constexpr char kEndOfCommand = '\005';

std::string ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream content;
  content << file.rdbuf();
  return content.str();
}

void Redirect(int descriptor, const std::string& path, int flags) {
  const int file = open(path.c_str(), flags, 0600);
  if (file < 0 || dup2(file, descriptor) < 0) _exit(127);
  close(file);
}

[[noreturn]] void Become(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& argument : command)
    arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  execv(arguments.front(), arguments.data());
  _exit(127);
}

}  // namespace

ProgramTest::ProgramTest() {
  std::string name = (fs::temp_directory_path() / "trovex-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for the test");
  folder_ = name;
}

ProgramTest::~ProgramTest() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
  for (const char* suffix : {".in", ".out", ".err"})
    fs::remove(folder_ + suffix, ignored);
}

void ProgramTest::Write(const std::string& name, std::string_view content) const {
  const fs::path path = Path(name);
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

RunResult ProgramTest::Run(const std::vector<std::string>& arguments,
                           const std::string& input) const {
  std::vector<std::string> command{TROVEX_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return Execute(command, input);
}

RunResult ProgramTest::Shell(const std::string& command) const {
  return Execute({"/bin/sh", "-c", command}, "");
}

std::string ProgramTest::ShellOnTerminal(const std::string& command, const std::string& sign,
                                         const std::string& keys) const {
  int terminal = -1;
  const pid_t process = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (process < 0) throw std::runtime_error("no terminal for the test");
  if (process == 0) LeadSession(command);
  std::string seen;
  bool typed = keys.empty();
  char buffer[4096];
  while (seen.find(kEndOfCommand) == std::string::npos) {
    const ssize_t count = read(terminal, buffer, sizeof buffer);
    if (count <= 0) break;
    seen.append(buffer, static_cast<std::size_t>(count));
    if (typed || seen.find(sign) == std::string::npos) continue;
    typed = true;
    if (write(terminal, keys.data(), keys.size()) < 0) break;
  }
  kill(process, SIGKILL);
  close(terminal);
  waitpid(process, nullptr, 0);
  return seen.substr(0, seen.find(kEndOfCommand));
}

/// Runs a command on the terminal of the process, which is a new one, and then stays until it is killed: when the
/// first process of a terminal ends, what has not been read of it may be lost. What is typed is for the command.
void ProgramTest::LeadSession(const std::string& command) const {
  EnterFolder();
  std::signal(SIGINT, SIG_IGN);
  const pid_t shell = fork();
  if (shell == 0) {
    std::signal(SIGINT, SIG_DFL);
    Become({"/bin/sh", "-c", command});
  }
  waitpid(shell, nullptr, 0);
  if (write(STDOUT_FILENO, &kEndOfCommand, 1) < 0) _exit(127);
  for (;;)
    pause();
}

/// Makes the process, which is a new one, stand where a run begins. What the runner of the tests left open
/// is no business of the program's.
void ProgramTest::EnterFolder() const {
  close_range(STDERR_FILENO + 1, ~0U, 0);
  setenv("LC_ALL", locale_.c_str(), 1);
  setenv("TERM", "xterm", 1);
  unsetenv("NO_COLOR");
  setenv("TROVEX", TROVEX_PROGRAM, 1);
  if (chdir(folder_.c_str()) != 0) _exit(127);
}

RunResult ProgramTest::Execute(const std::vector<std::string>& command,
                               const std::string& input) const {
  std::ofstream(folder_ + ".in", std::ios::binary) << input;
  const pid_t process = fork();
  if (process < 0) throw std::runtime_error("no process for the test");
  if (process == 0) {
    Redirect(STDIN_FILENO, folder_ + ".in", O_RDONLY);
    Redirect(STDOUT_FILENO, folder_ + ".out", O_WRONLY | O_CREAT | O_TRUNC);
    Redirect(STDERR_FILENO, folder_ + ".err", O_WRONLY | O_CREAT | O_TRUNC);
    EnterFolder();
    Become(command);
  }
  int status = 0;
  rusage usage{};
  wait4(process, &status, 0, &usage);
  RunResult result;
  result.kilobytes = usage.ru_maxrss;
  result.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  result.out = ReadAll(folder_ + ".out");
  result.err = ReadAll(folder_ + ".err");
  return result;
}

std::string Times(int count, std::string_view text) {
  std::string result;
  for (int i = 0; i < count; ++i)
    result += text;
  return result;
}

}  // namespace trovex::testing
