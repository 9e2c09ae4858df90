#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "umlauf_io/RecordingFailure.h"

namespace umlauf::tool {

/// A list of objects with the code and the text of each, and its places where it has some.
nlohmann::ordered_json WarningsJson(const RecordingWarnings& warnings);

/// What a subcommand prints with --json; bytes that are no UTF-8 become U+FFFD.
std::string JsonText(const nlohmann::ordered_json& json);

}  // namespace umlauf::tool
