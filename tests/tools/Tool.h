#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "support/Test.h"

/// Each of these texts is in it.
inline testing::Matcher<std::string> HasAll(const std::vector<std::string>& parts) {
  std::vector<testing::Matcher<std::string>> each;
  for (const std::string& part : parts) each.push_back(HasSubstr(part));
  return testing::AllOfArray(each);
}

/// Runs the built program in a folder of its own, as a person would.
class Tool : public testing::Test {
 protected:
  struct Result {
    int code;
    std::string out, err;
  };

  Tool() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    folder_ = std::filesystem::temp_directory_path() /
              ("umlauf-tool-" + std::to_string(getpid()) + "-" + test->name());
    std::filesystem::create_directories(folder_);
  }
  ~Tool() override { std::filesystem::remove_all(folder_); }

  std::filesystem::path Path(const std::string& name) const { return folder_ / name; }

  /// Through the shell, with its quoting; standard output and error come back as text.
  Result Shell(const std::string& command) const {
    const auto out = folder_.string() + ".out", err = folder_.string() + ".err";
    const int status = std::system(
        ("cd '" + folder_.string() + "' && { " + command + "; } >'" + out + "' 2>'" + err + "'").c_str());
    Result result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, Text(out), Text(err)};
    std::filesystem::remove(out);
    std::filesystem::remove(err);
    return result;
  }
  /// The program that was built beside this test, or another one, as under Wine; quoted for the shell.
  static const std::string& Program() {
    static const std::string quoted = [] {
      const char* const other = std::getenv("UMLAUF_TOOL_PROGRAM");
      std::string text = "'";
      text += other != nullptr ? other : UMLAUF_TOOL;
      text += '\'';
      return text;
    }();
    return quoted;
  }
  Result Run(const std::string& arguments) const { return Shell(Program() + " " + arguments); }
  /// As `Run`; the test fails unless it ends well and silently.
  std::string Good(const std::string& arguments) const {
    const Result result = Run(arguments);
    EXPECT_EQ(result.code, 0) << arguments << "\n" << result.err;
    EXPECT_EQ(result.err, "") << arguments;
    return result.out;
  }
  /// As `Good`, for recordings whose speed is doubtful: it may warn.
  std::string Doubtful(const std::string& arguments) const {
    const Result result = Run(arguments);
    EXPECT_EQ(result.code, 0) << arguments << "\n" << result.err;
    return result.out;
  }
  /// As `Run`; the test fails unless it ends with this code and one line that holds the message, and leaves
  /// the folder as it was.
  void Bad(const std::string& arguments, int code, const std::string& message) const {
    const std::set<std::string> before = Files();
    const Result result = Run(arguments);
    EXPECT_EQ(result.code, code) << arguments << "\n" << result.err;
    EXPECT_EQ(result.out, "") << arguments;
    EXPECT_THAT(result.err, testing::AllOf(testing::StartsWith("umlauf: "), HasSubstr(message))) << arguments;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    EXPECT_EQ(Files(), before) << arguments;
  }
  /// Number behind "key": in the JSON that `speed --json` printed; the first one of that name.
  static double Number(const std::string& json, const std::string& key) {
    const std::size_t at = json.find("\"" + key + "\":");
    EXPECT_NE(at, std::string::npos) << key << " is not in\n" << json;
    return at == std::string::npos ? 0 : std::strtod(json.c_str() + at + key.size() + 3, nullptr);
  }

  std::string Text(const std::filesystem::path& path) const {
    std::ifstream file(folder_ / path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
  }
  template <class T>
  void WriteRaw(const std::string& name, const std::vector<T>& samples) const {
    Write(name, {reinterpret_cast<const char*>(samples.data()), samples.size() * sizeof(T)});
  }
  /// Samples of a float WAV file.
  std::vector<float> WavSamples(const std::string& name) const {
    const std::string bytes = Text(name);
    const std::size_t data = bytes.find("data") + 8;
    std::vector<float> samples((bytes.size() - data) / sizeof(float));
    std::memcpy(samples.data(), bytes.data() + data, samples.size() * sizeof(float));
    return samples;
  }
  std::set<std::string> Files() const {
    std::set<std::string> names;
    for (const auto& each : std::filesystem::directory_iterator(folder_))
      names.insert(each.path().filename());
    return names;
  }

  struct Row {
    double time, rpm, revolutionTime, samples;
    std::string flags;
  };
  /// Rows of `speed --csv`.
  static std::vector<Row> Rows(const std::string& csv) {
    std::istringstream lines(csv);
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "time_s,rpm,revolution_time_s,samples,flags");
    std::vector<Row> rows;
    while (std::getline(lines, line)) {
      Row row{};
      char* at = line.data();
      for (double* each : {&row.time, &row.rpm, &row.revolutionTime, &row.samples}) {
        *each = std::strtod(at, &at);
        if (*at == ',') ++at;
      }
      row.flags = at;
      rows.push_back(row);
    }
    return rows;
  }

 private:
  std::filesystem::path folder_;
};
