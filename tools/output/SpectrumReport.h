#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/output/OutputFile.h"
#include "tools/plot/PlotTypes.h"
#include "umlauf/pairs/SigPairs.h"
#include "umlauf/signal/SigCurve.h"
#include "umlauf/spectrum/SpectrumScaling.h"
#include "umlauf/spectrum/SpectrumSettings.h"
#include "umlauf_io/RecordingFailure.h"

namespace umlauf::tool {

/// All that was found out about the frequencies in a recording.
struct SpectrumReport {
  std::string recording;
  std::string channel;         ///< for people
  unsigned channelNumber = 0;  ///< from 1, that of the column of a table; 0 = none
  unsigned channels = 0;       ///< of the recording
  double sampleRate = 0;       ///< [samples/s]
  std::uint64_t frames = 0;
  SpectrumSettings settings;
  std::string window, weighting;  ///< by the names of their options
  double noiseBandwidth = 0;      ///< [Hz]
  std::uint64_t segments = 0, leftOut = 0;

  SpectrumScaling scaling = SpectrumScaling::Amplitude;
  std::string unit;                 ///< of the samples; may be empty
  std::optional<double> reference;  ///< values are levels [dB] over it
  double effective = 0;             ///< of all that the spectrum holds
  CSigCurve spectrum;               ///< over Hz
  unsigned bandsPerOctave = 0;      ///< 0: no bands
  CSigPairs bands;                  ///< effective values over the middles [Hz], or levels of them
  RecordingWarnings warnings;

  /// Of the values: amplitude, effective or density, or level_db.
  std::string ValueName() const;
  /// Quantity and unit of the values for pictures.
  std::string ValueLabel() const;
  /// One object, keys as in docs/tool.md.
  std::string Json() const;
  /// A short table for people.
  std::string Table() const;
  /// Frequency and value, line by line.
  void WriteCsv(OutputFile& out) const;
  Plot Picture() const;
};

}  // namespace umlauf::tool
