#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// What the tool needs of the operating system. Everything behind this header lives in a folder of its own
/// (posix/, windows/).
namespace umlauf::tool {

/// The arguments of `main` in UTF-8, the program's name first.
std::vector<std::string> Arguments(int argc, char** argv);

/// Standard input, output and error as bytes, shown as UTF-8. Takes the places of those that are closed, so
/// that no file gets their numbers and what goes there fails. Call before anything is opened.
void PrepareStandardStreams();

/// Writes UTF-8 to standard output or standard error, of any length. False when not all of it went there.
bool WriteText(std::FILE* stream, std::string_view utf8);

bool StandardErrorIsTerminal();
/// What a terminal is sent to go to the start of its line and clear it.
const char* ClearLine();

/// Number of this process, for names of temporary files.
unsigned long ProcessNumber();

/// Has `path` removed when the process is ended by an interrupt (Ctrl-C) or termination signal; at most 16 at
/// a time (more are not watched). `ForgetOnSignal` takes it back.
void RemoveOnSignal(const std::string& path);
void ForgetOnSignal(const std::string& path);

/// A program that runs beside this one and reads from it. Not for several threads.
class ProgramPipe {
 public:
  /// Starts `arguments[0]`, found on the search path. `Started` tells whether it was found.
  explicit ProgramPipe(const std::vector<std::string>& arguments);
  ~ProgramPipe();
  ProgramPipe(const ProgramPipe&) = delete;
  ProgramPipe& operator=(const ProgramPipe&) = delete;

  bool Started() const;
  /// Sends text to its standard input. What it does not take is noticed in its exit code.
  void Write(std::string_view text);
  /// Closes its input, waits for its end and returns its exit code (-1 when it was ended by a signal).
  int Finish();
  /// What it wrote to its standard error; complete after `Finish`.
  std::string Messages() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace umlauf::tool
