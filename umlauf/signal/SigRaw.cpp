#include "umlauf/signal/SigRaw.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

UMLAUF_IMPLEMENT_DYNAMIC(CSigRaw, CObject)

namespace {

void Clear(float* samples, std::uint64_t n) {
  if (n != 0) std::memset(samples, 0, static_cast<std::size_t>(n) * sizeof(float));
}

void Move(float* to, const float* from, std::uint64_t n) {
  if (n != 0) std::memmove(to, from, static_cast<std::size_t>(n) * sizeof(float));
}

}  // namespace

CSigRaw::CSigRaw(std::uint64_t n) { Malloc(n); }

CSigRaw::CSigRaw(const CSigRaw& other) : CObject(other), dataWord_(other.dataWord_) {
  if (MallocUncleared(other.length_) != nullptr) Move(data_, other.data_, length_);
}

CSigRaw& CSigRaw::operator=(const CSigRaw& other) {
  if (this == &other) return *this;
  if (MallocUncleared(other.length_) == nullptr && other.length_ != 0) return *this;
  dataWord_ = other.dataWord_;
  Move(data_, other.data_, length_);
  return *this;
}

// Changes nothing on failure; the previous block goes only when the new one is there.
bool CSigRaw::Alloc(std::uint64_t n) {
  auto fresh = umlauf::MakeAlignedBlock<float>(n);
  if (fresh == nullptr) return false;
  Adopt(std::move(fresh), n);
  return true;
}

void CSigRaw::Adopt(umlauf::AlignedBlock<float> block, std::uint64_t n) {
  block_ = std::move(block);
  data_ = block_.get();
  length_ = capacity_ = n;
}

void CSigRaw::Release() {
  block_.reset();
  capacity_ = 0;
  data_ = nullptr;
  length_ = 0;
}

ULONG* CSigRaw::MallocUncleared(std::uint64_t n) {
  if (n > capacity_) {
    Release();
    if (!Alloc(n)) return nullptr;
  }
  length_ = n;
  return Data();
}

ULONG* CSigRaw::Malloc(std::uint64_t n) {
  ULONG* const samples = MallocUncleared(n);
  if (samples != nullptr) Clear(data_, n);
  return samples;
}

bool CSigRaw::Resize(std::uint64_t n) {
  if (length_ == 0) return Malloc(n) != nullptr;
  if (n > length_) {
    const bool borrowed = block_ == nullptr;
    if (borrowed) return false;
    const std::uint64_t before = length_;
    if (n > capacity_) {
      auto old = std::move(block_);
      if (!Alloc(n)) {
        block_ = std::move(old);
        return false;
      }
      Move(data_, old.get(), before);
    }
    Clear(data_ + before, n - before);
  }
  length_ = n;
  return true;
}

void CSigRaw::Free() { Release(); }

void CSigRaw::SetBuffer(ULONG* p, LONG n) {
  Release();
  data_ = reinterpret_cast<float*>(p);
  length_ = p != nullptr ? static_cast<std::uint64_t>(std::max<LONG>(n, 0)) : 0;
}

void CSigRaw::CopyToRealData() {
  const float* source = data_;
  if (Malloc(length_) != nullptr) Move(data_, source, length_);
}

void CSigRaw::ShiftData(int k) {
  if (k == 0 || length_ == 0) return;
  const auto distance = static_cast<std::uint64_t>(std::abs(static_cast<std::int64_t>(k)));
  if (distance >= length_) {
    Nullsetzen();
  } else if (k > 0) {
    Move(data_ + distance, data_, length_ - distance);
    Clear(data_, distance);
  } else {
    Move(data_, data_ + distance, length_ - distance);
    Clear(data_ + (length_ - distance), distance);
  }
}

void CSigRaw::Nullsetzen() { Clear(data_, length_); }
