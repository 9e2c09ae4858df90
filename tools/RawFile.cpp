#include "tools/RawFile.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include "tools/Error.h"

namespace umlauf::tool {

RawFile::RawFile(const std::filesystem::path& path, std::size_t frameSize)
    : path_(path.string()), file_(std::fopen(path.c_str(), "rb")), frameSize_(frameSize) {
  if (!file_) Fail("cannot read {}: {}", path_, std::strerror(errno));
  std::error_code error;
  const std::uintmax_t bytes = std::filesystem::file_size(path, error);
  if (error) Fail("cannot read {}: {}", path_, error.message());
  frames_ = bytes / frameSize_;
}

std::size_t RawFile::Read(void* to, std::size_t count) {
  const std::size_t n = std::fread(to, frameSize_, count, file_.get());
  if (n < count && std::ferror(file_.get()) != 0) Fail("cannot read {}: {}", path_, std::strerror(errno));
  return n;
}

}  // namespace umlauf::tool
