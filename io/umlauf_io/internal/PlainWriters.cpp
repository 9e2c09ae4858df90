#include <algorithm>
#include <iterator>

#include "umlauf_io/internal/Error.h"
#include "umlauf_io/internal/FrameWriter.h"

namespace umlauf::io {
namespace {

void WriteOrFail(COutputFile& out, std::string_view bytes) {
  if (!out.Write(bytes)) throw Error{Kind::unwritable, out.Failure().text.ToUtf8()};
}

/// Samples as they lie in memory, little-endian.
class RawWriter final : public FrameWriter {
 public:
  RawWriter(COutputFile& out, const RecordingShape& shape) : out_(out), channels_(shape.channels) {}

  void Write(const float* samples, std::uint64_t frames) override {
    WriteOrFail(out_, {reinterpret_cast<const char*>(samples), frames * channels_ * sizeof *samples});
  }
  void Close() override {}

 private:
  COutputFile& out_;
  std::size_t channels_;
};

/// Time and channels with the digits that they need to be read back exactly, below a header.
class TableWriter final : public FrameWriter {
 public:
  TableWriter(COutputFile& out, const RecordingShape& shape) : out_(out), shape_(shape) {
    rows_ = "time_s";
    for (unsigned i = 0; i < shape_.channels; ++i) {
      std::string name = i < shape_.names.size() ? shape_.names[i] : fmt::format("channel {}", i + 1);
      // The name stands between quotes, which the readers of tables take off.
      std::replace_if(
          name.begin(), name.end(), [](char each) { return each == '"' || each == ',' || each < ' '; }, ' ');
      rows_ += fmt::format(",\"{}\"", name);
    }
    rows_ += '\n';
  }

  void Write(const float* samples, std::uint64_t frames) override {
    for (std::uint64_t i = 0; i < frames; ++i) {
      const double time = shape_.startTime + static_cast<double>(position_++) / shape_.rate;
      fmt::format_to(std::back_inserter(rows_), "{}", time);
      for (unsigned c = 0; c < shape_.channels; ++c)
        fmt::format_to(std::back_inserter(rows_), ",{}", *samples++);
      rows_ += '\n';
      if (rows_.size() > pending) Flush();
    }
  }

  void Close() override { Flush(); }

 private:
  static constexpr std::size_t pending = std::size_t{1} << 16;

  void Flush() {
    WriteOrFail(out_, rows_);
    rows_.clear();
  }

  COutputFile& out_;
  RecordingShape shape_;
  std::string rows_;
  std::uint64_t position_ = 0;
};

}  // namespace

std::unique_ptr<FrameWriter> CreateTable(COutputFile& out, const RecordingShape& shape) {
  return std::make_unique<TableWriter>(out, shape);
}

std::unique_ptr<FrameWriter> CreateRaw(COutputFile& out, const RecordingShape& shape) {
  return std::make_unique<RawWriter>(out, shape);
}

}  // namespace umlauf::io
