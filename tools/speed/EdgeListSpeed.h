#pragma once

#include "tools/options/SpeedOptions.h"
#include "tools/speed/SpeedResults.h"
#include "umlauf_io/EdgeListSource.h"

namespace umlauf::tool {

/// The kind of list that the recording of these options is, as asked for or by its content; nothing for
/// samples.
std::optional<EdgeListKind> ListKind(const SpeedOptions& options);

/// The speed of a list of edges, printed where it is the only result. Throws ToolError.
void RunEdgeList(const SpeedOptions& options, EdgeListKind kind, bool alone, SpeedResults& results);

}  // namespace umlauf::tool
