#include "umlauf/rate/ResampleTool.h"

#include "rate/RateTestSupport.h"
#include "support/Test.h"

namespace {

Samples Resample(const Samples& in, std::size_t nOut, int opts) {
  Samples out(nOut + 1, 77.0f);
  CResampleTool::Resample1d(in.data(), static_cast<int>(in.size()), out.data(), static_cast<int>(nOut),
                            static_cast<InterpOpts>(opts));
  EXPECT_EQ(out.back(), 77.0f);
  out.pop_back();
  return out;
}

TEST(Resample1d, Rows) {
  const Samples row{1, 5, -9, 2, 8, 4, 7};
  const Cases<Samples, int, Samples> cases = {
      {row, RO_First, {1, -9, 8}},  // 1 5 | -9 2 | 8 4
      {row, RO_Maximum, {5, 2, 8}},
      {row, RO_Minimum, {1, -9, 4}},
      {row, RO_Mean, {3, -3.5f, 6}},
      {row, RO_Mean, {3, 1.25f}},  // 1 5 | -9 2 8 4
      {row, RO_MidRange, {3, -0.5f}},
      {row, 7 | RO_LinearUp, {1, -9}},
      {row, 0, {1, 5, -9, 2, 4, 7}},  // only 2 8 together
      {row, RO_Maximum | RO_LinearUp, {1, 5, -9, 8, 4, 7}},
      {row, RO_Maximum, row},
      {{1, 2, 4, 8}, RO_Mean, {1, 3}},  // a run ends in the middle between two outputs
      {{3, 9}, RO_First | RO_LinearUp, {3, 5, 7, 9}},
      {{3, 9, 1}, RO_LinearUp, {3, 5, 7, 9, 5, 1}},
      {{0, 6}, RO_LinearUp, {0, 1, 2, 3, 4, 5, 6}},
      {{7}, RO_LinearUp, {7, 7, 7}},
      {{3, 9}, RO_First, {3, 3, 9, 9}},
      {{3, 9, 1}, RO_Maximum, {3, 9, 9, 1}},
      {{3, 9}, RO_MeanLinear, {3, 6, 9}},
      {{1, 3, 5, 9}, RO_MeanLinear, {2, 7}}};
  for (const auto& [in, opts, out] : cases) EXPECT_EQ(Resample(in, out.size(), opts), out) << opts;
  Samples loudest(2);
  CResampleTool::Resample1dDownMaxi(row.data(), 7, loudest.data(), 2);
  EXPECT_THAT(loudest, ElementsAre(5, -9));
}

TEST(Resample1d, AnyLengthsStayInsideTheRows) {
  std::mt19937 random(31);
  for (int i = 0; i < 300; ++i) {
    const Samples in = Noise(1 + random() % 60, static_cast<unsigned>(i));
    Samples row(1 + random() % 90);
    const auto opts = static_cast<InterpOpts>(random() % 16);
    const int from = static_cast<int>(in.size()), to = static_cast<int>(row.size());
    CResampleTool::Resample1d(in.data(), from, row.data(), to, opts);
    EXPECT_THAT(row, testing::Each(testing::AllOf(testing::Ge(-1.0f), testing::Le(1.0f))));
    // These, too, with lengths that they are not made for.
    CResampleTool::Resample1dUpInterpol(in.data(), from, row.data(), to);
    CResampleTool::Resample1dDown(in.data(), from, row.data(), to, RO_Mean);
    CResampleTool::Resample1dDownMaxi(in.data(), from, row.data(), to);
  }
  float out = 77.0f;
  const float in = 1.0f;
  CResampleTool::Resample1d(&in, 0, &out, 1, RO_First);
  CResampleTool::Resample1d(&in, 1, &out, -1, RO_First);
  CResampleTool::Resample1d(nullptr, 1, &out, 1, RO_First);
  CResampleTool::Resample1d(&in, 1, nullptr, 1, RO_First);
  CResampleTool::Resample1dDmUi(nullptr, 1, &out, 1);
  EXPECT_EQ(out, 77.0f);
}

TEST(PixelConversion, IsLinearRoundedAndLimited) {
  const Samples in{-1, 0, 0.24f, 0.26f, 0.5f, 1, 9, kNaN, kInf, -kInf};
  const int n = static_cast<int>(in.size());
  const Cases<float, float, int, std::vector<LONG>> cases = {
      {0, 1, 1000, {0, 0, 240, 260, 500, 1000, 1000, 0, 1000, 0}},
      {1, 0, 2, {2, 2, 2, 1, 1, 0, 0, 0, 0, 2}},
      {0, 0, 5, {0, 0, 5, 5, 5, 5, 5, 0, 5, 0}}};
  for (const auto& [min, max, range, expectedPixels] : cases) {
    std::vector<LONG> pixels(in.size());
    CResampleTool::IntConversion(in.data(), n, min, max, pixels.data(), range);
    EXPECT_EQ(pixels, expectedPixels) << range;
    CResampleTool::IntConversion(nullptr, n, min, max, pixels.data(), 3);
    EXPECT_EQ(pixels, expectedPixels);
  }
  std::vector<unsigned char> bytes(in.size());
  CResampleTool::ByteConversion(in.data(), n, 0, 1, bytes.data(), 255);
  EXPECT_THAT(bytes, ElementsAre(0, 0, 61, 66, 128, 255, 255, 0, 255, 0));
}

TEST(ResampleBuffers, RowsStretch) {
  CResampleTool tool;
  EXPECT_ALL(tool.PZeile(0) == nullptr, !tool.Adjust2dPuffer(1ull << 40, 1ull << 40));
  ASSERT_TRUE(tool.Adjust1dPuffer(3));
  EXPECT_EQ(tool.Puffer1d()[2], 0.0f);
  ASSERT_TRUE(tool.Adjust2dPuffer(9, 2));
  EXPECT_ALL(tool.PZeile(9) == nullptr, tool.PPunkt(0, 2) == nullptr,
             tool.PPunkt(2, 1) == tool.PZeile(2) + 1);
  for (std::size_t nIn = 1; nIn <= 9; ++nIn) {
    for (std::size_t nOut = nIn; nOut <= 9; ++nOut) {
      const Samples column = Noise(nIn, 3), expected = Resample(column, nOut, RO_LinearUp);
      for (std::uint64_t i = 0; i < nIn; ++i) {
        *tool.PPunkt(i, 0) = column[i];
        *tool.PPunkt(i, 1) = -2.0f * column[i];
      }
      ASSERT_TRUE(tool.Interpol2dy(nIn, nOut));
      for (std::uint64_t j = 0; j < nOut; ++j) {
        EXPECT_NEAR(*tool.PPunkt(j, 0), expected[j], 1e-6) << nIn << " onto " << nOut;
        EXPECT_NEAR(*tool.PPunkt(j, 1), -2.0f * expected[j], 2e-6);
      }
    }
  }
  EXPECT_ALL(!tool.Interpol2dy(3, 10), !tool.Interpol2dy(0, 3), !tool.Interpol2dy(4, 3));
}

}  // namespace
