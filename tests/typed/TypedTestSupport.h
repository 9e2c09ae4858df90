#pragma once

#include "support/Test.h"
#include "umlauf/typed/TypedSignal.h"

inline std::vector<std::byte> Flat(const CSerializable& object) {
  std::vector<std::byte> bytes(object.length(), std::byte{0xEE});
  EXPECT_EQ(object.write(bytes.data()), static_cast<std::int64_t>(bytes.size()));
  return bytes;
}

/// A description with used lengths of the x dimensions and a number of y channels, whose ids are 100, 101 ...
inline CDescription Described(std::uint32_t coding, const std::vector<std::uint32_t>& lengths,
                              unsigned channels) {
  CDescription description;
  description.SignalCoding(coding);
  description.XInsert(0, static_cast<unsigned>(lengths.size()));
  description.YInsert(0, channels);
  for (unsigned d = 0; d < lengths.size(); ++d) description.X(d).Len(lengths[d]);
  for (unsigned c = 0; c < channels; ++c) description.Y(c).SetFloatChannel(100 + static_cast<int>(c));
  return description;
}

/// Samples 0, 1, 2 ...
template <class Signal = CTypedSignal<float>>
Signal Counting(const CDescriptionInterface& description) {
  Signal signal(description);
  std::iota(signal.begin(), signal.end(), typename Signal::value_type{0});
  return signal;
}

template <class T>
std::vector<T> Samples(const CTypedSignal<T>& signal) {
  return {signal.begin(), signal.end()};
}
