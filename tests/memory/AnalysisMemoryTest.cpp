#include "FailingAllocation.h"
#include "support/Test.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/umlauf.h"

namespace {

TEST(WithoutMemory, Algorithms) {
  EveryAllocationFails([] {
    static const CSigCurveExt curve = LongNamedCurve();
    CSigCurveExt out;
    CSigPairs points;
    CurveFeatures::Peaks(curve, {}, points);
    CurveFeatures::Crossings(curve, 3.0f, CurveFeatures::Direction::Both, points);
    CurveCalculus::Integral(curve, out);
    CurveCalculus::Derivative(curve, out);
    CurveCalculus::OmegaFactor(curve, -1.0, 0.5, out);
    CurveLevels::MovingEffectiveValue(curve, 0.1, out);
    CurveLevels::Smooth(curve, 0.1, 3, out);
    CurveLevels::Envelope(curve, out);
    CurveResampling::Resample(curve, 0.0f, 1.0f, 77, CurveResampling::Method::BandLimited, out);
    CurveStatistics::Histogram(curve, 0.0f, 17.0f, 9, out);
    CAlignedMem<RainflowCycle> cycles;
    CurveStatistics::Rainflow(curve, cycles);
    double delay = 0, coefficient = 0;
    CurveCorrelation::Correlation(curve, curve, 0.2, out);
    CurveCorrelation::Delay(curve, curve, 0.2, delay, coefficient);
    out = curve;
    CurveCorrelation::Align(curve, out, 0.2, delay);
  });
}

TEST(WithoutMemory, Spectra) {
  EveryAllocationFails([] {
    // Without a unit: where one is lost on the way to a density, another name would be registered for good.
    static const CSigCurveExt curve = [] {
      CSigCurveExt made = LongNamedCurve();
      made.SetYUnit(CMeasuringUnit());
      return made;
    }();
    static std::vector<float> out(20000);
    const SpectrumSettings settings{.length = 48, .step = 16, .detrending = Detrending::Line};
    CSigCurve spectrum, other;
    CSpectrumAverage::OfCurve(curve, settings, SpectrumScaling::Density, spectrum);
    CSigPairs bands;
    OctaveBands::FromDensity(spectrum, 3, bands);
    CCrossSpectrumAverage cross(settings, 100.0);
    cross.Process(curve.FData(), curve.FData(), 200);
    cross.Transfer(CCrossSpectrumAverage::Estimator::H1, spectrum, other);
    CSigCurveArray array;
    CSpectrogramBuilder builder(settings, 100.0, SpectrumScaling::Amplitude, 4);
    builder.Process(curve.FData(), 200);
    builder.Finish(array, CMeasuringUnit(L"Pa"));
    SpectrumLevels::Apply(array, SpectrumScaling::Amplitude, 2e-5);
    CSigCurveExt filtered(curve);
    const SosSections sections = Butterworth::BandPass(3, 0.1, 0.2, 1);
    ZeroPhase::Filter(sections, filtered);
    CZeroPhaseStream stream(sections);
    stream.Process(out.data(), curve.FData(), 200);
    stream.Flush(out.data());
    CSosFilter(sections).Process(filtered);
    Copy(CSpectrumWindow(WindowShape::Hann, 48));
    Copy(CZeroPhaseStream(sections));
  });
}

TEST(WithoutMemory, Orders) {
  EveryAllocationFails([] {
    static const CPulseTrain pulses = [] {
      CPulseTrain train(1000);
      CPulseTrain::Pulse pulse;
      for (int i = 0; i < 24; ++i) {
        pulse.begin = pulse.end;
        pulse.end += 30 + i % 3;
        pulse.revolutionTime = 4 * pulse.Length();
        train.Append(pulse);
      }
      return train;
    }();
    static const std::vector<float> samples(700, 1.0f);
    COrderAnalysis::Settings settings;
    settings.map = {.maxOrder = 2, .resolution = 0.5};
    if (!umlauf::HadMemory([&] { settings.tracks.orders = {1, 1.5}; })) return;
    settings.frequencies = CampbellSettings{.resolution = 50};
    settings.averagedRevolutions = 2;
    settings.slowest = 1000;
    COrderAnalysis analysis(settings);
    CMemorySource recording(samples, 1000);
    const bool analysed = analysis.Analyse(recording, pulses, 4);
    EXPECT_NE(analysed, !analysis.Failure().IsEmpty());
    if (analysed) {
      CSigCurveArray map;
      CSigCurve curve;
      CSigPairs pairs;
      analysis.Map()->Map(0, {}, map);
      analysis.Frequencies()->Map(0, {}, map);
      analysis.Map()->Spectrum(0, {}, curve);
      analysis.Map()->OverallLevel(0, {}, pairs);
      analysis.Tracks()->Curves(0, CMeasuringUnit(), map);
      analysis.Average()->Average(0, CMeasuringUnit(), curve);
    }
    const bool torsion = analysis.AnalyseTorsion(pulses, 4);
    EXPECT_NE(torsion, !analysis.Failure().IsEmpty());
    const CPitchErrors errors(pulses, 4);
    errors.Corrected(pulses);
    Copy(errors);
    ShaftTrains::Geared(pulses, 0.5);
    ShaftTrains::Sum({&pulses, 4, 0.5}, {&pulses, 4, -0.2});
    CTimeResampler(settings.map.Grid(), 1, 1000);
    static const std::vector<double> phases(100, 0.2);
    CVoldKalman(0.1).Fit(samples.data(), 100, phases.data(), 1);
    CombSpeedSettings combSettings;
    if (!umlauf::HadMemory([&] { combSettings.orders = {1, 3}; })) return;
    combSettings.resolution = 10;
    CCombSpeed comb(combSettings, 1000);
    comb.Take(samples.data(), samples.size());
    CSigCurve rpm, confidence;
    comb.Find(rpm, confidence);
  });
}

}  // namespace
