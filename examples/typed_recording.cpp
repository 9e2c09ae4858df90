// A recording of several channels: speed from its tacho channel, level of its vibration channel, results with
// key, set point and unit, and all of it as one stream of flat records and back.

#include <umlauf/typed/MeasuringResult.h>
#include <umlauf/typed/Signalieee32.h>
#include <umlauf/umlauf.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr float kRate = 20000.0f;          // samples per second
constexpr unsigned kTeeth = 60;            // of the tacho wheel
constexpr int kTachoId = 11, kAccId = 12;  // application signal ids
constexpr int kTorque = 3;                 // a quantity of the set point

/// One second of a shaft at 1500 rpm: tacho voltage and an acceleration of the 20th order, interleaved.
CSignalieee32 Record() {
  CDescription description;
  description.XInsert(0, 1);
  description.X(0).Len(static_cast<std::uint32_t>(kRate));
  description.X(0).Delta(1.0f / kRate);
  description.X(0).Unit() = CMeasuringUnit(commonUnits::second);
  description.YInsert(0, 2);
  description.Y(0).SetFloatChannel(kTachoId);
  description.Y(0).Unit() = CMeasuringUnit(commonUnits::volt);
  description.Y(1).SetFloatChannel(kAccId);
  description.Y(1).Unit() = CMeasuringUnit(commonUnits::metre_per_second_squared);

  CSignalieee32 recording(description);
  recording.Key() =
      CClavis(1, 0, 2, 4, -1, 0);  // test step, instrument, channel, location, no parameter, sensor
  recording.SetPoint().def(0, kTorque);
  recording.SetPoint()[0] = 250.0f;
  auto tacho = recording.begin(0, 0), acceleration = recording.begin(0, 1);
  for (const auto end = recording.end(0, 0); tacho != end; ++tacho, ++acceleration) {
    const double angle = 6.283185307179586 * 25.0 * static_cast<double>(tacho.position() / 2) / kRate;
    *tacho = static_cast<float>(2.0 * std::sin(kTeeth * angle));
    *acceleration = static_cast<float>(3.0 * std::sin(20.0 * angle));
  }
  return recording;
}

/// A result that belongs to the recording: its key but for the channel, and its set point.
CMeasuringResultScalar Result(const CSignalieee32& recording, const CYChannelDescriptionInterface& channel,
                              float value, const CMeasuringUnitInterface& unit) {
  CMeasuringResultScalar result;
  result.Key() = recording.Key();
  result.Key()[Clavis::qChannel] = channel.AppSigId();
  result.SetPoint() = recording.SetPoint();
  result.Value(value);
  result.Unit() = unit;
  return result;
}

void Append(std::vector<std::byte>& stream, const CSerializable& object) {
  const std::size_t at = stream.size();
  stream.resize(at + object.length());
  object.write(stream.data() + at);
}

/// Reads the next object of the stream; false when the stream is too short for it.
bool Next(const std::vector<std::byte>& stream, std::size_t& at, CSerializable& object) {
  const std::int64_t taken = object.read(stream.data() + at, stream.size() - at);
  if (taken < 0) return false;
  at += static_cast<std::size_t>(taken);
  return true;
}

}  // namespace

int main() {
  const CSignalieee32 recording = Record();
  const CDescriptionInterface& description = recording.Description();

  // The detector walks over the tacho channel where it lies, between the other channels.
  const int tacho = description.FindAppSigId(kTachoId);
  CDzPulsDetektor detector;
  detector.SchrankenSetzen(0.5f, -0.5f);
  detector.QuellenPulseProUmdr(kTeeth);
  detector.PulsMinLenSetzen(0);
  CDzPulsListe pulses;
  pulses.SetSignalId(kTachoId);
  detector.PulseSuchen(recording.data() + tacho, description.X(0).Len(), pulses,
                       static_cast<unsigned>(description.stride(0)));
  if (pulses.empty()) return 1;
  // The first pulse begins with the recording and not with an edge: its length tells nothing of the speed.
  pulses.CopyPulsList(pulses, pulses[0].NrSamples(), description.X(0).Len());
  pulses.CalcAverPulsF(kRate);

  // The acceleration becomes a signal of its own.
  CSignalieee32 acceleration;
  const auto accChannel = static_cast<unsigned>(description.FindAppSigId(kAccId));
  if (!recording.demux(accChannel, acceleration, true)) return 1;

  const CMeasuringResultScalar speed = Result(recording, description.Y(static_cast<unsigned>(tacho)),
                                              pulses.AverSpeed(), CMeasuringUnit(commonUnits::rpm));
  const CMeasuringResultScalar level = Result(recording, description.Y(accChannel), acceleration.RMS(),
                                              acceleration.Description().Y(0).Unit());

  std::vector<std::byte> stream;
  Append(stream, recording);
  Append(stream, pulses);
  Append(stream, speed);
  Append(stream, level);

  CSignalieee32 recordingRead;
  CDzPulsListe pulsesRead;
  CMeasuringResultScalar speedRead, levelRead;
  std::size_t at = 0;
  if (!Next(stream, at, recordingRead) || !Next(stream, at, pulsesRead) || !Next(stream, at, speedRead) ||
      !Next(stream, at, levelRead) || at != stream.size()) {
    return 1;
  }

  std::printf("%zu bytes: %llu samples of %u channels, %llu pulses\n", stream.size(),
              static_cast<unsigned long long>(recordingRead.elements()), recordingRead.Description().YCount(),
              static_cast<unsigned long long>(pulsesRead.NrRealPulses()));
  for (const CMeasuringResultScalar* result : {&speedRead, &levelRead}) {
    std::printf("channel %d at %.0f Nm: %.2f %s\n", result->Key()[Clavis::qChannel],
                static_cast<double>(result->SetPoint()[0]), static_cast<double>(result->Value()),
                result->Unit().prefixunit(false).ToUtf8().c_str());
  }
  const bool right = std::fabs(speedRead.Value() - 1500.0f) < 0.01f &&
                     std::fabs(levelRead.Value() - 3.0f / std::sqrt(2.0f)) < 1e-3f &&
                     recordingRead.Description() == description && speedRead.id() == speed.id() &&
                     pulsesRead.NrRealPulses() == pulses.NrRealPulses();
  return right ? 0 : 1;
}
