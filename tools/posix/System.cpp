#include "tools/System.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

extern char** environ;

namespace umlauf::tool {
namespace {

/// Paths as plain characters, because a signal handler may touch nothing else.
struct WatchedPath {
  volatile sig_atomic_t used = 0;
  std::array<char, 4096> path{};
};
std::array<WatchedPath, 16> watched;

void RemoveWatchedAndEnd(int signal) {
  for (const WatchedPath& each : watched) {
    if (each.used != 0) unlink(each.path.data());
  }
  // The default action was restored on entry (SA_RESETHAND): whoever waits sees the signal as the reason.
  raise(signal);
}

void InstallHandlers() {
  static const bool once = [] {
    struct sigaction action {};
    action.sa_handler = RemoveWatchedAndEnd;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      struct sigaction before {};
      sigaction(signal, nullptr, &before);
      if (before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
    }
    return true;
  }();
  static_cast<void>(once);
}

}  // namespace

std::vector<std::string> Arguments(int argc, char** argv) { return {argv, argv + argc}; }

void PrepareStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) >= 0) continue;
    // Opened the wrong way round: reading input or writing output fails. The least free number is this one.
    open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

bool WriteText(std::FILE* stream, std::string_view utf8) {
  return std::fwrite(utf8.data(), 1, utf8.size(), stream) == utf8.size();
}

bool StandardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

const char* ClearLine() { return "\r\033[K"; }

unsigned long ProcessNumber() { return static_cast<unsigned long>(getpid()); }

void RemoveOnSignal(const std::string& path) {
  InstallHandlers();
  for (WatchedPath& each : watched) {
    if (each.used != 0 || path.size() >= each.path.size()) continue;
    std::copy_n(path.c_str(), path.size() + 1, each.path.begin());
    each.used = 1;
    return;
  }
}

void ForgetOnSignal(const std::string& path) {
  for (WatchedPath& each : watched) {
    if (each.used != 0 && path == each.path.data()) each.used = 0;
  }
}

struct ProgramPipe::State {
  pid_t process = -1;
  int input = -1;
  /// A file, not a second pipe: the program can write as much as it likes while this side still writes.
  std::FILE* messages = nullptr;
};

ProgramPipe::ProgramPipe(const std::vector<std::string>& arguments) : state_(std::make_unique<State>()) {
  signal(SIGPIPE, SIG_IGN);
  state_->messages = std::tmpfile();
  std::array<int, 2> ends{};
  if (state_->messages == nullptr || pipe2(ends.data(), O_CLOEXEC) != 0) return;
  const int messages = fileno(state_->messages);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, messages, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, messages, STDERR_FILENO);
  std::vector<char*> argv;
  for (const std::string& each : arguments) argv.push_back(const_cast<char*>(each.c_str()));
  argv.push_back(nullptr);
  if (posix_spawnp(&state_->process, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
    state_->process = -1;
  }
  posix_spawn_file_actions_destroy(&actions);
  close(ends[0]);
  state_->input = ends[1];
}

ProgramPipe::~ProgramPipe() {
  Finish();
  if (state_->messages != nullptr) std::fclose(state_->messages);
}

bool ProgramPipe::Started() const { return state_->process > 0; }

void ProgramPipe::Write(std::string_view text) {
  while (!text.empty() && state_->input >= 0) {
    const ssize_t written = write(state_->input, text.data(), text.size());
    if (written > 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      return;
    }
  }
}

int ProgramPipe::Finish() {
  if (state_->input >= 0) close(state_->input);
  state_->input = -1;
  if (!Started()) return -1;
  int status = 0;
  while (waitpid(state_->process, &status, 0) < 0 && errno == EINTR) {
  }
  state_->process = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string ProgramPipe::Messages() const {
  std::string text;
  if (state_->messages == nullptr) return text;
  std::rewind(state_->messages);
  std::array<char, 512> buffer{};
  while (const std::size_t n = std::fread(buffer.data(), 1, buffer.size(), state_->messages)) {
    text.append(buffer.data(), n);
  }
  return text;
}

}  // namespace umlauf::tool
