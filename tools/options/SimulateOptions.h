#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/simulate/SpeedProfile.h"
#include "tools/simulate/VibrationSimulator.h"
#include "tools/simulate/WheelSimulator.h"

namespace umlauf::tool {

/// What `umlauf simulate` is asked for.
struct SimulateOptions {
  std::string output, truth;
  std::string profile;
  std::optional<double> from, to, duration;
  WheelSettings wheel;  ///< complete when `CheckWheel` has passed
  std::optional<std::string> missing;
  std::vector<double> clip;
  std::optional<unsigned> encoder;  ///< mode of an encoder stream in place of a sampled signal
  bool lowWord = false;
  std::string orders, gearMesh, resonance, bearing;  ///< as text; complete when `CheckVibration` has passed
  VibrationSettings vibration;                       ///< of a second channel, when it has any
};

/// Declares the options of `umlauf simulate` on its subcommand.
void DeclareSimulateOptions(CLI::App& command, SimulateOptions& options);

/// The speed over time that the options describe.
SpeedProfile ParseProfile(const SimulateOptions& options);

/// Completes the wheel; refuses one that cannot be, and rates too low for it.
void CheckWheel(SimulateOptions& options, const SpeedProfile& profile);

/// Completes the vibration; refuses one that cannot be.
void CheckVibration(SimulateOptions& options);

}  // namespace umlauf::tool
