#pragma once

#include <cstdint>
#include <random>

namespace umlauf::tool {

/// Normally distributed numbers, the same on every system for the same seed. (The distributions of the
/// standard library differ from one to the next.)
class NormalNumbers {
 public:
  explicit NormalNumbers(std::uint64_t seed) : random_(seed) {}
  /// Of mean 0 and standard deviation 1.
  double Next();
  /// Of an edge's place, in teeth; limited so that edges keep their order. Draws nothing for 0.
  double Jitter(double deviation);
  /// Evenly distributed between 0 and 1, neither of them.
  double Uniform() { return (static_cast<double>(random_() >> 11) + 0.5) * 0x1p-53; }

 private:
  std::mt19937_64 random_;
};

/// Moments [s] that come at random, so many per second on average.
class RandomMoments {
 public:
  /// None at all for a rate of 0.
  RandomMoments(double rate, std::uint64_t seed);
  /// True when one lies at or before this time; that one is then over. Times must not fall.
  bool Reached(double time);

 private:
  double Wait();

  NormalNumbers random_;
  double rate_;
  double next_;
};

}  // namespace umlauf::tool
