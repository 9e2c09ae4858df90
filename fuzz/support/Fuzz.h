#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>

// What the fuzz targets share. A target is one file that defines `FuzzOne`; linked with Entry.cpp and
// libFuzzer it searches for inputs, linked with Entry.cpp and Replay.cpp it is a test that runs over its
// seeds.
namespace umlauf::fuzz {

/// Ends the process with this text when a property does not hold.
void Require(bool condition, const char* property);

/// Lets this input use so many bytes more than others may.
void Allow(std::size_t bytes);

/// The bytes of an input, taken from the front. When they are used up, zeros come.
class Input {
 public:
  explicit Input(std::span<const std::byte> bytes) : bytes_(bytes) {}

  std::size_t size() const { return bytes_.size(); }
  bool empty() const { return bytes_.empty(); }

  template <class T>
  T Take() {
    T value{};
    const std::size_t n = bytes_.size() < sizeof value ? bytes_.size() : sizeof value;
    if (n != 0) std::memcpy(&value, bytes_.data(), n);
    bytes_ = bytes_.subspan(n);
    return value;
  }
  std::uint8_t Byte() { return Take<std::uint8_t>(); }
  /// One of some values, by one byte.
  std::uint32_t Pick(std::initializer_list<std::uint32_t> choices) {
    return choices.begin()[Byte() % choices.size()];
  }

  /// Everything that is left.
  std::span<const std::byte> Rest() const { return bytes_; }
  std::string_view Text() const { return {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()}; }

 private:
  std::span<const std::byte> bytes_;
};

/// A block of its own on the heap, so that a sanitizer watches its end.
template <class T>
class Exact {
 public:
  explicit Exact(std::size_t count) : block_(new T[count]), count_(count) {}
  /// As many whole elements as the bytes hold.
  explicit Exact(std::span<const std::byte> bytes) : Exact(bytes.size() / sizeof(T)) {
    if (count_ != 0) std::memcpy(block_.get(), bytes.data(), count_ * sizeof(T));
  }
  T* data() { return block_.get(); }
  const T* data() const { return block_.get(); }
  std::size_t size() const { return count_; }

 private:
  std::unique_ptr<T[]> block_;
  std::size_t count_;
};

/// A file of this process's own, in memory where the system has such a folder; removed when the object goes.
class TemporaryFile {
 public:
  TemporaryFile();
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const char* path() const { return path_.c_str(); }
  void Fill(std::span<const std::byte> bytes) const;

 private:
  std::string path_;
};

/// Runs the target over one input, which lies in a block of its own size. Any input is fine; a property that
/// does not hold ends the process. Under AddressSanitizer one more property is held: the memory in use never
/// grows by more than 4 MiB and 64 bytes for each byte of the input.
void FuzzOne(Input input);

}  // namespace umlauf::fuzz
