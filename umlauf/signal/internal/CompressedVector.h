#pragma once

#include <cstdint>

#include "umlauf/platform/framework/CFile.h"

namespace umlauf::signal {

/// The sample section of a curve's file record: seven 4-byte fields, then the samples, 8-bit quantised or
/// raw.
///
/// | offset | field |
/// |---|---|
/// | 0 | mode: 1 quantised, 0 raw |
/// | 4 | data bytes D: n quantised, 4 n raw |
/// | 8 | section size: 28 + n quantised, 28 + 16 n raw; readers ignore it |
/// | 12, 16 | x minimum, x maximum |
/// | 20, 24 | smallest and greatest sample |
/// | 28 | D bytes of data |
///
/// Works block by block: the data are never in memory twice.
class CompressedVector {
 public:
  std::int32_t mode = 1;
  std::uint32_t dataBytes = 0;
  std::uint32_t sectionSize = 0;
  float xMin = 0.0f;
  float xMax = 0.0f;
  float yMin = 0.0f;
  float yMax = 0.0f;

  /// Writes the section for n samples; sets the fields that follow from them. With mode 1 the samples are
  /// quantised, with any other mode they are written raw and the mode is 0.
  void Write(CFile& file, const float* samples, std::uint64_t n);
  /// Reads the seven fields; missing bytes count as zero. `dataBytes` is limited to what the file still
  /// holds, and a shortfall is noted in the log.
  void ReadHeader(CFile& file);
  /// Number of samples behind the header just read.
  std::uint64_t SampleCount() const { return mode == 1 ? dataBytes : dataBytes / 4; }
  /// Reads the data behind the header into `samples` [SampleCount()]: raw floats for mode 0, else one byte a
  /// sample; zeros where the file gives none. The file then stands behind all D bytes, also where they hold
  /// more than the samples.
  void ReadSamples(CFile& file, float* samples) const;
};

}  // namespace umlauf::signal
