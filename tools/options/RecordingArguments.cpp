
#include "tools/commands/Commands.h"
#include "tools/input/RecordingInput.h"

namespace umlauf::tool {

void DeclareChannel(CLI::App& command, RecordingOptions& recording) {
  const std::string group = "Recording";
  command.add_option("--channel", recording.channel, "channel of a sound or raw file, from 1")
      ->transform(WholeNumber(1, 65535))
      ->group(group);
  command
      .add_option("--column", recording.column, "column of a CSV file, number from 1 (1 is the time) or name")
      ->group(group);
}

void DeclareWords(CLI::App& command, RecordingOptions& recording) {
  command
      .add_option("recording", recording.path,
                  "file of 32-bit words without a header (--raw u32); - is standard input")
      ->required();
  command.add_option("--channel", recording.channel, "channel of the words, from 1")
      ->transform(WholeNumber(1, 65535))
      ->group("Recording");
  DeclareRecordingFormat(command, recording);
  DeclareSection(command, recording);
}

void DeclareRecordingFormat(CLI::App& command, RecordingOptions& recording) {
  const std::string group = "Recording";
  const Choices<RawSamples> rawFormats = {
      {"f32", RawSamples::f32}, {"i16", RawSamples::i16}, {"i32", RawSamples::i32}, {"u32", RawSamples::u32}};
  command.add_option("--raw", recording.raw, "headerless little-endian samples: f32, i16, i32 or u32")
      ->transform(OneOf(rawFormats))
      ->type_name("FORMAT")
      ->group(group);
  command
      .add_option(recording.rateOption, recording.rate,
                  "samples per second of raw samples; for CSV in place of its times")
      ->check(AboveZero().description(""))
      ->type_name("HZ")
      ->group(group);
  command.add_option("--channels", recording.channels, "channels of raw samples (1)")
      ->transform(WholeNumber(1, 65535))
      ->group(group);
}

void DeclareSection(CLI::App& command, RecordingOptions& recording) {
  const std::string group = "Recording";
  const auto add = [&](const char* name, std::optional<double>& target, const char* text) {
    command.add_option(name, target, text)
        ->check(Finite().description(""))
        ->type_name("SECONDS")
        ->group(group);
  };
  add("--from", recording.from, "only what lies at this time or later");
  add("--to", recording.to, "only what lies before this time");
}

void DeclareScaling(CLI::App& command, RecordingOptions& recording) {
  const std::string group = "Recording";
  command.add_option("--scale", recording.scale, "factor for the samples, before the offset (1)")
      ->check(Finite().description(""))
      ->group(group);
  command.add_option("--offset", recording.offset, "added to the samples (0)")
      ->check(Finite().description(""))
      ->group(group);
  command.add_option("--unit", recording.unit, "unit of the samples, for people")->group(group);
}

void DeclareRecording(CLI::App& command, RecordingOptions& recording) {
  command
      .add_option("recording", recording.path,
                  "WAV, FLAC, W64, RF64, MAT ..., CSV or raw samples; - is standard input")
      ->required();
  DeclareChannel(command, recording);
  DeclareRecordingFormat(command, recording);
  DeclareSection(command, recording);
}

}  // namespace umlauf::tool
