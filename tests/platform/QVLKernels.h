#pragma once

#include "support/EveryTarget.h"
#include "support/Test.h"

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

/// Tests of kernels, with random inputs.
class QVLKernels : public EveryTarget {
 protected:
  std::mt19937 random_{20240607};
};
