#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "umlauf_io/NumberText.h"
#include "umlauf_io/internal/CsvRows.h"
#include "umlauf_io/internal/Error.h"
#include "umlauf_io/internal/FrameReader.h"

namespace umlauf::io {
namespace {

/// Digits that count in a number's text: 4 for "0.001250".
int SignificantDigits(std::string_view number) {
  int digits = 0;
  for (const char each : number.substr(0, number.find_first_of("eE"))) {
    if (each >= '0' && each <= '9' && (digits > 0 || each != '0')) ++digits;
  }
  return digits;
}

/// A table whose first column is the time. The sample rate comes from the first pass over that column.
class TableReader final : public FrameReader {
 public:
  TableReader(std::unique_ptr<ByteStream> stream, const RecordingFormat& format)
      : FrameReader(stream->name()), rows_(std::move(stream)) {
    const double unit = rows_.timeUnit();
    format_ = unit == 1 ? "text table" : fmt::format("text table, times in units of {:g} s", unit);
    recordingChannels_ = static_cast<unsigned>(std::max<std::size_t>(rows_.columns(), 2) - 1);
    if (format.columns.empty() && format.rate && rows_.columns() == 1) {
      AddChannel(0);  // samples alone
    } else if (format.columns.empty()) {
      TakeColumn("2");
      const std::size_t end = format.firstChannelOnly ? 2 : rows_.columns();
      for (std::size_t i = 2; i < end; ++i) AddChannel(i);
    }
    for (const std::string& each : format.columns) TakeColumn(each);
    if (format.rate) {
      rate_ = *format.rate;
      if (!format.rewindable) return;
    }
    ReadTimes(format.rate.has_value());
  }

  SampleBlock Read(std::size_t count) override {
    const std::size_t width = channels_.size();
    count = std::clamp<std::size_t>(bufferSamples / width, 1, count);
    samples_.clear();
    while (samples_.size() < count * width && rows_.NextRow()) {
      for (const Channel& each : channels_) {
        samples_.push_back(static_cast<float>(rows_.Number(each.number - 1)));
      }
    }
    return {samples_.data(), samples_.size() / width, width};
  }

  bool Rewind() override { return rows_.Rewind(); }

  void Skip(std::uint64_t frames) override {
    while (frames-- > 0 && rows_.NextRow()) {
    }
  }

 private:
  static constexpr std::size_t bufferSamples = std::size_t{1} << 20;

  void AddChannel(std::size_t column) {
    const auto& names = rows_.header();
    channels_.push_back({static_cast<unsigned>(column + 1),
                         column < names.size() ? fmt::format("column \"{}\"", names[column])
                                               : fmt::format("column {}", column + 1),
                         std::string(rows_.unit(column))});
  }

  void TakeColumn(const std::string& wanted) {
    const auto& names = rows_.header();
    if (const auto named = std::find(names.begin(), names.end(), wanted); named != names.end()) {
      return AddChannel(static_cast<std::size_t>(named - names.begin()));
    }
    const std::optional<std::uint32_t> number = ParseCount(wanted);
    if (number && *number >= 2 && *number <= rows_.columns()) return AddChannel(*number - 1);
    if (rows_.columns() < 2) {
      Fail(Kind::badContent,
           "cannot read {}: it needs at least two columns, the first one being seconds, or a sample rate",
           name_);
    }
    Fail(Kind::noSuchChannel, "{} has no column {} beside the time; it has column 2{}{}", name_, wanted,
         rows_.columns() > 2 ? fmt::format(" to {}", rows_.columns()) : "",
         names.empty() ? "" : ", also by the name from its header");
  }

  /// Length and rate. The times are equidistant when every step equals the mean step to within 1 % and what
  /// the digits of the text can tell.
  void ReadTimes(bool rateIsKnown) {
    double first = 0, last = 0, shortest = std::numeric_limits<double>::infinity(), longest = 0;
    int digits = 1;
    std::uint64_t frames = 0;
    for (; rows_.NextRow(); ++frames) {
      const double time = rows_.Number(0) * rows_.timeUnit();
      digits = std::max(digits, SignificantDigits(rows_.Cell(0)));
      if (frames == 0) first = time;
      if (frames > 0) {
        shortest = std::min(shortest, time - last);
        longest = std::max(longest, time - last);
      }
      last = time;
    }
    frames_ = frames;
    if (!rows_.Rewind()) Fail(Kind::unreadable, "cannot read {} twice", name_);
    if (rateIsKnown) return;
    start_ = first;
    if (frames < 2) Fail(Kind::badContent, "cannot read {}: a recording needs at least two rows", name_);
    const double step = (last - first) / static_cast<double>(frames - 1);
    const double greatest = std::max({std::abs(first), std::abs(last), 1e-300});
    const double lastDigit = std::pow(10.0, std::floor(std::log10(greatest)) + 1 - digits);
    const double tolerance = std::min(0.01 * step + 1.001 * lastDigit, 0.5 * step);
    if (!(step > 0 && step - shortest <= tolerance && longest - step <= tolerance)) {
      Fail(
          Kind::notEquidistant,
          "cannot read {}: the times in its first column are not equidistant (steps from {:.6g} to {:.6g} s)",
          name_, shortest, longest);
    }
    // 9999.9 from rounded times means 10000, as far as their digits leave it open.
    const double whole = std::round(1 / step), leftOpen = std::max(1e-6, lastDigit / (last - first));
    rate_ = std::abs(1 / step - whole) < leftOpen * whole ? whole : 1 / step;
  }

  CsvRows rows_;
  std::vector<float> samples_;
};

}  // namespace

std::unique_ptr<FrameReader> OpenTable(std::unique_ptr<ByteStream> stream, const RecordingFormat& format) {
  if (format.rewindable || !format.rate) stream->MakeSeekable();
  return std::make_unique<TableReader>(std::move(stream), format);
}

}  // namespace umlauf::io
