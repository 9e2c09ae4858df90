#include "umlauf/platform/vekta/QVL.h"

#include "platform/QVLKernels.h"
#include "support/Test.h"
#include "umlauf/platform/vekta/numeric.h"

namespace {

/// From none to more than four vectors, which have 64 lanes at most on ARM and 16 elsewhere, and longer ones.
std::vector<std::size_t> Lengths(std::vector<std::size_t> more = {}) {
  more.insert(more.end(), {127, 128, 129, 200, 1023, 1024, 1025, 2051});
  for (std::size_t n = 0; n <= 70; ++n) more.push_back(n);
  for (std::size_t n = 71; HWY_ARCH_ARM && n <= 260; n += 3) more.push_back(n);
  return more;
}
const std::vector<std::size_t> kLong{65536 + 70, 70001};  // walked at several places at once

/// Multiples of 1/4 in [-4, 4]: they tie often, and long sums of them and of their squares are exact in any
/// order.
void FillGrid(Exact<float>& x, std::size_t n, std::mt19937& random) {
  for (std::size_t i = 0; i < n; ++i) x[i] = static_cast<float>(static_cast<int>(random() % 33) - 16) / 4.0f;
}
/// Numbers of all digits, every eighth one out of the ordinary.
void FillWild(Exact<float>& x, std::size_t n, std::mt19937& random) {
  constexpr float special[] = {kNaN, -kNaN, kInf, -kInf, 0.0f, -0.0f, 1.0f, -1.0f, 1e30f, -1e30f, 1e-40f};
  std::uniform_real_distribution<float> digits(-2.0f, 2.0f);
  for (std::size_t i = 0; i < n; ++i)
    x[i] = random() % 8 == 0 ? special[random() % std::size(special)] : digits(random);
}

enum class Numbers { grid, wild, both };
const std::vector<std::size_t> kStrides{1, 2, 3, 4, 5, 8};

/// Calls `check(n, stride, x, y)` for the shapes of a kernel: each length and distance, on blocks x and y
/// that begin at different alignments and end with their last element.
template <class Check>
void ForShapes(std::mt19937& random, Numbers numbers, const std::vector<std::size_t>& strides,
               const std::vector<std::size_t>& lengths, Check check) {
  for (const std::size_t n : lengths) {
    for (const std::size_t stride : strides) {
      const std::size_t length = n == 0 ? 0 : (n - 1) * stride + 1;
      Exact<float> x(length, n % 3), y(length, (n + 1) % 3);
      const bool grid = numbers == Numbers::grid || (numbers == Numbers::both && n % 2 == 0);
      for (Exact<float>* each : {&x, &y}) (grid ? FillGrid : FillWild)(*each, length, random);
      ASSERT_NO_FATAL_FAILURE(check(n, stride, x, y)) << n << " by " << stride;
    }
  }
}

bool SameBits(float a, float b) {
  return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) ||
         (std::isnan(a) && std::isnan(b));
}
bool Equal(float a, float b) { return a == b || (std::isnan(a) && std::isnan(b)); }

INSTANTIATE_TEST_SUITE_P(On, QVLKernels, AllTargets(), TargetName);

TEST_P(QVLKernels, RangesFollowTheScalarRule) {
  const auto check = [](std::size_t n, std::size_t stride, auto& x, auto&) {
    float min = 77.0f, max = 78.0f, magnitude = 0.0f;
    std::size_t minIndex = 0, maxIndex = 0;
    for (std::size_t i = 0; i < n; ++i) {
      const float v = x[i * stride];
      if (i == 0) min = max = v;
      if (v < min) min = v, minIndex = i;
      if (v > max) max = v, maxIndex = i;
      if (std::fabs(v) > magnitude) magnitude = std::fabs(v);
    }
    float low = 77.0f, high = 78.0f;
    QVL::VectorMinMax(x.data(), n, stride, low, high);
    ASSERT_TRUE(Equal(low, min)) << low;
    ASSERT_TRUE(Equal(high, max)) << high;
    ASSERT_EQ(QVL::VectorMaxMagnitude(x.data(), n, stride), magnitude);
    if (stride > 1) return;
    std::size_t lowIndex = 99, highIndex = 99;
    QVL::VectorMinMaxIndex(x.data(), n, lowIndex, highIndex);
    EXPECT_ALL(lowIndex == minIndex, highIndex == maxIndex);
    if (n == 0) return;
    const QVL::Moments moments = QVL::VectorMoments(x.data(), n);
    EXPECT_ALL(Equal(moments.min, min), Equal(moments.max, max));
  };
  ForShapes(random_, Numbers::both, kStrides, Lengths(kLong), check);
}

TEST_P(QVLKernels, SumsAreExactWhereSinglePrecisionIs) {
  const auto check = [](std::size_t n, std::size_t stride, auto& x, auto& y) {
    float sum = 0, squares = 0, magnitudes = 0, dot = 0;
    for (std::size_t i = 0; i < n; ++i) {
      const float v = x[i * stride];
      sum += v;
      squares += v * v;
      magnitudes += std::fabs(v);
      dot += x[i] * y[i];
    }
    const float count = static_cast<float>(std::max<std::size_t>(n, 1));
    const float* p = x.data();
    EXPECT_ALL(
        QVL::VectorSum(p, n, stride) == sum, QVL::VectorSumSquares(p, n, stride) == squares,
        QVL::VectorSumMagnitudes(p, n, stride) == magnitudes, QVL::VectorMean(p, n, stride) == sum / count,
        QVL::VectorMeanSquare(p, n, stride) == squares / count,
        QVL::VectorMeanMagnitude(p, n, stride) == magnitudes / count, QVL::DotProduct(p, y.data(), n) == dot);
    if (n == 0 || stride > 1) return;
    const QVL::Moments moments = QVL::VectorMoments(p, n);
    EXPECT_ALL(moments.sum == sum, moments.sumSquares == squares);
  };
  ForShapes(random_, Numbers::grid, kStrides, Lengths(kLong), check);
}

TEST_P(QVLKernels, LongSumsStayAccurate) {
  const std::size_t n = (1u << 20) + 7;
  Exact<float> x(n, 0);
  std::uniform_real_distribution<float> digits(0.0f, 1.0f);
  double sum = 0, squares = 0;
  for (std::size_t i = 0; i < n; ++i) {
    x[i] = digits(random_);
    sum += double(x[i]);
    squares += double(x[i]) * double(x[i]);
  }
  const QVL::Moments moments = QVL::VectorMoments(x.data(), n);
  for (const float value : {QVL::VectorSum(x.data(), n), moments.sum})
    EXPECT_NEAR(double(value) / sum, 1, 1e-5);
  for (const float value :
       {QVL::VectorSumSquares(x.data(), n), moments.sumSquares, QVL::DotProduct(x.data(), x.data(), n)}) {
    EXPECT_NEAR(double(value) / squares, 1, 1e-5);
  }
}

TEST(QVL, MeansOfOneOfManyChannelsKeepTheirDigits) {
  constexpr std::size_t frames = 10'000'000;
  std::vector<float> x(2 * frames);
  double sum = 0, squares = 0;
  for (std::size_t i = 0; i < frames; ++i) {
    x[2 * i] = 1500.0f + static_cast<float>(i % 1025) / 1000.0f;
    sum += double(x[2 * i]);
    squares += double(x[2 * i]) * double(x[2 * i]);
  }
  EXPECT_NEAR(double(QVL::VectorMean(x.data(), frames, 2)), sum / frames, 1e-3);
  EXPECT_NEAR(double(QVL::VectorMeanMagnitude(x.data(), frames, 2)), sum / frames, 1e-3);
  EXPECT_NEAR(double(QVL::VectorMeanSquare(x.data(), frames, 2)), squares / frames, 1.0);
}

TEST_P(QVLKernels, LevelsAddAsPowers) {
  const Cases<std::vector<float>, std::size_t, float> cases = {{{}, 1, 0.0f},
                                                               {{-3.5f}, 1, -3.5f},
                                                               {{60, 60}, 1, 63.0103f},
                                                               {{90, 80, kNaN, 70}, 3, 90.0432f},
                                                               {{5000, 5000, -kInf}, 1, 5003.0103f},
                                                               {{-5000, -5000}, 1, -4996.9897f},
                                                               {{-kInf, -kInf}, 1, -kInf},
                                                               {{1, kInf}, 1, kInf},
                                                               {{1, kNaN}, 1, kNaN}};
  for (const auto& [levels, stride, sum] : cases) {
    const float level = QVL::VectorLogSum(levels.data(), (levels.size() + stride - 1) / stride, stride);
    EXPECT_TRUE(Equal(level, sum) || std::fabs(level - sum) < 1e-3f) << level << " for " << sum;
  }
}

constexpr float kA = 0.3f, kB = -1.7f;  // their products round
const struct {
  const char* name;
  void (*run)(float* out, const float* a, const float* b, std::size_t n);
  float (*expected)(float a, float b);
  bool addsToOut;  // out holds b on entry
} kElementwise[] = {
    {"Fill", [](auto* o, auto*, auto*, auto n) { QVL::FillFloat(o, n, kA); }, [](float, float) { return kA; },
     false},
    {"AddFloat", [](auto* o, auto* a, auto*, auto n) { QVL::AddFloat(o, a, n, kA); },
     [](float a, float) { return a + kA; }, false},
    {"MulFloat", [](auto* o, auto* a, auto*, auto n) { QVL::MulFloat(o, a, n, kA); },
     [](float a, float) { return a * kA; }, false},
    {"Add", QVL::AddVectors, [](float a, float b) { return a + b; }, false},
    {"Sub", QVL::SubVectors, [](float a, float b) { return a - b; }, false},
    {"Mul", QVL::MulVectors, [](float a, float b) { return a * b; }, false},
    {"Maximize", QVL::MaximizeVectors, [](float a, float b) { return a > b ? a : b; }, false},
    {"Minimize", QVL::MinimizeVectors, [](float a, float b) { return a < b ? a : b; }, false},
    {"WeightedSum", [](auto* o, auto* a, auto* b, auto n) { QVL::VectorWeightedSum(o, a, kA, b, kB, n); },
     [](float a, float b) { return a * kA + b * kB; }, false},
    {"AddScaled", [](auto* o, auto* a, auto*, auto n) { QVL::AddScaled(o, a, kA, n); },
     [](float a, float b) { return b + a * kA; }, true},
    {"AddSquares", [](auto* o, auto* a, auto*, auto n) { QVL::AddSquares(o, a, kB, n); },
     [](float a, float b) { return b + (a * a) * kB; }, true},
    {"Abs", [](auto* o, auto* a, auto*, auto n) { QVL::AbsVector(o, a, n); },
     [](float a, float) { return std::fabs(a); }, false},
    {"Square", [](auto* o, auto* a, auto*, auto n) { QVL::SquareVector(o, a, n); },
     [](float a, float) { return a * a; }, false},
    {"Sqrt", [](auto* o, auto* a, auto*, auto n) { QVL::SqrtVector(o, a, n); },
     [](float a, float) { return a <= 0.0f ? 0.0f : std::sqrt(a); }, false},
    {"ClipUpper", [](auto* o, auto* a, auto*, auto n) { QVL::ClipUpper(o, a, n, 0.0f); },
     [](float a, float) { return a >= 0.0f ? 0.0f : a; }, false},
    {"ClipLower", [](auto* o, auto* a, auto*, auto n) { QVL::ClipLower(o, a, n, 0.0f); },
     [](float a, float) { return a <= 0.0f ? 0.0f : a; }, false},
};

TEST_P(QVLKernels, ElementsEqualTheScalarLoopToTheBitAlsoInPlace) {
  for (const auto& function : kElementwise) {
    ForShapes(random_, Numbers::wild, {1}, Lengths(), [&](std::size_t n, std::size_t, auto& a, auto& b) {
      Exact<float> out(n, (n + 2) % 3);
      const auto oldA = a.copy(), oldB = b.copy();
      if (function.addsToOut) std::copy_n(b.data(), n, out.data());
      function.run(out.data(), a.data(), b.data(), n);
      if (!function.addsToOut) function.run(a.data(), a.data(), b.data(), n);
      for (std::size_t i = 0; i < n; ++i) {
        const float expected = function.expected(oldA[i], oldB[i]);
        ASSERT_TRUE(SameBits(out[i], expected)) << function.name << " " << i << " of " << n << ": " << out[i];
        ASSERT_TRUE(function.addsToOut || SameBits(a[i], expected)) << function.name << " in place";
      }
    });
  }
  float negative[] = {-kNaN, -0.0f, -kInf};
  QVL::AbsVector(negative, negative, 3);
  for (const float x : negative) EXPECT_FALSE(std::signbit(x));
}

// Calls that pass over 64 MB write around the caches: from where the output is aligned to where it ends.
TEST_P(QVLKernels, ComplexNumbersEqualTheScalarLoopToTheBit) {
  for (const std::size_t n : Lengths()) {
    Exact<float> a(2 * n, n % 3), b(2 * n, (n + 1) % 3), powers(n, 1), sums(n, 2), crosses(2 * n, 1),
        products(2 * n, 0);
    for (auto* x : {&a, &b, &crosses}) FillWild(*x, 2 * n, random_);
    FillWild(sums, n, random_);
    const auto oldSums = sums.copy(), oldCrosses = crosses.copy();
    QVL::ComplexPowers(powers.data(), a.data(), n, kA);
    QVL::AddComplexPowers(sums.data(), a.data(), n);
    QVL::AddCrossPowers(crosses.data(), a.data(), b.data(), n);
    QVL::MulComplex(products.data(), a.data(), b.data(), n);
    for (std::size_t i = 0; i < n; ++i) {
      const float ar = a[2 * i], ai = a[2 * i + 1], br = b[2 * i], bi = b[2 * i + 1];
      ASSERT_TRUE(SameBits(powers[i], (ar * ar + ai * ai) * kA)) << i << " of " << n;
      ASSERT_TRUE(SameBits(sums[i], oldSums[i] + (ar * ar + ai * ai))) << i << " of " << n;
      ASSERT_TRUE(SameBits(crosses[2 * i], oldCrosses[2 * i] + (ar * br + ai * bi))) << i << " of " << n;
      ASSERT_TRUE(SameBits(crosses[2 * i + 1], oldCrosses[2 * i + 1] + (ar * bi - ai * br)))
          << i << " of " << n;
      ASSERT_TRUE(SameBits(products[2 * i], ar * br - ai * bi)) << i << " of " << n;
      ASSERT_TRUE(SameBits(products[2 * i + 1], ar * bi + ai * br)) << i << " of " << n;
    }
    QVL::MulComplex(a.data(), a.data(), b.data(), n);
    for (std::size_t i = 0; i < 2 * n; ++i) ASSERT_TRUE(SameBits(a[i], products[i])) << "in place";
  }
}

struct Number {
  float re, im;
  Number operator+(Number b) const { return {re + b.re, im + b.im}; }
  Number operator-(Number b) const { return {re - b.re, im - b.im}; }
  Number operator*(Number b) const { return {re * b.re - im * b.im, re * b.im + im * b.re}; }
  Number TimesMinusJ() const { return {im, -re}; }
  Number Half() const { return {0.5f * re, 0.5f * im}; }
  Number Conjugate() const { return {re, -im}; }
};

TEST_P(QVLKernels, StepsOfTransformsEqualTheScalarLoopToTheBit) {
  for (const std::size_t n : Lengths()) {
    if (n == 0) continue;
    Exact<float> x(8 * n, n % 3), twiddles(6 * n, (n + 1) % 3), out(2 * n + 2, 1);
    FillWild(x, 8 * n, random_);
    FillWild(twiddles, 6 * n, random_);
    const auto old = x.copy();
    const auto number = [](auto& from, std::size_t i) { return Number{from[2 * i], from[2 * i + 1]}; };
    const auto check = [&](auto& result, std::size_t i, Number expected, const char* what) {
      ASSERT_TRUE(SameBits(result[2 * i], expected.re) && SameBits(result[2 * i + 1], expected.im))
          << what << " " << i << " of " << n;
    };
    QVL::SplitTransform(out.data(), x.data(), twiddles.data(), n);
    check(out, 0, {old[0] + old[1], 0.0f}, "split");
    check(out, n, {old[0] - old[1], 0.0f}, "split");
    for (std::size_t k = 1; 2 * k < n; ++k) {
      const Number a = number(old, k), b = number(old, n - k).Conjugate();
      const Number sum = a + b, turned = (a - b) * number(twiddles, k);
      check(out, k, (sum + turned).Half(), "split");
      check(out, n - k, (sum - turned).Half().Conjugate(), "split");
    }
    if (n % 2 == 0) check(out, n / 2, number(old, n / 2).Conjugate(), "split");
    QVL::CombineTransforms(x.data(), twiddles.data(), n);
    for (std::size_t k = 0; k < n; ++k) {
      const Number a = number(old, k), b = number(old, n + k) * number(twiddles, k);
      const Number c = number(old, 2 * n + k) * number(twiddles, n + k);
      const Number d = number(old, 3 * n + k) * number(twiddles, 2 * n + k);
      check(x, k, (a + c) + (b + d), "combined");
      check(x, n + k, (a - c) + (b - d).TimesMinusJ(), "combined");
      check(x, 2 * n + k, (a + c) - (b + d), "combined");
      check(x, 3 * n + k, (a - c) - (b - d).TimesMinusJ(), "combined");
    }
  }
}

TEST_P(QVLKernels, VeryLongResultsAreComplete) {
  constexpr std::size_t million = 1u << 20;
  std::vector<float> in(13 * million), out(16 * million + 8);
  for (std::size_t i = 0; i < in.size(); ++i) in[i] = static_cast<float>(i % 1021);
  const auto check = [&](const float* result, std::size_t n, std::size_t stride, float added) {
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < n; ++i) wrong += result[i] != in[i * stride] + added;
    EXPECT_EQ(wrong, 0u) << "stride " << stride;
    EXPECT_ALL(result[-1] == -7.0f, result[n] == -7.0f);
  };
  const struct {
    std::size_t stride, n, offset;
  } copies[] = {{1, 8 * million + 5, 1}, {2, 6 * million + 1, 3}, {3, 4 * million + 305000, 6}};
  for (const auto [stride, n, offset] : copies) {
    out[offset - 1] = out[offset + n] = -7.0f;
    QVL::Interleave(out.data() + offset, 1, in.data(), stride, n);
    check(out.data() + offset, n, stride, 0.0f);
    if (stride > 1) continue;
    QVL::AddFloat(out.data() + offset, in.data(), n, 1.0f);
    check(out.data() + offset, n, 1, 1.0f);
  }
  for (const auto& [from, to] : {std::pair{5u, 1u}, {1u, 2u}, {3u, 4u}, {1u, 300u}}) {
    const std::size_t n = (to == 300 ? million / 20 : 2 * million) + 7;
    std::fill(out.begin(), out.end(), -7.0f);
    QVL::Interleave(out.data(), to, in.data(), from, n);
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < n; ++i) wrong += out[i * to] != in[i * from];
    EXPECT_EQ(wrong, 0u) << "from " << from << " to " << to;
    EXPECT_EQ(std::count(out.begin(), out.end(), -7.0f), static_cast<std::ptrdiff_t>(out.size() - n)) << to;
  }
  QVL::FillFloat(out.data() + 1, 16 * million + 6, 2.0f);
  EXPECT_EQ(std::count(out.begin(), out.end(), 2.0f), 16 * million + 6);
}

TEST_P(QVLKernels, ReverseTurnsTheOrder) {
  ForShapes(random_, Numbers::grid, {1}, Lengths(), [](std::size_t n, std::size_t, auto& x, auto&) {
    auto expected = x.copy();
    std::reverse(expected.begin(), expected.end());
    QVL::ReverseVector(x.data(), n);
    ASSERT_EQ(x.copy(), expected);
  });
}

template <class T>
void CheckCopies() {
  for (const std::size_t n : Lengths()) {
    for (const std::size_t from : {1u, 2u, 3u, 4u, 5u, 8u, 32u}) {
      for (const std::size_t to : {1u, 2u, 3u, 4u, 8u, 32u}) {
        Exact<T> in(n == 0 ? 0 : (n - 1) * from + 1, n % 3), out(n == 0 ? 0 : (n - 1) * to + 1, (n + 1) % 3);
        for (std::size_t i = 0; n > 0 && i <= (n - 1) * from; ++i) in[i] = static_cast<T>(i + 1);
        std::fill_n(out.data(), out.copy().size(), static_cast<T>(-5));  // what lies between stays
        auto expected = out.copy();
        for (std::size_t i = 0; i < n; ++i) expected[i * to] = in[i * from];
        QVL::Interleave(out.data(), to, in.data(), from, n);
        ASSERT_EQ(out.copy(), expected) << n << " from " << from << " to " << to;
      }
    }
  }
}

TEST_P(QVLKernels, StridedCopiesTouchOnlyTheirElements) {
  CheckCopies<float>();
  CheckCopies<std::int32_t>();
  CheckCopies<std::uint32_t>();
  CheckCopies<std::int16_t>();
}

TEST_P(QVLKernels, BytesWrapAndNaNIsTheLowestInteger) {
  ForShapes(random_, Numbers::wild, {1}, Lengths(), [](std::size_t n, std::size_t, auto& x, auto& back) {
    Exact<std::uint8_t> bytes(n, n % 5);
    const float lo = -0.75f, factor = n % 2 == 0 ? 0.4f : 4.0f, step = 0.3f;
    QVL::QuantizeBytes(bytes.data(), x.data(), n, lo, factor);
    QVL::DequantizeBytes(back.data(), bytes.data(), n, step, lo);
    for (std::size_t i = 0; i < n; ++i) {
      const std::int32_t whole = numeric::trunc_sat<std::int32_t>((x[i] - lo) * factor * 255.0f + 0.5f);
      ASSERT_EQ(bytes[i], static_cast<std::uint8_t>(whole & 255)) << x[i] << " " << i << " of " << n;
      ASSERT_EQ(back[i], static_cast<float>(bytes[i]) * step + lo) << i;
    }
  });
}

TEST_P(QVLKernels, PackedIntegersBecomeFloats) {
  for (const unsigned size : {2u, 3u, 4u}) {
    for (const std::size_t n : Lengths()) {
      Exact<std::uint8_t> bytes(n * size, n % 7);
      for (std::size_t i = 0; i < n * size; ++i) bytes[i] = static_cast<std::uint8_t>(random_());
      Exact<float> out(n, n % 3);
      QVL::WidenIntegers(out.data(), bytes.data(), n, size, 0.3f);
      for (std::size_t i = 0; i < n; ++i) {
        std::int64_t value = 0;
        for (unsigned k = 0; k < size; ++k) value |= std::int64_t{bytes[i * size + k]} << (8 * k);
        if (bytes[i * size + size - 1] >= 128) value -= std::int64_t{1} << (8 * size);
        ASSERT_EQ(out[i], static_cast<float>(value) * 0.3f) << i << " of " << n << ", " << size << " bytes";
      }
    }
  }
}

TEST_P(QVLKernels, MasksHaveOneBitASample) {
  const struct {
    float upper, lower;
  } thresholds[] = {{1.0f, -1.0f}, {-1.0f, 1.0f}, {kInf, -kInf}, {-kInf, kInf}, {0.0f, -0.0f}, {kNaN, 1.0f}};
  for (const std::size_t n : Lengths()) {
    for (const auto [upper, lower] : thresholds) {
      Exact<float> x(n, n % 3);
      FillWild(x, n, random_);
      const std::size_t words = (n + 63) / 64;
      Exact<std::uint64_t> above(words, 0), below(words, 0);
      QVL::ThresholdMasks(x.data(), n, upper, lower, above.data(), below.data());
      for (std::size_t i = 0; i < 64 * words; ++i) {
        const bool over = i < n && x[i] > upper, under = i < n && lower > x[i];
        ASSERT_EQ(above[i / 64] >> (i % 64) & 1, over) << i << " of " << n;
        ASSERT_EQ(below[i / 64] >> (i % 64) & 1, under) << i << " of " << n;
      }
    }
  }
}

TEST_P(QVLKernels, FindsThePlacesOfBits) {
  for (const unsigned share : {0u, 1u, 16u, 255u}) {  // of 256 bits
    std::vector<std::uint64_t> words(33);
    std::vector<std::uint16_t> expected;
    for (std::size_t i = 0; i < 64 * words.size(); ++i) {
      if (random_() % 256 > share) continue;
      words[i / 64] |= std::uint64_t{1} << (i % 64);
      expected.push_back(static_cast<std::uint16_t>(i));
    }
    Exact<std::uint16_t> places(expected.size() + 3, 0);
    ASSERT_EQ(QVL::SetBits(words.data(), words.size(), places.data()), expected.size());
    std::vector<std::uint16_t> found = places.copy();
    found.resize(expected.size());
    EXPECT_EQ(found, expected);
  }
}

TEST_P(QVLKernels, CountsEqualElements) {
  const auto check = [](std::size_t n, std::size_t, auto& x, auto&) {
    for (const float value : {0.0f, -0.0f, 2.25f, kInf, kNaN}) {
      ASSERT_EQ(QVL::CountEqual(x.data(), n, value),
                static_cast<std::size_t>(std::count(x.data(), x.data() + n, value)))
          << value << " in " << n;
    }
  };
  ForShapes(random_, Numbers::both, {1}, Lengths(kLong), check);
}

}  // namespace
