#include "tools/System.h"

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <fcntl.h>
#include <io.h>
#include <windows.h>
// The system's other headers come behind its first.
#include <shellapi.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <string_view>
#include <utility>

#include "umlauf/platform/framework/CString.h"

namespace umlauf::tool {
namespace {

std::wstring Wide(const std::string& utf8) { return CString::FromUtf8(utf8).str(); }

/// As fixed memory: the system calls its handler on a thread of its own.
struct WatchedPath {
  std::atomic<bool> used = false;
  std::array<wchar_t, 4096> path{};
};
std::array<WatchedPath, 16> watched;

/// The code page of a console while this program runs; the console keeps it beyond.
struct ConsoleCodePage {
  std::atomic<UINT> before = 0;
  void Set() {
    if (before == 0) before = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
  }
  void TakeBack() {
    if (before != 0) SetConsoleOutputCP(before);
  }
  ~ConsoleCodePage() { TakeBack(); }
} consoleCodePage;

BOOL WINAPI Interrupted(DWORD) {
  // They are open for others to delete, so they go when this process does.
  for (const WatchedPath& each : watched) {
    if (each.used) DeleteFileW(each.path.data());
  }
  consoleCodePage.TakeBack();
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_CONTROL_C_EXIT));
  return TRUE;
}

bool IsConsole(DWORD stream) {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

/// Whether a console shows a standard stream, asked once: a table may be written in a million pieces.
bool ShownBy(const std::FILE* stream) {
  static const bool output = IsConsole(STD_OUTPUT_HANDLE), error = IsConsole(STD_ERROR_HANDLE);
  return stream == stderr ? error : output;
}

/// Bytes that a console takes at once everywhere; old ones refuse 64 KiB.
constexpr std::size_t consolePiece = 1 << 14;

/// As the run-time library of the program takes it apart again.
std::wstring Quoted(const std::wstring& argument) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : argument) {
    if (c == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  return quoted.append(backslashes, L'\\') + L'"';
}

}  // namespace

std::vector<std::string> Arguments(int argc, char** argv) {
  // Those of `main` have lost what the code page of the system has not, and have their wildcards expanded.
  int count = 0;
  LPWSTR* const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (wide == nullptr) return {argv, argv + argc};
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(CString(wide[i]).ToUtf8());
  LocalFree(wide);
  return arguments;
}

void PrepareStandardStreams() {
  SetConsoleCtrlHandler(Interrupted, TRUE);
  for (std::FILE* stream : {stdin, stdout, stderr}) {
    if (_fileno(stream) >= 0) _setmode(_fileno(stream), _O_BINARY);
  }
  for (std::FILE* stream : {stdout, stderr}) {
    if (!ShownBy(stream)) continue;
    consoleCodePage.Set();
    // It gets each byte by itself otherwise, and shows no character that takes several.
    std::setvbuf(stream, nullptr, _IOFBF, 1 << 16);
  }
}

bool WriteText(std::FILE* stream, std::string_view utf8) {
  if (!ShownBy(stream)) return std::fwrite(utf8.data(), 1, utf8.size(), stream) == utf8.size();
  // It reads each piece by itself, and of a character that is cut it shows neither part.
  while (!utf8.empty()) {
    std::size_t count = std::min(utf8.size(), consolePiece);
    const auto continues = [&] { return (static_cast<unsigned char>(utf8[count]) & 0xC0) == 0x80; };
    for (int i = 0; i < 3 && count < utf8.size() && continues(); ++i) --count;
    if (std::fwrite(utf8.data(), 1, count, stream) != count || std::fflush(stream) != 0) return false;
    utf8.remove_prefix(count);
  }
  return true;
}

bool StandardErrorIsTerminal() { return IsConsole(STD_ERROR_HANDLE); }

const char* ClearLine() {
  static const bool escapes = [] {
    const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) != 0 &&
           SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
  }();
  // Without escape codes as many blanks as a progress bar has characters.
  return escapes ? "\r\033[K" : "\r                                                                      \r";
}

unsigned long ProcessNumber() { return GetCurrentProcessId(); }

void RemoveOnSignal(const std::string& path) {
  const std::wstring wide = Wide(path);
  for (WatchedPath& each : watched) {
    if (each.used || wide.size() >= each.path.size()) continue;
    each.path[wide.copy(each.path.data(), wide.size())] = L'\0';
    each.used = true;
    return;
  }
}

void ForgetOnSignal(const std::string& path) {
  for (WatchedPath& each : watched) {
    if (each.used && Wide(path) == each.path.data()) each.used = false;
  }
}

struct ProgramPipe::State {
  HANDLE process = nullptr;
  HANDLE input = nullptr;
  /// A file, not a second pipe: the program can write as much as it likes while this side still writes.
  HANDLE messages = INVALID_HANDLE_VALUE;

  void OpenMessages() {
    std::array<wchar_t, MAX_PATH + 1> folder{}, name{};
    if (GetTempPathW(MAX_PATH, folder.data()) == 0) return;
    if (GetTempFileNameW(folder.data(), L"uml", 0, name.data()) == 0) return;
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    messages = CreateFileW(name.data(), GENERIC_READ | GENERIC_WRITE,
                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, &inherited, CREATE_ALWAYS,
                           FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  }

  void Start(std::wstring commandLine, HANDLE its) {
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = its;
    start.hStdOutput = start.hStdError = messages;
    PROCESS_INFORMATION started{};
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                       nullptr, &start, &started) == 0) {
      return;
    }
    CloseHandle(started.hThread);
    process = started.hProcess;
  }
};

ProgramPipe::ProgramPipe(const std::vector<std::string>& arguments) : state_(std::make_unique<State>()) {
  state_->OpenMessages();
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  HANDLE its = nullptr;
  if (state_->messages == INVALID_HANDLE_VALUE || CreatePipe(&its, &state_->input, &inherited, 0) == 0)
    return;
  SetHandleInformation(state_->input, HANDLE_FLAG_INHERIT, 0);
  std::wstring commandLine;
  for (const std::string& each : arguments)
    commandLine += (commandLine.empty() ? L"" : L" ") + Quoted(Wide(each));
  state_->Start(std::move(commandLine), its);
  CloseHandle(its);
}

ProgramPipe::~ProgramPipe() {
  Finish();
  if (state_->messages != INVALID_HANDLE_VALUE) CloseHandle(state_->messages);
}

bool ProgramPipe::Started() const { return state_->process != nullptr; }

void ProgramPipe::Write(std::string_view text) {
  while (!text.empty() && state_->input != nullptr) {
    DWORD written = 0;
    const auto count = static_cast<DWORD>(std::min<std::size_t>(text.size(), 1 << 16));
    if (WriteFile(state_->input, text.data(), count, &written, nullptr) == 0) return;
    text.remove_prefix(written);
  }
}

int ProgramPipe::Finish() {
  if (state_->input != nullptr) CloseHandle(state_->input);
  state_->input = nullptr;
  if (!Started()) return -1;
  DWORD code = 0;
  WaitForSingleObject(state_->process, INFINITE);
  const bool known = GetExitCodeProcess(state_->process, &code) != 0;
  CloseHandle(state_->process);
  state_->process = nullptr;
  return known ? static_cast<int>(code) : -1;
}

std::string ProgramPipe::Messages() const {
  std::string text;
  if (state_->messages == INVALID_HANDLE_VALUE) return text;
  SetFilePointer(state_->messages, 0, nullptr, FILE_BEGIN);
  std::array<char, 512> buffer{};
  DWORD count = 0;
  while (ReadFile(state_->messages, buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr) != 0 &&
         count > 0) {
    text.append(buffer.data(), count);
  }
  return text;
}

}  // namespace umlauf::tool
