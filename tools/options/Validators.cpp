#include <fmt/format.h>

#include <cmath>

#include "tools/commands/Commands.h"
#include "tools/output/NumberText.h"

namespace umlauf::tool {

CLI::Validator AboveZero() {
  return CLI::Validator(
      [](const std::string& text) -> std::string {
        const auto number = ParseNumber(text);
        return number && std::isfinite(*number) && *number > 0 ? "" : text + " is no number above 0";
      },
      "NUMBER > 0");
}

CLI::Validator Finite() {
  return CLI::Validator(
      [](const std::string& text) -> std::string {
        const auto number = ParseNumber(text);
        return number && std::isfinite(*number) ? "" : text + " is no number";
      },
      "NUMBER");
}

CLI::Validator Between(double low, double high) {
  return CLI::Validator(
      [low, high](const std::string& text) -> std::string {
        const auto number = ParseNumber(text);
        const bool good = number && *number >= low && *number <= high;
        return good ? "" : fmt::format("{} is no number from {} to {}", text, low, high);
      },
      "NUMBER");
}

}  // namespace umlauf::tool
