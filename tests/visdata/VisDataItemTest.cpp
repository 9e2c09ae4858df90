#include "umlauf/visdata/VisDataItem.h"

#include "support/Test.h"
#include "umlauf/visdata/VisDataPolygon.h"

namespace {

using Item = CVisDataItem;

std::vector<float> Raw(const Item& item) {
  return {item.RawData(), item.RawData() + static_cast<std::ptrdiff_t>(item.RawCapacity())};
}

std::vector<float> Ramp(std::size_t n) {
  std::vector<float> ramp(n);
  std::iota(ramp.begin(), ramp.end(), 1.0f);
  return ramp;
}

TEST(VisDataItem, NameGrowsToWhatItNeedsAndNeverShrinks) {
  Item item;
  const struct {
    bool append;
    std::size_t length;
    std::uint64_t capacity;
  } steps[] = {{false, 50, 51}, {true, 1, 52},   {false, 3, 52},
               {true, 48, 52},  {true, 60, 112}, {false, 200, 201}};
  std::wstring expected;
  for (const auto& step : steps) {
    const std::wstring text(step.length, static_cast<wchar_t>(L'a' + step.length % 26));
    expected = step.append ? expected + text : text;
    step.append ? item.AppendToName(text.c_str()) : item.SetName(text.c_str());
    EXPECT_ALL(item.Name() == expected, item.NameCapacity() == step.capacity);
  }
  item.SetName(L"torque");
  item.SetName(item.Name() + 3);
  for (int i = 0; i < 7; ++i) item.AppendToName(item.Name());  // in place and into a larger array
  EXPECT_EQ(std::wstring(item.Name()).substr(380), L"eque");
  item.SetName(nullptr);
  item.AppendToName(nullptr);
  EXPECT_STREQ(item.Name(), L"");
}

TEST(VisDataItem, NamesOfTypesAndModes) {
  const wchar_t* const types[] = {L"(unknown)", L"(unknown)",    L"Vector", L"IntVector",
                                  L"Polygon",   L"Vector-Array", L"Grid",   L"(unknown)"};
  for (int code = -1; code < 7; ++code) EXPECT_STREQ(Item::DataTypeName(code), types[code + 1]) << code;
  const std::pair<int, const wchar_t*> modes[] = {
      {0, L""}, {1, L"Bg"}, {16, L"|Fg"}, {1 | 16, L"Bg|Fg"}, {34, L"|Th|Hg"}, {-1, L"Bg|Fg|Th|Hg|Sb|St"}};
  for (const auto& [mode, name] : modes) EXPECT_STREQ(Item::DisplayModeName(mode), name);
  Item item;
  item.AddDisplayMode(Item::DmStairs);
  item.AddDisplayMode(Item::DmForeground | Item::DmBackground);
  EXPECT_ALL(item.DisplayModes() == (8u | 16 | 1), item.HasDisplayMode(Item::DmStairs | Item::DmThreshold),
             !item.HasDisplayMode(Item::DmThreshold));
}

TEST(VisDataItem, ScaleAndVectorRange) {
  Item item;
  for (const auto& [factor, inverse] : {std::pair{4.0f, 0.25f}, {0.0f, 1.0f}}) {
    item.SetScaleFactor(factor);
    EXPECT_EQ(std::pair(item.ScaleFactor(), item.InverseScaleFactor()), std::pair(factor, inverse));
  }
  Item::Range range(7.0f, 8.0f);
  Item::CalcVecRange(nullptr, 0, range);
  EXPECT_EQ(range, Item::Range(7.0f, 8.0f));
  const float values[] = {3.0f, -1.0f, 2.0f, 99.0f};
  Item::CalcVecRange(values, 3, range);
  EXPECT_EQ(range, Item::Range(-1.0f, 3.0f));
}

TEST(VisDataItem, RawDataGrowAsAskedOrByDoubling) {
  Item item;
  EXPECT_ALL(item.ExpandRawData(10), item.RawCapacity() == 64);
  ASSERT_TRUE(item.CopyRawData(Ramp(64).data(), 64));
  EXPECT_ALL(item.ExpandRawData(200), item.ExpandRawData(256), item.AllocRawData(0));
  ASSERT_EQ(item.RawCapacity(), 256u);
  std::vector<float> expected = Ramp(64);
  expected.resize(256);
  EXPECT_ALL(Raw(item) == expected, reinterpret_cast<std::uintptr_t>(item.RawData()) % 128 == 0u,
             item.AllocRawData(5), Raw(item) == std::vector<float>(256));
}

TEST(VisDataItem, FailedAllocations) {
  const std::vector<float> ramp = Ramp(3);
  for (const std::uint64_t tooMany : {~0ull, ~0ull / 2 + 2, 1ull << 62, 1ull << 60}) {
    Item item;
    item.CopyRawData(ramp.data(), 3);
    EXPECT_FALSE(item.ExpandRawData(tooMany)) << tooMany;
    EXPECT_EQ(item.RawCapacity(), 0u);
    ASSERT_NE(item.RawData(), nullptr);                    // the old block stays ...
    EXPECT_TRUE(item.CopyRawData(item.RawData() + 1, 2));  // ... and may even be the source of the next
    EXPECT_THAT(Raw(item), ElementsAre(2.0f, 3.0f));
    EXPECT_ALL(!item.AllocRawData(tooMany), !(item.RawData() != nullptr), !(item.RawCapacity() != 0));
    item.CopyRawData(ramp.data(), 3);
    EXPECT_ALL(!item.CopyRawData(ramp.data(), tooMany), !(item.RawData() != nullptr));
  }
  EXPECT_FALSE(Item().CopyRawData(nullptr, 1));
}

TEST(VisDataItem, CopiesRawDataAlsoFromItself) {
  Item item;
  EXPECT_ALL(item.CopyRawData(Ramp(6).data(), 6), item.CopyRawData(item.RawData() + 2, 3),
             item.CopyRawData(item));
  EXPECT_THAT(Raw(item), ElementsAre(3, 4, 5, 0, 0, 0));
  Item larger;
  larger.AllocRawData(8);
  EXPECT_ALL(larger.CopyRawData(item), larger.CopyRawData(Item()));  // nothing of an item without
  EXPECT_THAT(Raw(larger), ElementsAre(3, 4, 5, 0, 0, 0, 0, 0));
  larger = Item();
  EXPECT_EQ(larger.RawCapacity(), 0u);
}

/// A polygon with nothing as in a new one.
CVisDataPolygon Painted() {
  CVisDataPolygon item;
  item.SetName(L"run-up");
  item.SetExtName(L"gear 3");
  item.Id() = {1, 2, {3}};
  item.AddDisplayMode(Item::DmSidebands);
  item.SetColourCode(4);
  item.SetFileCompressionMode(Item::CompressBytes);
  item.XUnit() = CMeasuringUnit(CMeasuringUnit::second);
  item.YUnit() = CMeasuringUnit(CMeasuringUnit::rpm);
  item.ZUnit() = CMeasuringUnit(CMeasuringUnit::volt, -3);
  item.SetScaleFactor(0.5f);
  item.Append(-2.0f, 5.0f);
  item.Append(3.0f, 4.0f);
  item.CalcRange(Item::AllAxes);
  return item;
}

auto Infos(const Item& i) {
  return std::tuple(std::wstring(i.Name()), i.ExtName(), i.Id(), i.DisplayModes(), i.ColourCode(), i.XUnit(),
                    i.YUnit(), i.ZUnit(), i.XRange(), i.YRange(), i.ZRange(), i.ScaleFactor(),
                    i.InverseScaleFactor());
}

TEST(VisDataItem, CopiesAndResets) {
  const CVisDataPolygon polygon = Painted();
  Item item;
  item.CopyRawData(Ramp(3).data(), 3);
  item.CopyInfos(polygon);
  EXPECT_ALL(item.FileCompressionMode() == Item::CompressBytes, !item.DtSameAs(polygon));
  EXPECT_THAT(Raw(item), ElementsAre(1, 2, 3));

  const Item copied(static_cast<const Item&>(polygon));
  CVisDataPolygon assigned;
  assigned = polygon;
  assigned = *&assigned;
  for (const Item* copy : {&copied, static_cast<const Item*>(&assigned)})
    EXPECT_ALL(copy->DtSameAs(polygon), Infos(*copy) == Infos(polygon), Raw(*copy) == Raw(polygon));
  EXPECT_EQ(assigned.Size(), 2u);

  assigned.Reset();
  EXPECT_ALL(Infos(assigned) == Infos(Item()), assigned.DtIsPolygon(),
             assigned.FileCompressionMode() == Item::CompressBytes, Raw(assigned) == Raw(polygon),
             assigned.Size() == 0u);
}

}  // namespace
