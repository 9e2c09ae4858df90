#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/options/OrdersOptions.h"
#include "tools/output/OutputFile.h"
#include "umlauf_io/RecordingFailure.h"

namespace umlauf::tool {

/// All that becomes of an order analysis: its output files are open while it lives and complete when it has
/// published. Not for several threads.
class OrdersOutputs {
 public:
  explicit OrdersOutputs(const OrdersOptions& options);
  OrdersOutputs(const OrdersOutputs&) = delete;
  OrdersOutputs& operator=(const OrdersOutputs&) = delete;

  /// The speed of a shaft without a tacho.
  struct CombResult {
    double startTime = 0;  ///< [s] that the places of doubt count from
    CSigCurve rpm, confidence;
    CCombSpeed::Trust trust;
  };
  /// What is known of the recording beside the analysis.
  struct About {
    std::vector<std::string> channels;  ///< names for people
    CMeasuringUnit unit;
    RecordingWarnings warnings;
    std::optional<CombResult> comb;
  };
  /// Writes all files and prints to standard output.
  void Publish(const COrderAnalysis& analysis, const About& about);

 private:
  const OrdersOptions& options_;
  std::optional<OutputFile> map_, frequencyMap_, spectrum_, plot_, average_, speed_, csv_, signal_;
};

}  // namespace umlauf::tool
