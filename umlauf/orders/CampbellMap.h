#pragma once

#include <cstddef>
#include <memory>

#include "umlauf/Export.h"
#include "umlauf/orders/AngleResampler.h"
#include "umlauf/orders/MapScale.h"
#include "umlauf/orders/OrderMap.h"
#include "umlauf/signal/SigCurveArray.h"

/// How a frequency map is made.
struct CampbellSettings {
  double resolution = 5;    ///< [Hz] from bin to bin, about: segments have fast lengths
  double maxFrequency = 0;  ///< [Hz] 0: half the sample rate
  double overlap = 0.5;     ///< share of a segment in common with the next one, 0 to 0.99
  WindowShape window = WindowShape::Hann;
  double kaiserBeta = 8.6;
  MapAxis axis = {MapAxis::Kind::speed, 25};
};

/// Spectra over frequency of 1 to 64 channels over time, revolutions or speed (Campbell diagram): resonances
/// stay at their frequency, orders rise with the speed. From samples over time; rows whose middle lies where
/// the angle is not known are left out.
///
/// Memory grows with the rows of the map, not with the samples. Movable. One object is used by one thread at
/// a time.
class UMLAUF_API CCampbellMap {
 public:
  /// For samples at `rate` [samples/s]; `clock` as in CAngleResampler.
  CCampbellMap(const CampbellSettings& settings, unsigned channels, double rate, const CPulseTrain& pulses,
               const SampleClock& clock = {});
  ~CCampbellMap();
  CCampbellMap(CCampbellMap&& other) noexcept;
  CCampbellMap& operator=(CCampbellMap&& other) noexcept;

  /// False for settings that cannot be used and without memory; all functions then do nothing.
  bool IsValid() const { return engine_ != nullptr; }
  /// Takes the next n frames, `stride` floats from one to the next, the channels first in each.
  void Take(const CShaftAngle& angle, const float* frames, std::size_t n, std::size_t stride);
  /// False when there was no memory to keep a row.
  bool Complete() const;
  /// Curves over Hz for channel c [from 0], by rising place. False, and the result is empty, without rows and
  /// without memory.
  bool Map(unsigned c, const MapScale& scale, CSigCurveArray& out) const;

 private:
  struct Engine;
  std::unique_ptr<Engine> engine_;
};
