#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "tools/BlockSource.h"
#include "tools/CsvReader.h"
#include "tools/Error.h"
#include "tools/output/NumberText.h"
#include "umlauf/platform/framework/Types.h"

namespace umlauf::tool {
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
class CsvSource final : public BlockSource {
 public:
  explicit CsvSource(const RecordingOptions& options) : path_(options.path.string()), reader_(options.path) {
    const bool all = options.allChannels && !options.column && reader_.columns() >= 2;
    column_ = all ? 1 : WantedColumn(options);
    channels_ = static_cast<unsigned>(std::max<std::size_t>(reader_.columns(), 2) - 1);
    if (all) width_ = channels_;
    channelName_ = reader_.header().empty() ? fmt::format("column {}", column_ + 1)
                                            : fmt::format("column \"{}\"", reader_.header()[column_]);
    ReadTimes(options.rate);
  }

  SampleBlock Read(std::size_t count) override {
    samples_.clear();
    while (samples_.size() < count * width_ && reader_.NextRow()) {
      for (std::size_t column = column_; column < column_ + width_; ++column) {
        samples_.push_back(static_cast<float>(reader_.Number(column)));
      }
    }
    return {samples_.data(), samples_.size() / width_, width_};
  }

  void Rewind() override { reader_.Rewind(); }

 private:
  std::size_t WantedColumn(const RecordingOptions& options) const {
    const std::string wanted = options.column.value_or("2");
    const auto& names = reader_.header();
    if (const auto named = std::find(names.begin(), names.end(), wanted); named != names.end()) {
      return static_cast<std::size_t>(named - names.begin());
    }
    const std::optional<std::uint32_t> number = ParseCount(wanted);
    if (number && *number >= 2 && *number <= reader_.columns()) return *number - 1;
    Fail("{} has no column {} beside the time; {}", path_, wanted,
         reader_.columns() < 2
             ? "it needs at least two columns, the first one being seconds"
             : fmt::format("give --column 2{}{}",
                           reader_.columns() > 2 ? fmt::format(" to {}", reader_.columns()) : "",
                           names.empty() ? "" : " or a name from its header"));
  }

  /// Length and rate. The times are equidistant when every step equals the mean step to within 1 % and what
  /// the digits of the text can tell.
  void ReadTimes(std::optional<double> rate) {
    double first = 0, last = 0, shortest = std::numeric_limits<double>::infinity(), longest = 0;
    int digits = 1;
    for (; reader_.NextRow(); ++frames_) {
      const double time = reader_.Number(0);
      digits = std::max(digits, SignificantDigits(reader_.Cell(0)));
      if (frames_ == 0) first = time;
      if (frames_ > 0) {
        shortest = std::min(shortest, time - last);
        longest = std::max(longest, time - last);
      }
      last = time;
    }
    reader_.Rewind();
    if (rate) {
      sampleRate_ = *rate;
      return;
    }
    startTime_ = first;
    if (frames_ < 2) Fail("cannot read {}: a recording needs at least two rows", path_);
    const double step = (last - first) / static_cast<double>(frames_ - 1);
    const double greatest = std::max({std::abs(first), std::abs(last), 1e-300});
    const double lastDigit = std::pow(10.0, std::floor(std::log10(greatest)) + 1 - digits);
    const double tolerance = std::min(0.01 * step + 1.001 * lastDigit, 0.5 * step);
    if (!(step > 0 && step - shortest <= tolerance && longest - step <= tolerance)) {
      Fail(
          "cannot read {}: the times in its first column are not equidistant (steps from {:.6g} to {:.6g} "
          "s); "
          "give --rate HZ if they are to be ignored",
          path_, shortest, longest);
    }
    // 9999.9 from rounded times means 10000, as far as their digits leave it open.
    const double whole = std::round(1 / step), open = std::max(1e-6, lastDigit / (last - first));
    sampleRate_ = std::abs(1 / step - whole) < open * whole ? whole : 1 / step;
  }

  std::string path_;
  CsvReader reader_;
  std::size_t column_ = 1;
  std::vector<float> samples_;
};

}  // namespace

std::unique_ptr<BlockSource> OpenCsvFile(const RecordingOptions& options) {
  return std::make_unique<CsvSource>(options);
}

}  // namespace umlauf::tool
