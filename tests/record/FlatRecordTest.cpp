#include "umlauf/record/FlatRecord.h"

#include "support/Test.h"

namespace {

struct SProbePOD {
  std::uint16_t small = 1;
  std::uint64_t large = 2;  // six bytes of padding in front
};

TEST(FlatRecord, DefaultOwnerIsAllZero) {
  std::array<std::byte, sizeof(SProbePOD)> bytes;
  bytes.fill(std::byte{0xEE});
  EXPECT_EQ(CPODOwner<SProbePOD>().write(bytes.data()), std::ssize(bytes));
  for (const std::byte b : bytes) EXPECT_EQ(b, std::byte{0});
}

TEST(FlatRecord, HoldersAssignBytesAndKeepTheirRecord) {
  SProbePOD a{1, 2}, b{3, 4};
  CPODHolder<SProbePOD> holderA(a), holderB(b);
  holderA = holderB;
  EXPECT_ALL(a.large == 4u, &holderA.pod() == &a);
  CPODHolder<SProbePOD> moved(std::move(holderB));
  moved = SProbePOD{8, 9};
  EXPECT_EQ(b.small, 8);
  CPODOwner<SProbePOD> owner(moved);
  EXPECT_EQ(owner.pod().large, 9u);
  owner = holderA;
  EXPECT_EQ(owner.pod().large, 4u);
  moved._construct(true);
  EXPECT_EQ(b.small, 8);
  moved._construct(false);
  EXPECT_EQ(b.small, 0);
}

/// Has the form of reading alone that trusts its source.
struct CTrusting : CSerializable {
  std::uint64_t length() const override { return 0; }
  std::int64_t read(const void*) override { return 0; }
  std::int64_t write(void*) const override { return 0; }
};

TEST(FlatRecord, WithoutACheckedFormForeignDataIsRefused) {
  CTrusting trusting;
  CSerializable& object = trusting;
  EXPECT_ALL(object.read(nullptr) == 0, object.read(nullptr, UINT64_MAX) < 0);
}

}  // namespace
