// Flat records of every kind: the checked reader takes no byte that is not there, and what it has read can be
// written and read again.

#include <memory>
#include <vector>

#include "fuzz/support/Fuzz.h"
#include "umlauf/keys/Clavis.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/pulses/FueGroeHopListe.h"
#include "umlauf/typed/ResampInfo.h"
#include "umlauf/typed/Signalieee32.h"
#include "umlauf/typed/TriggerInfo.h"
#include "umlauf/typed/WavPlaybackEvent.h"

namespace umlauf::fuzz {
namespace {

std::unique_ptr<CSerializable> Make(std::uint8_t kind) {
  using Make = std::unique_ptr<CSerializable> (*)();
  static constexpr Make kinds[] = {
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CMeasuringUnit>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CClavisPODOwner>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CSetPoint>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CMeasuringResultBase>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CMeasuringResultScalar>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CChannelDescription>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CXChannelDescription>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CYChannelDescription>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CDescription>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CSignalBase>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CResampInfo>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CTriggerInfo>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CWavPlaybackEventInfo>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CDzPulsListe>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CFueGroeHopListe>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CTypedSignal<std::int16_t>>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CTypedSignal<std::int32_t>>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CTypedSignal<ULONG>>(); },
      []() -> std::unique_ptr<CSerializable> { return std::make_unique<CSignalieee32>(); },
  };
  return kinds[kind % std::size(kinds)]();
}

std::vector<std::byte> Flat(const CSerializable& object) {
  std::vector<std::byte> bytes(object.length());
  Require(object.write(bytes.data()) == static_cast<std::int64_t>(bytes.size()),
          "as many bytes are written as the length tells");
  return bytes;
}

}  // namespace

// The kind, then the record.
void FuzzOne(Input input) {
  const std::uint8_t kind = input.Byte();
  const auto object = Make(kind), back = Make(kind);
  const auto before = Flat(*object);
  const Exact<std::byte> bytes(input.Rest());
  const std::int64_t read = object->read(bytes.data(), bytes.size());
  if (read < 0) {
    Require(Flat(*object) == before, "a record that is refused changes nothing");
    return;
  }
  Require(static_cast<std::uint64_t>(read) <= bytes.size(), "no more is read than there is");
  const auto flat = Flat(*object);
  Require(flat.size() == static_cast<std::uint64_t>(read), "a record is as long as what it was read from");
  Require(back->read(flat.data(), flat.size()) == read && Flat(*back) == flat,
          "a written record is the one that comes back");
  Require(flat.empty() || back->read(flat.data(), flat.size() - 1) < 0,
          "a record without its end is refused");
}

}  // namespace umlauf::fuzz
