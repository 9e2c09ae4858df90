// The functions of QVL beside the plain loops that they stand for, over a block in the first-level cache, so
// that instructions count and not memory. Counter vs_plain: the plain loop's time over ours, each from its
// best run, by turns; below 1 the loop would be the better choice. UMLAUF_BENCH_TARGET shows how older
// processors fare.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/Bandwidth.h"
#include "umlauf/platform/basis/CAlignedMem.h"
#include "umlauf/platform/vekta/QVL.h"

namespace {

constexpr std::size_t kFloats = 4096;

/// Blocks that are aligned as those of signals are.
struct Blocks {
  Blocks()
      : a(8 * kFloats),
        b(a),
        out(a),
        words(8 * kFloats),
        bytes(kFloats),
        above(kFloats / 64),
        below(above),
        places(kFloats + 16) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> digits(-1.0f, 1.0f);
    for (std::size_t i = 0; i < a.size(); ++i) a[i] = digits(random), b[i] = digits(random), words[i] = 0;
    for (std::size_t c = 0; c < 8; ++c) parts[c] = out.data() + c * kFloats, sources[c] = parts[c];
  }
  CAlignedMem<float> a, b, out;
  CAlignedMem<std::uint32_t> words;
  std::vector<std::uint8_t> bytes;
  std::vector<std::uint64_t> above, below;
  std::vector<std::uint32_t> places;
  float* parts[8];
  const float* sources[8];
  float low[8], high[8], result = 0;
  std::size_t place = 0;
};

/// A number that the compiler does not know, as the arguments of the functions are none that it knows.
inline std::size_t Runtime(std::size_t value) {
  benchmark::DoNotOptimize(value);
  return value;
}

struct Form {
  const char* name;
  void (*ours)(Blocks&);
  void (*plain)(Blocks&);
};

template <std::size_t kStride>
constexpr Form kCopyFrom = {nullptr,
                            [](Blocks& k) { QVL::Interleave(k.out.data(), 1, k.a.data(), kStride, kFloats); },
                            [](Blocks& k) {
                              const std::size_t stride = Runtime(kStride);
                              for (std::size_t i = 0; i < kFloats; ++i) k.out[i] = k.a[i * stride];
                            }};
template <std::size_t kStride>
constexpr Form kCopyTo = {nullptr,
                          [](Blocks& k) { QVL::Interleave(k.out.data(), kStride, k.a.data(), 1, kFloats); },
                          [](Blocks& k) {
                            const std::size_t stride = Runtime(kStride);
                            for (std::size_t i = 0; i < kFloats; ++i) k.out[i * stride] = k.a[i];
                          }};
template <std::size_t kStride>
constexpr Form kFind = {
    nullptr, [](Blocks& k) { k.place = QVL::FindMasked(k.words.data(), kFloats, kStride, 0xF0u, 0xA0u); },
    [](Blocks& k) {
      const std::size_t stride = Runtime(kStride);
      k.place = 0;
      while (k.place < kFloats && (k.words[k.place * stride] & 0xF0u) != 0xA0u) ++k.place;
    }};
template <std::size_t kChannels>
constexpr Form kSplit = {
    nullptr, [](Blocks& k) { QVL::Deinterleave(k.parts, k.a.data(), kChannels, kFloats / kChannels); },
    [](Blocks& k) {
      const std::size_t channels = Runtime(kChannels);
      for (std::size_t i = 0; i < kFloats / channels; ++i)
        for (std::size_t c = 0; c < channels; ++c) k.parts[c][i] = k.a[i * channels + c];
    }};
template <std::size_t kChannels>
constexpr Form kJoin = {
    nullptr, [](Blocks& k) { QVL::Interleave(k.a.data(), k.sources, kChannels, kFloats / kChannels); },
    [](Blocks& k) {
      const std::size_t channels = Runtime(kChannels);
      for (std::size_t i = 0; i < kFloats / channels; ++i)
        for (std::size_t c = 0; c < channels; ++c) k.a[i * channels + c] = k.sources[c][i];
    }};
template <std::size_t kChannels>
constexpr Form kFrames = {
    nullptr,
    [](Blocks& k) { QVL::ExtendFrameMinMax(k.a.data(), kFloats / kChannels, kChannels, k.low, k.high); },
    [](Blocks& k) {
      const std::size_t channels = Runtime(kChannels);
      for (std::size_t i = 0; i + channels <= kFloats; i += channels) {
        for (std::size_t c = 0; c < channels; ++c) {
          if (k.a[i + c] < k.low[c]) k.low[c] = k.a[i + c];
          if (k.a[i + c] > k.high[c]) k.high[c] = k.a[i + c];
        }
      }
    }};

/// One mark in ten words.
const Form kFindAll{nullptr,
                    [](Blocks& k) {
                      const auto* const words = reinterpret_cast<const std::uint32_t*>(k.a.data());
                      k.place = QVL::FindAllMasked(words, kFloats, 1, 0x700, 0x100, k.places.data());
                    },
                    [](Blocks& k) {
                      std::size_t count = 0;
                      for (std::uint32_t i = 0; i < kFloats; ++i) {
                        if ((std::bit_cast<std::uint32_t>(k.a[i]) & 0x700) == 0x100) k.places[count++] = i;
                      }
                      k.place = count;
                    }};

const Form kFindChanges{nullptr,
                        [](Blocks& k) {
                          const auto* const words = reinterpret_cast<const std::uint32_t*>(k.a.data());
                          k.place = QVL::FindChanges(words + 1, kFloats - 1, 1, 0xC0000000, k.places.data());
                        },
                        [](Blocks& k) {
                          std::size_t count = 0;
                          const auto at = [&](std::uint32_t i) {
                            return std::bit_cast<std::uint32_t>(k.a[i]);
                          };
                          for (std::uint32_t i = 1; i < kFloats; ++i) {
                            if (((at(i) ^ at(i - 1)) & 0xC0000000) != 0) k.places[count++] = i - 1;
                          }
                          k.place = count;
                        }};

constexpr Form Named(const char* name, Form form) { return {name, form.ours, form.plain}; }

const Form kForms[] = {
    {"min_max", [](Blocks& k) { QVL::VectorMinMax(k.a.data(), kFloats, 1, k.low[0], k.high[0]); },
     [](Blocks& k) {
       float low = k.a[0], high = k.a[0];
       for (std::size_t i = 0; i < kFloats; ++i) low = std::min(low, k.a[i]), high = std::max(high, k.a[i]);
       k.low[0] = low, k.high[0] = high;
     }},
    {"sum", [](Blocks& k) { k.result = QVL::VectorSum(k.a.data(), kFloats); },
     [](Blocks& k) {
       float sum = 0.0f;
       for (std::size_t i = 0; i < kFloats; ++i) sum += k.a[i];
       k.result = sum;
     }},
    {"dot_product", [](Blocks& k) { k.result = QVL::DotProduct(k.a.data(), k.b.data(), kFloats); },
     [](Blocks& k) {
       float sum = 0.0f;
       for (std::size_t i = 0; i < kFloats; ++i) sum += k.a[i] * k.b[i];
       k.result = sum;
     }},
    {"moments", [](Blocks& k) { k.result = QVL::VectorMoments(k.a.data(), kFloats).sumSquares; },
     [](Blocks& k) {
       float low = k.a[0], high = k.a[0], sum = 0.0f, squares = 0.0f;
       for (std::size_t i = 0; i < kFloats; ++i) {
         low = std::min(low, k.a[i]), high = std::max(high, k.a[i]);
         sum += k.a[i], squares += k.a[i] * k.a[i];
       }
       k.low[0] = low, k.high[0] = high, k.low[1] = sum, k.result = squares;
     }},
    {"threshold_masks",
     [](Blocks& k) { QVL::ThresholdMasks(k.a.data(), kFloats, 0.9f, -0.9f, k.above.data(), k.below.data()); },
     [](Blocks& k) {
       for (std::size_t i = 0; i < kFloats; i += 64) {
         std::uint64_t above = 0, below = 0;
         for (std::size_t bit = 0; bit < 64; ++bit) {
           above |= std::uint64_t{k.a[i + bit] > 0.9f} << bit;
           below |= std::uint64_t{-0.9f > k.a[i + bit]} << bit;
         }
         k.above[i / 64] = above, k.below[i / 64] = below;
       }
     }},
    {"count_equal", [](Blocks& k) { k.place = QVL::CountEqual(k.a.data(), kFloats, 0.5f); },
     [](Blocks& k) {
       std::size_t count = 0;
       for (std::size_t i = 0; i < kFloats; ++i) count += k.a[i] == 0.5f ? 1u : 0u;
       k.place = count;
     }},
    {"multiply", [](Blocks& k) { QVL::MulFloat(k.out.data(), k.a.data(), kFloats, 0.5f); },
     [](Blocks& k) {
       for (std::size_t i = 0; i < kFloats; ++i) k.out[i] = k.a[i] * 0.5f;
     }},
    {"weighted_sum",
     [](Blocks& k) { QVL::VectorWeightedSum(k.out.data(), k.a.data(), 0.3f, k.b.data(), 0.7f, kFloats); },
     [](Blocks& k) {
       for (std::size_t i = 0; i < kFloats; ++i) k.out[i] = k.a[i] * 0.3f + k.b[i] * 0.7f;
     }},
    {"square_root", [](Blocks& k) { QVL::SqrtVector(k.out.data(), k.a.data(), kFloats); },
     [](Blocks& k) {
       for (std::size_t i = 0; i < kFloats; ++i) k.out[i] = k.a[i] <= 0.0f ? 0.0f : std::sqrt(k.a[i]);
     }},
    {"quantise", [](Blocks& k) { QVL::QuantizeBytes(k.bytes.data(), k.a.data(), kFloats, -1.0f, 0.5f); },
     [](Blocks& k) {
       for (std::size_t i = 0; i < kFloats; ++i)
         k.bytes[i] = static_cast<std::uint8_t>(static_cast<int>((k.a[i] + 1.0f) * 0.5f * 255.0f + 0.5f));
     }},
    {"dequantise",
     [](Blocks& k) { QVL::DequantizeBytes(k.out.data(), k.bytes.data(), kFloats, 0.1f, -1.0f); },
     [](Blocks& k) {
       for (std::size_t i = 0; i < kFloats; ++i) k.out[i] = static_cast<float>(k.bytes[i]) * 0.1f - 1.0f;
     }},
    {"reverse", [](Blocks& k) { QVL::ReverseVector(k.a.data(), kFloats); },
     [](Blocks& k) { std::reverse(k.a.begin(), k.a.begin() + kFloats); }},
    {"complex_powers", [](Blocks& k) { QVL::AddComplexPowers(k.out.data(), k.a.data(), kFloats / 2); },
     [](Blocks& k) {
       for (std::size_t i = 0; i < kFloats / 2; ++i)
         k.out[i] += k.a[2 * i] * k.a[2 * i] + k.a[2 * i + 1] * k.a[2 * i + 1];
     }},
    {"complex_products",
     [](Blocks& k) { QVL::MulComplex(k.out.data(), k.a.data(), k.b.data(), kFloats / 2); },
     [](Blocks& k) {
       for (std::size_t i = 0; i < kFloats; i += 2) {
         const float ar = k.a[i], ai = k.a[i + 1], br = k.b[i], bi = k.b[i + 1];
         k.out[i] = ar * br - ai * bi, k.out[i + 1] = ar * bi + ai * br;
       }
     }},
    Named("copy_from_stride_2", kCopyFrom<2>),
    Named("copy_from_stride_3", kCopyFrom<3>),
    Named("copy_from_stride_4", kCopyFrom<4>),
    Named("copy_from_stride_8", kCopyFrom<8>),
    Named("copy_to_stride_2", kCopyTo<2>),
    Named("copy_to_stride_4", kCopyTo<4>),
    Named("find_masked_stride_1", kFind<1>),
    Named("find_masked_stride_2", kFind<2>),
    Named("find_masked_stride_4", kFind<4>),
    Named("find_all_masked", kFindAll),
    Named("find_changes", kFindChanges),
    Named("split_2_channels", kSplit<2>),
    Named("split_4_channels", kSplit<4>),
    Named("split_8_channels", kSplit<8>),
    Named("join_2_channels", kJoin<2>),
    Named("join_4_channels", kJoin<4>),
    Named("join_8_channels", kJoin<8>),
    Named("range_of_2_channels", kFrames<2>),
    Named("range_of_3_channels", kFrames<3>),
    Named("range_of_8_channels", kFrames<8>),
};

void Run(benchmark::State& state, const Form& form) {
  constexpr int calls = 8;  // long enough for the clock
  Blocks blocks;
  double ours = std::numeric_limits<double>::infinity(), plain = ours;
  const auto repeated = [&](auto call) {
    return bandwidth::Seconds([&] {
      for (int i = 0; i < calls; ++i) {
        call(blocks);
        benchmark::ClobberMemory();
      }
    });
  };
  for (auto _ : state) {
    const double seconds = repeated(form.ours);
    state.SetIterationTime(seconds);
    ours = std::min(ours, seconds);
    plain = std::min(plain, repeated(form.plain));
  }
  state.counters["vs_plain"] = plain / ours;
}

const bool registered = [] {
  for (const Form& form : kForms) {
    benchmark::RegisterBenchmark((std::string("plain/") + form.name).c_str(),
                                 [&form](benchmark::State& state) { Run(state, form); })
        ->UseManualTime()
        ->MinTime(0.05);
  }
  return true;
}();

}  // namespace
