// Runs a target over its seeds without libFuzzer: each one whole, cut at every length, and changed a number
// of times, the same way in each run.
//
//     fuzz_replay_NAME [--mutations N] FILE OR FOLDER ...

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "fuzz/support/Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

std::uint64_t g_runs = 0;

void Run(const Bytes& bytes) {
  // Memory that ends with the input.
  const umlauf::fuzz::Exact<std::uint8_t> exact(std::as_bytes(std::span(bytes)));
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
  ++g_runs;
}

Bytes Changed(Bytes bytes, const std::vector<Bytes>& seeds, std::mt19937& random) {
  const auto below = [&random](std::size_t n) { return n == 0 ? 0 : random() % n; };
  const auto at = [&](std::size_t i) { return bytes.begin() + static_cast<std::ptrdiff_t>(i); };
  constexpr std::uint32_t telling[] = {0,  1,      0x7F,   0x80,       0xFF,       0x100,
                                       31, 0x8000, 0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  for (auto changes = 1 + below(4); changes > 0; --changes) {
    const std::size_t i = below(bytes.size()), rest = bytes.size() - i,
                      n = 1 + below(std::min<std::size_t>(rest, 16));
    switch (below(6)) {
      case 0:
        if (rest != 0) bytes[i] = static_cast<std::uint8_t>(bytes[i] ^ 1u << below(8));
        break;
      case 1:
        if (rest != 0) bytes[i] = static_cast<std::uint8_t>(random());
        break;
      case 2: {
        const std::uint32_t number = telling[below(std::size(telling))];
        if (rest == 0) break;
        std::memcpy(bytes.data() + i, &number,
                    std::min<std::size_t>({rest, sizeof number, std::size_t{1} << below(3)}));
        break;
      }
      case 3:
        if (n <= rest) bytes.erase(at(i), at(i + n));
        break;
      case 4: {
        const Bytes piece(at(i), at(i + std::min(n, rest)));
        bytes.insert(at(below(bytes.size() + 1)), piece.begin(), piece.end());
        break;
      }
      default: {
        const Bytes& other = seeds[below(seeds.size())];
        const auto from = static_cast<std::ptrdiff_t>(below(other.size() + 1));
        bytes.erase(at(i), bytes.end());
        bytes.insert(bytes.end(), other.begin() + from, other.end());
      }
    }
  }
  return bytes;
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t mutations = 0;
  std::vector<std::filesystem::path> files;
  for (int i = 1; i < argc; ++i) {
    if (argv[i] == std::string_view("--mutations") && i + 1 < argc) {
      mutations = std::strtoul(argv[++i], nullptr, 10);
    } else if (std::filesystem::is_directory(argv[i])) {
      for (const auto& entry : std::filesystem::directory_iterator(argv[i])) files.push_back(entry.path());
    } else {
      files.emplace_back(argv[i]);
    }
  }
  std::sort(files.begin(), files.end());
  std::vector<Bytes> seeds;
  for (const auto& path : files) {
    std::ifstream file(path, std::ios::binary);
    seeds.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  if (seeds.empty()) {
    std::fprintf(stderr, "%s: there are no inputs\n", argv[0]);
    return 1;
  }
  std::mt19937 random(1);
  for (std::size_t i = 0; i < seeds.size(); ++i) {
    std::fprintf(stderr, "%s\n",
                 files[i].filename().string().c_str());  // the last one named is the one that failed
    const Bytes& seed = seeds[i];
    Run(seed);
    const std::size_t step = 1 + seed.size() / 1000;
    for (std::size_t length = 0; mutations != 0 && length < seed.size(); length += step) {
      Run(Bytes(seed.begin(), seed.begin() + static_cast<std::ptrdiff_t>(length)));
    }
    for (std::size_t m = 0; m < mutations; ++m) Run(Changed(seed, seeds, random));
  }
  std::printf("%llu inputs from %zu seeds\n", static_cast<unsigned long long>(g_runs), seeds.size());
  return 0;
}
