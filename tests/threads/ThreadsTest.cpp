#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "umlauf/umlauf.h"

// Objects of their own on several threads at once give what they give on one. Under ThreadSanitizer this also
// shows what they share without a lock.
namespace {

using Results = std::vector<std::string>;
template <class T>
std::string Text(T x) {
  return std::to_string(x);
}

std::vector<float> Run() {
  std::vector<float> samples;
  for (double t = 0; t < 0.5; t += 1 / 20000.0) {
    const double turns = 10 * t + 15 * t * t, tooth = 60 * (turns - std::floor(turns));
    samples.push_back(tooth < 58 ? static_cast<float>(std::sin(6.283185307179586 * tooth)) : 0.0f);
  }
  return samples;
}

Results Speed() {
  const std::vector<float> samples = Run();
  CMemorySource recording(samples, 20000);
  CRotation rotation;
  rotation.Wheel(60, CRotation::Gap::automatic);
  if (!rotation.Analyse(recording)) return {rotation.Failure().ToUtf8()};
  const auto curve = rotation.SpeedCurve(0.01);
  return {Text(rotation.Speed().Mean(20000)), Text(rotation.Angle().At(5000)), curve->NameA(),
          curve->YUnit().prefixunitA(true)};
}

// As the workers of an archive do.
Results Pieces() {
  const std::vector<float> samples = Run();
  CMemorySource recording(samples, 20000);
  CRotationStream::Settings settings;
  settings.pulsesPerRevolution = 60;
  settings.gap = true;
  CRotationPieces rotation(settings, 2000);
  RotationPiece first, second;
  const std::array pieces{&std::as_const(first), &std::as_const(second)};
  if (!rotation.FindLevels(recording) || !rotation.Search(recording, 0, 5000, first) ||
      !rotation.Search(recording, 5000, samples.size(), second) || !rotation.Join(recording, pieces))
    return {rotation.Failure().ToUtf8()};
  return {Text(rotation.Pulses().size()), Text(rotation.Pulses().Edges().back())};
}

Results Orders() {
  const std::vector<float> samples = Run();
  CMemorySource recording(samples, 20000);
  CRotation rotation;
  rotation.Wheel(60, CRotation::Gap::automatic);
  if (!rotation.Analyse(recording)) return {rotation.Failure().ToUtf8()};
  COrderAnalysis::Settings settings;
  settings.map = {.maxOrder = 10, .resolution = 1};
  settings.tracks.orders = {1, 2};
  settings.tracks.method = OrderTrackSettings::Method::voldKalman;
  COrderAnalysis orders(settings);
  recording.Rewind();
  CSigCurve spectrum;
  if (!orders.Analyse(recording, rotation.Pulses(), 60)) return {orders.Failure().ToUtf8()};
  orders.Map()->Spectrum(0, {}, spectrum);
  return {Text(orders.Map()->Rows().size()), Text(spectrum.FData()[10])};
}

Results Rates() {
  const std::vector<float> samples = Run();
  std::vector<float> out(samples.size());
  Results results;
  for (const double ratio : {2.5, 7.0, 10.3}) {
    CDownsamplingStream stream(ratio);
    auto n = stream.Process(out.data(), samples.data(), samples.size());
    n += stream.Flush(out.data() + n);
    results.push_back(Text(QVL::VectorSum(out.data(), n, 1)));
  }
  return results;
}

Results Spectra() {
  const std::vector<float> samples = Run();
  CSpectrumAverage average(SpectrumSettings{}, 20000);
  average.Process(samples.data(), samples.size());
  CSigCurve psd;
  average.Spectrum(SpectrumScaling{}, psd);
  return {Text(average.Segments()), Text(psd.DLen()), psd.XUnit().prefixunit(true).ToUtf8()};
}

Results Texts() {
  Results results;
  for (const wchar_t* text : {L"km/h", L"kg*m^2", L"mV", L"unknown to all"}) {
    const CMeasuringUnit unit(text);
    results.push_back(unit.prefixunitA(true));
  }
  results.push_back(CString(CVisDataItem::DisplayModeName(3)).ToUtf8());
  CSigCurve curve;
  curve.SetNameA("Drehzahl 1/min \xC2\xB5");
  results.push_back(curve.NameA());
  PrWin::Output(PrWin::note, L"a message\n");
  return results;
}

Results Files() {
  const std::vector<float> samples = Run();
  const auto path = std::filesystem::temp_directory_path() /
                    ("umlauf_threads_" + Text(std::hash<std::thread::id>()(std::this_thread::get_id())));
  CSigCurve curve(samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i) curve.SetAt(i, samples[i]);
  curve.SetName(L"a name");
  CSignalFile file;
  const CString name = CString::FromUtf8(path.string());
  const bool written = file.Write(curve, name.GetString());
  const auto read = file.Read(name.GetString());
  std::filesystem::remove(path);
  return {Text(written), read ? read->NameA() : file.Failure().ToUtf8()};
}

Results Settings() {
  CResourceSea sea(L":memory:");
  const std::vector<int> values = {1, 2, 3};
  return {Text(sea.LookupSetInts(L"values", 0, values)), Text(sea.LookupInt(L"values", 2, 0)),
          Text(CSeaBase::ApplicationSea().LookupInt(L"no such value", 0, 7))};
}

TEST(Threads, ObjectsOfTheirOwnGiveTheSameOnSeveralThreads) {
  const PrWin::Sink before = PrWin::SetSink([](int, int, const CString&) {});
  const std::vector<std::function<Results()>> jobs = {Speed,   Pieces, Orders, Rates,
                                                      Spectra, Texts,  Files,  Settings};
  constexpr std::size_t count = 4, rounds = 3;
  std::vector<std::vector<Results>> found(count, std::vector<Results>(jobs.size()));
  std::vector<std::thread> threads;
  // The first use of each table is on several threads, too.
  for (std::size_t t = 0; t < count; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t i = 0; i < rounds * jobs.size(); ++i) {
        const std::size_t job = (t + i) % jobs.size();
        found[t][job] = jobs[job]();
      }
    });
  }
  for (std::thread& each : threads) each.join();
  for (std::size_t job = 0; job < jobs.size(); ++job) {
    const Results alone = jobs[job]();
    for (std::size_t t = 0; t < count; ++t) EXPECT_EQ(found[t][job], alone) << "job " << job;
  }
  PrWin::SetSink(before);
}

}  // namespace
