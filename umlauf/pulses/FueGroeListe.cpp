#include "umlauf/pulses/FueGroeListe.h"

namespace {

struct SHeader {
  std::int32_t signalId;
  float sampleRate;
  float average;
  float lastValue;
  std::uint64_t count;
};
static_assert(sizeof(SHeader) == 24 && offsetof(SHeader, sampleRate) == 4 &&
              offsetof(SHeader, average) == 8 && offsetof(SHeader, lastValue) == 12 &&
              offsetof(SHeader, count) == 16);

}  // namespace

CFueGroeListeBasis::~CFueGroeListeBasis() = default;

void CFueGroeListeBasis::WriteHeader(void* dst, std::uint64_t count) const {
  const SHeader header{signalId_, sampleRate_, average_, lastValue_, count};
  std::memcpy(dst, &header, sizeof header);
}

void CFueGroeListeBasis::ReadHeader(const void* src) {
  SHeader header;
  std::memcpy(&header, src, sizeof header);
  signalId_ = header.signalId;
  sampleRate_ = header.sampleRate;
  average_ = header.average;
  lastValue_ = header.lastValue;
}

std::uint64_t CFueGroeListeBasis::HeaderCount(const void* src) {
  SHeader header;
  std::memcpy(&header, src, sizeof header);
  return header.count;
}
