// The stream's filter and its straight lines.

#include <algorithm>
#include <new>

#include "umlauf/rate/internal/StreamEngine.h"
#include "umlauf/rate/internal/TapHistory.h"

namespace umlauf::rate {
namespace {

class FilterEngine : public StreamEngine {
 public:
  FilterEngine(const StreamFormat& format, const RatioGrid& grid, bool holdsLast)
      : channels_(format.channels), holdsLast_(holdsLast), history_(grid, format.channels, format.gain) {}

  bool MakeFilter(const CDownsamplingInfo& table, double ratio) {
    return history_.Kernel().MakeFilter(table, ratio, history_.Grid()) && Allocate();
  }
  bool MakeLinear() { return history_.Kernel().MakeLinear() && Allocate(); }

  std::uint64_t Process(float* out, const float* in, std::uint64_t nIn) override {
    std::uint64_t written = 0;
    hasSignal_ = hasSignal_ || nIn > 0;
    while (nIn > 0) {
      const std::uint64_t count = history_.MakeRoom(nIn);
      history_.Put(in, count);
      in += count * channels_;
      nIn -= count;
      vekta::FetchSamples(in, std::min<std::uint64_t>(nIn, 4096) * channels_);
      written += history_.Run(out + written * channels_);
    }
    return written;
  }

  std::uint64_t Flush(float* out) override {
    if (!hasSignal_) return 0;
    std::uint64_t written = 0;
    for (std::uint64_t left = Delay(); left > 0;) {
      const std::uint64_t count = history_.MakeRoom(left);
      for (unsigned c = 0; c < channels_; ++c) {
        float* const end = history_.End(c);
        std::fill_n(end, count, holdsLast_ ? end[-1] : 0.0f);
      }
      left -= count;
      history_.Take(count);
      written += history_.Run(out + written * channels_);
    }
    return written;
  }

  void Restart() override {
    history_.Start({}, 0);
    hasSignal_ = false;
  }

  std::uint64_t Delay() const override { return static_cast<std::uint64_t>(history_.Kernel().Last()); }

 private:
  bool Allocate() {
    if (!history_.Allocate()) return false;
    Restart();
    return true;
  }

  unsigned channels_;
  bool holdsLast_, hasSignal_ = false;
  TapHistory history_;
};

}  // namespace

std::unique_ptr<StreamEngine> MakeFilterEngine(const StreamFormat& format, const CDownsamplingInfo& kernel) {
  const RatioGrid grid(format.ratio, StreamKernel::MaxDenominator(format.ratio));
  std::unique_ptr<FilterEngine> engine(new (std::nothrow) FilterEngine(format, grid, false));
  if (!engine || !engine->MakeFilter(kernel, format.ratio)) return nullptr;
  return engine;
}

std::unique_ptr<StreamEngine> MakeLinearEngine(const StreamFormat& format) {
  std::unique_ptr<FilterEngine> engine(new (std::nothrow) FilterEngine(format, {format.ratio, 0}, true));
  if (!engine || !engine->MakeLinear()) return nullptr;
  return engine;
}

}  // namespace umlauf::rate
