#include "tools/output/Json.h"

namespace umlauf::tool {

nlohmann::ordered_json WarningsJson(const RecordingWarnings& warnings) {
  nlohmann::ordered_json json = nlohmann::ordered_json::array();
  for (const RecordingWarning& each : warnings) {
    json.push_back({{"code", each.code}, {"text", each.text.ToUtf8()}});
    if (!each.places.empty()) json.back()["places"] = each.places;
  }
  return json;
}

std::string JsonText(const nlohmann::ordered_json& json) {
  return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace umlauf::tool
