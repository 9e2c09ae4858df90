#include "umlauf/rate/DownsamplingStream.h"

#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/rate/internal/StreamEngine.h"

CDownsamplingStream::CDownsamplingStream(double ratio, Reduction reduction, unsigned channels, float gain,
                                         const CDownsamplingInfo::coefs_t* table)
    : ratio_(ratio),
      framesPerOutput_(reduction == Reduction::MinMax ? 2 : 1),
      waiting_(reduction == Reduction::SteepFilter ? 2 : 1) {
  if (!(ratio >= 1.0 && ratio <= 0x1p40) || channels == 0) return;
  const umlauf::rate::StreamFormat format{ratio, channels, gain};
  switch (reduction) {
    case Reduction::Filter:
      engine_ = umlauf::rate::MakeFilterEngine(format, CDownsamplingInfo(table));
      break;
    case Reduction::SteepFilter:
      engine_ = umlauf::rate::MakeSteepEngine(format);
      break;
    case Reduction::Linear:
      engine_ = umlauf::rate::MakeLinearEngine(format);
      break;
    default:
      engine_ = umlauf::rate::MakeIntervalEngine(format, reduction);
  }
}

CDownsamplingStream::~CDownsamplingStream() = default;
CDownsamplingStream::CDownsamplingStream(CDownsamplingStream&&) noexcept = default;
CDownsamplingStream& CDownsamplingStream::operator=(CDownsamplingStream&&) noexcept = default;

std::uint64_t CDownsamplingStream::MaxOutput(std::uint64_t nIn) const {
  if (!IsValid() || nIn == 0) return 0;
  return framesPerOutput_ * (numeric::trunc_sat<std::uint64_t>(static_cast<double>(nIn) / ratio_) + waiting_);
}

std::uint64_t CDownsamplingStream::MaxFlush() const { return MaxOutput(Delay()); }

std::uint64_t CDownsamplingStream::Delay() const { return IsValid() ? engine_->Delay() : 0; }

std::uint64_t CDownsamplingStream::Process(float* out, const float* in, std::uint64_t nIn) {
  return IsValid() ? engine_->Process(out, in, nIn) : 0;
}

std::uint64_t CDownsamplingStream::Flush(float* out) {
  if (!IsValid()) return 0;
  const std::uint64_t written = engine_->Flush(out);
  engine_->Restart();
  return written;
}

void CDownsamplingStream::Restart() {
  if (IsValid()) engine_->Restart();
}
