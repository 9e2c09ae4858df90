#include "umlauf/signal/internal/CompressedVector.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "umlauf/platform/framework/FileFields.h"
#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/platform/vekta/QVL.h"

namespace umlauf::signal {
namespace {

constexpr std::size_t kBlock = 32768;  // samples that are converted at a time
constexpr std::uint32_t kHeaderBytes = 28;
constexpr float kByteStep = 0.003921569f;  // 1 / 255

}  // namespace

void CompressedVector::Write(CFile& file, const float* samples, std::uint64_t n) {
  const bool quantised = mode == 1;
  mode = quantised ? 1 : 0;
  yMin = yMax = 0.0f;
  QVL::VectorMinMax(samples, n, 1, yMin, yMax);
  dataBytes = static_cast<std::uint32_t>(quantised ? n : 4 * n);
  // Intended: raw sections state four times their data.
  sectionSize = kHeaderBytes + static_cast<std::uint32_t>(quantised ? n : 16 * n);
  WriteField(file, mode);
  WriteField(file, dataBytes);
  WriteField(file, sectionSize);
  WriteField(file, xMin);
  WriteField(file, xMax);
  WriteField(file, yMin);
  WriteField(file, yMax);
  if (!quantised) {
    if (n != 0) file.Write(samples, n * sizeof(float));
    return;
  }
  const float factor = yMax == yMin ? 0.0f : 1.0f / (yMax - yMin);
  std::array<std::uint8_t, kBlock> bytes;
  for (std::uint64_t done = 0; done < n;) {
    const std::size_t count = std::min<std::uint64_t>(kBlock, n - done);
    QVL::QuantizeBytes(bytes.data(), samples + done, count, yMin, factor);
    file.Write(bytes.data(), count);
    done += count;
  }
}

void CompressedVector::ReadHeader(CFile& file) {
  mode = 0;
  dataBytes = sectionSize = 0;
  xMin = xMax = yMin = yMax = 0.0f;
  ReadField(file, mode);
  ReadField(file, dataBytes);
  ReadField(file, sectionSize);
  ReadField(file, xMin);
  ReadField(file, xMax);
  ReadField(file, yMin);
  ReadField(file, yMax);
  const std::uint64_t available = file.Remaining();
  if (dataBytes <= available) return;
  PrWin::Output(PrWin::note, L"Curve record: %u bytes of samples announced, %u there.\n", dataBytes,
                available);
  dataBytes = static_cast<std::uint32_t>(available);
}

void CompressedVector::ReadSamples(CFile& file, float* samples) const {
  const std::uint64_t n = SampleCount();
  std::uint64_t consumed = 0, read = 0;
  if (mode == 0) {
    consumed = n == 0 ? 0 : file.Read(samples, n * sizeof(float));
    read = consumed / sizeof(float);
  } else {
    const float step = (yMax - yMin) * kByteStep;
    std::array<std::uint8_t, kBlock> bytes;
    while (consumed < n) {
      const std::size_t count = file.Read(bytes.data(), std::min<std::uint64_t>(kBlock, n - consumed));
      if (count == 0) break;
      QVL::DequantizeBytes(samples + consumed, bytes.data(), count, step, yMin);
      consumed += count;
    }
    read = consumed;
  }
  std::fill(samples + read, samples + n, 0.0f);
  if (consumed < dataBytes) file.Seek(static_cast<std::int64_t>(dataBytes - consumed), CFile::current);
}

}  // namespace umlauf::signal
