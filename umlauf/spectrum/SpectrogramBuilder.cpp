#include "umlauf/spectrum/SpectrogramBuilder.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <utility>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/QVL.h"
#include "umlauf/signal/CurveSpan.h"
#include "umlauf/spectrum/internal/Bins.h"

namespace {

/// Rows that are transformed at a time.
std::uint64_t RowsAtATime(std::size_t bins) {
  constexpr std::uint64_t values = std::uint64_t{1} << 16;
  return std::clamp<std::uint64_t>(values / std::max<std::size_t>(bins, 1), 1, 16);
}

}  // namespace

CSpectrogramBuilder::CSpectrogramBuilder(const SpectrumSettings& settings, double rate,
                                         SpectrumScaling scaling, std::size_t maxCurves, double startTime)
    : stream_(settings, rate, scaling),
      scaling_(scaling),
      root_(umlauf::spectrum::IsRoot(scaling)),
      maxCurves_(maxCurves == 0 ? CSigCurveArray::None : std::max<std::size_t>(maxCurves / 2 * 2, 2)),
      chunk_(RowsAtATime(stream_.Bins()) * settings.step),
      startTime_(startTime) {
  const std::size_t bins = stream_.Bins();
  if (stream_.IsValid() && sum_.alloc(bins)) rows_.alloc(RowsAtATime(bins) * bins);
}

bool CSpectrogramBuilder::Process(const float* x, std::uint64_t n) {
  if (!IsValid()) return false;
  for (std::uint64_t at = 0; at < n; at += chunk_) {
    const std::uint64_t rows = stream_.Process(rows_.data(), x + at, std::min(n - at, chunk_));
    for (std::uint64_t r = 0; r < rows; ++r) {
      if (!Take(rows_.data() + r * stream_.Bins())) return false;
    }
  }
  return true;
}

bool CSpectrogramBuilder::Take(const float* row) {
  if (begun_ == 0 && curves_.Count() == maxCurves_) Join();
  ++segments_;
  ++begun_;
  if (std::isfinite(row[0])) {
    const std::size_t bins = stream_.Bins();
    if (perCurve_ == 1) {
      std::copy_n(row, bins, sum_.data());
    } else if (root_) {
      for (std::size_t k = 0; k < bins; ++k) sum_[k] += row[k] * row[k];
    } else {
      QVL::AddVectors(sum_.data(), sum_.data(), row, bins);
    }
    ++counted_;
  }
  return begun_ < perCurve_ || CloseCurve();
}

/// Time of the middle of successive segments.
float CSpectrogramBuilder::Middle(std::uint64_t first, std::uint64_t end) const {
  return static_cast<float>(startTime_ + (stream_.RowTime(first) + stream_.RowTime(end - 1)) / 2);
}

/// The curve in progress becomes one of the array.
bool CSpectrogramBuilder::CloseCurve() {
  const std::size_t bins = stream_.Bins();
  CSigCurveArray::CurvePtr curve(new (std::nothrow) CSigCurveExt);
  if (curve == nullptr || !stream_.MakeRow(*curve, CMeasuringUnit())) return false;
  curve->ResetVMinMax();
  curve->SetFileCompression(false);
  if (counted_ == 0) {
    curve->Invalidate();
  } else if (perCurve_ == 1) {
    std::copy_n(sum_.data(), bins, curve->FData());
  } else {
    QVL::MulFloat(curve->FData(), sum_.data(), bins, 1.0f / static_cast<float>(counted_));
    if (root_) QVL::SqrtVector(curve->FData(), curve->FData(), bins);
  }
  curve->Date(Middle(segments_ - begun_, segments_));
  if (!umlauf::HadMemory([&] { weights_.push_back(counted_); })) return false;
  if (!curves_.Append(std::move(curve))) {
    weights_.pop_back();
    return false;
  }
  begun_ = counted_ = 0;
  QVL::FillFloat(sum_.data(), bins, 0.0f);
  return true;
}

/// Every two curves become one.
void CSpectrogramBuilder::Join() {
  for (std::size_t i = 0; i < curves_.Count(); ++i) {
    const CSigCurveArray::CurvePtr next = curves_.Remove(i + 1);
    CSigCurveExt& curve = curves_[i];
    const std::uint64_t a = weights_[2 * i], b = weights_[2 * i + 1];
    weights_[i] = a + b;
    const auto share = a + b == 0 ? 0.0f : static_cast<float>(b) / static_cast<float>(a + b);
    for (std::uint64_t k = 0; k < curve.DLen() && b != 0; ++k) {
      float &to = curve.FData()[k], from = next->FData()[k];
      to = root_ ? std::sqrt((1 - share) * to * to + share * from * from) : (1 - share) * to + share * from;
    }
    if (a == 0 && b != 0) curve.ResetVMinMax();
    curve.Date(Middle(2 * i * perCurve_, 2 * (i + 1) * perCurve_));
  }
  weights_.resize(curves_.Count());
  perCurve_ *= 2;
}

void CSpectrogramBuilder::Restart() {
  stream_.Restart();
  curves_.Clear();
  weights_.clear();
  segments_ = begun_ = counted_ = 0;
  perCurve_ = 1;
  QVL::FillFloat(sum_.data(), sum_.size(), 0.0f);
}

bool CSpectrogramBuilder::Finish(CSigCurveArray& out, const CMeasuringUnit& unit) {
  out.InitHeader();
  if (!IsValid()) return false;
  const bool whole = segments_ != 0 && (begun_ == 0 || CloseCurve());
  if (whole) {
    const CMeasuringUnit valueUnit = umlauf::spectrum::ScaledUnit(scaling_, unit);
    for (const auto& curve : curves_) curve->SetYUnit(valueUnit);
    out.TakeCurves(curves_);
    out.SetArrayUnit(CMeasuringUnit(CMeasuringUnit::second));
  }
  Restart();
  return whole;
}

bool CSpectrogramBuilder::OfCurve(const CSigCurve& signal, SpectrumSettings settings, SpectrumScaling scaling,
                                  CSigCurveArray& out) {
  const CurveSpan span = SpanOf(signal);
  settings.length = static_cast<std::size_t>(std::min<std::uint64_t>(settings.length, span.length));
  settings.step = std::min(settings.step, settings.length);
  CSpectrogramBuilder builder(settings, 1.0 / span.Step(), scaling, 0, double{span.xMin});
  const bool taken = builder.Process(span.samples, span.length);
  if (!builder.Finish(out, CMeasuringUnit(signal.YUnit())) || !taken) {
    out.Clear();
    return false;
  }
  out.SetName(signal.Name());
  return true;
}
