#include <fstream>
#include <map>

#include "support/Test.h"
#include "typed/TypedTestSupport.h"
#include "umlauf/typed/ResampInfo.h"
#include "umlauf/typed/Signalieee32.h"
#include "umlauf/typed/TriggerInfo.h"
#include "umlauf/typed/WavPlaybackEvent.h"

namespace {

template <class Owner>
class OwnerTest : public testing::Test {};
using Owners =
    testing::Types<CChannelDescription, CXChannelDescription, CYChannelDescription, CDescription, CSetPoint,
                   CMeasuringResultBase, CMeasuringResultScalar, CSignalBase, CTypedSignal<std::int16_t>,
                   CSignalieee32, CResampInfo, CWavPlaybackEventInfo, CTriggerInfo, CClavisPODOwner>;
TYPED_TEST_SUITE(OwnerTest, Owners);

template <class Owner>
void Fill(Owner& owner, int byte) {
  std::memset(static_cast<void*>(&owner.pod()), byte, sizeof owner.pod());
}

TYPED_TEST(OwnerTest, InterfacesReachTheirOwnRecordAfterCopiesMovesAndGrowth) {
  std::vector<TypeParam> owners;
  std::vector<std::vector<std::byte>> flat;
  for (int i = 0; i < 9; ++i) {
    TypeParam fresh;
    Fill(fresh, i + 1);
    flat.push_back(Flat(fresh));
    owners.push_back(std::move(fresh));  // grows, and so moves its elements
  }
  owners[5] = std::move(owners[6]);
  flat[5] = flat[6];
  owners[7] = owners[8];
  flat[7] = flat[8];
  owners.erase(owners.begin());
  flat.erase(flat.begin());
  for (unsigned i = 0; i < owners.size(); ++i) {
    TypeParam fresh;
    owners[i]._construct(true);
    ASSERT_EQ(Flat(owners[i]), flat[i]) << i;
    owners[i]._construct(false);  // through all nested interfaces; the records of the others must stay
    if constexpr (requires { fresh.set_id(0); }) {
      EXPECT_EQ(owners[i].id(), fresh.id() + 1);
      fresh.set_id(owners[i].id());
    }
    ASSERT_EQ(Flat(owners[i]), Flat(fresh)) << i;
  }
}

TYPED_TEST(OwnerTest, RoundTripsAndRefusesEveryShorterSource) {
  TypeParam source;
  Fill(source, 0x5A);
  const std::vector<std::byte> bytes = Flat(source);
  TypeParam target;
  const std::vector<std::byte> before = Flat(target);
  for (std::size_t n = 0; n < bytes.size(); ++n) ASSERT_LT(target.read(bytes.data(), n), 0) << n;
  EXPECT_ALL(Flat(target) == before,
             target.read(bytes.data(), bytes.size()) == static_cast<std::int64_t>(bytes.size()),
             Flat(target) == bytes);
}

// 32-bit words that are not 0, by offset; everything else must be.
using Words = std::map<std::size_t, std::uint32_t>;
Words NonZero(const CSerializable& object) {
  const std::vector<std::byte> bytes = Flat(object);
  Words words;
  for (std::size_t at = 0; at < bytes.size(); at += 4) {
    std::uint32_t word = 0;
    std::memcpy(&word, &bytes[at], 4);
    if (word != 0) words[at] = word;
  }
  return words;
}
constexpr std::uint32_t kOne = 0x3F800000, kNone = 0xFFFFFFFF;

TEST(Records, GoldenScalarAndSideRecords) {
  CMeasuringResultScalar scalar;
  scalar.Value(1.0f);
  Words words = NonZero(CMeasuringResultBase(static_cast<CMeasuringResultBaseInterface&>(scalar)));
  words.insert({{192, kOne}, {200, 0x10000}, {204, kOne}});
  EXPECT_ALL(NonZero(scalar) == words, NonZero(CTriggerInfo()) == (Words{{4, kNone}}));
  CWavPlaybackEventInfo event;
  EXPECT_EQ(NonZero(event), Words());
  event.EventType(5);
  event.SpeedFactor(1.0f);
  EXPECT_EQ(NonZero(event), (Words{{0, 5}, {4, kOne}}));
  CResampInfo info;
  EXPECT_ALL(info.IsFxResamp(), NonZero(info) == (Words{{24, kNone}, {40, kNone}, {44, kNone}, {48, kNone}}));
  info.ResampType(3);
  EXPECT_ALL(info.IsSyncResamp(), info.IsAngularResamp(), !info.IsZeroDegreeAligned(), !info.IsFxResamp());
  info.Ratio(2.0), info.RefRotRatio(-2.0);
  info.RevPerBlock(1.0f), info.AdvanceSamples(-1.0f);
  info.RefRotLocId(1), info.RefSpeedId(2), info.Channel(3), info.Location(4);
  words = {{0, 3}, {12, 0x40000000}, {16, kOne}, {20, 0xBF800000}, {24, 1}};
  words.insert({{36, 0xC0000000}, {40, 2}, {44, 3}, {48, 4}});
  EXPECT_EQ(NonZero(info), words);
}

TEST(Records, MarshalingTagsAndStateNames) {
  EXPECT_ALL(MarshalingYard::ID<CResampInfo>::id() == 0x49617352u,
             MarshalingYard::ID<CResampInfo>::tag() == "RsaI",
             MarshalingYard::ID<CWavPlaybackEventInfo>::tag() == "WplE",
             MarshalingYard::ID<CTriggerInfo>::tag() == "TrgI");
  CString names;
  for (const std::uint32_t state : {0u, 1u, 2u, 3u, 4u, 5u, 6u, UINT32_MAX})
    names += CTriggerInfo::StateName(state) + CString(L" ");
  EXPECT_EQ(names, L"undef start enter leave inval stop ? ? ");
}

CSignalieee32 GoldenSignal() {
  auto signal = Counting<CSignalieee32>(Described(1, {4}, 3));
  signal.Key() = CClavis(3, 1, 2, 5, -1, 7);
  signal.SetPoint().def(0, 42);
  signal.SetPoint()[0] = 1500.0f;
  signal.set_id(77);
  CDescriptionInterface& d = signal.Description();
  d.X(0).Delta(0.25f);
  d.X(0).Start(0.5f);
  d.X(0).AppSigId(9);
  d.X(0).Unit() = CMeasuringUnit(commonUnits::second, -3);
  d.Y(0).AppSigId(101);
  d.Y(0).Gauge(2.0f);
  d.Y(0).Unit() = CMeasuringUnit(commonUnits::metre_per_second_squared);
  d.Y(1).SetTisChannels(5, 7, true);
  d.Y(2).AppSigId(103);
  d.Y(2).Coordinate(true);
  d.Y(2).Unit() = CMeasuringUnit(commonUnits::pascal, 0, 1, 2e-5f, CommonUnits::flag_db);
  return signal;
}

TEST(Records, GoldenSignalFile) {
  std::ifstream file(UMLAUF_TEST_DATA "/data/interleaved_3_channels.bin", std::ios::binary);
  std::vector<std::byte> golden(2640 + 8 + 48);
  ASSERT_TRUE(file.read(reinterpret_cast<char*>(golden.data()), static_cast<std::streamsize>(golden.size())));
  EXPECT_EQ(Flat(GoldenSignal()), golden);
  CSignalieee32 read;
  EXPECT_ALL(read.read(golden.data(), golden.size()) == std::ssize(golden), Flat(read) == golden,
             read.Description().Y(1).TisMode() == 4, read.Description().Y(2).Unit().is_db());
  std::vector<std::byte> larger = golden;  // than the source: its count of samples
  for (const std::uint64_t count : {std::uint64_t{13}, UINT64_MAX, UINT64_MAX / 4 + 1}) {
    std::memcpy(&larger[sizeof(SSignalBasePOD)], &count, sizeof count);
    EXPECT_LT(read.read(larger.data(), larger.size()), 0) << count;
  }
  EXPECT_EQ(Flat(read), golden);
}

}  // namespace
