#include "umlauf/typed/ChannelDescription.h"

namespace {

constexpr std::uint32_t kLow = 0xFFFFu;
constexpr int kNoId = -1;

std::uint32_t Bits(int id) { return static_cast<std::uint32_t>(id); }

}  // namespace

void CChannelDescriptionInterface::_construct(bool keep) {
  unit_._construct(keep);
  if (!keep) pod().appSigId = kNoId;
}

void CXChannelDescriptionInterface::_construct(bool keep) {
  CChannelDescriptionInterface::_construct(keep);
  if (!keep) pod() = SXChannelDescriptionPOD();
}

void CXChannelDescriptionInterface::Len(std::uint32_t n) {
  pod().length = n;
  pod().beginIdx = 0;
  pod().endIdx = n;
}

void CYChannelDescriptionInterface::_construct(bool keep) {
  CChannelDescriptionInterface::_construct(keep);
  if (!keep) pod() = SYChannelDescriptionPOD();
}

void CYChannelDescriptionInterface::SetCodingFlag(unsigned bit, bool on) {
  if (bit >= 32) return;
  const std::uint32_t mask = 1u << bit;
  CodingFlags(on ? CodingFlags() | mask : CodingFlags() & ~mask);
}

CYChannelDescriptionInterface::ETisMode CYChannelDescriptionInterface::TisMode(std::uint32_t coding,
                                                                               std::uint32_t flags) {
  const bool highRes = (flags & flagHighRes) != 0;
  const bool fourfold = (flags & flagFourfold) != 0;
  switch (coding) {
    case codingTis24:
      return highRes ? tisHighRes : tisStandard;
    case codingRIE:
      if (fourfold) return highRes ? tisQuadratureFourfoldHighRes : tisQuadratureFourfold;
      return highRes ? tisQuadratureHighRes : tisQuadrature;
    default:
      return tisNone;
  }
}

int CYChannelDescriptionInterface::AppSigIdLwChan() const {
  const std::uint32_t low = Bits(AppSigId()) & kLow;
  return low == kLow ? kNoId : static_cast<int>(low);
}

void CYChannelDescriptionInterface::AppSigIdLwChan(int id) {
  AppSigId(static_cast<int>((Bits(AppSigId()) & ~kLow) | (Bits(id) & kLow)));
}

int CYChannelDescriptionInterface::AppSigIdHwChan() const {
  return static_cast<std::int16_t>(Bits(AppSigId()) >> 16);
}

void CYChannelDescriptionInterface::AppSigIdHwChan(int id) {
  AppSigId(static_cast<int>((Bits(AppSigId()) & kLow) | Bits(id) << 16));
}

void CYChannelDescriptionInterface::SetFloatChannel(int id) {
  ChannelCoding(codingFloat);
  CodingFlags(0);
  AppSigId(id);
  Coordinate(false);
}

void CYChannelDescriptionInterface::set_tis_channel(bool highRes) {
  CodingFlags(highRes ? std::uint32_t{flagHighRes} : 0u);
  Coordinate(false);
}

void CYChannelDescriptionInterface::SetTisChannels(int lwId, int hwId, bool highRes) {
  set_tis_channel(highRes);
  ChannelCoding(codingTis24);
  CodingFlags(CodingFlags() | flagSubChans);
  AppSigIdLwChan(lwId);
  AppSigIdHwChan(hwId);
}

void CYChannelDescriptionInterface::SetRIEChannel(int id, bool highRes, bool fourfold) {
  set_tis_channel(highRes);
  ChannelCoding(codingRIE);
  if (fourfold) CodingFlags(CodingFlags() | flagFourfold);
  AppSigId(id);
}
