#include "umlauf/typed/Signalieee32.h"

#include "support/Test.h"
#include "typed/TypedTestSupport.h"

namespace {

CSignalieee32 Signal(std::uint32_t coding, std::vector<std::uint32_t> lengths, unsigned channels,
                     const std::vector<float>& samples) {
  CSignalieee32 signal(Described(coding, lengths, channels));
  EXPECT_ALL(signal.elements() == samples.size(), signal.assign_buffer(samples.data()));
  return signal;
}

TEST(Signalieee32, Statistics) {
  // channels (1, -2, 3) and (-4, 0, 2)
  const CSignalieee32 s = Signal(1, {3}, 2, {1, -4, -2, 0, 3, 2});
  EXPECT_ALL(s.Sum() == 0.0f, s.SumSquares() == 34.0f, s.MaxMagnitude() == 4.0f);
  EXPECT_FLOAT_EQ(s.MeanMagnitude(), 2.0f);
  EXPECT_THAT(s.YRange(), Pair(-4.0f, 3.0f));
  const auto first = s.begin(0, 0), last = s.end(0, 0);
  EXPECT_ALL(s.Sum(first, last) == 2.0f, s.SumSquares(first, last) == 14.0f);
  EXPECT_FLOAT_EQ(s.Mean(first, last), 2.0f / 3);
  EXPECT_FLOAT_EQ(s.MeanSquare(first, last), 14.0f / 3);
  EXPECT_FLOAT_EQ(s.RMS(first, last), std::sqrt(14.0f / 3));
  EXPECT_FLOAT_EQ(s.MeanMagnitude(first, last), 2.0f);
  EXPECT_EQ(s.MaxMagnitude(first, last), 3.0f);
  EXPECT_THAT(s.YRange(first, last), Pair(-2.0f, 3.0f));
  EXPECT_THAT(s.YRange(s.begin(0, 1), s.end(0, 1)), Pair(-4.0f, 2.0f));
  EXPECT_EQ(s.Sum(first + 1, last - 1), -2.0f);
}

TEST(Signalieee32, RangesThatAreNotInTheBlockAreCutOrEmpty) {
  const CSignalieee32 s = Signal(2, {2}, 3, {1, 2, 4, 8, 16, 32});
  const CSignalieee32 other(s), none;
  EXPECT_EQ(s.Sum(s.begin(0, 1), s.end(0, 1)), 60.0f);  // up to the end of the block
  EXPECT_ALL(s.Sum(s.begin(0, 2) + 1, s.end(0, 2)) == 32.0f, s.Sum(s.begin(0, 3), s.end(0, 3)) == 0.0f,
             s.Sum(s.begin() - 1, s.end()) == 0.0f, s.Sum(s.begin() + 2, s.begin() + 1) == 0.0f,
             s.Sum(other.begin(), other.end()) == 0.0f,
             none.Sum() + none.RMS() + none.MeanMagnitude() + none.MaxMagnitude() == 0.0f);
  EXPECT_THAT(none.YRange(), Pair(0.0f, 0.0f));
}

TEST(Signalieee32, TakesOverATypedSignal) {
  const CTypedSignal<float> typed = Signal(1, {3}, 2, {1, -4, -2, 0, 3, 2});
  CSignalieee32 s;
  s = typed;
  EXPECT_ALL(s.SumSquares() == 34.0f, s.Description() == typed.Description());
}

TEST(Signalieee32, OperationsInPlace) {
  using S = CSignalieee32;
  const S other = Signal(1, {1}, 3, {2, -9, 30});  // shorter: the last sample has no partner
  const std::vector<float> before{4, -9, 16, -1};
  const Cases<const char*, void (*)(S&, const S&), std::vector<float>> cases = {
      {"AbsoluteVal", [](S& s, const S&) { s.AbsoluteVal(); }, {4, 9, 16, 1}},
      {"Square", [](S& s, const S&) { s.Square(); }, {16, 81, 256, 1}},
      {"SquareRoot", [](S& s, const S&) { s.SquareRoot(); }, {2, 0, 4, 0}},
      {"=", [](S& s, const S&) { s = 7.0f; }, {7, 7, 7, 7}},
      {"*=", [](S& s, const S&) { s *= 2.0f; }, {8, -18, 32, -2}},
      {"/=", [](S& s, const S&) { s /= 4.0f; }, {1, -2.25f, 4, -0.25f}},
      {"/= 0", [](S& s, const S&) { s /= 0.0f; }, before},
      {"+=", [](S& s, const S& o) { s += o; }, {6, -18, 46, -1}},
      {"-=", [](S& s, const S& o) { s -= o; }, {2, 0, -14, -1}},
      {"Maximize", [](S& s, const S& o) { s.Maximize(o); }, {4, -9, 30, -1}},
      {"Minimize", [](S& s, const S& o) { s.Minimize(o); }, {2, -9, 16, -1}},
      {"WeightedSum", [](S& s, const S& o) { s.WeightedSum(o, 2, 3); }, {14, -45, 122, -1}},
      {"ranges",
       [](S& s, const S&) {
         s.Scale(s.begin(0, 1), s.end(0, 1), 2).AbsoluteVal(s.begin() + 3, s.end());
         s.Fill(s.begin(), s.begin() + 1, 5).SquareRoot(s.begin(0, 0) + 1, s.end(0, 0));
       },
       {5, -18, 4, 2}}};
  for (const auto& [name, apply, after] : cases) {
    S signal = Signal(1, {2}, 2, before);
    apply(signal, other);
    EXPECT_EQ(Samples(signal), after) << name;
  }
}

TEST(Signalieee32, StridedOperationsCoverLongRanges) {
  CSignalieee32 s(Described(1, {3001}, 3));
  (s = -2.0f).Square(s.begin(0, 1), s.end(0, 1));
  EXPECT_ALL(s.Sum(s.begin(0, 1), s.end(0, 1)) == 4.0f * 3001, s.Sum() == 0.0f);
}

TEST(Signalieee32, TransposesSamplesAndDescriptions) {
  const std::vector<std::uint32_t> shapes[] = {{3, 2},      {1, 5},   {7, 3, 4}, {2, 2, 2, 2}, {300, 5},
                                               {5, 300, 2}, {70, 40}, {0, 3},    {6},          {}};
  for (const std::uint32_t coding : {1u, 2u}) {
    for (const auto& lengths : shapes) {
      auto source = Counting<CSignalieee32>(Described(coding, lengths, 3));
      CSignalieee32 result;
      const ULONG id = result.id();
      ASSERT_TRUE(result.MakeTransposedOf(source));
      EXPECT_EQ(result.id(), id);
      ASSERT_EQ(result.elements(), source.elements());
      const bool swaps = lengths.size() > 1;
      if (swaps) {
        EXPECT_EQ(result.Description().X(0).Len(), lengths[1]);
        EXPECT_EQ(result.Description().X(1).Len(), lengths[0]);
      }
      const std::uint64_t width = coding == 1 ? 3 : 1, n0 = swaps ? lengths[0] : 1,
                          n1 = swaps ? lengths[1] : 1;
      for (std::uint64_t at = 0; at < source.elements(); ++at) {
        const std::uint64_t k = at % width, i = at / width % n0, j = at / width / n0 % n1;
        const std::uint64_t to = (at / width / n0 / n1 * n0 * n1 + i * n1 + j) * width + k;
        ASSERT_EQ(result.data()[to], source.data()[at]) << at;
      }
      ASSERT_TRUE(source.MakeTransposedOf(source));
      EXPECT_EQ(Samples(source), Samples(result));
    }
  }
}

TEST(Signalieee32, DemuxAllAndMuxAreInverse) {
  for (const unsigned channels : {1u, 2u, 3u, 8u, 32u}) {
    for (const std::uint32_t frames : {1u, 7u, 1000u}) {
      const auto source = Counting<CSignalieee32>(Described(1, {frames}, channels));
      std::vector<CTypedSignal<float>> parts(channels);
      ASSERT_TRUE(source.demux(parts.data(), true));
      for (unsigned c = 0; c < channels; ++c) {
        CTypedSignal<float> part;
        ASSERT_TRUE(source.demux(c, part, true));
        ASSERT_EQ(Samples(parts[c]), Samples(part)) << c;
        ASSERT_EQ(parts[c].Description().Y(0).AppSigId(), 100 + static_cast<int>(c));
      }
      CSignalieee32 back(source.Description());
      ASSERT_TRUE(back.mux(parts.data()));
      EXPECT_EQ(Samples(back), Samples(source));
    }
  }
}

TEST(Signalieee32, DemuxAllTakesBlockedSamplesAsInterleavedAndCutsToTheRoom) {
  auto source = Counting<CSignalieee32>(Described(2, {4}, 2));
  CSignalieee32 parts[] = {CSignalieee32(), CSignalieee32(Described(1, {3}, 1))};
  EXPECT_ALL(source.demux(parts, false), parts[0].elements() == 0u);
  EXPECT_THAT(Samples(parts[1]), ElementsAre(1, 3, 5));
  EXPECT_FALSE(source.mux(parts));  // not interleaved
  parts[0] = source;
  EXPECT_TRUE(parts[0].demux(parts, true));  // into itself
  EXPECT_THAT(Samples(parts[0]), ElementsAre(0, 2, 4, 6));
  EXPECT_THAT(Samples(parts[1]), ElementsAre(1, 3, 5, 7));
  parts[1].Description() = Described(1, {2}, 2);
  EXPECT_FALSE(parts[1].mux(parts));  // one of its sources
}

}  // namespace
