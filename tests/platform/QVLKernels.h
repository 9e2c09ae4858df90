#pragma once

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

/// A block on the heap that ends with its last element, so that an address sanitizer sees every step beyond.
template <class T>
class Exact {
 public:
  Exact(std::size_t n, std::size_t offset) : n_(n), offset_(offset), memory_(new T[n + offset]) {}
  T* data() { return memory_.get() + offset_; }
  T& operator[](std::size_t i) { return data()[i]; }
  std::vector<T> copy() { return {data(), data() + n_}; }

 private:
  std::size_t n_, offset_;
  std::unique_ptr<T[]> memory_;
};

/// Each test runs with every instruction set that this processor has.
class QVLKernels : public testing::TestWithParam<std::int64_t> {
 protected:
  QVLKernels() { Choose(GetParam()); }
  ~QVLKernels() override { Choose(0); }
  static void Choose(std::int64_t target) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
  }
  std::mt19937 random_{20240607};
};
