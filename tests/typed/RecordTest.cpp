#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <utility>

#include "typed/TypedTestSupport.h"
#include "umlauf/typed/ResampInfo.h"
#include "umlauf/typed/Signalieee32.h"
#include "umlauf/typed/TriggerInfo.h"
#include "umlauf/typed/WavPlaybackEvent.h"

namespace {

template <class Pod>
Pod& HolderRecord(CPODHolder<Pod>& holder) {
  return holder.pod();
}

// What lies deepest in the record must be reached through the own record, too.
bool PointsHome(CChannelDescription& o) { return &o.Unit().pod() == &o.pod().unit; }
bool PointsHome(CXChannelDescription& o) { return &o.Unit().pod() == &o.pod().channel.unit; }
bool PointsHome(CYChannelDescription& o) { return &o.Unit().pod() == &o.pod().channel.unit; }
bool PointsHome(CSetPoint& o) { return &o[15] == &o.pod().value[15]; }
bool PointsHome(CMeasuringResultBase& o) {
  return &o.Key().pod() == &o.pod().key && &o.SetPoint().pod() == &o.pod().setPoint;
}
bool PointsHome(CMeasuringResultScalar& o) { return &o.Unit().pod() == &o.pod().unit; }
bool DescriptionPointsHome(CDescriptionInterface& d, SDescriptionPOD& record) {
  return &d.pod() == &record && &d.X(31).Unit().pod() == &record.x[31].channel.unit &&
         &d.Y(31).Unit().pod() == &record.y[31].channel.unit;
}
bool PointsHome(CDescription& o) { return DescriptionPointsHome(o, o.pod()); }
bool PointsHome(CSignalBase& o) {
  return &o.Key().pod() == &o.pod().result.key && DescriptionPointsHome(o.Description(), o.pod().description);
}
bool PointsHome(CSerializable&) { return true; }

template <class Owner>
class OwnerTest : public testing::Test {};
using Owners =
    testing::Types<CChannelDescription, CXChannelDescription, CYChannelDescription, CDescription, CSetPoint,
                   CMeasuringResultBase, CMeasuringResultScalar, CSignalBase, CTypedSignal<std::int16_t>,
                   CSignalieee32, CResampInfo, CWavPlaybackEventInfo, CTriggerInfo>;
TYPED_TEST_SUITE(OwnerTest, Owners);

TYPED_TEST(OwnerTest, KeepsItsOwnRecordThroughCopiesMovesAndGrowingContainers) {
  std::vector<TypeParam> owners;
  std::vector<std::vector<std::byte>> flat;
  for (unsigned i = 0; i < 9; ++i) {
    TypeParam fresh;
    std::memset(static_cast<void*>(&fresh.pod()), static_cast<int>(i + 1), sizeof fresh.pod());
    flat.push_back(Flat(fresh));
    owners.push_back(std::move(fresh));
  }
  TypeParam copy(owners[3]);
  copy = owners[4];
  owners[5] = std::move(owners[6]);
  owners.erase(owners.begin());
  for (unsigned i = 0; i < owners.size(); ++i) {
    EXPECT_TRUE(PointsHome(owners[i])) << i;
    EXPECT_EQ(Flat(owners[i]), flat[i == 4 ? 6 : i + 1]) << i;
  }
  EXPECT_TRUE(PointsHome(copy));
  std::memset(static_cast<void*>(&copy.pod()), 0x55, sizeof copy.pod());
  EXPECT_EQ(Flat(owners[3]), flat[4]);  // the source of a copy does not follow it
}

TYPED_TEST(OwnerTest, RoundTripsAndRefusesEveryShorterSource) {
  TypeParam source;
  std::memset(static_cast<void*>(&source.pod()), 0x5A, sizeof source.pod());
  const std::vector<std::byte> bytes = Flat(source);
  TypeParam target;
  const std::vector<std::byte> before = Flat(target);
  for (std::size_t n = 0; n < bytes.size(); ++n) ASSERT_LT(target.read(bytes.data(), n), 0) << n;
  EXPECT_EQ(Flat(target), before);
  EXPECT_EQ(target.read(bytes.data(), bytes.size()), static_cast<std::int64_t>(bytes.size()));
  EXPECT_EQ(Flat(target), bytes);
  EXPECT_EQ(TypeParam().read(bytes.data()), static_cast<std::int64_t>(bytes.size()));
}

TYPED_TEST(OwnerTest, ConstructGivesTheInitialStateUnlessKept) {
  TypeParam owner;
  std::memset(static_cast<void*>(&owner.pod()), 0x77, sizeof owner.pod());
  const std::vector<std::byte> filled = Flat(owner);
  owner._construct(true);
  EXPECT_EQ(Flat(owner), filled);
  owner._construct(false);
  TypeParam fresh;
  if constexpr (requires { fresh.set_id(0); }) {
    EXPECT_EQ(fresh.id(), owner.id() + 1);
    fresh.set_id(owner.id());
  }
  EXPECT_EQ(Flat(owner), Flat(fresh));
}

// 32-bit words that are not 0, by offset; everything else must be.
using Words = std::vector<std::pair<std::size_t, std::uint32_t>>;
Words NonZero(const CSerializable& object) {
  const std::vector<std::byte> bytes = Flat(object);
  Words words;
  for (std::size_t at = 0; at < bytes.size(); at += 4) {
    std::uint32_t word = 0;
    std::memcpy(&word, &bytes[at], 4);
    if (word != 0) words.emplace_back(at, word);
  }
  return words;
}
constexpr std::uint32_t kOne = 0x3F800000, kNone = 0xFFFFFFFF, kPower1 = 0x10000;

TEST(Records, GoldenInitialStates) {
  EXPECT_EQ(NonZero(CChannelDescription()), (Words{{0, kNone}, {8, kPower1}, {12, kOne}}));
  EXPECT_EQ(NonZero(CXChannelDescription()), (Words{{16, kOne}, {20, kNone}, {28, kPower1}, {32, kOne}}));
  EXPECT_EQ(NonZero(CYChannelDescription()), (Words{{12, kOne}, {16, kNone}, {24, kPower1}, {28, kOne}}));
  EXPECT_EQ(NonZero(CResampInfo()), (Words{{24, kNone}, {40, kNone}, {44, kNone}, {48, kNone}}));
  EXPECT_EQ(NonZero(CWavPlaybackEventInfo()), Words());
  EXPECT_EQ(NonZero(CTriggerInfo()), (Words{{4, kNone}}));
  CMeasuringResultScalar scalar;
  scalar.set_id(5);
  Words words;
  for (std::size_t field = 0; field < 6; ++field) words.emplace_back(4 * field, kNone);
  for (std::size_t slot = 0; slot < 16; ++slot) words.emplace_back(88 + 4 * slot, kNone);
  words.insert(words.end(), {{152, 5}, {168, 22}, {176, 1}, {180, kNone}, {200, kPower1}, {204, kOne}});
  EXPECT_EQ(NonZero(scalar), words);
}

TEST(Records, GoldenSideRecords) {
  CResampInfo info;
  info.ResampType(3);
  EXPECT_TRUE(info.IsSyncResamp() && info.IsAngularResamp());
  EXPECT_FALSE(info.IsZeroDegreeAligned() || info.IsFxResamp());
  info.Ratio(2.0);
  info.RevPerBlock(1.0f);
  info.AdvanceSamples(-1.0f);
  info.RefRotLocId(1);
  info.RefRotRatio(-2.0);
  info.RefSpeedId(2);
  info.Channel(3);
  info.Location(4);
  EXPECT_EQ(NonZero(info), (Words{{0, 3},
                                  {12, 0x40000000},
                                  {16, kOne},
                                  {20, 0xBF800000},
                                  {24, 1},
                                  {36, 0xC0000000},
                                  {40, 2},
                                  {44, 3},
                                  {48, 4}}));
  CWavPlaybackEventInfo event;
  event.EventType(SWavPlaybackEventPOD::eventSpeed);
  event.SpeedFactor(1.0f);
  EXPECT_EQ(NonZero(event), (Words{{0, 5}, {4, kOne}}));
}

TEST(Records, MarshalingTagsAndStateNames) {
  EXPECT_EQ(MarshalingYard::ID<CResampInfo>::id(), 0x49617352u);
  EXPECT_EQ(MarshalingYard::ID<CResampInfo>::tag(), "RsaI");
  EXPECT_EQ(MarshalingYard::ID<CWavPlaybackEventInfo>::tag(), "WplE");
  EXPECT_EQ(MarshalingYard::ID<CTriggerInfo>::tag(), "TrgI");
  const wchar_t* const names[] = {L"undef", L"start", L"enter", L"leave", L"inval", L"stop", L"?"};
  for (std::uint32_t state = 0; state < std::size(names); ++state) {
    EXPECT_STREQ(CTriggerInfo::StateName(state), names[state]);
  }
  EXPECT_STREQ(CTriggerInfo::StateName(UINT32_MAX), L"?");
}

CSignalieee32 GoldenSignal() {
  CSignalieee32 signal;
  signal.Key() = CClavis(3, 1, 2, 5, -1, 7);
  signal.SetPoint().def(0, 42);
  signal.SetPoint()[0] = 1500.0f;
  signal.set_id(77);
  CDescriptionInterface& d = signal.Description();
  d.XInsert(0, 1);
  d.X(0).Len(4);
  d.X(0).Delta(0.25f);
  d.X(0).Start(0.5f);
  d.X(0).AppSigId(9);
  d.X(0).Unit() = CMeasuringUnit(commonUnits::second, -3);
  d.YInsert(0, 3);
  d.Y(0).SetFloatChannel(101);
  d.Y(0).Gauge(2.0f);
  d.Y(0).Unit() = CMeasuringUnit(commonUnits::metre_per_second_squared);
  d.Y(1).SetTisChannels(5, 7, true);
  d.Y(2).SetFloatChannel(103);
  d.Y(2).Coordinate(true);
  d.Y(2).Unit() = CMeasuringUnit(commonUnits::pascal, 0, 1, 2e-5f, CommonUnits::flag_db);
  signal.reshape_array();
  std::iota(signal.begin(), signal.end(), 0.0f);
  return signal;
}

TEST(Records, GoldenSignalFile) {
  std::ifstream file(UMLAUF_TEST_DATA "/data/interleaved_3_channels.bin", std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  std::vector<std::byte> golden(text.size());
  std::memcpy(golden.data(), text.data(), text.size());
  ASSERT_EQ(golden.size(), 2640u + 8u + 48u);
  EXPECT_EQ(Flat(GoldenSignal()), golden);
  CSignalieee32 read;
  EXPECT_EQ(read.read(golden.data(), golden.size()), static_cast<std::int64_t>(golden.size()));
  EXPECT_EQ(Flat(read), golden);
  EXPECT_EQ(read.Key()[Clavis::qSensor], 7);
  EXPECT_EQ(read.Description().Y(1).TisMode(), 4);
  EXPECT_TRUE(read.Description().Y(2).Unit().is_db());
}

TEST(Records, CompositeReadChangesNothingWhenTheBlockIsCutOrTooLarge) {
  const CSignalieee32 source = GoldenSignal();
  std::vector<std::byte> bytes = Flat(source);
  CSignalieee32 target(Described(2, {2}, 1));
  const std::vector<std::byte> before = Flat(target);
  for (std::size_t n = 0; n < bytes.size(); ++n) ASSERT_LT(target.read(bytes.data(), n), 0) << n;
  for (const std::uint64_t count : {std::uint64_t{13}, UINT64_MAX, UINT64_MAX / 4 + 1}) {
    std::memcpy(&bytes[sizeof(SSignalBasePOD)], &count, sizeof count);
    EXPECT_LT(target.read(bytes.data(), bytes.size()), 0) << count;
  }
  EXPECT_EQ(Flat(target), before);
}

TEST(Records, HoldersCopyBytesAndStayWhereTheyAre) {
  SDescriptionPOD records[2];
  CDescriptionInterface a(records[0]), b(records[1]);
  b.YInsert(0, 1);
  b.Y(0).SetFloatChannel(12);
  a = b;
  b.Y(0).AppSigId(13);
  EXPECT_EQ(records[0].y[0].channel.appSigId, 12);
  CDescriptionInterface moved(std::move(b));
  EXPECT_TRUE(DescriptionPointsHome(moved, records[1]));
  a.X(3) = CXChannelDescription();
  a.Y(0) = a.Y(1);
  EXPECT_TRUE(DescriptionPointsHome(a, records[0]));
  EXPECT_EQ(records[0].y[0].channel.appSigId, -1);
}

}  // namespace
