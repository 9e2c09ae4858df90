#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "fuzz/support/Fuzz.h"
#include "umlauf/platform/tramsea/PrWin.h"

#if defined(__SANITIZE_ADDRESS__)
#define UMLAUF_FUZZ_WATCHES_MEMORY 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define UMLAUF_FUZZ_WATCHES_MEMORY 1
#endif
#endif

// gcc has the sanitizer, but not the header that its hooks stand in.
#if defined(UMLAUF_FUZZ_WATCHES_MEMORY) && __has_include(<sanitizer/allocator_interface.h>)
#include <sanitizer/allocator_interface.h>
#else
#undef UMLAUF_FUZZ_WATCHES_MEMORY
#endif

namespace umlauf::fuzz {

void Require(bool condition, const char* property) {
  if (condition) return;
  std::fprintf(stderr, "does not hold: %s\n", property);
  std::abort();
}

TemporaryFile::TemporaryFile() {
  const std::filesystem::path memory = "/dev/shm";
  std::random_device random;
  for (const auto& folder : {memory, std::filesystem::temp_directory_path()}) {
    path_ = (folder / ("fuzz_" + std::to_string(random()) + "_" + std::to_string(random()))).string();
    std::FILE* const file = std::fopen(path_.c_str(), "wb");
    if (file != nullptr && std::fclose(file) == 0) return;
  }
  Require(false, "a temporary file can be made");
}

TemporaryFile::~TemporaryFile() { std::remove(path_.c_str()); }

void TemporaryFile::Fill(std::span<const std::byte> bytes) const {
  std::FILE* const file = std::fopen(path_.c_str(), "wb");
  Require(file != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size() &&
              std::fclose(file) == 0,
          "the temporary file can be written");
}

namespace {

// Bytes in use since the input began, and the most there were. Targets run on one thread.
std::int64_t g_used = 0, g_most = 0;
std::size_t g_allowed = 0;

[[maybe_unused]] void Count(std::int64_t bytes) {
  g_used += bytes;
  if (g_used > g_most) g_most = g_used;
}

void WatchMemory() {
#ifdef UMLAUF_FUZZ_WATCHES_MEMORY
  __sanitizer_install_malloc_and_free_hooks(
      [](const volatile void*, std::size_t bytes) { Count(static_cast<std::int64_t>(bytes)); },
      [](const volatile void* block) {
        if (block == nullptr) return;
        Count(-static_cast<std::int64_t>(__sanitizer_get_allocated_size(const_cast<const void*>(block))));
      });
#endif
}

}  // namespace

void Allow(std::size_t bytes) { g_allowed += bytes; }

}  // namespace umlauf::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace umlauf::fuzz;
  static const bool ready = [] {
    PrWin::SetSink([](int, int, const CString&) {});
    WatchMemory();
    return true;
  }();
  Require(ready, "the target is ready");
  g_used = g_most = 0;
  g_allowed = (std::size_t{4} << 20) + 64 * size;
  FuzzOne(Input(std::as_bytes(std::span(bytes, size))));
  Require(g_most <= static_cast<std::int64_t>(g_allowed),
          "memory in use stays within what the input justifies");
  return 0;
}
