#include "umlauf/rotation/internal/Blocks.h"

#include <cmath>

namespace umlauf::rotation {

CString CheckSource(const CBlockSource& source, unsigned channel) {
  CString text;
  const double rate = source.SampleRate();
  if (!(rate > 0) || !std::isfinite(rate)) {
    text.Format(L"the recording tells no usable sample rate (%g)", rate);
  } else if (channel >= source.Channels()) {
    text.Format(L"the recording has no channel %u; it has %u, from 0", channel, source.Channels());
  }
  return text;
}

}  // namespace umlauf::rotation
