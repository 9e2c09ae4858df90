#include "umlauf/filters/SosFilter.h"

#include <algorithm>
#include <cmath>

#include "umlauf/signal/CurveSpan.h"

namespace {

constexpr std::size_t kBlock = 512;  // samples that go through all sections at a time

}  // namespace

void CSosFilter::Settle(double value) {
  past_[0] = {value, value};
  for (std::size_t s = 0; s < sections_.Count(); ++s) {
    value *= sections_[s].SteadyGain();
    past_[s + 1] = {value, value};
  }
}

// Direct form I: only one product and one difference wait for the output before, and the values between two
// sections are one past for both. Two sections at once overlap in the processor.
template <std::size_t Count, class In, class Out>
void CSosFilter::Run(std::size_t section, const Past& entering, Out* out, const In* in, std::size_t n) {
  std::array<SosSection, Count> s;
  std::array<Past, Count + 1> p{entering};
  for (std::size_t k = 0; k < Count; ++k) {
    s[k] = sections_[section + k];
    p[k + 1] = past_[section + k + 1];
  }
  for (std::size_t i = 0; i < n; ++i) {
    auto value = static_cast<double>(in[i]);
    for (std::size_t k = 0; k < Count; ++k) {
      const double known =
          s[k].b0 * value + (s[k].b1 * p[k].last + (s[k].b2 * p[k].before - s[k].a2 * p[k + 1].before));
      const double next = known - s[k].a1 * p[k + 1].last;
      p[k] = {value, p[k].last};
      value = next;
    }
    p[Count] = {value, p[Count].last};
    out[i] = static_cast<Out>(value);
  }
  std::copy(p.begin(), p.end(), past_.begin() + static_cast<std::ptrdiff_t>(section));
}

template <class Sample>
void CSosFilter::RunAll(Sample* out, const Sample* in, std::uint64_t n) {
  const std::size_t count = sections_.Count();
  if (count == 0) {
    if (out != in) std::copy_n(in, n, out);
    return;
  }
  double between[kBlock];
  for (std::uint64_t at = 0; at < n; at += kBlock) {
    const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, n - at));
    Past entering = past_[0];
    // Two sections at a time, one at the end of an odd number.
    for (std::size_t section = 0; section < count; section += 2) {
      const bool one = section + 1 == count, first = section == 0, last = section + 2 >= count;
      const Past next = past_[std::min(section + 2, count)];  // before this step changes it
      const auto run = [&](auto* to, const auto* from) {
        one ? Run<1>(section, entering, to, from, length) : Run<2>(section, entering, to, from, length);
      };
      if (first && last) {
        run(out + at, in + at);
      } else if (first) {
        run(between, in + at);
      } else if (last) {
        run(out + at, between);
      } else {
        run(between, between);
      }
      entering = next;
    }
  }
  // What fades away ends at 0 before it is so small that computing it takes long.
  for (Past& p : past_) {
    if (std::abs(p.last) < 1e-150) p.last = 0.0;
    if (std::abs(p.before) < 1e-150) p.before = 0.0;
  }
}

void CSosFilter::Process(float* out, const float* in, std::uint64_t n) { RunAll(out, in, n); }
void CSosFilter::Process(double* out, const double* in, std::uint64_t n) { RunAll(out, in, n); }

void CSosFilter::Process(CSigCurve& curve) {
  const CurveSpan span = SpanOf(curve);
  float* samples = curve.FData() + span.first;
  Process(samples, samples, span.length);
}
