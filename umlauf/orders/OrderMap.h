#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/orders/AngleGrid.h"
#include "umlauf/orders/MapScale.h"
#include "umlauf/orders/ShaftPlace.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/signal/SigCurveArray.h"
#include "umlauf/spectrum/SpectrumWindow.h"

/// What the rows of a map are over, and which of them are averaged.
struct UMLAUF_API MapAxis {
  enum class Kind { time, revolution, speed };

  Kind kind = Kind::time;
  /// [s, rev or rpm] Rows within one step are averaged, by their powers, and lie at its middle. 0: each row
  /// stands alone.
  double step = 0;

  /// Place of a row; speeds without their sign.
  double Of(const ShaftPlace& place) const;
  CMeasuringUnit Unit() const;
};

/// How an order map is made.
struct UMLAUF_API OrderMapSettings {
  double maxOrder = 60;
  double resolution = 0.1;  ///< [orders] from bin to bin: a segment has 1 / resolution revolutions
  double overlap = 0.5;     ///< share of a segment that it has in common with the next one, 0 to 0.99
  WindowShape window = WindowShape::Hann;
  double kaiserBeta = 8.6;
  MapAxis axis = {};
  /// Steps of a revolution; 0: as many as it takes, with fast transforms (AngleGrid::ForSpectra).
  double steps = 0;
  bool stepMeans = false;  ///< see AngleGrid

  /// The steps that the frames must have.
  AngleGrid Grid() const;
};

/// Order spectra of 1 to 64 channels over time, revolutions or speed, from frames over equal steps of the
/// angle (CAngleResampler): the transforms of overlapping windowed segments without their mean. Bin k is the
/// order k · resolution, and what turns with an order stands in its bin whatever the speed does. A place of a
/// row is that of the middle of its segment.
///
/// Memory grows with the rows of the map, not with the frames. What the shaft makes turning back is taken as
/// it comes. Movable. One object is used by one thread at a time.
class UMLAUF_API COrderMap {
 public:
  /// For frames on `settings.Grid()`, from the angle of these pulses.
  COrderMap(const OrderMapSettings& settings, unsigned channels, const CPulseTrain& pulses);
  ~COrderMap();
  COrderMap(COrderMap&& other) noexcept;
  COrderMap& operator=(COrderMap&& other) noexcept;

  /// False for settings that cannot be used and without memory; all functions then do nothing.
  bool IsValid() const { return engine_ != nullptr; }
  /// Takes the next n frames [n, channels] with their places.
  void Take(const float* frames, const CShaftAngle::Passing* places, std::size_t n);
  /// Places of the rows so far, before any averaging; their speed is that of the revolution around them.
  const std::vector<ShaftPlace>& Rows() const;
  /// Mean square of all orders up to the highest one together, for each of these rows in channel c [from 0].
  std::span<const float> RowPowers(unsigned c) const;
  /// False when there was no memory to keep a row.
  bool Complete() const;

  // Results for channel c [from 0]. False, and the result is empty, without rows and without memory
  /// Curves over orders, by rising place.
  bool Map(unsigned c, const MapScale& scale, CSigCurveArray& out) const;
  /// The mean of all rows by their powers: the order spectrum over all revolutions.
  bool Spectrum(unsigned c, const MapScale& scale, CSigCurve& out) const;
  /// The level of all orders up to the highest one together, over the places of the rows.
  bool OverallLevel(unsigned c, const MapScale& scale, CSigPairs& out) const;

 private:
  struct Engine;
  std::unique_ptr<Engine> engine_;
};
