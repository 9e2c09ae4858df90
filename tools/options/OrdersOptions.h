#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/input/RecordingInput.h"
#include "umlauf/orders/CombSpeed.h"
#include "umlauf/orders/OrderAnalysis.h"

namespace umlauf::tool {

/// What `umlauf orders` is asked for.
struct OrdersOptions {
  RecordingOptions recording;
  std::string tacho = "1";            ///< channel or column
  std::string tachoFile;              ///< empty: the recording itself
  std::optional<double> offset;       ///< [s] from the recording's first sample to that of the tacho's file
  std::vector<std::string> channels;  ///< of the vibration; empty: the one behind the tacho

  double pulsesPerRev = 1;
  std::string gap;  ///< REL or "auto"; empty = none
  bool pitchErrors = false;
  std::string gear;  ///< IN/OUT teeth or a ratio; empty = the shaft of the tacho
  bool torsional = false;

  CombSpeedSettings comb;  ///< with orders the speed comes from the vibration, without a tacho

  COrderAnalysis::Settings analysis;
  std::string over = "time";
  std::optional<double> step;       ///< of that axis; nothing: 25 rpm, or each row alone
  std::optional<double> reference;  ///< of levels; nothing: that of the unit
  bool rms = false;                 ///< tracks are effective values
  bool overall = false;             ///< the level of all orders together beside the tracks

  /// Output files; empty = none.
  std::string map, frequencyMap, spectrum, plot, average, speed, csv, signal;
  bool json = false;

  /// Turns of the shaft whose orders are wanted for one of the tacho's. Throws for text that is no ratio.
  double ratio() const;
  bool hasTacho() const { return comb.orders.empty(); }
};

void DeclareOrdersOptions(CLI::App& command, OrdersOptions& options);

/// Completes the settings; refuses options that contradict each other, and outputs that would overwrite an
/// input or each other.
void CheckOrdersOptions(OrdersOptions& options);

}  // namespace umlauf::tool
