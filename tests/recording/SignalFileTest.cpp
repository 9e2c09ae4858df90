#include "umlauf/recording/SignalFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/platform/framework/CMemFile.h"
#include "umlauf/signal/SigCurveExt.h"

namespace {

constexpr float kSamples[] = {-1.0f, 0.1f, 3.0f, 1e-7f, 2.5f};

void Describe(CSignal& signal) {
  signal.SetName(L"Drehzahl");
  signal.SetXUnit(CString(L"s"));
  signal.SetYUnit(CString(L"rpm"));
}

template <class Curve>
Curve& Fill(Curve& curve) {
  std::copy(std::begin(kSamples), std::end(kSamples), curve.FData());
  curve.SetXMinMax(1, 3.5f);
  Describe(curve);
  return curve;
}

std::vector<std::byte> Written(const CSignal& signal,
                               CSignalFile::Samples samples = CSignalFile::Samples::exact) {
  CMemFile bytes;
  CSignalFile file;
  EXPECT_TRUE(file.Write(signal, bytes, samples)) << file.Failure().ToUtf8();
  return {bytes.Bytes().begin(), bytes.Bytes().end()};
}

std::unique_ptr<CSignal> Read(const std::vector<std::byte>& bytes, std::string* failure = nullptr) {
  CMemFile memory{bytes};
  CSignalFile file;
  std::unique_ptr<CSignal> signal = file.Read(memory);
  EXPECT_EQ(signal == nullptr, !file.Failure().IsEmpty());
  if (failure != nullptr) *failure = file.Failure().ToUtf8();
  return signal;
}

TEST(SignalFile, EveryKindComesBackAsItWas) {
  CSigCurve curve(5);
  CSigCurveExt extended(5);
  CSigPairs pairs;
  for (const float x : kSamples) pairs.NeuesPaar(x, 2 * x);
  Describe(pairs);
  Fill(extended).SetVIMinMax(1, 3);
  const CSignal* const signals[] = {&Fill(curve), &extended, &pairs};
  for (const CSignal* signal : signals) {
    const auto back = Read(Written(*signal));
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->SigId(), signal->SigId());
    EXPECT_STREQ(back->Name(), L"Drehzahl");
    EXPECT_EQ(back->YUnit().prefixunit(false), CString(L"rpm"));
    EXPECT_EQ(Written(*back), Written(*signal));
  }
  const auto back = Read(Written(extended));
  EXPECT_EQ(dynamic_cast<CSigCurveExt&>(*back).IMax(), 3);
}

TEST(SignalFile, SamplesAreExactUnlessQuantisationIsAskedFor) {
  for (const bool flag : {true, false}) {
    CSigCurve curve(5);
    Fill(curve).SetFileCompression(flag);
    const auto exact = Read(Written(curve));
    EXPECT_TRUE(
        std::equal(std::begin(kSamples), std::end(kSamples), static_cast<CSigCurve&>(*exact).FData()));
    const auto coarse = Read(Written(curve, CSignalFile::Samples::quantised));
    EXPECT_TRUE(static_cast<CSigCurve&>(*coarse).FileCompression());
    EXPECT_NEAR(static_cast<CSigCurve&>(*coarse).FData()[1], 0.1f, 4.0f / 255);
    EXPECT_EQ(curve.FileCompression(), flag);
  }
}

TEST(SignalFile, WhatIsNotWholeIsRefused) {
  CSigPairs pairs;
  pairs.NeuesPaar(1, 2);
  pairs.NeuesPaar(3, 4);
  CSigCurve curve(5);
  for (const auto& bytes :
       {Written(pairs), Written(Fill(curve)), Written(curve, CSignalFile::Samples::quantised)}) {
    for (std::size_t n = 0; n < bytes.size(); ++n) {
      EXPECT_EQ(Read({bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(n)}), nullptr) << n;
    }
    auto longer = bytes;
    longer.push_back(std::byte{0});
    EXPECT_EQ(Read(longer), nullptr);
  }
  const struct {
    std::size_t at;
    const char* failure;
  } cases[] = {
      {0, "no signal file"}, {8, "container version"}, {12, "of type"}, {16, "damaged"}, {24, "damaged"}};
  for (const auto& c : cases) {
    auto bytes = Written(pairs);
    bytes[c.at] = std::byte{77};
    std::string failure;
    EXPECT_EQ(Read(bytes, &failure), nullptr) << c.at;
    EXPECT_NE(failure.find(c.failure), std::string::npos) << failure;
  }
}

/// A pipe does not know its length, a full disk takes so many bytes.
class OddFile : public CMemFile {
 public:
  using CMemFile::CMemFile;
  std::size_t room = SIZE_MAX;
  bool pipe = false;
  std::uint64_t GetLength() const override { return pipe ? 0 : CMemFile::GetLength(); }
  std::size_t Read(void* buffer, std::size_t count) override {
    const std::size_t n = std::min({count, std::size_t{7}, Bytes().size() - at_});
    std::copy_n(Bytes().data() + at_, n, static_cast<std::byte*>(buffer));
    at_ += n;
    return n;
  }
  void Write(const void* buffer, std::size_t count) override {
    if (Bytes().size() + count > room) SetFailed(true);
    if (!Failed()) CMemFile::Write(buffer, count);
  }

 private:
  std::size_t at_ = 0;
};

TEST(SignalFile, WorksWithPipesAndTellsOfFullDisks) {
  CSigCurve curve(5);
  const std::vector<std::byte> bytes = Written(Fill(curve));
  OddFile pipe{bytes};
  pipe.pipe = true;
  CSignalFile file;
  const auto back = file.Read(pipe);
  ASSERT_NE(back, nullptr) << file.Failure().ToUtf8();
  EXPECT_EQ(Written(*back), bytes);
  for (std::size_t room = 0; room < bytes.size(); ++room) {
    OddFile full;
    full.room = room;
    EXPECT_FALSE(file.Write(curve, full)) << room;
    EXPECT_FALSE(file.Failure().IsEmpty());
  }
  EXPECT_FALSE(file.Write(curve, CString(L"/no such folder/x.usig")));
  EXPECT_EQ(file.Read(CString(L"/no such folder/x.usig")), nullptr);
  EXPECT_FALSE(CSignalFile::IsOne(CString(L"/no such folder/x.usig")));
}

}  // namespace
