#pragma once

#include <cstdint>

#include "umlauf/Export.h"
#include "umlauf/pulses/FueGroeListe.h"
#include "umlauf/pulses/PulsEntry.h"

class CFueGroeHopListe;
class CSigCurve;

/// The pulses that were found in one block of a speed signal, and the speed that follows from them. A
/// detector fills it anew for every block; the settings and what the next block needs (last value, count of
/// empty blocks, gap factor) stay. Once completed, the entries cover the block from its first sample on
/// without holes; the last one may be open (not yet ended by an edge).
///
/// Speeds: the average and `PulsSpeed` are in revolutions per second, as they come; everything named rpm
/// below is revolutions per second times speed factor (60), and the local speeds and exports also carry the
/// sign of the reverse factor. A revolution time of 0 gives speed 0.
///
/// The entry before the first edge of a recording is no pulse: it begins where the recording begins, and its
/// value is the time from there to the edge, as if a whole pitch had passed. Nothing in the list tells it
/// from the others. It goes into the average of the first block; and where it is short, gap correction takes
/// it for the shortest pulse of the block, so that every other one looks like a gap. Leave it out
/// (`CopyPulsList` from its end on), or use CRotation or CPulseFinder, whose pulse trains mark it and have no
/// speed for it.
///
/// One list is used by one thread at a time. It owns its entries; allocation failure as in CFueGroeListe.
class UMLAUF_API CDzPulsListe : public CFueGroeListe<PulsEntry> {
 public:
  // Filling

  void Reset() override;
  /// Removes the entries and sets the average to 0; everything else stays for the next block.
  void SetEmpty();
  /// Appends a pulse that a rising edge ended after so many samples; value: revolution time [samples].
  PulsEntry& AddEntry(std::uint64_t samples, float value) final { return Append(samples, value); }
  /// Appends n pulses at once: pulse k begins at sample start + ends[k] of the block, ends in front of start
  /// + ends[k + 1] and has the value values[k]; there are n + 1 ends, which do not descend. An edge ended the
  /// first one that was rising or not, the others likewise or, if alternating, in turn. False without memory,
  /// and then nothing has changed.
  bool AddPulses(const std::int64_t* ends, const float* values, std::size_t n, std::uint64_t start,
                 bool rising = true, bool alternating = false);
  /// Ends the list of a block: `rest` samples follow the last pulse and become the open entry, with the last
  /// value. After more blocks without any pulse than `EmptyBlockLimit` the last value is 0.
  void CompletePulsList(std::uint64_t rest);
  /// Average speed [rev/s] over all entries, the open one included; corrects the gaps of a toothed wheel
  /// first. Without entries the last value counts. A single pulse slower than one revolution per minute
  /// counts as standstill: its value becomes the greatest float. In the first block of a recording the entry
  /// before the first edge counts, too, although it is no pulse (see above).
  float CalcAverPulsF(float sampleRate);
  /// Replaces the value of the open entry, which is a guess, by that of the first pulse of the next block,
  /// when that one is closed. The averages stay. True when there was something to replace.
  bool AdjustLastPulse(const CDzPulsListe& next);

  // Averages and speeds

  /// Speed of entry `index` [rev/s]; rpm is this times 60. An empty list gives the speed of the average
  /// revolution time; an index behind the last entry gives 0.
  float PulsSpeed(unsigned index) const;
  float PulsSpeed(const_iterator entry) const;
  /// Average speed [rpm].
  float AverSpeed() const { return state_.speedFactor * Average(); }
  /// Average revolution time [samples].
  float AverPulsT() const { return state_.averPulsT; }
  /// Number of pulses without the open one.
  std::uint64_t NrRealPulses() const;
  /// Sum of the entries' samples when the average was formed.
  std::uint64_t TotalSamples() const { return state_.totalSamples; }
  /// Whether the last entry is a whole pulse; false after `Reset`.
  bool LastPulsUsable() const { return state_.lastPulseOpen == 0; }
  std::uint32_t EmptyBlockLimit() const { return state_.emptyBlockLimit; }

  /// Speed of the pulse that covers a sample [rpm]; behind the last pulse that of the last, for an empty list
  /// that of the average revolution time.
  float LocalSpeed(std::uint64_t sample) const;
  /// Revolution time of that pulse [samples].
  float LocalRevTime(std::uint64_t sample) const;
  /// Speed of the greatest magnitude among the pulses that touch the samples from `from` up to but not
  /// including `to` [rpm]; 0 when there are none.
  float LocalMaxSpeed(std::uint64_t from, std::uint64_t to) const;
  /// Index of the pulse that covers a sample; -1 when none does.
  std::int64_t FindPulsForSample(std::uint64_t sample) const;
  /// Sample position of a pulse position: `puls` whole pulses and the fraction of the next have passed,
  /// evenly within each pulse. Limited to the list; -1 for an empty list or NaN.
  double FindSampleForPuls(double puls) const;

  // Changing the pulses

  /// Moves the pulses on the block's sample axis, toward later samples when positive, and keeps the list
  /// without holes: the first pulse grows to the front, or what moves before the block is cut off.
  void ShiftPulses(std::int64_t samples);
  /// Takes over settings, averages and those pulses of another list (or of this one) that touch its samples
  /// from `from` up to but not including `to`, cut to that span, which starts at sample 0 here. A pulse cut
  /// at its end is open. False without memory, and then nothing has changed.
  bool CopyPulsList(const CDzPulsListe& other, std::uint64_t from, std::uint64_t to);
  /// Turns the teeth of a gapped wheel into revolution marks. Call after `CalcAverPulsF` has marked the gaps.
  /// All pulses up to and including a gap become one, which ends at the edge behind the gap; its value is the
  /// mean revolution time of what it spans, gaps at their full length. What follows the last gap becomes one
  /// open entry. Pulses per revolution becomes 1; the averages stay. Returns the number of marks.
  std::uint64_t ReduceToPostGap();

  // Exports

  /// One hop a pulse, its speed [rpm] over its samples, in place of what the hop list held; signal id, sample
  /// rate and average are set with it.
  void CopyFueGroeHopList(CFueGroeHopListe& hops) const;
  /// The speed sample by sample [n samples, rpm], constant within each pulse, as `LocalSpeed` gives it.
  void AnalogExport(float* out, std::uint64_t n) const;
  /// The pulses as a train [n samples]: 1 at each sample whose edge ended a pulse, 0 elsewhere.
  void AnalogPulsExport(float* out, std::uint64_t n) const;
  /// The speed over the time of the block as a curve of `points` samples, units s and rpm (none with another
  /// speed factor): each is the mean speed over its share of the time, so that no pulse is lost when points
  /// are fewer than pulses. Name and other fields of the curve stay. False, and the curve unchanged, without
  /// samples, points, sample rate or memory.
  bool GenerateVisCurve(CSigCurve& curve, std::uint64_t points) const;
  /// Lists title (may be null) and the first and last n entries in the log, category 16.
  void DebugOutput(const wchar_t* title, unsigned n) const;

  // Settings

  /// Correction of the pulse that spans the gap of a toothed wheel. relLength: length of the gap pulse in
  /// teeth, for example 3 when two teeth are missing; 0 or less: found from the pulses, once. A block of
  /// which a pulse has a value of 0 or less stays as it is: the shortest pulse is the measure for the others.
  void ActivatePulsGapCorrection(bool on, float relLength);
  /// The factor that gap pulses are multiplied by; 0 when the correction is off or the factor not yet found.
  float PulseGapCorrection() const { return state_.gapOn ? state_.gapFactor : 0.0f; }
  /// Direction of rotation: -1 for a negative argument, else +1.
  void ReverseFactor(float factor) { state_.reverseFactor = factor < 0.0f ? -1.0f : 1.0f; }
  float ReverseFactor() const { return state_.reverseFactor; }
  /// Speed [rpm] below which a signal counts as standing still; decides how many empty blocks keep the last
  /// value.
  void SetMinRpmSpeed(float rpm) { state_.minRpm = rpm; }
  float MinRpmSpeed() const { return state_.minRpm; }
  /// Pulses per revolution; with `MinRpmSpeed` it decides how many empty blocks keep the last value (the
  /// values themselves are revolution times already). A detector sets it with every block (CDzPulsDetektor:
  /// `QuellenPulseProUmdr` over the divider; CDzPulsTisDetector: in mode 1), whatever was set here before.
  void SetPulseProUmdr(float pulses) { state_.pulseProUmdr = pulses; }
  float PulseProUmdrehung() const { return state_.pulseProUmdr; }
  /// Id of a list that belongs to this one; -1: none.
  void SetAssociatedList(int id) { state_.associatedList = id; }
  int AssociatedListId() const { return state_.associatedList; }
  /// List unit per revolution per second: 60 for rpm.
  void SetSpeedFactor(float factor) { state_.speedFactor = factor; }
  float SpeedFactor() const { return state_.speedFactor; }
  bool IsRealSpeedList() const { return state_.speedFactor == 60.0f; }

  // Flat form: header, entries, then uint32 last pulse open (0 or 1), int32 associated list id, float average
  // revolution time, float reverse factor.

  std::uint64_t length() const override;
  std::int64_t write(void* dst) const override;
  using CFueGroeListe::read;
  /// Intended: any associated list id but 0 comes back as 1.
  std::int64_t read(const void* src, std::uint64_t available) override;

 protected:
  /// Divides the values of gap pulses down to one tooth; false when nothing changed.
  bool PulsGapCorrection();

 private:
  /// What is held beside the entries.
  struct State {
    float averPulsT = 0.0f;
    float pulseProUmdr = 1.0f;
    std::uint64_t totalSamples = 0;
    std::int32_t lastPulseOpen = 0;  // 2 after Reset: there is no last pulse yet
    std::uint32_t emptyBlocks = 0;
    std::uint32_t emptyBlockLimit = 256;
    float minRpm = 6.0f;
    bool gapOn = false;
    float gapFactor = 1.0f;
    std::int32_t associatedList = -1;
    float reverseFactor = 1.0f;
    float speedFactor = 60.0f;
    std::size_t numbered = 0;  // entries in front whose first samples are known while the list is filled
  };

  float Rpm(float revTime) const;
  float RevPerSecond(float revTime) const;
  void NumberStarts(std::size_t from = 0);
  void NoteLastPulse();
  bool FindGapFactor(float ratio);
  float AverageOfOne();
  float AverageOfMany();

  State state_;
};
