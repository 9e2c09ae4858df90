#pragma once

#include <array>

#include "umlauf/platform/framework/Types.h"

/// The 32-bit words of an encoder stream, one for each sample. Modes 1 and 4 use one half of the word each,
/// so that two channels share a stream (shift by `halfShift` for the upper one); the quadrature modes use the
/// whole word. CDzPulsTisDetector tells what the modes are.
namespace EncoderWord {

inline constexpr unsigned halfShift = 16;
inline constexpr ULONG halfMask = 0xFFFF;

// Mode 1, half word: edge, error, and the edge's time in ticks of the input's clock.
inline constexpr ULONG standardEdge = 0xA0;   ///< both bits set: there is an edge
inline constexpr ULONG standardError = 0x40;  ///< the edge counts all the same
inline constexpr unsigned standardTimeShift = 8;
inline constexpr unsigned standardTicks = 256;  ///< range of the time

// Mode 4, half word: the number of edges.
inline constexpr unsigned edgeCountShift = 12;
inline constexpr ULONG edgeCountMask = 0xF;
inline constexpr ULONG edgeCountError = 15;  ///< counts as an error, too

// All modes but 1: the time of the (last) edge within the sample.
inline constexpr unsigned timeShift = 1;
inline constexpr ULONG timeMask = 0x7FF;
inline constexpr unsigned timeRange = 2048;

// Quadrature modes, whole word: the counter, which wraps around.
inline constexpr unsigned counterShift = 16;
inline constexpr ULONG counterMask = 0xFFFF0000u;

/// Not 0 when the half at `shift` has an edge of mode 1; written for loops without branches.
constexpr ULONG StandardEdge(ULONG word, unsigned shift) {
  constexpr ULONG upper = 0x80;
  static_assert(standardEdge == (upper | upper >> 2));
  return word & (word << 2) & (upper << shift);
}

/// A sample rate for which inputs of mode 1 have a clock.
struct Clock {
  unsigned sampleRate;  ///< [Hz]
  double tickLength;    ///< [s]
  /// Ticks of a sample, whole; a time of 8 bits cannot tell more than `standardTicks`.
  constexpr unsigned TicksPerSample() const {
    return static_cast<unsigned>(1.0 / (sampleRate * tickLength) + 0.5);
  }
};

inline constexpr std::array<Clock, 10> clocks{{{12000, 1.6276e-07},
                                               {12500, 1.5625e-07},
                                               {24000, 1.6276e-07},
                                               {25000, 1.5625e-07},
                                               {48000, 8.138021e-08},
                                               {50000, 7.8125e-08},
                                               {96000, 8.138021e-08},
                                               {100000, 7.8125e-08},
                                               {192000, 8.138021e-08},
                                               {200000, 7.8125e-08}}};

/// The clock that goes with a sample rate; null when there is none.
constexpr const Clock* ClockFor(unsigned sampleRate) {
  for (const Clock& clock : clocks) {
    if (clock.sampleRate == sampleRate) return &clock;
  }
  return nullptr;
}

}  // namespace EncoderWord
