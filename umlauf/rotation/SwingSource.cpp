#include "umlauf/rotation/SwingSource.h"

#include <algorithm>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/rotation/internal/SwingScaler.h"

namespace {

constexpr std::size_t readAtOnce = 65536;

}  // namespace

struct CSwingSource::State {
  umlauf::rotation::SwingScaler scaler;
  std::size_t given = 0;  ///< of the samples that are ready
};

CSwingSource::CSwingSource(CBlockSource& source, unsigned channel, const SwingScale& scale)
    : source_(source), channel_(channel), scale_(scale) {}

CSwingSource::~CSwingSource() { delete state_; }

void CSwingSource::Fill(std::size_t count) {
  if (state_ == nullptr) state_ = new State{umlauf::rotation::SwingScaler(scale_)};
  umlauf::rotation::SwingScaler& scaler = state_->scaler;
  scaler.Drop(state_->given);
  state_->given = 0;
  while (scaler.Ready().size() < count && !scaler.Ended()) {
    const SampleBlock block = source_.Read(readAtOnce);
    if (block.count == 0) {
      scaler.End();
    } else {
      scaler.Take(block.samples + channel_, block.count, block.stride);
    }
  }
}

SampleBlock CSwingSource::Read(std::size_t count) {
  if (!noMemory_) noMemory_ = !umlauf::HadMemory([&] { Fill(count); });
  if (noMemory_ || state_ == nullptr) return {};
  SampleBlock block;
  block.samples = state_->scaler.Ready().data();
  block.count = std::min(count, state_->scaler.Ready().size());
  state_->given = block.count;
  return block;
}

bool CSwingSource::Rewind() {
  if (!source_.Rewind()) return false;
  delete state_;
  state_ = nullptr;
  noMemory_ = false;
  return true;
}

CString CSwingSource::Failure() const {
  if (noMemory_) return L"there is no memory to follow the swings of the signal";
  return source_.Failure();
}
