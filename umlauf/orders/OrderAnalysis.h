#pragma once

#include <memory>
#include <optional>

#include "umlauf/Export.h"
#include "umlauf/orders/CampbellMap.h"
#include "umlauf/orders/OrderMap.h"
#include "umlauf/orders/OrderTracker.h"
#include "umlauf/orders/SynchronousAverage.h"
#include "umlauf/platform/framework/FailureText.h"
#include "umlauf/recording/BlockSource.h"

/// Orders of a recording in one pass: resampled over the angle of a shaft, then what is asked for is made of
/// the frames.
///
///     CRotation rotation;
///     rotation.Wheel(60, CRotation::Gap::automatic);
///     rotation.Analyse(tacho);
///     COrderAnalysis::Settings settings;
///     settings.tracks.orders = {1, 2, 27.5};
///     COrderAnalysis orders(settings);
///     if (!orders.Analyse(vibration, rotation.Pulses(), 60)) return Complain(orders.Failure());
///     CSigCurveArray map;
///     orders.Map()->Map(0, {.reference = 1e-6, .unit = CMeasuringUnit(L"m/s²")}, map);
///
/// Reads the recording block by block. What grows with its length are the results (a row of a map has 4 bytes
/// for each bin, a point of a track 40) and, beside the 33 bytes for each of the caller's pulses, the angle
/// with 24 for each: 60 pulses of a revolution at 1000 rpm make 0.2 GB in an hour. Nothing throws. One object
/// is used by one thread at a time.
class UMLAUF_API COrderAnalysis {
 public:
  struct Settings {
    OrderMapSettings map;
    OrderTrackSettings tracks;                    ///< without orders none
    std::optional<CampbellSettings> frequencies;  ///< a frequency map beside it
    unsigned averagedRevolutions = 0;             ///< of a synchronous average; 0: none
    double slowest = 60;                          ///< [rpm] see AngleGrid
  };

  explicit COrderAnalysis(const Settings& settings);

  /// Analyses `channels` channels of a recording from channel `first` [from 0] on, 0 for all of them that
  /// follow, by pulses of which `pulsesPerRevolution` make a revolution; gaps corrected. Where the pulses
  /// come from another recording, the start times and sample rates tell how they lie beside each other.
  /// False, with the reason in `Failure`, when it cannot; the results are then null.
  bool Analyse(CBlockSource& recording, const CPulseTrain& pulses, double pulsesPerRevolution,
               unsigned first = 0, unsigned channels = 0);
  /// The same for the torsional vibration of the shaft itself: one channel, its speed [rpm]. Maps and tracks
  /// are those of the speed, and not of its means from edge to edge; the synchronous average is of those.
  bool AnalyseTorsion(const CPulseTrain& pulses, double pulsesPerRevolution);
  /// Why the last analysis failed, in one sentence; empty after one that did not.
  const CString& Failure() const { return failure_.Text(); }

  // Results; null where they were not asked for
  const COrderMap* Map() const { return map_ ? &*map_ : nullptr; }
  const COrderTracker* Tracks() const { return tracks_ ? &*tracks_ : nullptr; }
  const CCampbellMap* Frequencies() const { return frequencies_ ? &*frequencies_ : nullptr; }
  const CSynchronousAverage* Average() const { return average_ ? &*average_ : nullptr; }
  /// Channels that were analysed.
  unsigned Channels() const { return channels_; }

 private:
  bool Fail(const wchar_t* why);
  void ForgetResults();
  bool Prepare(const AngleGrid& grid, const CPulseTrain& pulses);
  bool Read(CBlockSource& recording, CAngleResampler& resampler, const CShaftAngle& angle, unsigned first);
  bool Finish();
  void TakeFrames(const float* frames, const CShaftAngle::Passing* places, std::size_t n);

  Settings settings_;
  bool hasSettings_;  ///< there was memory to copy them
  FailureText failure_;
  unsigned channels_ = 0;
  std::optional<COrderMap> map_;
  std::optional<COrderTracker> tracks_;
  std::optional<CCampbellMap> frequencies_;
  std::optional<CSynchronousAverage> average_;
};
