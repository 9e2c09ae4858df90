#include "umlauf/filters/ZeroPhaseStream.h"

#include <algorithm>
#include <cmath>

#include "umlauf/filters/ZeroPhase.h"

namespace {

constexpr double kFaded = 1e-8;            // of the magnitudes of the impulse response
constexpr std::uint64_t kShortest = 4096;  // samples; shorter stretches would cost more than they save

/// How far the pole that fades most slowly lies from the unit circle.
double Distance(const SosSections& sections) {
  double greatest = 0.0;
  for (const SosSection& s : sections) {
    const double root = s.a1 * s.a1 - 4.0 * s.a2;
    const double radius = root < 0.0 ? std::sqrt(s.a2) : (std::abs(s.a1) + std::sqrt(root)) / 2.0;
    greatest = std::max(greatest, radius);
  }
  return 1.0 - greatest;
}

/// Samples behind which the magnitudes of the impulse response add up to less than kFaded; 0 when that is
/// beyond what a stream can wait for, or there is no memory.
std::uint64_t Fading(const SosSections& sections) {
  if (!sections.IsStable()) return 0;
  CAlignedMem<double> response;
  // What fades slowly may also begin slowly.
  const double rise = 4.0 / Distance(sections);
  if (!(rise < double{CZeroPhaseStream::kMaxLookAhead})) return 0;
  std::uint64_t n = kShortest;
  while (static_cast<double>(n) < rise) n *= 2;
  // Twice as long, again and again, until its second half adds next to nothing.
  for (; n <= 4 * CZeroPhaseStream::kMaxLookAhead; n *= 2) {
    if (!response.alloc(n)) return 0;
    std::fill_n(response.data(), n, 0.0);
    response[0] = 1.0;
    CSosFilter filter(sections);
    filter.Process(response.data(), response.data(), n);
    double rest = 0.0;
    for (std::uint64_t i = n / 2; i < n; ++i) rest += std::abs(response[i]);
    if (!(rest < kFaded / 100)) continue;
    std::uint64_t end = n / 2;
    while (end > 0 && rest + std::abs(response[end - 1]) < kFaded) rest += std::abs(response[--end]);
    end = std::max(end, kShortest);
    return end <= CZeroPhaseStream::kMaxLookAhead ? end : 0;
  }
  return 0;
}

}  // namespace

CZeroPhaseStream::CZeroPhaseStream(const SosSections& sections)
    : forward_(sections), backward_(sections), margin_(ZeroPhase::Margin(sections)) {
  const std::uint64_t wait = Fading(sections);
  const std::uint64_t room = 2 * wait + margin_;
  if (wait == 0 || !pending_.alloc(room) || !work_.alloc(room)) return;
  if (!first_.alloc(margin_ + 1) || !last_.alloc(margin_ + 1)) return;
  lookAhead_ = wait;
}

void CZeroPhaseStream::Restart() { held_ = begun_ = 0; }

/// The forward filter begins settled on the continuation of the signal to the left, which it passes first.
void CZeroPhaseStream::Begin() {
  const double start = 2.0 * double{first_[0]};
  for (std::uint64_t i = 0; i < margin_; ++i) work_[i] = start - double{first_[margin_ - i]};
  forward_.Settle(margin_ != 0 ? work_[0] : double{first_[0]});
  forward_.Process(work_.data(), work_.data(), margin_);
}

/// Keeps the end of the signal, from which it is continued.
void CZeroPhaseStream::Remember(const float* in, std::uint64_t n) {
  const std::uint64_t size = margin_ + 1, taken = std::min(n, size);
  if (taken == 0) return;
  std::copy(last_.data() + taken, last_.data() + size, last_.data());
  std::copy_n(in + (n - taken), taken, last_.data() + (size - taken));
}

/// Filters the first n + skipped samples that wait backward and writes the first n of them.
void CZeroPhaseStream::Backward(float* out, std::uint64_t n, std::uint64_t skipped) {
  const std::uint64_t all = n + skipped;
  std::reverse_copy(pending_.data(), pending_.data() + all, work_.data());
  backward_.Settle(work_[0]);
  backward_.Process(work_.data(), work_.data(), all);
  for (std::uint64_t i = 0; i < n; ++i) out[i] = static_cast<float>(work_[all - 1 - i]);
}

std::uint64_t CZeroPhaseStream::Forward(float* out, const float* in, std::uint64_t n) {
  std::uint64_t written = 0;
  for (std::uint64_t at = 0; at < n;) {
    const std::uint64_t some = std::min(n - at, 2 * lookAhead_ - held_);
    double* const to = pending_.data() + held_;
    std::copy_n(in + at, some, to);
    forward_.Process(to, to, some);
    held_ += some;
    at += some;
    if (held_ < 2 * lookAhead_) continue;
    Backward(out + written, lookAhead_, lookAhead_);
    written += lookAhead_;
    held_ = lookAhead_;
    std::copy_n(pending_.data() + lookAhead_, lookAhead_, pending_.data());
  }
  return written;
}

std::uint64_t CZeroPhaseStream::Process(float* out, const float* in, std::uint64_t n) {
  if (!IsValid()) return 0;
  std::uint64_t written = 0;
  const std::uint64_t missing = std::min(n, margin_ + 1 - begun_);
  if (missing != 0) {
    std::copy_n(in, missing, first_.data() + begun_);
    begun_ += missing;
    if (begun_ <= margin_) return 0;
    Begin();
    Remember(first_.data(), begun_);
    written = Forward(out, first_.data(), begun_);
  }
  Remember(in + missing, n - missing);
  return written + Forward(out + written, in + missing, n - missing);
}

std::uint64_t CZeroPhaseStream::Flush(float* out) {
  if (!IsValid()) return 0;
  std::uint64_t written = held_;
  if (begun_ <= margin_) {
    // Shorter than what it would be continued by.
    written = begun_;
    std::copy_n(first_.data(), written, out);
    if (!ZeroPhase::Filter(backward_.Sections(), out, written)) written = 0;
  } else {
    double* const to = pending_.data() + held_;
    const double end = 2.0 * double{last_[margin_]};
    for (std::uint64_t i = 0; i < margin_; ++i) to[i] = end - double{last_[margin_ - 1 - i]};
    forward_.Process(to, to, margin_);
    Backward(out, held_, margin_);
  }
  Restart();
  return written;
}
