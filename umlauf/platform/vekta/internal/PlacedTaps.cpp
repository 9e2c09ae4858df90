// Dot products of outputs that each have a row of their own, and where these outputs lie.

#include <algorithm>
#include <array>

#include "umlauf/platform/vekta/internal/FilterKernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/internal/PlacedTaps.cpp"
#include "hwy/foreach_target.h"
// Follows the target.
#include "hwy/highway.h"
#include "umlauf/platform/vekta/internal/DotGroups-inl.h"

HWY_BEFORE_NAMESPACE();
namespace umlauf::vekta {
namespace HWY_NAMESPACE {
namespace {

/// Sums of four windows over `vectors` vectors of taps, of which the last one counts as far as `last` tells.
/// Each kShare of them have one row, whose taps are then formed once. kVectors is `vectors` where these are
/// few, else 0.
template <size_t kVectors, TapMix kMix, size_t kShare, class M>
HWY_INLINE void DotSharing(const Group& x, const Group& rows, const float* mix, size_t stride, size_t vectors,
                           M last, float* sums) {
  const Floats d;
  const size_t N = hn::Lanes(d);
  auto a = hn::Zero(d), b = a, c = a, e = a;
  FloatVector mixA = a, mixB = a, mixC = a, mixE = a;
  if constexpr (kMix != TapMix::None) {
    mixA = hn::Set(d, mix[0]);
    mixB = hn::Set(d, mix[1]);
    mixC = hn::Set(d, mix[2]);
    mixE = hn::Set(d, mix[3]);
  }
  const auto step = [&](size_t at, auto load) UMLAUF_INLINED {
    const auto tapsA = MixedTaps<kMix>(rows[0] + at, stride, mixA);
    const auto tapsB = kShare > 1 ? tapsA : MixedTaps<kMix>(rows[1] + at, stride, mixB);
    const auto tapsC = kShare > 2 ? tapsA : MixedTaps<kMix>(rows[2] + at, stride, mixC);
    const auto tapsE = kShare > 1 ? tapsC : MixedTaps<kMix>(rows[3] + at, stride, mixE);
    a = hn::MulAdd(tapsA, load(x[0] + at), a);
    b = hn::MulAdd(tapsB, load(x[1] + at), b);
    c = hn::MulAdd(tapsC, load(x[2] + at), c);
    e = hn::MulAdd(tapsE, load(x[3] + at), e);
  };
  const auto whole = [&](const float* at) HWY_ATTR { return hn::LoadU(d, at); };
  const auto part = [&](const float* at) HWY_ATTR { return hn::IfThenElseZero(last, hn::LoadU(d, at)); };
  if constexpr (kVectors > 1) step(0, whole);
  if constexpr (kVectors > 2) step(N, whole);
  if constexpr (kVectors > 3) step(2 * N, whole);
  for (size_t i = 0; kVectors == 0 && i + 1 < vectors; ++i) step(i * N, whole);
  step((vectors - 1) * N, part);
  StoreSums(a, b, c, e, sums);
}

/// A run for 1 to 4 planes.
template <size_t kVectors, TapMix kMix, size_t kPlanes>
class PlacedOutputs {
 public:
  static constexpr size_t kShare = kPlanes == 3 ? 4 : kPlanes;
  static constexpr size_t kFrames = 4 / kShare;  // whose results are a vector

  PlacedOutputs(const TapPlanes& planes, const TapRows& rows, float scale)
      : planes_(planes), rows_(rows), scale_(scale) {}

  HWY_INLINE void Write(float* out, size_t stride, const TapPlaces& places, size_t n) const {
    const TapPlaces from = places;
    if (n < kFrames) return WriteFew(out, stride, from, n);
    for (size_t j = 0; j < n; j += kFrames) {
      // The last ones are computed with those in front of them once more.
      const size_t first = std::min(j, n - kFrames);
      WriteFrames(out + first * stride, stride,
                  {from.in + first, from.row + first, kMix == TapMix::None ? nullptr : from.mix + first},
                  kFrames);
    }
  }

 private:
  /// Fewer frames than go together: filled up with the last one.
  HWY_INLINE void WriteFew(float* out, size_t stride, const TapPlaces& places, size_t n) const {
    if (n == 0) return;
    std::int32_t in[4];
    std::uint32_t row[4];
    float mix[4] = {};
    for (size_t j = 0; j < kFrames; ++j) {
      const size_t from = std::min(j, n - 1);
      in[j] = places.in[from];
      row[j] = places.row[from];
      if constexpr (kMix != TapMix::None) mix[j] = places.mix[from];
    }
    WriteFrames(out, stride, {in, row, mix}, n);
  }

  HWY_INLINE void WriteFrames(float* out, size_t stride, const TapPlaces& places, size_t frames) const {
    const Floats d;
    const hn::CappedTag<float, 4> quarter;
    const size_t N = hn::Lanes(d), vectors = kVectors > 0 ? kVectors : (rows_.taps + N - 1) / N;
    Group x, row;
    float mix[4] = {};
    HWY_ALIGN float sums[4];
    for (size_t w = 0; w < 4; ++w) {
      const size_t frame = w / kShare;
      x[w] = planes_.x + std::min(w % kShare, kPlanes - 1) * planes_.stride + places.in[frame];
      row[w] = rows_.data + places.row[frame];
      if constexpr (kMix != TapMix::None) mix[w] = places.mix[frame];
    }
    DotSharing<kVectors, kMix, kShare>(x, row, mix, rows_.stride, vectors,
                                       hn::FirstN(d, rows_.taps - (vectors - 1) * N), sums);
    // Whether the results lie side by side.
    const bool direct = frames == kFrames && (kPlanes == 4 || (kPlanes != 3 && stride == kPlanes));
    for (size_t i = 0; i < 4; i += hn::Lanes(quarter)) {
      const auto results = hn::Mul(hn::Load(quarter, sums + i), hn::Set(quarter, scale_));
      direct ? hn::StoreU(results, quarter, out + i) : hn::Store(results, quarter, sums + i);
    }
    if (HWY_LIKELY(direct)) return;
    // Volatile, or the compiler makes one scatter instruction of them, which is several times slower.
    for (size_t w = 0; w < 4; ++w) {
      if (w % kShare < kPlanes && w / kShare < frames)
        *static_cast<volatile float*>(out + w / kShare * stride + w % kShare) = sums[w];
    }
  }

  TapPlanes planes_;
  TapRows rows_;
  float scale_;
};

template <size_t kVectors, TapMix kMix, size_t kPlanes>
HWY_INLINE void DotPlaces(float* out, size_t stride, const TapPlaces& places, size_t n,
                          const TapPlanes& planes, const TapRows& rows, float scale) {
  const PlacedOutputs<kVectors, kMix, kPlanes> outputs(planes, rows, scale);
  outputs.Write(out, stride, places, n);
}

template <TapMix kMix, size_t kPlanes>
HWY_INLINE void DotAllPlaces(float* out, size_t stride, const TapPlaces& places, size_t n,
                             const TapPlanes& planes, const TapRows& rows, float scale) {
  const size_t N = hn::Lanes(Floats());
  switch ((rows.taps + N - 1) / N) {
    case 1:
      return DotPlaces<1, kMix, kPlanes>(out, stride, places, n, planes, rows, scale);
    case 2:
      return DotPlaces<2, kMix, kPlanes>(out, stride, places, n, planes, rows, scale);
    case 3:
      return DotPlaces<3, kMix, kPlanes>(out, stride, places, n, planes, rows, scale);
    case 4:
      return DotPlaces<4, kMix, kPlanes>(out, stride, places, n, planes, rows, scale);
    default:
      return DotPlaces<0, kMix, kPlanes>(out, stride, places, n, planes, rows, scale);
  }
}

template <TapMix kMix>
HWY_INLINE void DotSomePlanes(float* out, size_t stride, const TapPlaces& places, size_t n,
                              const TapPlanes& planes, const TapRows& rows, float scale) {
  switch (planes.channels) {
    case 1:
      return DotAllPlaces<kMix, 1>(out, stride, places, n, planes, rows, scale);
    case 2:
      return DotAllPlaces<kMix, 2>(out, stride, places, n, planes, rows, scale);
    case 3:
      return DotAllPlaces<kMix, 3>(out, stride, places, n, planes, rows, scale);
    default:
      return DotAllPlaces<kMix, 4>(out, stride, places, n, planes, rows, scale);
  }
}

void DotPlaced(float* out, size_t stride, const TapPlaces& places, size_t n, const TapPlanes& planes,
               const TapRows& rows, float scale) {
  rows.mix == TapMix::None ? DotSomePlanes<TapMix::None>(out, stride, places, n, planes, rows, scale)
                           : DotSomePlanes<TapMix::Linear>(out, stride, places, n, planes, rows, scale);
}

/// The places from number `first` on, one by one.
HWY_INLINE void PlaceEach(const TapGrid& grid, std::uint64_t whole, std::uint64_t part, size_t first,
                          size_t n, std::int32_t* inOf, std::uint32_t* rowOf, float* mixOf) {
  for (size_t j = first; j < n; ++j) {
    const std::uint64_t phase = (part >> 32) * grid.phases;
    inOf[j] = static_cast<std::int32_t>(whole);
    rowOf[j] = static_cast<std::uint32_t>(phase >> 32) * grid.rowLength;
    mixOf[j] = static_cast<float>(static_cast<std::uint32_t>(phase) >> 8) * 0x1p-24f;
    part += grid.stepPart;
    whole += grid.stepWhole + (part < grid.stepPart ? 1 : 0);
  }
}

void Places(const TapGrid& grid, std::uint64_t in, size_t n, std::int32_t* inOf, std::uint32_t* rowOf,
            float* mixOf) {
  std::uint64_t whole = in, part = grid.part;
  size_t done = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::CappedTag<std::uint64_t, 4> d;
  const hn::Repartition<std::uint32_t, decltype(d)> halves;
  const hn::Rebind<std::uint32_t, decltype(d)> words;
  const hn::Rebind<std::int32_t, decltype(d)> signedWords;
  const hn::Rebind<float, decltype(d)> floats;
  const size_t N = hn::Lanes(d);
  HWY_ALIGN std::uint64_t wholes[4], parts[4];
  // N steps, the carries from their fractions among them.
  std::uint64_t steps = 0, fraction = 0;
  for (size_t i = 0; i < N; ++i) {
    wholes[i] = whole + steps + (part + fraction < part ? 1 : 0);
    parts[i] = part + fraction;
    fraction += grid.stepPart;
    steps += grid.stepWhole + (fraction < grid.stepPart ? 1 : 0);
  }
  auto at = hn::Load(d, wholes), share = hn::Load(d, parts);
  const auto stepAt = hn::Set(d, steps), stepShare = hn::Set(d, fraction);
  const auto phases = hn::BitCast(halves, hn::Set(d, grid.phases));
  const auto rowLength = hn::BitCast(halves, hn::Set(d, grid.rowLength));
  const auto unit = hn::Set(floats, 0x1p-24f);
  for (; done + N <= n; done += N) {
    const auto phase = hn::MulEven(hn::BitCast(halves, hn::ShiftRight<32>(share)), phases);
    const auto row = hn::MulEven(hn::BitCast(halves, hn::ShiftRight<32>(phase)), rowLength);
    const auto below = hn::ShiftRight<40>(hn::ShiftLeft<32>(phase));
    hn::StoreU(hn::BitCast(signedWords, hn::TruncateTo(words, at)), signedWords, inOf + done);
    hn::StoreU(hn::TruncateTo(words, row), words, rowOf + done);
    const auto mix = hn::BitCast(signedWords, hn::TruncateTo(words, below));
    hn::StoreU(hn::Mul(hn::ConvertTo(floats, mix), unit), floats, mixOf + done);
    share = hn::Add(share, stepShare);
    at = hn::Sub(hn::Add(at, stepAt), hn::VecFromMask(d, hn::Lt(share, stepShare)));
  }
  whole = hn::GetLane(at);
  part = hn::GetLane(share);
#endif
  PlaceEach(grid, whole, part, done, n, inOf, rowOf, mixOf);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace umlauf::vekta
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace umlauf::vekta {

HWY_EXPORT(DotPlaced);
HWY_EXPORT(Places);

void PlacedDotProducts(float* out, std::size_t outStride, const TapPlaces& places, std::size_t n,
                       const TapPlanes& planes, const TapRows& rows, float scale) {
  constexpr unsigned together = 4;  // planes, which share the loads of rows
  for (unsigned c = 0; c < planes.channels; c += together) {
    const TapPlanes some{planes.x + c * planes.stride, planes.stride,
                         std::min(together, planes.channels - c)};
    HWY_DYNAMIC_DISPATCH(DotPlaced)(out + c, outStride, places, n, some, rows, scale);
  }
}

void PlaceTaps(const TapGrid& grid, std::int32_t in, std::size_t n, std::int32_t* inOf, std::uint32_t* rowOf,
               float* mixOf) {
  HWY_DYNAMIC_DISPATCH(Places)(grid, static_cast<std::uint64_t>(in), n, inOf, rowOf, mixOf);
}

}  // namespace umlauf::vekta
#endif
