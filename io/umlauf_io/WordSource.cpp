#include "umlauf_io/WordSource.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "umlauf_io/internal/Error.h"
#include "umlauf_io/internal/Open.h"
#include "umlauf_io/internal/RawBytes.h"
#include "umlauf_io/internal/Section.h"

using umlauf::io::ByteStream;
using umlauf::io::Fail;
using umlauf::io::Guard;
using umlauf::io::Kind;

struct CWordSource::State {
  State(std::unique_ptr<ByteStream> stream, const RecordingFormat& format)
      : file(std::move(stream), sizeof(ULONG) * format.rawChannels),
        section(format.from, format.to, *format.rate, 0),
        rate(*format.rate),
        channels(format.rawChannels) {
    WarnOfOddBytes();
  }

  void Read(std::size_t count, std::size_t keep);
  void WarnOfOddBytes() {
    if (file.oddBytes() > 0 && warnings.empty()) {
      warnings.push_back({"odd-bytes", CString::FromUtf8(file.OddBytesText())});
    }
  }

  umlauf::io::RawBytes file;
  umlauf::io::Section section;
  double rate;
  std::size_t channels;
  std::uint64_t position = 0;  ///< frames of the section that were read
  bool begun = false;          ///< what lies before the section has been passed over
  std::vector<ULONG> words;
  RecordingWarnings warnings;
  RecordingFailure failure;
};

void CWordSource::State::Read(std::size_t count, std::size_t keep) {
  if (!begun && !file.Skip(section.first())) {
    words.resize(channels);
    for (std::uint64_t left = section.first(); left > 0 && file.Read(words.data(), 1) > 0;) --left;
    words.clear();
  }
  begun = true;
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, section.length() - position));
  const std::size_t kept = std::min(keep * channels, words.size());
  words.erase(words.begin(), words.end() - static_cast<std::ptrdiff_t>(kept));
  words.resize(kept + count * channels);
  const std::size_t n = count > 0 ? file.Read(words.data() + kept, count) : 0;
  if (n == 0) WarnOfOddBytes();
  position += n;
  words.resize(n > 0 ? kept + n * channels : 0);
}

CWordSource::CWordSource(std::unique_ptr<State> state) : state_(std::move(state)) {}

CWordSource::~CWordSource() = default;

double CWordSource::SampleRate() const { return state_->rate; }

unsigned CWordSource::Channels() const { return static_cast<unsigned>(state_->channels); }

double CWordSource::StartTime() const { return static_cast<double>(state_->section.first()) / state_->rate; }

std::optional<std::uint64_t> CWordSource::Frames() const {
  return state_->section.Frames(state_->file.frames());
}

std::span<const ULONG> CWordSource::Read(std::size_t count, std::size_t keep) {
  if (state_->failure || !Guard(state_->failure, [&] { state_->Read(count, keep); })) return {};
  return state_->words;
}

bool CWordSource::Rewind() {
  if (!state_->file.Rewind()) return false;
  state_->words.clear();
  state_->position = 0;
  state_->begun = false;
  state_->failure = {};
  return true;
}

CString CWordSource::Failure() const { return state_->failure.text; }

bool CWordSource::HasFailed() const { return static_cast<bool>(state_->failure); }

const RecordingWarnings& CWordSource::Warnings() const { return state_->warnings; }

std::unique_ptr<CWordSource> OpenWords(const std::filesystem::path& path, const RecordingFormat& format,
                                       RecordingFailure& failure) {
  std::unique_ptr<CWordSource> source;
  failure = {};
  Guard(failure, [&] {
    umlauf::io::CheckFormat(format);
    if (!format.rate) Fail(Kind::wrongOption, "a stream of words needs its sample rate");
    if (format.raw.value_or(RawSamples::u32) != RawSamples::u32) {
      Fail(Kind::wrongOption, "a stream of words is raw samples of the kind u32");
    }
    auto stream = std::make_unique<ByteStream>(path);
    if (format.rewindable) stream->MakeSeekable();
    source.reset(new CWordSource(std::make_unique<CWordSource::State>(std::move(stream), format)));
  });
  return source;
}
