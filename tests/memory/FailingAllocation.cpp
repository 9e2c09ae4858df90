#include "FailingAllocation.h"

#include <atomic>
#include <new>

#include "support/Test.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace {

constexpr long kNever = -1, kSpent = -2;
std::atomic<long> g_untilFailure = kNever;
std::atomic<bool> g_onlyOne = false;  // later allocations succeed again
std::atomic<long> g_live = 0;

bool Fails() {
  const long left = g_untilFailure;
  if (left == kNever) return false;
  if (left > 0) {
    --g_untilFailure;
    return false;
  }
  if (g_onlyOne) g_untilFailure = kSpent;
  return left == 0;
}

void* Allocate(std::size_t bytes, std::size_t alignment) {
  if (Fails()) return nullptr;
  void* const block =
      std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment + alignment);
  if (block != nullptr) ++g_live;
  return block;
}

void* OrThrow(void* block) { return block != nullptr ? block : throw std::bad_alloc(); }

void Free(void* block) {
  if (block != nullptr) --g_live;
  std::free(block);
}

constexpr std::size_t kPlain = alignof(std::max_align_t);

}  // namespace

void* operator new(std::size_t n) { return OrThrow(Allocate(n, kPlain)); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return Allocate(n, kPlain); }
void* operator new[](std::size_t n) { return OrThrow(Allocate(n, kPlain)); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return Allocate(n, kPlain); }
void* operator new(std::size_t n, std::align_val_t a) {
  return OrThrow(Allocate(n, static_cast<std::size_t>(a)));
}
void* operator new(std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept {
  return Allocate(n, static_cast<std::size_t>(a));
}
void operator delete(void* p) noexcept { Free(p); }
void operator delete(void* p, std::size_t) noexcept { Free(p); }
void operator delete(void* p, std::align_val_t) noexcept { Free(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { Free(p); }
void operator delete[](void* p) noexcept { Free(p); }
void operator delete[](void* p, std::size_t) noexcept { Free(p); }

void EveryAllocationFails(const std::function<void()>& use) {
  const PrWin::Sink before = PrWin::SetSink([](int, int, const CString&) {});
  use();  // what is made once is there
  long allocations = 0;
  for (const bool onlyOne : {false, true}) {
    g_onlyOne = onlyOne;
    bool failed = true;
    for (long k = 0; failed; ++k) {
      const long live = g_live;
      const char* thrown = nullptr;
      g_untilFailure = k;
      try {
        use();
      } catch (const std::bad_alloc&) {
        thrown = "bad_alloc";
      } catch (...) {
        thrown = "something else";
      }
      failed = g_untilFailure == 0 || g_untilFailure == kSpent;
      g_untilFailure = kNever;
      ASSERT_STREQ(thrown, nullptr) << "allocation " << k << (onlyOne ? " alone" : " and all that follow");
      ASSERT_EQ(g_live, live) << "allocation " << k << (onlyOne ? " alone" : " and all that follow");
      allocations = k;
    }
  }
  EXPECT_GT(allocations, 5) << "it hardly allocates: is it called at all?";
  use();
  PrWin::SetSink(before);
}

const CString& LongText() {
  static const CString text(
      L"a text that is far too long for the room that small texts have within their object");
  return text;
}

const CString& LongerText() {
  static const CString text = LongText() + LongText() + LongText();
  return text;
}

CSigCurveExt LongNamedCurve() {
  CSigCurveExt curve(std::uint64_t{200});
  curve.SetName(LongText());
  curve.SetExtName(LongerText());
  curve.SetYUnit(CString(L"m/s²"));
  for (std::size_t i = 0; i < 200; ++i) curve.SetAt(i, static_cast<float>(i % 17));
  return curve;
}
