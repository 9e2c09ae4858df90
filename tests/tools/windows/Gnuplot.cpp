// gnuplot for the tests under Wine, where the only one is that of the machine: hands its input on to it,
// gives its messages and ends as it does. Wine does not tell when a program of the machine ends, so its exit
// code comes as a file.

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

int main() {
  _setmode(_fileno(stdin), _O_BINARY);
  const std::string name = ".gnuplot-" + std::to_string(GetCurrentProcessId());
  const std::string input = name + ".in", messages = name + ".err", part = name + ".part",
                    end = name + ".end";
  std::ofstream(input, std::ios::binary) << std::cin.rdbuf();
  std::string command = "sh -c \"gnuplot <" + input + " 2>" + messages + "; echo $? >" + part + "; mv " +
                        part + " " + end + "\"";
  STARTUPINFOA start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION started{};
  if (CreateProcessA("Z:\\bin\\sh", command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                     &started) == 0) {
    return 127;
  }
  for (int waited = 0; waited < 60'000 && !std::filesystem::exists(end); waited += 5) Sleep(5);
  int code = 126;
  std::ifstream(end) >> code;
  std::cerr << std::ifstream(messages, std::ios::binary).rdbuf();
  for (const std::string& each : {input, messages, part, end}) std::remove(each.c_str());
  return code;
}
