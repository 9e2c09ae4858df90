#include <sndfile.h>

#include <algorithm>
#include <bit>
#include <cmath>

#include "umlauf/platform/vekta/QVL.h"
#include "umlauf_io/internal/Error.h"
#include "umlauf_io/internal/FrameReader.h"
#include "umlauf_io/internal/SoundHeader.h"

namespace umlauf::io {
namespace {

struct CloseSound {
  void operator()(SNDFILE* file) const { sf_close(file); }
};

// What libsndfile reads through. No exception may pass through it.

sf_count_t Length(void* user) {
  return static_cast<sf_count_t>(static_cast<ByteStream*>(user)->length().value_or(0));
}

sf_count_t Tell(void* user) { return static_cast<sf_count_t>(static_cast<ByteStream*>(user)->position()); }

sf_count_t Seek(sf_count_t offset, int whence, void* user) {
  auto* stream = static_cast<ByteStream*>(user);
  if (whence == SEEK_CUR) offset += Tell(user);
  if (whence == SEEK_END) offset += Length(user);
  return offset >= 0 && stream->Seek(static_cast<std::uint64_t>(offset)) ? offset : -1;
}

sf_count_t Read(void* to, sf_count_t count, void* user) {
  try {
    return static_cast<sf_count_t>(static_cast<ByteStream*>(user)->Read(to, static_cast<std::size_t>(count)));
  } catch (...) {
    return 0;
  }
}

sf_count_t Write(const void*, sf_count_t, void*) { return 0; }

std::string Reason(SNDFILE* file) {
  std::string text = sf_strerror(file);
  std::replace(text.begin(), text.end(), '\n', ' ');
  while (text.ends_with('.') || text.ends_with(' ')) text.pop_back();
  return text;
}

/// "WAV (Microsoft), 32 bit float".
std::string FormatName(int format) {
  std::string name;
  for (const int part : {format & SF_FORMAT_TYPEMASK, format & SF_FORMAT_SUBMASK}) {
    SF_FORMAT_INFO info{};
    info.format = part;
    if (sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info) != 0 || info.name == nullptr) continue;
    name += (name.empty() ? "" : ", ") + std::string(info.name);
  }
  return name;
}

/// Bytes of a sample that the file holds just as numbers of this machine; 0 for all other files.
std::size_t PlainSampleSize(int format) {
  static_assert(std::endian::native == std::endian::little);
  const int kind = format & SF_FORMAT_TYPEMASK, order = format & SF_FORMAT_ENDMASK;
  const bool riff =
      kind == SF_FORMAT_WAV || kind == SF_FORMAT_WAVEX || kind == SF_FORMAT_RF64 || kind == SF_FORMAT_W64;
  if (!riff || (order != SF_ENDIAN_FILE && order != SF_ENDIAN_LITTLE)) return 0;
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_16:
      return 2;
    case SF_FORMAT_PCM_24:
      return 3;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
      return 4;
    default:
      return 0;
  }
}

/// WAV, FLAC, W64, RF64, MAT and whatever else libsndfile reads. Floating-point files keep their numbers,
/// integer files come as parts of full scale (-1 ... 1).
class SoundFileReader final : public FrameReader {
 public:
  explicit SoundFileReader(std::unique_ptr<ByteStream> stream)
      : FrameReader(stream->name()), stream_(std::move(stream)) {
    stream_->MakeSeekable();
    CheckLength();
    SF_VIRTUAL_IO io{Length, io::Seek, io::Read, Write, Tell};
    SF_INFO info{};
    stream_->Seek(0);
    file_.reset(sf_open_virtual(&io, SFM_READ, &info, stream_.get()));
    if (!file_) {
      Fail(Kind::unknownFormat, "cannot read {}: no recording in a known format ({})", name_,
           Reason(nullptr));
    }
    if (info.samplerate <= 0 || info.channels <= 0 || info.frames < 0) {
      Fail(Kind::badContent, "cannot read {}: its header tells no usable sample rate, channels and length",
           name_);
    }
    NumberChannels(static_cast<unsigned>(info.channels));
    format_ = FormatName(info.format);
    sampleSize_ = PlainSampleSize(info.format);
    isFloat_ = (info.format & SF_FORMAT_SUBMASK) == SF_FORMAT_FLOAT;
    rate_ = info.samplerate;
    frames_ = static_cast<std::uint64_t>(info.frames);
  }

  SampleBlock Read(std::size_t count) override {
    // Wide recordings are read in smaller steps, so that memory does not grow with the number of channels.
    const std::size_t channels = channels_.size();
    count = std::clamp<std::size_t>(bufferSamples / channels, 1, count);
    buffer_.resize(count * channels);
    const sf_count_t n = sampleSize_ != 0
                             ? ReadPlain(count)
                             : sf_readf_float(file_.get(), buffer_.data(), static_cast<sf_count_t>(count));
    // A decoder that finds no more at the end of the file has found a file that was cut.
    const bool cut = position_ > 0 && BytesBehind(*stream_) == 0;
    if (n <= 0 && !cut && sf_error(file_.get()) != SF_ERR_NO_ERROR) {
      Fail(Kind::unreadable, "cannot read {}: {}", name_, Reason(file_.get()));
    }
    const auto frames = static_cast<std::size_t>(std::max<sf_count_t>(n, 0));
    position_ += frames;
    if (frames == 0 && position_ < *frames_) {
      Warn("short-file", fmt::format("{} ends after {} of the {} frames that its header tells; it may have "
                                     "been cut off",
                                     name_, position_, *frames_));
    }
    return {buffer_.data(), frames, channels};
  }

  bool Rewind() override {
    position_ = 0;
    return sf_seek(file_.get(), 0, SEEK_SET) == 0;
  }

  void Skip(std::uint64_t frames) override {
    const std::uint64_t target = std::min(position_ + frames, *frames_);
    if (target == position_) return;
    if (sf_seek(file_.get(), static_cast<sf_count_t>(target), SEEK_SET) < 0) {
      // As in a compressed file without its end.
      if (!Rewind()) Fail(Kind::unreadable, "cannot read {} from a later time on", name_);
      return FrameReader::Skip(target);
    }
    position_ = target;
  }
  bool SkipsFast() const override { return true; }

 private:
  static constexpr std::size_t bufferSamples = std::size_t{1} << 22;
  static constexpr std::size_t pieceSamples = std::size_t{1} << 15;  // that are read and widened at a time

  /// The next frames of a plain file into the buffer; the numbers are those that `sf_readf_float` gives.
  sf_count_t ReadPlain(std::size_t count) {
    const std::size_t channels = channels_.size(), frameSize = channels * sampleSize_;
    const auto read = [&](void* to, std::size_t frames) {
      const sf_count_t bytes = sf_read_raw(file_.get(), to, static_cast<sf_count_t>(frames * frameSize));
      return static_cast<std::size_t>(std::max<sf_count_t>(bytes, 0)) / frameSize;
    };
    if (isFloat_) return static_cast<sf_count_t>(read(buffer_.data(), count));
    const float fullScale = std::ldexp(1.0f, 1 - 8 * static_cast<int>(sampleSize_));
    const std::size_t piece = std::max<std::size_t>(pieceSamples / channels, 1);
    bytes_.resize(piece * frameSize);
    std::size_t done = 0;
    while (done < count) {
      const std::size_t wanted = std::min(piece, count - done), n = read(bytes_.data(), wanted);
      QVL::WidenIntegers(buffer_.data() + done * channels, bytes_.data(), n * channels,
                         static_cast<unsigned>(sampleSize_), fullScale);
      done += n;
      if (n < wanted) break;
    }
    return static_cast<sf_count_t>(done);
  }

  /// libsndfile takes the length from what is there where the header promises more.
  void CheckLength() {
    const std::optional<std::uint64_t> promised = PromisedBytes(*stream_);
    if (!promised) return;
    const std::uint64_t there = BytesBehind(*stream_);
    if (there < *promised) {
      Warn("short-file", fmt::format("{} holds {} of the {} bytes of samples that its header tells; it may "
                                     "have been cut off",
                                     name_, there, *promised));
    }
  }

  std::unique_ptr<ByteStream> stream_;  ///< outlives the file that reads from it
  std::unique_ptr<SNDFILE, CloseSound> file_;
  std::size_t sampleSize_ = 0;  ///< of a plain file, else 0
  bool isFloat_ = false;
  std::vector<float> buffer_;
  std::vector<char> bytes_;
  std::uint64_t position_ = 0;
};

}  // namespace

std::unique_ptr<FrameReader> OpenSoundFile(std::unique_ptr<ByteStream> stream) {
  return std::make_unique<SoundFileReader>(std::move(stream));
}

}  // namespace umlauf::io
