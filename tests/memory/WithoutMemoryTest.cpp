// Makes the k-th allocation fail, for every k, in everything that allocates: nothing is thrown, nothing
// leaks, and with memory back the same objects serve again.

#include <atomic>
#include <filesystem>
#include <functional>
#include <new>

#include "support/Test.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/umlauf.h"

namespace {

constexpr long kNever = -1;
std::atomic<long> g_untilFailure = kNever;
std::atomic<bool> g_onlyOne = false;  // later allocations succeed again
std::atomic<long> g_live = 0;

bool Fails() {
  const long left = g_untilFailure;
  if (left == kNever) return false;
  if (left > 0) {
    --g_untilFailure;
    return false;
  }
  if (g_onlyOne) g_untilFailure = -2;  // spent
  return left == 0;
}

void* Allocate(std::size_t bytes, std::size_t alignment) {
  if (Fails()) return nullptr;
  void* const block =
      std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment + alignment);
  if (block != nullptr) ++g_live;
  return block;
}

void* OrThrow(void* block) { return block != nullptr ? block : throw std::bad_alloc(); }

void Free(void* block) {
  if (block != nullptr) --g_live;
  std::free(block);
}

constexpr std::size_t kPlain = alignof(std::max_align_t);

}  // namespace

void* operator new(std::size_t n) { return OrThrow(Allocate(n, kPlain)); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return Allocate(n, kPlain); }
void* operator new[](std::size_t n) { return OrThrow(Allocate(n, kPlain)); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return Allocate(n, kPlain); }
void* operator new(std::size_t n, std::align_val_t a) {
  return OrThrow(Allocate(n, static_cast<std::size_t>(a)));
}
void* operator new(std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept {
  return Allocate(n, static_cast<std::size_t>(a));
}
void operator delete(void* p) noexcept { Free(p); }
void operator delete(void* p, std::size_t) noexcept { Free(p); }
void operator delete(void* p, std::align_val_t) noexcept { Free(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { Free(p); }
void operator delete[](void* p) noexcept { Free(p); }
void operator delete[](void* p, std::size_t) noexcept { Free(p); }

namespace {

const CString kLong(L"a text that is far too long for the room that small texts have within their object");
const CString kLonger = kLong + kLong + kLong;

CSigCurveExt Curve() {
  CSigCurveExt curve(std::uint64_t{200});
  curve.SetName(kLong);
  curve.SetExtName(kLonger);
  curve.SetYUnit(CString(L"m/s²"));
  for (std::size_t i = 0; i < 200; ++i) curve.SetAt(i, static_cast<float>(i % 17));
  return curve;
}

struct Case {
  const char* name;
  std::function<void()> use;
};

void Texts() {
  CString text(kLong.GetString());
  const CString copy(text), left = text.Left(60);
  text += copy;
  text += L"and then some more of it, so that the text grows";
  text.Replace(L"text", L"longer text");
  text.Insert(3, kLong);
  text.Format(L"%s %d %s %g", kLong, 7, "narrow text, in UTF-8, ü", 0.5);
  text = copy + L"tail" + text.Mid(3, 70);
  EXPECT_LE(CString::FromUtf8(text.ToUtf8()).GetLength(), text.GetLength());
  EXPECT_LE(CString::FromAnsi(text.ToAnsi()).GetLength(), text.GetLength());
  Formatting::ansi2unicode(Formatting::unicode2ansi(kLong.view()));
  const CArithExpression expression(L"(first_long_name + second_long_name) * third_long_name ^ -2");
  const CExpression tree = expression.tree();
  if (!tree.empty()) tree.Infix(tree.Root());
}

void Units() {
  static const CString rate(L"km/h"), level(L"dB((Newton_metre/long_name)^3)");
  for (const CString& text : {std::cref(rate), std::cref(level), std::cref(kLong)}) {
    CMeasuringUnit unit(text);
    unit.exponent(7);
    unit.prefixunit(true);
    unit.prefixunitA(false);
    unit.setA("a/b*c/d*e/f*g/h*i/j*k/l*m/n*o/p");
    CMemFile file;
    if (unit.WriteToFile(file)) {
      CMeasuringUnit back;
      file.Seek(0, CFile::begin);
      back.ReadFromFile(file);
    }
  }
  CMeasuringUnitComboBox box;
  box.Prepare(CMeasuringUnit(CommonUnits::rpm));
  CSiPrefixComboBox prefixes;
  prefixes.Prepare(std::int16_t{3});
  std::map<int, CString> names;
  CMeasuringUnitComboBox::FillIdNameMap(names);
  CSiPrefixComboBox::FillIdNameMap(names);
}

void Signals() {
  static const CSigCurveExt full = Curve();
  CSigCurveExt copy(full), assigned;
  assigned = full;
  assigned = static_cast<const CSigCurve&>(full);
  assigned.SetNameA("a name in UTF-8 that is longer than the forty characters that are reserved");
  assigned.AppendToName(kLong);
  assigned.CopyInfo(full);
  assigned.SetExtName("another text that does not fit into a small one");
  copy.Append(full);
  copy.Resize(1000);
  copy.AddSquared(copy, 1.0f, 3);
  copy.CopyToRealData();
  copy.MakeSameSize(full);
  std::unique_ptr<CObject> made(CSigCurveExt::GetThisClass()->CreateObject());
  CMemFile file;
  if (full.WriteToFile(file, 2)) {
    file.Seek(0, CFile::begin);
    assigned.ReadFromFile(file, 2);
  }
}

void Pairs() {
  static const CSigCurveExt curve = Curve();
  CSigPairs pairs(curve), other(std::size_t{3});
  for (int i = 0; i < 40; ++i) other.NeuesPaarEinsortieren(static_cast<float>(i * 7 % 40) / 40, 1.0f);
  pairs |= other;
  pairs.Verrechnen(other, CSigPairs::maximum);
  pairs.DatenSortieren(true);
  pairs.Glaetten(0.1f);
  pairs = pairs + other;
  pairs.ValArray();
  CSigCurveExt drawn;
  pairs.KurveBilden(&drawn, 50);
  pairs.Append(static_cast<const CSigPairs&>(other));
  CSigPairsTm timed(pairs), copy(timed);
  timed.NeuesPaar(CTime(100), 3.0f);
  copy = timed;
  CMemFile file;
  if (pairs.WriteToFile(file, 2)) {
    file.Seek(0, CFile::begin);
    other.ReadFromFile(file, 2);
  }
  CSigPairsList list;
  list.SetName(kLong);
  for (int i = 0; i < 30; ++i) list.NeuesObjekt(&other, &file + i % 2);
  if (!list.IsEmpty()) list.InDenVorrat(list.GetHeadPosition());
  list.NeuesObjekt(4);
  list.Maximum();
  list.VerbundAllerPunkte();
  list.Intervalle();
}

void Files() {
  static const std::wstring path =
      (std::filesystem::temp_directory_path() / "umlauf-without-memory-of-a-long-name.bin").wstring();
  static const std::vector<std::byte> bytes(5000);
  CFile file(path.c_str(), CFile::modeReadWrite | CFile::modeCreate);
  file.Write(bytes.data(), bytes.size());
  file.Close();
  const bool opened = file.Open(path.c_str(), CFile::modeRead);
  EXPECT_EQ(file.IsOpen(), opened);
  CMemFile memory{std::span(bytes)};
  memory.Seek(0, CFile::end);
  memory.Write(bytes.data(), bytes.size());
  EXPECT_TRUE(memory.GetLength() == 10000 || memory.Failed());
  static const CSigCurveExt curve = Curve();
  CMemFile stored;
  CSignalFile signals;
  if (signals.Write(curve, stored)) {
    stored.Seek(0, CFile::begin);
    const bool none = signals.Read(stored) == nullptr;
    EXPECT_TRUE(none || signals.Failure().IsEmpty());
  }
}

void Settings() {
  CResourceSea sea(L":memory:");
  static const std::array<int, 4> values{1, 2, 3, 4};
  static const CString path(L"a/path/in/the/settings/that/is/not/a/short/one");
  CResourceSea::Transaction transaction(sea);
  const bool set = sea.LookupSetInts(path, 0, values);
  const bool committed = transaction.Commit();
  EXPECT_TRUE(set || !committed);
  const auto read = sea.Values(path);
  EXPECT_TRUE(read.empty() || read.size() == values.size());
  sea.Paths(L"a/");
  EXPECT_LE(sea.Paths(L"b/").size(), 0u);
  sea.FindEntry(path);
  CMaskedClavis key;
  key.Write(path, sea);
  key.Read(path, sea);
  sea.RemoveEntry(path);
  CSeaBase::ApplicationPath();
}

void Keys() {
  CClavisSet set, other;
  CClavis key(1, 2, 3, 4, 5, 6);
  CClavisFilter filter(1, true);
  for (int i = 0; i < 8; ++i) {
    key.Instrument() = i;
    set.insert(key.Field(), i % 2 == 0);
    other += key.Field();
    filter.append(key, false);
  }
  CClavisSet copy(set);
  copy = other;
  copy |= set;
  copy &= other;
  copy.insertElement(2, -1);
  const CClavisFilter filterCopy(filter);
  EXPECT_LE(filterCopy.Active(), filter.Active());
  TramonStrings::ReloadElementNames();
  CLibMgr::Language();
}

void TypedSignals() {
  CDescription description;
  description.pod().xCount = 1;
  description.pod().yCount = 3;
  description.X(0).Len(50);
  CSignalieee32 signal{CTypedSignal<float>(description)};
  const CSignalieee32 copy(signal);
  CSignalieee32 part(copy, 5u), turned;
  turned.MakeTransposedOf(copy);
  std::array<CTypedSignal<float>, 3> channels;
  signal.demux(channels.data(), true);
  signal.mux(channels.data());
  signal.transmux(3u, part, 0, true);
  part = copy;
  std::array<std::byte, 4096> flat;
  if (part.length() <= flat.size()) {
    part.write(flat.data());
    turned.read(flat.data(), flat.size());
  }
}

void Pulses() {
  static const std::vector<float> tacho = [] {
    std::vector<float> samples(3000);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = i % 20 < 10 ? 1.0f : -1.0f;
    return samples;
  }();
  static std::array<ULONG, 600> words;
  for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<ULONG>(i / 7 << 16 | 0x10A0);
  CDzPulsDetektor detector;
  detector.SchrankenSetzen(0.5f, -0.5f);
  const CString settings = detector.SettingsStringBilden();
  detector.SettingsStringLesen(settings);
  CDzPulsDetektor same(detector);
  CDzPulsListe list, copy;
  detector.PulseSuchen(tacho.data(), tacho.size(), list, 1);
  list.CalcAverPulsF(48000.0f);
  copy = list;
  CFueGroeHopListe hops;
  list.CopyFueGroeHopList(hops);
  hops += hops;
  CSigCurve curve;
  list.GenerateVisCurve(curve, 100);
  list.DebugOutput(kLong, 5);
  CDzPulsListArray lists;
  lists.GroesseAendern(3);
  lists.ListeUebernehmen(1, list);
  for (const int mode : {1, 2, 3, 4, 5, 6}) {
    using Mode = CYChannelDescriptionInterface::ETisMode;
    CDzPulsTisDetector encoder(static_cast<Mode>(mode));
    encoder.Restart(48000, 60, true, static_cast<Mode>(mode));
    encoder.PulseSuchen(words.data(), words.size(), 1, list);
    const CDzPulsTisDetector twin(encoder);
  }
  CPositionPulseDetector position;
  position.process(words.data(), words.size(), 1, true, hops, 48000, &list, 4.0f, 0.0f);
}

void Rates() {
  static const std::vector<float> in(6000, 1.0f);
  static std::vector<float> out(7000);
  using Reduction = CDownsamplingStream::Reduction;
  for (const Reduction reduction : {Reduction::Filter, Reduction::Linear, Reduction::Mean, Reduction::Max,
                                    Reduction::MinMax, Reduction::Sum}) {
    CDownsamplingStream stream(3.3, reduction, 2);
    if (!stream.IsValid()) continue;
    EXPECT_LE(stream.Process(out.data(), in.data(), 1000), stream.MaxOutput(1000));
    stream.Flush(out.data());
  }
  CDownsamplingFilter filter;
  float phase = 0.0f;
  // The filters read around the block.
  filter.Downsampling(out.data(), 1, in.data() + 1000, 3000, 2.5f, phase, 1.0f);
  const CDownsamplingFilter copy(filter);
  CMuxDownsamplingFilter mux;
  mux.Downsampling(out.data(), in.data() + 1000, 1000, 4, 2.5f, phase, 1.0f);
  const CMuxDownsamplingFilter muxCopy(mux);
  CResampleTool tool;
  if (tool.Adjust2dPuffer(20, 10)) tool.Interpol2dy(10, 20);
}

void Can() {
  static const CString text(
      LR"(<NetworkDefinition xmlns="http://kayak.2codeornot2code.org/1.0"><Bus name="Motor"><Message id="0x100" )"
      LR"(name="Engine" length="8"><Signal name="A_rather_long_name_of_the_speed" offset="0" length="16">)"
      LR"(<Value slope="0.25" unit="1/min"/></Signal></Message></Bus></NetworkDefinition>)");
  CCanMessageDecoderXml decoder;
  decoder.AppSignalBekanntmachen(7, L"A_rather_long_name_of_the_speed");
  decoder.SetDecoderXmlText(text);
  decoder.StartDecoderSession();
  CanMessageBlock_s message{};
  decoder.DecodeCanMessage(message);
  for (unsigned i = 0; i < decoder.NumSignals(); ++i) decoder.Signal(i);
  CCanMessageDecoderDemo demo;
  demo.AppSignalBekanntmachen(7, kLong);
  demo.StartDecoderSession();
  const auto made = demo.Create();
}

void Drawings() {
  static const CSigCurveExt curve = Curve();
  CVisDataVector vector;
  CVisDataIntVector integers;
  CVisDataPolygon polygon;
  CVisDataArray array;
  CVisDataGrid grid;
  VisData::Convert(curve, vector);
  VisData::Convert(curve, integers, 0.5f);
  VisData::Convert(curve, polygon);
  for (int i = 0; i < 3; ++i) {
    VisData::AppendRow(array, curve, static_cast<float>(i));
    VisData::AppendRow(grid, curve);
  }
  CVisDataVector copy(vector);
  copy.AppendToName(kLonger);
  copy = vector;
  CVisDataCollection items;
  items.SetName(kLong);
  items.Add(vector);
  items.Add(array);
  CVisDataCollection all(items);
  all = items;
  all.Statistics(CVisDataItem::AllAxes);
  vector.SetExtName(kLonger);
}

void Orders() {
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
  if (analysis.Analyse(recording, pulses, 4)) {
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
  analysis.AnalyseTorsion(pulses, 4);
  CPitchErrors(pulses, 4).Corrected(pulses);
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
}

void CurveArrays() {
  static const CSigCurveExt curve = Curve();
  CSigCurveArray array;
  array.SetName(kLong);
  for (int i = 0; i < 5; ++i) array.Append(curve, static_cast<float>(i));
  if (!array.IsEmpty()) array[0].SetXMinMax(-1.0f, 1.0f);
  CSigCurveArray copy(array), part;
  CSigCurveExt section;
  copy.SectionAtX(0.3f, 50, section);
  copy.SectionAt(3.5f, section);
  copy.EnergeticMean(section);
  CSigPairs points;
  SectionAtX(copy, 0.3f, points);
  array.Part(1.0f, 3.0f, part);
  array.MakeCommonAxis();
  CVisDataGrid grid;
  VisData::Convert(copy, grid, 7);
  CMemFile file;
  if (copy.WriteToFile(file, 2)) {
    file.Seek(0, CFile::begin);
    part.ReadFromFile(file, 2);
  }
  part.TakeCurves(copy);
}

void Spectra() {
  // Without a unit: where one is lost on the way to a density, another name would be registered for good.
  static const CSigCurveExt curve = [] {
    CSigCurveExt made = Curve();
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
}

void Algorithms() {
  static const CSigCurveExt curve = Curve();
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
}

void Rest() {
  KxTimeMachine::CTimeMachine machine(1.0f);
  KxTimeMachine::CTimeCapsule capsule;
  for (int i = 0; i < 5; ++i) machine.add({&capsule, true});
  KxTimeMachine::CTimeMachine copy(machine);
  copy = machine;
  CObList list;
  CSigPairs object;
  for (int i = 0; i < 25; ++i) list.AddTail(&object);
  const PrWin::Sink before = PrWin::SetSink([](int, int, const CString&) {});
  if (before) PrWin::SetSink(before);
}

class WithoutMemory : public testing::TestWithParam<Case> {};

TEST_P(WithoutMemory, NothingIsThrownAndNothingLeaks) {
  const auto& use = GetParam().use;
  PrWin::SetSink([](int, int, const CString&) {});
  use();  // what is made once is there
  long allocations = 0;
  for (const bool onlyOne : {false, true}) {
    g_onlyOne = onlyOne;
    bool failed = true;
    for (long k = 0; failed; ++k) {
      const long live = g_live;
      const char* thrown = nullptr;
      g_untilFailure = k;
      try {
        use();
      } catch (const std::bad_alloc&) {
        thrown = "bad_alloc";
      } catch (...) {
        thrown = "something else";
      }
      failed = g_untilFailure == 0 || g_untilFailure == -2;
      g_untilFailure = kNever;
      ASSERT_STREQ(thrown, nullptr) << "allocation " << k << (onlyOne ? " alone" : " and all that follow");
      ASSERT_EQ(g_live, live) << "allocation " << k << (onlyOne ? " alone" : " and all that follow");
      allocations = k;
    }
  }
  EXPECT_GT(allocations, 5) << "it hardly allocates: is it called at all?";
  use();
  PrWin::SetSink({});
}

INSTANTIATE_TEST_SUITE_P(Of, WithoutMemory,
                         testing::Values(Case{"Texts", Texts}, Case{"Units", Units}, Case{"Signals", Signals},
                                         Case{"Pairs", Pairs}, Case{"Files", Files},
                                         Case{"Settings", Settings}, Case{"Keys", Keys},
                                         Case{"TypedSignals", TypedSignals}, Case{"Pulses", Pulses},
                                         Case{"Rates", Rates}, Case{"Can", Can}, Case{"Drawings", Drawings},
                                         Case{"CurveArrays", CurveArrays}, Case{"Spectra", Spectra},
                                         Case{"Algorithms", Algorithms}, Case{"Orders", Orders},
                                         Case{"Rest", Rest}),
                         [](const auto& of) { return of.param.name; });

}  // namespace
