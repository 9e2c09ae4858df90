#pragma once

#include "support/Test.h"

using Samples = std::vector<float>;

inline double Decibels(double ratio) { return 20.0 * std::log10(std::max(ratio, 1e-12)); }

/// Sample i is sin(2 pi * cyclesPerSample * i).
inline Samples Sine(double cyclesPerSample, std::size_t n) {
  Samples samples(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double turns = cyclesPerSample * static_cast<double>(i);
    samples[i] = static_cast<float>(std::sin(2.0 * std::numbers::pi * (turns - std::floor(turns))));
  }
  return samples;
}

inline Samples Noise(std::size_t n, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> digits(-1.0f, 1.0f);
  Samples samples(n);
  for (float& x : samples) x = digits(random);
  return samples;
}

/// A copy whose end a sanitizer watches.
inline std::unique_ptr<float[]> OnHeap(const Samples& samples) {
  std::unique_ptr<float[]> copy(new float[samples.size()]);
  std::copy(samples.begin(), samples.end(), copy.get());
  return copy;
}

/// Sine of known frequency in x[begin, end), fitted by least squares; phase in turns as counted by `Sine`.
struct Tone {
  Tone(const Samples& x, double cyclesPerSample, std::size_t begin, std::size_t end) {
    double ss = 0, sc = 0, cc = 0, sx = 0, cx = 0, xx = 0;
    for (std::size_t i = begin; i < end; ++i) {
      const double angle = 2.0 * std::numbers::pi * std::fmod(cyclesPerSample * static_cast<double>(i), 1.0);
      const double s = std::sin(angle), c = std::cos(angle), v = static_cast<double>(x[i]);
      ss += s * s, sc += s * c, cc += c * c, sx += s * v, cx += c * v, xx += v * v;
    }
    const double det = ss * cc - sc * sc, a = (sx * cc - cx * sc) / det, b = (cx * ss - sx * sc) / det;
    amplitude = std::hypot(a, b);
    phase = std::atan2(b, a) / (2.0 * std::numbers::pi);
    const double residual = xx - a * sx - b * cx;
    snr = 10.0 * std::log10((xx - residual) / std::max(residual, 1e-30));
    rms = std::sqrt(xx / static_cast<double>(end - begin));
  }
  double amplitude, phase, snr, rms;
};

/// Level in dB of what 600 outputs make of a sine of amplitude 1 (of a constant 1 at frequency 0); frequency
/// relative to the output's Nyquist frequency. convert(out, in, n) is given enough samples around the block.
template <class Convert>
double LevelOf(double ratio, double frequency, Convert convert) {
  constexpr std::size_t margin = 2400;
  const auto n = static_cast<std::size_t>(600.0 * ratio) + 1;
  const Samples in =
      frequency == 0.0 ? Samples(n + 2 * margin, 1.0f) : Sine(frequency / 2.0 / ratio, n + 2 * margin);
  Samples out(610);
  convert(out.data(), in.data() + margin, n);
  const double rms = Tone(out, 0.1, 50, 550).rms;
  return Decibels(frequency == 0.0 ? rms : rms * std::numbers::sqrt2);
}

/// Random block lengths that add up to n, among them empty ones.
inline std::vector<std::size_t> Split(std::size_t n, std::size_t longest, std::mt19937& random) {
  std::vector<std::size_t> blocks;
  while (n > 0) {
    blocks.push_back(std::min(n, random() % 3 == 0 ? random() % 3 : random() % longest));
    n -= blocks.back();
  }
  return blocks;
}
