#pragma once

#include <cmath>
#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"

class CDzPulsListe;
namespace QVL {
struct Moments;
}

namespace umlauf::speed {
struct Edges;
struct ThresholdBits;
}  // namespace umlauf::speed
namespace umlauf::vekta {
struct SampleBlock;
}  // namespace umlauf::vekta

/// Finds speed pulses (tooth or marker edges) in a sampled tacho signal, block by block, and writes those of
/// each block into a pulse list. Blocks join without a seam: whatever the split, the closed pulses are the
/// same within single-precision rounding.
///
/// An edge is where the signal passes the upper threshold upward or the lower one downward; what lies between
/// the two is hysteresis. A pulse ends at an edge, interpolated between its two samples, and its value is the
/// time of one revolution in samples. The detector also follows the signal's range, mean and deviation, from
/// which it can set its thresholds.
///
/// Samples that are not numbers are neither above nor below a threshold; the statistics pass over these and
/// over infinite ones.
///
/// One detector is used by one thread at a time. It allocates nothing while it searches (the list may grow)
/// and keeps no reference to samples or list.
class UMLAUF_API CDzPulsDetektor {
 public:
  /// What is known of the signal. Published values are smoothed over the blocks (a quarter of the new one).
  struct SampleSatistikInfo {
    float minimum = 0.0f;
    float maximum = 0.0f;
    float mean = 0.0f;
    float meanSquare = 0.0f;
    float averageAbove = 0.0f;  ///< running average of the samples that differ from the mean
    float averageBelow = 0.0f;  ///< running average of those that equal it
  };

  CDzPulsDetektor() = default;
  /// Copies the settings; the copy starts afresh (see `Neustart`), with an empty settings text.
  CDzPulsDetektor(const CDzPulsDetektor& other);
  /// As above; the settings text stays.
  CDzPulsDetektor& operator=(const CDzPulsDetektor& other);
  ~CDzPulsDetektor() = default;

  /// Searches one block of `count` samples, `stride` floats apart (interleaved channels), and fills the list
  /// with its pulses, completed; averages are formed by the list's `CalcAverPulsF`. A null pointer or a
  /// stride of 0 counts as an empty block, which leaves the detector as it is.
  void PulseSuchen(const float* samples, std::uint64_t count, CDzPulsListe& list, unsigned stride);
  /// Forgets the signal: the next sample is the first ever seen. Clears the statistics, too.
  void Neustart();
  /// Clears the published statistics only.
  void NeustartLevels() { published_ = SampleSatistikInfo(); }

  // Thresholds

  void SchrankenSetzen(float upper, float lower);
  /// A sample above it makes the signal high.
  float ObereSchranke() const { return settings_.upper; }
  /// A sample below it makes the signal low.
  float UntereSchranke() const { return settings_.lower; }
  /// Sets both thresholds from what is known of a signal. True when its range is greater than three
  /// deviations. Intended: this does not hold for a clean sine, whose range is 2.83 deviations.
  bool AutoSchrankenSetzen(float min, float max, float mean, float sdv);
  /// As above from {minimum, maximum, mean, mean of squares}; null: from the published statistics.
  bool AutoSchrankenSetzen(const float* levels);

  // Pulses

  /// Pulses that the sensor gives per revolution. Not to be confused with the list's `SetPulseProUmdr`, which
  /// `PulseSuchen` sets to this over the divider.
  void QuellenPulseProUmdr(unsigned pulses);
  /// The same for plain numbers in the source, which would be ambiguous; below 0 counts as 0.
  void QuellenPulseProUmdr(int pulses) {
    QuellenPulseProUmdr(pulses > 0 ? static_cast<unsigned>(pulses) : 0u);
  }
  /// Sets only the number that the values are formed with, for sensors with a fraction.
  void QuellenPulseProUmdr(float pulses) { settings_.sourcePulsesReal = pulses; }
  unsigned QuellenPulseProUmdr() const { return settings_.sourcePulses; }
  float QuellenPulseProUmdrReal() const { return settings_.sourcePulsesReal; }
  /// Only every n-th edge ends a pulse; 0 searches like 1.
  void PulsTeilerSetzen(unsigned n);
  unsigned PulsTeiler() const { return settings_.divider; }
  /// Shorter pulses are merged with the next [samples].
  void PulsMinLenSetzen(unsigned samples) { settings_.minLength = samples; }
  unsigned PulsMinLen() const { return settings_.minLength; }
  void FallendeFlankenSuchen(bool on) { settings_.falling = on; }
  bool FallendeFlankenSuchen() const { return settings_.falling; }
  /// Rising and falling edges; goes before `FallendeFlankenSuchen`.
  void BeideFlankenSuchen(bool on) { settings_.both = on; }
  bool BeideFlankenSuchen() const { return settings_.both; }
  /// For sensors with a square output: smooths the samples and lets the automatic thresholds lie at a third
  /// of the range.
  void TtlKorrekturAktivieren(bool on) { settings_.ttl = on; }
  bool TtlKorrektur() const { return settings_.ttl; }

  /// Spike filter: a pulse whose value differs from the last good one by `threshold` of itself or more is
  /// entered with the last good value. runIn: pulses accepted unchecked after a restart, and the number of
  /// rejections after which the signal is believed again; with 0 there is no first good value and a threshold
  /// of 1 or less rejects everything. deadTime [samples]: no edge is taken so long after one that was; it
  /// holds also with the filter off.
  void StoerpulsFilterAktivieren(bool on, float threshold, unsigned runIn, unsigned deadTime);
  bool StoerpulsFilter() const { return settings_.spikeFilter; }
  float StoerpulsSchwelle() const { return static_cast<float>(settings_.spikeThreshold); }
  unsigned PulsFilterRunin() const { return settings_.runIn; }
  unsigned PulsFilterTotzeit() const { return settings_.deadTime; }

  /// Kept for the owner of the lists, whose gap correction it switches; the search does not use it.
  void PulsLueckenKorrigieren(bool on, float factor);
  bool PulsLueckenKorrektur() const { return settings_.gapCorrection; }
  float PulsLueckenFaktor() const { return settings_.gapFactor; }

  // Statistics, published at the end of each block

  /// Whether they are kept, as they are by default. Without, what was published stays, and the search is
  /// faster by about a fifth.
  void StatistikAktivieren(bool on) { keepsStatistics_ = on; }
  bool StatistikAktiv() const { return keepsStatistics_; }
  SampleSatistikInfo& SampleStatistik() { return published_; }
  const SampleSatistikInfo& SampleStatistik() const { return published_; }
  float MinSample() const { return published_.minimum; }
  float MaxSample() const { return published_.maximum; }
  float AvgSample() const { return published_.mean; }
  float AvgAbove() const { return published_.averageAbove; }
  float AvgBelow() const { return published_.averageBelow; }
  /// Standard deviation; 0 where rounding leaves no variance.
  float SdvSample() const { return Deviation(published_.mean, published_.meanSquare); }

  // Settings text

  /// The settings as one line, valid until the next call of this or the next function:
  /// [lower|upper|divider|minimum length|both|TTL|spike filter|spike threshold|run-in|dead time|falling],
  /// numbers with six decimals or whole, switches 0 or 1. Source pulses and gap correction are not in it.
  const CString& SettingsStringBilden();
  /// Takes the settings from such a line, field by field as far as it goes; true when all eleven were there.
  /// A field is read as far as it is a number, without regard to the locale; no number counts as 0 ("inf" and
  /// "nan" are none), too great ones become the greatest, negative counts 0, a divider of 0 becomes 1. Empty
  /// fields are skipped.
  bool SettingsStringLesen(const CString& text);

  /// Compares the settings (not what was seen of the signal, not the settings text).
  bool operator==(const CDzPulsDetektor& other) const { return settings_ == other.settings_; }
  bool operator!=(const CDzPulsDetektor& other) const { return !(*this == other); }

 private:
  struct Settings {
    float upper = 0.75f, lower = 0.25f;
    std::uint32_t sourcePulses = 1;
    float sourcePulsesReal = 1.0f;
    std::uint32_t divider = 1;
    float dividerReciprocal = 1.0f;
    std::uint32_t minLength = 20;
    bool spikeFilter = false;
    double spikeThreshold = static_cast<double>(0.2f);
    std::uint32_t runIn = 5, deadTime = 0;
    bool ttl = false, falling = false, both = false, gapCorrection = false;
    float gapFactor = 1.0f;

    bool operator==(const Settings&) const = default;
  };

  /// What runs on from block to block.
  struct Run {
    bool firstBlock = true;
    bool high = false;
    float carry = 0.0f;  // samples already counted toward the pulse in progress
    float previous = 0.25f;
    float lastValue = 0.0f;
    std::uint32_t dividerRemaining = 0;  // 0: start at the divider
    std::uint32_t edgesInPulse = 0;
    std::uint64_t runInRemaining = 5;
    std::uint64_t rejectionsRemaining = 0;
    std::uint64_t deadTimeRemaining = 0;
  };

  /// Accumulators of the block in progress; sums in double, so that their error does not grow with the block.
  struct BlockStatistics {
    std::uint64_t count = 0;
    float minimum = 0.0f, maximum = 0.0f;
    double sum = 0.0, sumSquares = 0.0;
    float averageAbove = 0.0f, averageBelow = 0.0f;
  };

  static float Deviation(float mean, float meanSquare);
  void StartBlock(float first);
  const float* Survey(const umlauf::vekta::SampleBlock& block, std::uint64_t behind,
                      umlauf::speed::ThresholdBits& bits);
  void SearchChunk(const float* x, std::size_t n, const umlauf::speed::ThresholdBits& bits,
                   std::uint64_t start, std::uint64_t& samplesSincePulse, CDzPulsListe& list);
  bool TakeEveryEdge(const umlauf::speed::Edges& edges, std::size_t n, std::uint64_t start,
                     std::uint64_t& samplesSincePulse, CDzPulsListe& list);
  template <bool kSimple>
  std::uint64_t TakeEdges(const umlauf::speed::Edges& edges, std::size_t n, std::uint64_t samplesSincePulse,
                          CDzPulsListe& list);
  static bool PulsEintragen(const Settings& settings, Run& run, CDzPulsListe& list,
                            std::uint64_t samplesSincePulse, float fraction, bool rising);
  static bool AcceptValue(const Settings& settings, Run& run, float value);
  void SampleAufmitteln(float x);
  void AddChunk(const float* x, std::size_t n, std::uint64_t behind, const QVL::Moments& moments,
                bool anyEqualsMean);
  void PublishStatistics();

  Settings settings_;
  Run run_;
  BlockStatistics block_;
  SampleSatistikInfo published_;
  bool keepsStatistics_ = true;
  CString settingsText_;
};
