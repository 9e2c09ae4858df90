// Rate conversion of 10 million samples beside the converters that people use, all in one run. Every line
// also tells what the converter does to the signal, measured with sines: where its pass band is 0.1 dB and 3
// dB down and the loudest image of what lies above 1.2, both relative to the output's Nyquist frequency.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support/Bandwidth.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/rate/DownsamplingFilter.h"
#include "umlauf/rate/DownsamplingStream.h"
#include "umlauf/rate/MuxDownsamplingFilter.h"

#ifdef HAVE_SAMPLERATE
#include <samplerate.h>
#endif
#ifdef HAVE_SOXR
#include <soxr.h>
#endif
#ifdef HAVE_LIQUID
#include <liquid/liquid.h>
#endif

namespace {

constexpr std::size_t kSamples = 10'000'000;
constexpr std::size_t kMargin = 2400;  // frames readable around the signal
constexpr std::size_t kBlock = 8192;   // frames a call
constexpr double kRatios[] = {2.5, 10.0, 64.3};

/// Converts a whole signal, block by block, from a fresh start; returns the output frames. There are kMargin
/// frames before and behind the input.
using Convert = std::function<std::size_t(float* out, const float* in, std::size_t frames)>;
using MakeConvert = std::function<Convert(double ratio, unsigned channels)>;

struct Converter {
  const char* name;
  MakeConvert make;
  bool mux;  // takes interleaved channels
};

Convert MakeFilter(double ratio, unsigned channels) {
  if (channels == 1) {
    const auto filter = std::make_shared<CDownsamplingFilter>();
    return [=](float* out, const float* in, std::size_t frames) {
      float phase = 0.0f;
      std::size_t written = 0;
      for (std::size_t i = 0; i < frames; i += kBlock) {
        written += filter->Downsampling(out + written, 1, in + i, std::min(kBlock, frames - i),
                                        static_cast<float>(ratio), phase, 1.0f);
      }
      return written;
    };
  }
  const auto filter = std::make_shared<CMuxDownsamplingFilter>();
  return [=](float* out, const float* in, std::size_t frames) {
    float phase = 0.0f;
    std::size_t written = 0;
    for (std::size_t i = 0; i < frames; i += kBlock) {
      written +=
          filter->Downsampling(out + written * channels, in + i * channels, std::min(kBlock, frames - i),
                               channels, static_cast<float>(ratio), phase, 1.0f);
    }
    return written;
  };
}

MakeConvert MakeStream(CDownsamplingStream::Reduction reduction) {
  return [reduction](double ratio, unsigned channels) -> Convert {
    const auto stream = std::make_shared<CDownsamplingStream>(ratio, reduction, channels);
    return [=](float* out, const float* in, std::size_t frames) {
      stream->Restart();
      std::size_t written = 0;
      for (std::size_t i = 0; i < frames; i += kBlock) {
        written += stream->Process(out + written * channels, in + i * channels, std::min(kBlock, frames - i));
      }
      return written + stream->Flush(out + written * channels);
    };
  };
}

#ifdef HAVE_SOXR
MakeConvert MakeSoxr(unsigned long recipe) {
  return [recipe](double ratio, unsigned channels) -> Convert {
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(recipe, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    const std::shared_ptr<soxr> soxr(soxr_create(ratio, 1.0, channels, nullptr, &io, &quality, &runtime),
                                     soxr_delete);
    return [=](float* out, const float* in, std::size_t frames) {
      soxr_clear(soxr.get());
      std::size_t written = 0;
      for (std::size_t i = 0; i < frames;) {
        std::size_t used = 0, done = 0;
        soxr_process(soxr.get(), in + i * channels, std::min(kBlock, frames - i), &used,
                     out + written * channels, frames, &done);
        i += used;
        written += done;
      }
      std::size_t done = 0;
      soxr_process(soxr.get(), nullptr, 0, nullptr, out + written * channels, frames, &done);
      return written + done;
    };
  };
}
#endif

#ifdef HAVE_SAMPLERATE
MakeConvert MakeSamplerate(int type) {
  return [type](double ratio, unsigned channels) -> Convert {
    int error = 0;
    const std::shared_ptr<SRC_STATE> state(src_new(type, static_cast<int>(channels), &error), src_delete);
    return [=](float* out, const float* in, std::size_t frames) {
      src_reset(state.get());
      std::size_t written = 0;
      for (std::size_t i = 0; i < frames;) {
        SRC_DATA data{};
        data.data_in = in + i * channels;
        data.data_out = out + written * channels;
        data.input_frames = static_cast<long>(std::min(kBlock, frames - i));
        data.output_frames = static_cast<long>(frames);
        data.end_of_input = i + kBlock >= frames;
        data.src_ratio = 1.0 / ratio;
        if (src_process(state.get(), &data) != 0) return written;
        i += static_cast<std::size_t>(data.input_frames_used);
        written += static_cast<std::size_t>(data.output_frames_gen);
      }
      return written;
    };
  };
}
#endif

#ifdef HAVE_LIQUID
Convert MakeLiquid(double ratio, unsigned) {
  const std::shared_ptr<msresamp_rrrf_s> resampler(
      msresamp_rrrf_create(static_cast<float>(1.0 / ratio), 90.0f), msresamp_rrrf_destroy);
  return [=](float* out, const float* in, std::size_t frames) {
    msresamp_rrrf_reset(resampler.get());
    std::size_t written = 0;
    for (std::size_t i = 0; i < frames; i += kBlock) {
      unsigned done = 0;
      msresamp_rrrf_execute(resampler.get(), const_cast<float*>(in + i),
                            static_cast<unsigned>(std::min(kBlock, frames - i)), out + written, &done);
      written += done;
    }
    return written;
  };
}
#endif

std::vector<Converter> Peers() {
  return {
#ifdef HAVE_SOXR
      {"soxr_VHQ", MakeSoxr(SOXR_VHQ), true},
      {"soxr_HQ", MakeSoxr(SOXR_HQ), true},
      {"soxr_LQ", MakeSoxr(SOXR_LQ), true},
#endif
#ifdef HAVE_SAMPLERATE
      {"samplerate_SINC_FASTEST", MakeSamplerate(SRC_SINC_FASTEST), true},
      {"samplerate_SINC_MEDIUM", MakeSamplerate(SRC_SINC_MEDIUM_QUALITY), true},
#endif
#ifdef HAVE_LIQUID
      {"liquid_msresamp_90dB", MakeLiquid, false},
#endif
  };
}

/// The response of a converter at frequencies relative to the output's Nyquist frequency.
class Response {
 public:
  Response(const Convert& convert, double ratio) : convert_(convert), ratio_(ratio) {}

  /// Frequency at which the gain falls below a level.
  double Edge(double decibels) {
    double passes = 0.2, stops = 1.1;
    for (int i = 0; i < 12; ++i) {
      const double middle = (passes + stops) / 2.0;
      (20.0 * std::log10(Gain(middle)) > decibels ? passes : stops) = middle;
    }
    return passes;
  }
  /// Level of the loudest image of a sine above 1.2, in dB.
  double StopBand() {
    double loudest = 0.0;
    constexpr int tones = 60;
    for (int i = 0; i < tones; ++i) {
      loudest = std::max(loudest, 2.0 * Power(1.2 * std::pow(ratio_ * 0.99 / 1.2, i / (tones - 1.0))));
    }
    return 10.0 * std::log10(loudest);
  }

 private:
  static constexpr std::size_t kOutputs = 3000, kSettled = 500;

  void Run(double frequency) {
    const auto frames = static_cast<std::size_t>(kOutputs * ratio_);
    in_.resize(frames + 2 * kMargin);
    out_.assign(frames + kOutputs, 0.0f);
    for (std::size_t i = 0; i < in_.size(); ++i) {
      in_[i] = static_cast<float>(std::cos(std::numbers::pi * frequency / ratio_ * static_cast<double>(i)));
    }
    convert_(out_.data(), in_.data() + kMargin, frames);
  }
  /// Mean square of the settled outputs.
  double Power(double frequency) {
    Run(frequency);
    double sum = 0.0;
    for (std::size_t i = kSettled; i < kOutputs - kSettled; ++i)
      sum += static_cast<double>(out_[i]) * out_[i];
    return sum / static_cast<double>(kOutputs - 2 * kSettled);
  }
  double Gain(double frequency) { return std::sqrt(2.0 * Power(frequency)); }

  const Convert& convert_;
  double ratio_;
  std::vector<float> in_, out_;
};

const float* Signal(unsigned channels) {
  static std::vector<float> signal;
  if (signal.empty()) {
    signal.resize(kSamples + std::size_t{16} * kMargin);
    std::mt19937 random(1);
    std::uniform_real_distribution<float> digits(-1.0f, 1.0f);
    std::generate(signal.begin(), signal.end(), [&] { return digits(random); });
  }
  return signal.data() + kMargin * channels;
}

/// Processor seconds that a call takes: all converters here have one thread, and other programs on the
/// machine do not count.
template <class Call>
double ProcessorSeconds(Call call) {
  const std::clock_t start = std::clock();
  call();
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

/// Products a second of a dot product of two arrays in the first-level cache.
double DotProductsPerSecond() {
  alignas(128) static float a[2048], b[2048];
  constexpr int calls = 20000;
  const double seconds = ProcessorSeconds([&] {
    for (int i = 0; i < calls; ++i) benchmark::DoNotOptimize(QVL::DotProduct(a, b, std::size(a)));
  });
  return static_cast<double>(std::size(a)) * calls / seconds;
}

std::string Name(const char* converter, double ratio, unsigned channels) {
  char name[100];
  std::snprintf(name, sizeof name, "rate/%s/%g/%uch", converter, ratio, channels);
  return name;
}

/// `reference`: the peer that the converter is measured against by turns, or null.
void Register(const Converter& converter, double ratio, unsigned channels, const Converter* reference) {
  if (channels > 1 && !converter.mux) return;
  const auto run = [=](benchmark::State& state) {
    const std::size_t frames = kSamples / channels;
    const float* in = Signal(channels);
    std::vector<float> out(kSamples);
    const Convert convert = converter.make(ratio, channels);
    const Convert other = reference != nullptr ? reference->make(ratio, channels) : nullptr;
    double best = 1e9, bestOther = 1e9, dot = 0.0;
    for (auto _ : state) {
      const double seconds = ProcessorSeconds([&] { convert(out.data(), in, frames); });
      state.SetIterationTime(seconds);
      best = std::min(best, seconds);
      if (other) bestOther = std::min(bestOther, ProcessorSeconds([&] { other(out.data(), in, frames); }));
      dot = std::max(dot, DotProductsPerSecond());
    }
    const double rate = kSamples / best;
    state.counters["M/s"] = rate / 1e6;
    if (other) state.counters[std::string("x_") + reference->name] = bestOther / best;
    if (other) {
      const double taps = CDownsamplingFilter().Taps(static_cast<float>(ratio)) - 1;
      state.counters["of_dot"] = rate / ratio * taps / dot;
    }
    const Convert mono = converter.make(ratio, 1);
    Response response(mono, ratio);
    state.counters["-0.1dB"] = response.Edge(-0.1);
    state.counters["-3dB"] = response.Edge(-3.0);
    state.counters["stop_dB"] = response.StopBand();
  };
  benchmark::RegisterBenchmark(Name(converter.name, ratio, channels).c_str(), run)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

/// Reductions for display, beside a plain read of the same memory.
void RegisterDisplay(const char* name, double ratio, unsigned channels) {
  const auto run = [=](benchmark::State& state) {
    static std::vector<float> signal(std::size_t{32} << 20, 0.5f);  // 128 MB: more than the caches hold
    CDownsamplingStream stream(ratio, CDownsamplingStream::Reduction::MinMax, channels);
    const std::size_t bytes = signal.size() * sizeof(float), block = 65536;
    std::vector<float> out(stream.MaxOutput(block) * channels);
    const auto* words = reinterpret_cast<const std::uint64_t*>(signal.data());
    double best = 1e9, read = 1e9;
    for (auto _ : state) {
      const double seconds = ProcessorSeconds([&] {
        for (std::size_t i = 0; i < signal.size(); i += block) {
          stream.Process(out.data(), signal.data() + i, block / channels);
        }
      });
      state.SetIterationTime(seconds);
      best = std::min(best, seconds);
      read = std::min(
          {read, ProcessorSeconds([&] { benchmark::DoNotOptimize(bandwidth::ReadBy<16>(words, bytes / 8)); }),
           ProcessorSeconds([&] { benchmark::DoNotOptimize(bandwidth::ReadBy<32>(words, bytes / 8)); })});
    }
    state.counters["GB/s"] = static_cast<double>(bytes) / best * 1e-9;
    state.counters["vs_read"] = read / best;
  };
  benchmark::RegisterBenchmark((std::string("rate/display/") + name).c_str(), run)->UseManualTime();
}

const bool kRegistered = [] {
  static const std::vector<Converter> peers = Peers();
  const auto peer = [](std::string_view name) {
    const auto at =
        std::find_if(peers.begin(), peers.end(), [&](const Converter& c) { return c.name == name; });
    return at != peers.end() ? &*at : nullptr;
  };
  const Converter stream{"CDownsamplingStream", MakeStream(CDownsamplingStream::Reduction::Filter), true};
  const Converter steep{"steep", MakeStream(CDownsamplingStream::Reduction::SteepFilter), true};
  for (const unsigned channels : {1u, 8u}) {
    for (const double ratio : kRatios) {
      Register({"Downsampling", MakeFilter, true}, ratio, channels, peer("soxr_HQ"));
      Register(stream, ratio, channels, peer("soxr_LQ"));
      Register(steep, ratio, channels, peer("soxr_HQ"));
      for (const Converter& converter : peers) Register(converter, ratio, channels, nullptr);
    }
    // Ratios at which the streams have no rows in turn: many phases, and phases that have to be mixed.
    for (const double ratio : {160.0 / 147.0, 2.5413}) {
      Register(stream, ratio, channels, peer("soxr_LQ"));
      Register(steep, ratio, channels, peer("soxr_HQ"));
    }
  }
  RegisterDisplay("min_max/1000", 1000.0, 1);
  RegisterDisplay("min_max/54321.5", 54321.5, 1);
  for (const unsigned channels : {2u, 3u, 5u, 6u, 7u, 8u}) {
    RegisterDisplay(("min_max/1000/" + std::to_string(channels) + "ch").c_str(), 1000.0, channels);
  }
  return true;
}();

}  // namespace
