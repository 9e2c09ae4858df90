#include "umlauf/rotation/PulseTrain.h"

#include <algorithm>

#include "umlauf/platform/memory/WithoutMemory.h"

CPulseTrain& CPulseTrain::operator=(const CPulseTrain& other) {
  if (&other == this) return *this;
  Clear();
  sampleRate_ = other.sampleRate_;
  startTime_ = other.startTime_;
  Append(other);
  return *this;
}

CPulseTrain& CPulseTrain::operator=(CPulseTrain&& other) noexcept {
  sampleRate_ = other.sampleRate_;
  startTime_ = other.startTime_;
  edges_ = std::move(other.edges_);
  revolutionTimes_ = std::move(other.revolutionTimes_);
  pitches_ = std::move(other.pitches_);
  samples_ = std::move(other.samples_);
  flags_ = std::move(other.flags_);
  room_ = std::exchange(other.room_, 0);
  complete_ = other.complete_;
  other.Clear();
  return *this;
}

bool CPulseTrain::Reserve(std::size_t pulses) {
  if (pulses <= room_) return true;
  const bool grown = umlauf::HadMemory([&] {
    edges_.reserve(pulses + 1);
    revolutionTimes_.reserve(pulses);
    pitches_.reserve(pulses);
    samples_.reserve(pulses);
    flags_.reserve(pulses);
  });
  if (grown) room_ = pulses;
  return grown;
}

CPulseTrain::Columns CPulseTrain::Extend(std::size_t& count, double begin) {
  const std::size_t from = size(), pulses = from + count;
  if (pulses > room_ && !Reserve(std::max({pulses, 2 * room_, std::size_t{1024}}))) {
    complete_ = false;
    count = 0;
    return {};
  }
  if (edges_.empty()) edges_.push_back(begin);
  edges_.resize(pulses + 1);
  revolutionTimes_.resize(pulses);
  pitches_.resize(pulses);
  samples_.resize(pulses);
  flags_.resize(pulses);
  return {edges_.data() + from + 1, revolutionTimes_.data() + from, pitches_.data() + from,
          samples_.data() + from, flags_.data() + from};
}

void CPulseTrain::Append(const CPulseTrain& other, std::size_t from, std::size_t count) {
  complete_ = complete_ && other.complete_;
  count = std::min(count, other.size() - std::min(from, other.size()));
  if (count == 0) return;
  if (&other == this) {
    for (std::size_t i = from; i < from + count; ++i) Append(other[i]);
    return;
  }
  const std::size_t pulses = size() + count;
  if (pulses > room_ && !Reserve(std::max({pulses, 2 * room_, std::size_t{1024}}))) {
    complete_ = false;
    return;
  }
  const auto add = [from, count](auto& to, const auto& column, std::size_t skipped) {
    const std::size_t end = to.size();
    to.resize(end + count);
    std::copy_n(column.data() + from + skipped, count, to.data() + end);
  };
  if (edges_.empty()) edges_.push_back(other.edges_[from]);
  add(edges_, other.edges_, 1);
  add(revolutionTimes_, other.revolutionTimes_, 0);
  add(pitches_, other.pitches_, 0);
  add(samples_, other.samples_, 0);
  add(flags_, other.flags_, 0);
}

void CPulseTrain::RemoveFirst(std::size_t pulses) {
  if (pulses >= size()) {
    const bool complete = complete_;
    Clear();
    complete_ = complete;
    return;
  }
  const auto n = static_cast<std::ptrdiff_t>(pulses);
  edges_.erase(edges_.begin(), edges_.begin() + n);
  revolutionTimes_.erase(revolutionTimes_.begin(), revolutionTimes_.begin() + n);
  pitches_.erase(pitches_.begin(), pitches_.begin() + n);
  samples_.erase(samples_.begin(), samples_.begin() + n);
  flags_.erase(flags_.begin(), flags_.begin() + n);
}

void CPulseTrain::Clear() {
  edges_.clear();
  revolutionTimes_.clear();
  pitches_.clear();
  samples_.clear();
  flags_.clear();
  complete_ = true;
}
