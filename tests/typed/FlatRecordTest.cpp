#include "umlauf/typed/FlatRecord.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

struct SProbePOD {
  std::uint16_t small = 0;
  std::uint64_t large = 0;  // six bytes of padding in front
};

class CProbeInterface : public CPODHolder<SProbePOD> {
 public:
  using CPODHolder::CPODHolder;
  using CPODHolder::operator=;
  void _construct(bool keep) override {
    CPODHolder::_construct(keep);
    if (!keep) pod().small = 7;
  }
};

class CProbe : public CPODOwner<SProbePOD>, public CProbeInterface {
 public:
  CProbe() : CProbeInterface(CPODOwner::pod()) { _construct(false); }
  CProbe(const CProbe& other) : CPODOwner(other.pod()), CProbeInterface(CPODOwner::pod()) {}
  CProbe& operator=(const CProbe& other) {
    CPODOwner::operator=(other.pod());
    return *this;
  }
  using CPODOwner::pod;
};

TEST(FlatRecord, DefaultOwnerIsZeroAndRoundTrips) {
  const CPODOwner<SProbePOD> owner;
  std::array<std::byte, sizeof(SProbePOD)> bytes;
  bytes.fill(std::byte{0xEE});
  ASSERT_EQ(owner.length(), sizeof(SProbePOD));
  EXPECT_EQ(owner.write(bytes.data()), static_cast<std::int64_t>(bytes.size()));
  for (const std::byte b : bytes) EXPECT_EQ(b, std::byte{0});
  bytes[8] = std::byte{5};
  CPODOwner<SProbePOD> copy;
  EXPECT_EQ(copy.read(bytes.data()), static_cast<std::int64_t>(bytes.size()));
  EXPECT_EQ(copy.pod().large, 5u);
}

TEST(FlatRecord, CheckedReadRefusesShortSource) {
  const std::array<std::byte, sizeof(SProbePOD)> bytes{std::byte{9}};
  CPODOwner<SProbePOD> owner;
  for (std::uint64_t n = 0; n < bytes.size(); ++n) EXPECT_LT(owner.read(bytes.data(), n), 0) << n;
  EXPECT_EQ(owner.pod().small, 0);
  EXPECT_EQ(owner.read(bytes.data(), bytes.size()), static_cast<std::int64_t>(bytes.size()));
  EXPECT_EQ(owner.pod().small, 9);
}

TEST(FlatRecord, InterfaceFollowsItsOwnRecordThroughCopyAssignmentAndContainers) {
  std::vector<CProbe> probes;
  for (std::uint16_t i = 0; i < 20; ++i) {  // grows, and so moves its elements
    probes.emplace_back();
    static_cast<CProbeInterface&>(probes.back()).pod().small = i;
  }
  for (std::uint16_t i = 0; i < 20; ++i) {
    const CProbeInterface& logic = probes[i];
    EXPECT_EQ(&logic.pod(), &probes[i].pod());
    EXPECT_EQ(logic.pod().small, i);
  }
  CProbe copy(probes[3]);
  copy.pod().small = 99;
  EXPECT_EQ(probes[3].pod().small, 3);
  copy = probes[4];
  EXPECT_EQ(copy.pod().small, 4);
  EXPECT_EQ(&static_cast<CProbeInterface&>(copy).pod(), &copy.pod());
}

TEST(FlatRecord, HolderAssignmentCopiesBytesAndKeepsItsRecord) {
  SProbePOD a{1, 2};
  SProbePOD b{3, 4};
  CPODHolder<SProbePOD> holderA(a);
  CPODHolder<SProbePOD> holderB(b);
  holderA = holderB;
  EXPECT_EQ(a.large, 4u);
  EXPECT_EQ(&holderA.pod(), &a);
  CPODHolder<SProbePOD> moved(std::move(holderB));
  moved.pod().small = 8;
  EXPECT_EQ(b.small, 8);
  EXPECT_EQ(CPODOwner<SProbePOD>(moved).pod().small, 8);
  moved._construct(true);
  EXPECT_EQ(b.small, 8);
  moved._construct(false);
  EXPECT_EQ(b.small, 0);
}

}  // namespace
