#include "tools/output/Console.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "tools/Error.h"
#include "tools/System.h"

namespace umlauf::tool {
namespace {

void CheckOut(bool good) {
  const int reason = errno;
  if (!good) Fail("cannot write standard output: {}", std::strerror(reason));
}

}  // namespace

std::string WithoutControls(std::string_view utf8) {
  std::string plain;
  plain.reserve(utf8.size());
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    const auto next = static_cast<unsigned char>(i + 1 < utf8.size() ? utf8[i + 1] : '\0');
    if ((byte < ' ' && byte != '\n' && byte != '\t') || byte == 0x7F) {
      fmt::format_to(std::back_inserter(plain), "\\u{:04x}", byte);
    } else if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {
      // The second row of controls, U+0080 to U+009F.
      fmt::format_to(std::back_inserter(plain), "\\u{:04x}", next);
      ++i;
    } else {
      plain += utf8[i];
    }
  }
  return plain;
}

std::string OnOneLine(std::string_view utf8) {
  std::string line = WithoutControls(utf8);
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c == '\n' || c == '\t'; }, ' ');
  return line;
}

void WriteOut(std::string_view text) { WriteOutAsItIs(WithoutControls(text)); }

void WriteOutAsItIs(std::string_view text) { CheckOut(WriteText(stdout, text)); }

std::string RowText(std::string_view name, std::string_view text, int width) {
  return fmt::format("{:<{}}{}\n", name, width, OnOneLine(text));
}

void FlushOut() {
  errno = EIO;
  CheckOut(std::fflush(stdout) == 0 && std::ferror(stdout) == 0);
}

void WriteNote(std::string_view text) {
  // A note that nobody can receive is no failure.
  WriteText(stderr, fmt::format("umlauf: {}\n", OnOneLine(text)));
  std::fflush(stderr);
}

}  // namespace umlauf::tool
