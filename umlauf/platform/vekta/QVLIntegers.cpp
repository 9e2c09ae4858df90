// Packed integers, as they lie in files, to floats.

#include <bit>
#include <cstring>

#include "umlauf/platform/vekta/QVL.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "umlauf/platform/vekta/QVLIntegers.cpp"
#include "hwy/foreach_target.h"
// The loops follow the target.
#include "umlauf/platform/vekta/internal/Loops-inl.h"

static_assert(std::endian::native == std::endian::little);

HWY_BEFORE_NAMESPACE();
namespace QVL {
namespace HWY_NAMESPACE {
namespace {

/// What one element is; `kBytes` of them make the upper bytes of an integer of 32 bits.
template <size_t kBytes>
HWY_INLINE float Element(const std::uint8_t* in, float factor) {
  std::int32_t value = 0;
  std::memcpy(reinterpret_cast<std::uint8_t*>(&value) + (4 - kBytes), in, kBytes);
  return static_cast<float>(value >> (32 - 8 * kBytes)) * factor;
}

#if HWY_TARGET != HWY_SCALAR
/// Lanes of integers that come from three bytes each: those of one or two blocks of 16 bytes.
constexpr size_t kPackedLanes = HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2 ? 8 : 4;

/// Blocks of 16 bytes, each from 12 bytes further on.
template <class D>
HWY_INLINE hn::Vec<D> LoadTwelves(D d, const std::uint8_t* in) {
  if constexpr (kPackedLanes == 4) {
    return hn::LoadU(d, in);
  } else {
    const hn::Half<D> half;
    return hn::Combine(d, hn::LoadU(half, in + 12), hn::LoadU(half, in));
  }
}

/// Lanes of int32 from as many packed integers; may read up to a vector of bytes.
template <size_t kBytes, class D>
HWY_INLINE hn::Vec<D> LoadPacked(D d, const std::uint8_t* in) {
  if constexpr (kBytes == 4) {
    return hn::BitCast(d, hn::LoadU(hn::Repartition<std::uint8_t, D>(), in));
  } else if constexpr (kBytes == 2) {
    const hn::Rebind<std::int16_t, D> shorts;
    return hn::PromoteTo(
        d, hn::BitCast(shorts, hn::LoadU(hn::Repartition<std::uint8_t, decltype(shorts)>(), in)));
  } else {
    static_assert(kBytes == 3 && hn::MaxLanes(D()) == kPackedLanes);
    alignas(16) static constexpr std::uint8_t kSpread[16] = {0x80, 0, 1, 2, 0x80, 3, 4,  5,
                                                             0x80, 6, 7, 8, 0x80, 9, 10, 11};
    const hn::Repartition<std::uint8_t, D> bytes;
    const auto spread = hn::TableLookupBytesOr0(LoadTwelves(bytes, in), hn::LoadDup128(bytes, kSpread));
    return hn::ShiftRight<8>(hn::BitCast(d, spread));
  }
}
#endif

template <size_t kBytes>
void Widen(float* out, const std::uint8_t* in, size_t n, float factor) {
  size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  using Floats = hn::CappedTag<float, kBytes == 3 ? kPackedLanes : 16>;
  const Floats d;
  const size_t N = hn::Lanes(d);
  if (N > 1) {
    const auto factors = hn::Set(d, factor);
    const hn::RebindToSigned<Floats> integers;
    // What a load takes beyond its elements, 4 bytes, belongs to those that follow.
    for (const size_t spare = kBytes == 3 ? 2 : 0; i + N + spare <= n; i += N) {
      const auto values = hn::ConvertTo(d, LoadPacked<kBytes>(integers, in + kBytes * i));
      hn::StoreU(hn::Mul(values, factors), d, out + i);
    }
  }
#endif
  for (; i < n; ++i) out[i] = Element<kBytes>(in + kBytes * i, factor);
}

void Widen2(float* out, const std::uint8_t* in, size_t n, float factor) { Widen<2>(out, in, n, factor); }
void Widen3(float* out, const std::uint8_t* in, size_t n, float factor) { Widen<3>(out, in, n, factor); }
void Widen4(float* out, const std::uint8_t* in, size_t n, float factor) { Widen<4>(out, in, n, factor); }

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace QVL
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QVL {

HWY_EXPORT(Widen2);
HWY_EXPORT(Widen3);
HWY_EXPORT(Widen4);

void WidenIntegers(float* out, const void* in, std::size_t n, unsigned size, float factor) {
  const auto* bytes = static_cast<const std::uint8_t*>(in);
  if (size == 2) HWY_DYNAMIC_DISPATCH(Widen2)(out, bytes, n, factor);
  if (size == 3) HWY_DYNAMIC_DISPATCH(Widen3)(out, bytes, n, factor);
  if (size == 4) HWY_DYNAMIC_DISPATCH(Widen4)(out, bytes, n, factor);
}

}  // namespace QVL
#endif
