#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>

/// A Python script that answers lines with lines, beside the benchmark in one run. Where it cannot be
/// started, or what it needs is not installed, it answers nothing.
class Peer {
 public:
  explicit Peer(const std::string& script) {
    const char* const chosen = std::getenv("PYTHON");
    for (const char* python : {chosen != nullptr ? chosen : "python3", "/usr/bin/python3"}) {
      Start(python, script);
      if (Ask("none 1") >= 0) return;
      Stop();
    }
  }
  ~Peer() { Stop(); }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  /// The number that a line is answered with; -1 when there is no answer.
  double Ask(const std::string& line) {
    double answer = -1;
    if (in_ == nullptr || out_ == nullptr) return answer;
    if (std::fprintf(out_, "%s\n", line.c_str()) < 0 || std::fflush(out_) != 0) return -1;
    return std::fscanf(in_, "%lf", &answer) == 1 ? answer : -1;
  }

 private:
  void Start(const char* python, const std::string& script) {
    int down[2], up[2];
    if (pipe(down) != 0) return;
    if (pipe(up) != 0) return;
    process_ = fork();
    if (process_ == 0) {
      dup2(down[0], STDIN_FILENO);
      dup2(up[1], STDOUT_FILENO);
      for (const int each : {down[0], down[1], up[0], up[1]}) close(each);
      std::freopen("/dev/null", "w", stderr);
      execlp(python, python, script.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    close(down[0]);
    close(up[1]);
    out_ = fdopen(down[1], "w");
    in_ = fdopen(up[0], "r");
  }
  void Stop() {
    if (out_ != nullptr) std::fclose(out_);
    if (in_ != nullptr) std::fclose(in_);
    out_ = in_ = nullptr;
    if (process_ > 0) waitpid(process_, nullptr, 0);
    process_ = -1;
  }

  pid_t process_ = -1;
  FILE* in_ = nullptr;
  FILE* out_ = nullptr;
};
