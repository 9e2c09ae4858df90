#pragma once

#include <optional>
#include <string_view>

namespace umlauf::io {

/// [s] What a cell names as the unit of times: 0.001 for "ms", "[ms]" or "(ms)"; nothing when it names none.
std::optional<double> TimeUnit(std::string_view cell);

/// [s] The same at the end of a column's name: 0.001 for "time_ms", "time [ms]", "t (ms)", "Zeit/ms" and
/// "ms".
std::optional<double> TimeUnitOfName(std::string_view name);

}  // namespace umlauf::io
