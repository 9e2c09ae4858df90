#include "umlauf_io/RecordingSource.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "umlauf/platform/vekta/numeric.h"
#include "umlauf_io/internal/Error.h"
#include "umlauf_io/internal/Open.h"
#include "umlauf_io/internal/Section.h"

using umlauf::io::Channel;
using umlauf::io::Fail;
using umlauf::io::FrameReader;
using umlauf::io::Guard;
using umlauf::io::Kind;
using umlauf::io::Section;

struct CRecordingSource::State {
  State(std::unique_ptr<FrameReader> opened, const RecordingFormat& format)
      : reader(std::move(opened)),
        section(format.from, format.to, reader->rate(), reader->start()),
        scale(format.scale),
        offset(format.offset),
        unit(format.unit) {
    Choose(format.channels, format.firstChannelOnly && format.columns.empty());
  }

  void Seek(std::uint64_t frame);
  void Choose(const std::vector<unsigned>& wanted, bool firstOnly);
  SampleBlock Read(std::size_t count);
  void Gather(SampleBlock& block);

  std::unique_ptr<FrameReader> reader;
  Section section;
  double scale, offset;
  CString unit;
  std::vector<std::size_t> chosen;  ///< places in a frame of the reader
  bool inPlace = true;              ///< the chosen ones lie side by side in it
  std::uint64_t position = 0;       ///< frames of the section that were read
  bool begun = false;               ///< what lies before the section has been passed over
  std::vector<float> buffer;
  RecordingFailure failure;
};

void CRecordingSource::State::Choose(const std::vector<unsigned>& wanted, bool firstOnly) {
  const std::vector<Channel>& all = reader->channels();
  for (std::size_t i = 0; wanted.empty() && i < (firstOnly ? 1 : all.size()); ++i) chosen.push_back(i);
  for (const unsigned each : wanted) {
    if (each < 1 || each > all.size()) {
      Fail(Kind::noSuchChannel, "{} has no channel {}; it has channel 1{}", reader->name(), each,
           all.size() > 1 ? fmt::format(" to {}", all.size()) : "");
    }
    chosen.push_back(each - 1);
  }
  for (std::size_t i = 1; i < chosen.size(); ++i) inPlace = inPlace && chosen[i] == chosen[i - 1] + 1;
}

SampleBlock CRecordingSource::State::Read(std::size_t count) {
  if (!begun) {
    reader->Skip(section.first());
    begun = true;
  }
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, section.length() - position));
  if (count == 0) return {};
  SampleBlock block = reader->Read(count);
  if (block.count == 0) return {};
  position += block.count;
  if (inPlace && scale == 1 && offset == 0) {
    block.samples += chosen.front();
  } else {
    Gather(block);
  }
  return block;
}

void CRecordingSource::State::Seek(std::uint64_t frame) {
  frame = std::min(frame, section.length());
  if (!begun || frame < position) {
    if (!reader->Rewind()) Fail(Kind::unreadable, "cannot read {} twice", reader->name());
    reader->Skip(section.first());
    begun = true;
    position = 0;
  }
  reader->Skip(frame - position);
  position = frame;
}

void CRecordingSource::State::Gather(SampleBlock& block) {
  const std::size_t width = chosen.size();
  const auto factor = static_cast<float>(scale), sum = static_cast<float>(offset);
  buffer.resize(block.count * width);
  for (std::size_t k = 0; k < width; ++k) {
    const float* from = block.samples + chosen[k];
    float* to = buffer.data() + k;
    for (std::size_t i = 0; i < block.count; ++i) to[i * width] = from[i * block.stride] * factor + sum;
  }
  block.samples = buffer.data();
  block.stride = width;
}

CRecordingSource::CRecordingSource(std::unique_ptr<FrameReader> reader, const RecordingFormat& format)
    : state_(std::make_unique<State>(std::move(reader), format)) {}

CRecordingSource::~CRecordingSource() = default;

double CRecordingSource::SampleRate() const { return state_->reader->rate(); }

unsigned CRecordingSource::Channels() const { return static_cast<unsigned>(state_->chosen.size()); }

std::optional<std::uint64_t> CRecordingSource::Frames() const {
  return state_->section.Frames(state_->reader->frames());
}

double CRecordingSource::StartTime() const {
  return state_->reader->start() + static_cast<double>(state_->section.first()) / state_->reader->rate();
}

CString CRecordingSource::ChannelName(unsigned c) const {
  if (c >= Channels()) return CString();
  return CString::FromUtf8(state_->reader->channels()[state_->chosen[c]].name);
}

SampleBlock CRecordingSource::Read(std::size_t count) {
  SampleBlock block;
  if (state_->failure || !Guard(state_->failure, [&] { block = state_->Read(count); })) return {};
  return block;
}

bool CRecordingSource::Rewind() {
  bool done = false;
  RecordingFailure failure;
  if (!Guard(failure, [&] { done = state_->reader->Rewind(); })) state_->failure = std::move(failure);
  if (!done) return false;
  state_->position = 0;
  state_->begun = false;
  state_->failure = {};
  return true;
}

bool CRecordingSource::Seek(std::uint64_t frame) {
  if (!state_->reader->SkipsFast() || state_->failure) return false;
  return Guard(state_->failure, [&] { state_->Seek(frame); });
}

CString CRecordingSource::Failure() const { return state_->failure.text; }

bool CRecordingSource::HasFailed() const { return static_cast<bool>(state_->failure); }

unsigned CRecordingSource::RecordingChannels() const { return state_->reader->recordingChannels(); }

unsigned CRecordingSource::ChannelNumber(unsigned c) const {
  return c < Channels() ? state_->reader->channels()[state_->chosen[c]].number : 0;
}

CString CRecordingSource::FormatName() const { return CString::FromUtf8(state_->reader->format()); }

CString CRecordingSource::Unit(unsigned c) const {
  const bool asRecorded = state_->scale == 1 && state_->offset == 0;
  if (!state_->unit.IsEmpty() || !asRecorded || c >= Channels()) return state_->unit;
  return CString::FromUtf8(state_->reader->channels()[state_->chosen[c]].unit);
}

const RecordingWarnings& CRecordingSource::Warnings() const { return state_->reader->warnings(); }

std::unique_ptr<CRecordingSource> OpenRecording(const std::filesystem::path& path,
                                                const RecordingFormat& format, RecordingFailure& failure) {
  std::unique_ptr<CRecordingSource> source;
  failure = {};
  Guard(failure, [&] {
    umlauf::io::CheckFormat(format);
    source.reset(new CRecordingSource(umlauf::io::OpenFrames(path, format), format));
  });
  return source;
}
