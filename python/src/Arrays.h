#pragma once

#include <nanobind/nanobind.h>
#include <nanobind/ndarray.h>

#include <cstddef>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "umlauf/platform/framework/Types.h"

namespace umlauf::python {

namespace nb = nanobind;

/// The NumPy array of an array-like with numbers of this type and so many dimensions. ValueError where there
/// is none; floating-point numbers do not become words.
nb::object AsNumPy(const nb::object& source, nb::dlpack::dtype type, int dimensions);

/// Arrays that Python hands in, read only, where they lie. Any strides.
using FloatArray = nb::ndarray<const float, nb::ndim<1>, nb::device::cpu>;
using FrameArray = nb::ndarray<const float, nb::ndim<2>, nb::device::cpu>;
using DoubleArray = nb::ndarray<const double, nb::ndim<1>, nb::device::cpu>;
using WordArray = nb::ndarray<const ULONG, nb::ndim<1>, nb::device::cpu>;

/// An argument that may be any array-like of real numbers: an array of the right type is taken where it lies,
/// whatever its strides; others are converted once.
template <class Array>
struct ArrayLike {
  nb::object source;

  /// The numbers; ValueError for what has another number of dimensions or is no array of real numbers.
  Array Get() const {
    Array array;
    if (nb::hasattr(source, "filled") || !nb::try_cast<Array>(source, array, false)) {
      using Number = std::remove_const_t<typename Array::Scalar>;
      array = nb::cast<Array>(AsNumPy(source, nb::dtype<Number>(), Array::Config::N));
    }
    return array;
  }
};
using Floats = ArrayLike<FloatArray>;
using Frames = ArrayLike<FrameArray>;
using Doubles = ArrayLike<DoubleArray>;
using Words = ArrayLike<WordArray>;

template <class T, class Shape = nb::ndim<1>>
using NumPyArray = nb::ndarray<nb::numpy, T, Shape>;

/// Samples one stride apart, for what reads forward only: those of the array where they lie if its stride
/// allows, else a copy of them. Refers to the array.
template <class T>
class Forward {
 public:
  explicit Forward(const nb::ndarray<const T, nb::ndim<1>, nb::device::cpu>& array)
      : data_(array.data()), size_(array.shape(0)), stride_(1) {
    const std::int64_t stride = size_ > 1 ? array.stride(0) : 1;
    if (stride > 0 && stride <= longestStride) {
      stride_ = static_cast<std::size_t>(stride);
      return;
    }
    copy_.reserve(size_);
    for (std::size_t i = 0; i < size_; ++i) copy_.push_back(data_[static_cast<std::int64_t>(i) * stride]);
    data_ = copy_.data();
  }
  Forward(const Forward&) = delete;
  Forward& operator=(const Forward&) = delete;

  const T* data() const { return data_; }
  std::size_t size() const { return size_; }
  std::size_t stride() const { return stride_; }
  T operator[](std::size_t i) const { return data_[i * stride_]; }
  /// Contiguous ones, copied where they are not.
  std::span<const T> Contiguous() {
    if (stride_ > 1) {
      std::vector<T> packed;
      packed.reserve(size_);
      for (std::size_t i = 0; i < size_; ++i) packed.push_back((*this)[i]);
      copy_ = std::move(packed);
      data_ = copy_.data();
      stride_ = 1;
    }
    return {data_, size_};
  }

 private:
  static constexpr std::int64_t longestStride = std::int64_t{1} << 30;

  const T* data_;
  std::size_t size_, stride_;
  std::vector<T> copy_;
};

/// An array that takes over the numbers of a vector, [rows][columns] with columns.
template <class T>
NumPyArray<T> ToNumPy(std::vector<T>&& numbers) {
  auto* kept = new std::vector<T>(std::move(numbers));
  nb::capsule owner(kept, [](void* each) noexcept { delete static_cast<std::vector<T>*>(each); });
  return NumPyArray<T>(kept->data(), {kept->size()}, owner);
}

template <class T>
NumPyArray<T, nb::ndim<2>> ToNumPy(std::vector<T>&& numbers, std::size_t columns) {
  auto* kept = new std::vector<T>(std::move(numbers));
  nb::capsule owner(kept, [](void* each) noexcept { delete static_cast<std::vector<T>*>(each); });
  return NumPyArray<T, nb::ndim<2>>(kept->data(), {kept->size() / columns, columns}, owner);
}

/// A read-only view of a column that lies in an object, which it keeps alive.
template <class T>
NumPyArray<const T> View(std::span<const T> column, nb::handle owner) {
  return NumPyArray<const T>(column.data(), {column.size()}, owner);
}

}  // namespace umlauf::python

namespace nanobind::detail {

template <class Array>
struct type_caster<umlauf::python::ArrayLike<Array>> {
  NB_TYPE_CASTER(umlauf::python::ArrayLike<Array>, const_name("numpy.typing.ArrayLike"))

  bool from_python(handle source, std::uint32_t, cleanup_list*) noexcept {
    value.source = borrow(source);
    return true;
  }
};

}  // namespace nanobind::detail
