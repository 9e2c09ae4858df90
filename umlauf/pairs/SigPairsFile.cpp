#include <array>
#include <cstring>
#include <string>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/platform/framework/FileFields.h"
#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/platform/vekta/QVL.h"

namespace {

constexpr std::size_t kNameBytes = 40;      // terminator included
constexpr std::size_t kReservedBytes = 20;  // readers skip them
constexpr std::size_t kBlock = 16384;       // floats that are converted at a time

/// The fields behind the capacity, in file order.
struct Fields {
  std::uint32_t zero = 0;
  std::uint32_t count = 0;
  float parameter = 0.0f;
  std::int32_t number = 0;
  std::array<char, kReservedBytes> reserved{};
  std::array<char, kNameBytes> name{};
};
static_assert(sizeof(Fields) == 76);

/// Writes every second float of n points, then zeros for the free slots.
void WriteColumn(CFile& file, const float* first, std::size_t n, std::size_t slots) {
  std::array<float, kBlock> block;
  for (std::size_t done = 0; done < slots;) {
    const std::size_t part = std::min(kBlock, slots - done);
    const std::size_t used = done < n ? std::min(part, n - done) : 0;
    if (used != 0) QVL::Interleave(block.data(), 1, first + 2 * done, 2, used);
    std::fill(block.begin() + static_cast<std::ptrdiff_t>(used),
              block.begin() + static_cast<std::ptrdiff_t>(part), 0.0f);
    file.Write(block.data(), part * sizeof(float));
    done += part;
  }
}

/// Reads a column of `slots` floats; the first n go to every second float from `first` on.
bool ReadColumn(CFile& file, float* first, std::size_t n, std::size_t slots) {
  std::array<float, kBlock> block;
  for (std::size_t done = 0; done < slots;) {
    const std::size_t part = std::min(kBlock, slots - done);
    if (file.Read(block.data(), part * sizeof(float)) != part * sizeof(float)) return false;
    const std::size_t used = done < n ? std::min(part, n - done) : 0;
    if (used != 0) QVL::Interleave(first + 2 * done, 2, block.data(), 1, used);
    done += part;
  }
  return true;
}

}  // namespace

bool CSigPairs::WriteToFile(CFile& file, unsigned version) const {
  if (!CSignal::WriteToFile(file, version)) return false;
  DateiExport(file);
  return true;
}

bool CSigPairs::ReadFromFile(CFile& file, unsigned version) {
  return CSignal::ReadFromFile(file, version) && DateiImport(file) == 1;
}

void CSigPairs::DateiExport(CFile& file) const {
  // The field has 32 bits; of a larger buffer the file shows as much as the field can tell.
  constexpr std::uint64_t most = 0xFFFFFFFE;
  const auto capacity = static_cast<std::uint32_t>(std::min(Capacity() / 2 * 2, most));
  const std::size_t slots = capacity / 2;
  Fields fields;
  fields.count = static_cast<std::uint32_t>(std::min(NPaare(), slots));
  fields.parameter = parameter_;
  fields.number = number_;
  const std::string name = CString(Name()).ToAnsi();
  std::copy_n(name.begin(), std::min(name.size(), kNameBytes - 1), fields.name.begin());
  umlauf::WriteField(file, capacity);
  umlauf::WriteField(file, fields);
  if (slots == 0) return;
  WriteColumn(file, Samples(), fields.count, slots);
  WriteColumn(file, Samples() + 1, fields.count, slots);
}

int CSigPairs::DateiImport(CFile& file) {
  Neustart();
  std::uint32_t capacity = 0;
  Fields fields;
  if (!umlauf::ReadField(file, capacity) || !umlauf::ReadField(file, fields)) return 0;
  parameter_ = fields.parameter;
  number_ = fields.number;
  fields.name.back() = '\0';
  SetName(CString::FromAnsi(fields.name.data()));
  const std::uint64_t bytes = std::uint64_t{capacity} * sizeof(float);
  if (bytes > file.Remaining()) {
    PrWin::Output(PrWin::note, L"Point-pair record: %u bytes of points announced, %u there.\n", bytes,
                  file.Remaining());
    return 0;
  }
  const std::size_t slots = capacity / 2;
  if (fields.count > slots) {
    PrWin::Output(PrWin::note, L"Point-pair record: %u points announced, room for %u.\n", fields.count,
                  slots);
  }
  const std::size_t n = std::min<std::size_t>(fields.count, slots);
  if (!NeueGroesse(slots)) return 0;
  float rest = 0.0f;  // an odd capacity leaves one float behind
  const bool read =
      slots == 0 || (ReadColumn(file, Samples(), n, slots) && ReadColumn(file, Samples() + 1, n, slots));
  if (capacity % 2 != 0) umlauf::ReadField(file, rest);
  if (!read) return 0;
  SetCount(n);
  PruefeSortierung();
  return 1;
}
