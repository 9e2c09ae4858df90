#include "umlauf_io/internal/Open.h"

#include <cmath>
#include <limits>
#include <utility>

#include "umlauf_io/internal/Error.h"

namespace umlauf::io {
namespace {

/// Text has no NUL; every binary recording has one near its start.
bool LooksLikeText(std::string_view start) { return start.find('\0') == std::string_view::npos; }

/// With a byte-order mark, or every other byte 0 as in text of western letters.
bool LooksLikeUtf16(std::string_view start) {
  if (start.starts_with("\xFF\xFE") || start.starts_with("\xFE\xFF")) return true;
  const std::string_view first = start.substr(0, 64);
  std::size_t zeros[2] = {0, 0};
  for (std::size_t i = 0; i < first.size(); ++i) zeros[i % 2] += first[i] == '\0' ? 1 : 0;
  const std::size_t half = first.size() / 2;
  return half >= 4 && ((zeros[0] == 0 && zeros[1] == half) || (zeros[1] == 0 && zeros[0] == half));
}

/// The eleven set bits that a frame begins with, or the tag before the first one. The decoder of libsndfile
/// takes any bytes behind them for sound and writes to standard error by itself.
bool LooksLikeMpeg(std::string_view start) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(start[i]); };
  return start.starts_with("ID3") || (start.size() >= 2 && byte(0) == 0xFF && byte(1) >= 0xE0);
}

}  // namespace

void CheckFormat(const RecordingFormat& format) {
  const auto good = [](double x) { return std::isfinite(x); };
  if (format.rate && !(good(*format.rate) && *format.rate > 0)) {
    Fail(Kind::wrongOption, "a sample rate of {} makes no recording; it has to be above 0", *format.rate);
  }
  if (format.raw && !format.rate) Fail(Kind::wrongOption, "raw samples need their sample rate");
  if (format.rawChannels < 1 || format.rawChannels > 65535) {
    Fail(Kind::wrongOption, "raw samples have 1 to 65535 channels, not {}", format.rawChannels);
  }
  constexpr double most = std::numeric_limits<float>::max();
  if (!(std::fabs(format.scale) <= most) || !(std::fabs(format.offset) <= most)) {
    Fail(Kind::wrongOption, "samples cannot be scaled by {} and moved by {}", format.scale, format.offset);
  }
  if (format.from && format.to && !(*format.from < *format.to)) {
    Fail(Kind::wrongOption,
         "from {:g} s to {:g} s there is nothing; the first time has to lie before the last", *format.from,
         *format.to);
  }
}

std::unique_ptr<FrameReader> OpenFrames(const std::filesystem::path& path, const RecordingFormat& format) {
  auto stream = std::make_unique<ByteStream>(path);
  if (format.raw) {
    if (!format.columns.empty()) Fail(Kind::wrongOption, "raw samples have channels, not columns");
    return OpenRaw(std::move(stream), format);
  }
  const std::string_view start = stream->start();
  if (start.empty()) Fail(Kind::badContent, "cannot read {}: it is empty", stream->name());
  if (LooksLikeUtf16(start)) {
    Fail(Kind::unknownFormat, "cannot read {}: it looks like UTF-16 text; save it as UTF-8", stream->name());
  }
  if (LooksLikeText(start)) {
    if (!format.channels.empty()) {
      Fail(Kind::wrongOption, "{} is a table of text, which has columns instead of channels", stream->name());
    }
    return OpenTable(std::move(stream), format);
  }
  if (!format.columns.empty()) {
    Fail(Kind::wrongOption, "{} is no table of text; it has channels instead of columns", stream->name());
  }
  if (format.rate) {
    Fail(Kind::wrongOption, "{} tells its own sample rate; one can be given for raw samples and tables",
         stream->name());
  }
  if (LooksLikeMpeg(start)) {
    Fail(Kind::unknownFormat,
         "cannot read {}: no recording in a known format (MPEG sound, if it is that, has lost the shape of "
         "edges)",
         stream->name());
  }
  return OpenSoundFile(std::move(stream));
}

}  // namespace umlauf::io
