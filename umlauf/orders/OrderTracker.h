#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/orders/OrderMap.h"
#include "umlauf/orders/ShaftPlace.h"
#include "umlauf/spectrum/SpectrumWindow.h"

namespace umlauf::orders {
class TrackMaker;
}

/// Which orders are followed, and how.
struct OrderTrackSettings {
  /// Least squares in segments, each for itself; or a Vold-Kalman filter, which finds envelopes that change
  /// slowly (CVoldKalman) and so tells orders apart that are closer than segments can, at more cost.
  enum class Method { segments, voldKalman };

  std::vector<double> orders = {};  ///< above 0, at least half a bandwidth apart, fractions allowed
  double bandwidth = 0.25;          ///< [orders] noise bandwidth: narrow ones take many revolutions
  double overlap = 0.75;            ///< share of a segment in common with the next one, 0 to 0.99
  WindowShape window = WindowShape::Hann;
  double kaiserBeta = 8.6;
  Method method = Method::segments;
  /// Of the Vold-Kalman filter. Its bandwidth lies between the points of −3 dB, and is at least 0.0001,
  /// 0.0003 or 0.005 of the steps of a revolution for 1, 2 or 3 poles; window and Kaiser's β count for
  /// nothing.
  unsigned poles = 2;
};

/// Amplitude and phase of given orders over time and speed, from frames over equal steps of the angle.
///
/// In each windowed segment of noise bandwidth · revolutions the orders and a constant are fitted together by
/// least squares, so that they do not leak into each other however short the segment is, as with the
/// orthogonality compensation of J. R. Blough, D. L. Brown, H. Vold, "The time variant discrete Fourier
/// transform as an order tracking method", SAE 972006 (1997). On steps of angle the equations are the same
/// for all segments, and are solved once. What turns with other orders is held back by the window.
///
/// Segments in which the shaft turns back are left out. With a Vold-Kalman filter a segment is 1 / bandwidth,
/// and counts only for where the points lie; a slowly changing level is found along.
///
/// Memory grows with the points of the tracks, 40 bytes each, not with the frames. One object is used by one
/// thread at a time.
class UMLAUF_API COrderTracker {
 public:
  struct Point {
    ShaftPlace place;      ///< middle of the segment; the speed is that of the revolution around it
    double amplitude = 0;  ///< peak
    /// [°] −180 to 180: that of cos(2π order · revolution + phase), revolutions from the origin of the angle.
    double phase = 0;
  };

  /// For frames of 1 to 64 channels on this grid, from the angle of these pulses.
  COrderTracker(const OrderTrackSettings& settings, const AngleGrid& grid, unsigned channels,
                const CPulseTrain& pulses);
  ~COrderTracker();
  COrderTracker(COrderTracker&& other) noexcept;
  COrderTracker& operator=(COrderTracker&& other) noexcept;

  /// False for settings that cannot be used (orders beyond the highest one of the grid, too, and more of them
  /// than a Vold-Kalman filter has memory for) and without memory; all functions then do nothing.
  bool IsValid() const { return engine_ != nullptr; }
  /// Takes the next n frames [n, channels] with their places.
  void Take(const float* frames, const CShaftAngle::Passing* places, std::size_t n);
  /// No more frames follow: the last points are made.
  void Finish();
  /// False when there was no memory for all points.
  bool Complete() const;

  /// Revolutions of a segment.
  double SegmentRevolutions() const;
  /// Points of order i of the settings in channel c; empty when there is no such track.
  std::span<const Point> Track(unsigned c, std::size_t i) const;
  /// A track as points over time, revolutions or speed: amplitude in `unit`, or phase [°]. Over speed the
  /// points come as they were measured. False, with no points, when there are none and without memory.
  enum class Quantity { amplitude, phase };
  bool Pairs(unsigned c, std::size_t i, MapAxis::Kind axis, Quantity quantity, const CMeasuringUnit& unit,
             CSigPairs& out) const;
  /// The amplitudes of all orders of a channel as curves over revolutions, by rising order.
  bool Curves(unsigned c, const CMeasuringUnit& unit, CSigCurveArray& out) const;

 private:
  std::unique_ptr<umlauf::orders::TrackMaker> engine_;
};
