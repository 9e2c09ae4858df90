#pragma once

#include "umlauf/rotation/PulseJudge.h"
#include "umlauf_io/RecordingFailure.h"

namespace umlauf::tool {

/// What is doubtful about pulses that were recorded as edges: the codes of CPulseJudge, with what can be done
/// where there are no levels. `startTime` [s] of the pulses.
RecordingWarnings WarningsOfEdges(CPulseJudge& judge, double startTime);

}  // namespace umlauf::tool
