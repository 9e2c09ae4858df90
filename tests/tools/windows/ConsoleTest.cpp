// The program on a console of its own: what it shows there, and what Ctrl-C leaves.

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <algorithm>
#include <filesystem>

#include "support/Process.h"
#include "support/Test.h"

namespace fs = std::filesystem;

namespace {

class Console : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    FreeConsole();
    EXPECT_NE(AllocConsole(), 0);
    SetConsoleOutputCP(437);  // as consoles are where nobody changed that
  }

  Console() {
    fs::create_directories(folder_);
    EXPECT_NE(screen_, INVALID_HANDLE_VALUE);
    EXPECT_NE(SetConsoleScreenBufferSize(screen_, size_), 0);
  }
  ~Console() override {
    CloseHandle(screen_);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  /// Starts the program that lies beside this one, in a folder of its own.
  HANDLE Start(const std::wstring& arguments) {
    std::wstring program(MAX_PATH, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
    program.replace(program.find_last_of(L'\\') + 1, std::wstring::npos, L"umlauf.exe");
    std::wstring command = L"umlauf " + arguments;
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = start.hStdError = screen_;
    PROCESS_INFORMATION started{};
    EXPECT_NE(CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                             folder_.c_str(), &start, &started),
              0);
    CloseHandle(started.hThread);
    return started.hProcess;
  }
  static DWORD ExitCode(HANDLE process) {
    DWORD code = 0;
    EXPECT_EQ(WaitForSingleObject(process, 60'000), WAIT_OBJECT_0);
    EXPECT_NE(GetExitCodeProcess(process, &code), 0);
    CloseHandle(process);
    return code;
  }
  void Clear() {
    DWORD count = 0;
    EXPECT_NE(FillConsoleOutputCharacterW(screen_, L' ', size_.X * size_.Y, {0, 0}, &count), 0);
    EXPECT_NE(SetConsoleCursorPosition(screen_, {0, 0}), 0);
  }
  std::wstring Shown() const {
    std::wstring text(size_.X * size_.Y, L'\0');
    DWORD count = 0;
    ReadConsoleOutputCharacterW(screen_, text.data(), static_cast<DWORD>(text.size()), {0, 0}, &count);
    return text.substr(0, count);
  }
  /// Until the text is shown, but not for ever.
  bool Shows(const std::wstring& text) const {
    for (int i = 0; i < 600; ++i, Sleep(50)) {
      if (Shown().find(text) != std::wstring::npos) return true;
    }
    return false;
  }

  static constexpr COORD size_{100, 400};
  fs::path folder_ = fs::temp_directory_path() / ("umlauf-console-" + ProcessNumber());

 private:
  SECURITY_ATTRIBUTES inherited_{sizeof inherited_, nullptr, TRUE};
  HANDLE screen_ = CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                               &inherited_, OPEN_EXISTING, 0, nullptr);
};

TEST_F(Console, ShowsWhatItsCodePageHasNot) {
  EXPECT_EQ(ExitCode(Start(L"unit m/s² --to g")), 0u);
  EXPECT_TRUE(Shows(L"prints as     m/s²"));
  EXPECT_EQ(ExitCode(Start(L"info \"試験 Ω.wav\"")), 1u);
  EXPECT_TRUE(Shows(L"Ω.wav")) << "the argument is lost, or its text";
  EXPECT_EQ(GetConsoleOutputCP(), 437u);
}

TEST_F(Console, ShowsEveryCharacterOfALongText) {
  // Three bytes each: 90,000 in one go, cut at any of the three.
  for (const std::wstring before : {L"", L"a", L"ab"}) {
    Clear();
    EXPECT_EQ(ExitCode(Start(L"info " + before + std::wstring(30'000, L'€'))), 1u);
    EXPECT_TRUE(Shows(L"€: "));
    EXPECT_EQ(std::ranges::count(Shown(), L'€'), 30'000) << before.size();
  }
}

TEST_F(Console, InterruptedProgramTellsOfItsProgressAndLeavesNothing) {
  const HANDLE process = Start(L"simulate long.wav --duration 10000");
  EXPECT_TRUE(Shows(L" %"));
  EXPECT_FALSE(fs::is_empty(folder_));
  EXPECT_EQ(Shown().find(L'\x1B'), std::wstring::npos);
  SetConsoleCtrlHandler(nullptr, TRUE);  // is for the other one
  EXPECT_NE(GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0), 0);
  EXPECT_EQ(ExitCode(process), STATUS_CONTROL_C_EXIT);
  EXPECT_EQ(GetConsoleOutputCP(), 437u);
  SetConsoleCtrlHandler(nullptr, FALSE);
  EXPECT_TRUE(fs::is_empty(folder_));
}

}  // namespace
