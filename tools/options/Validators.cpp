#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <utility>

#include "tools/commands/Commands.h"
#include "umlauf_io/NumberText.h"

namespace umlauf::tool {

CLI::Validator AboveZero() {
  return CLI::Validator(
      [](const std::string& text) -> std::string {
        const auto number = io::ParseNumber(text);
        return number && std::isfinite(*number) && *number > 0 ? "" : text + " is no number above 0";
      },
      "NUMBER > 0");
}

CLI::Validator Finite() {
  return CLI::Validator(
      [](const std::string& text) -> std::string {
        const auto number = io::ParseNumber(text);
        return number && std::isfinite(*number) ? "" : text + " is no number";
      },
      "NUMBER");
}

CLI::Validator Between(double low, double high) {
  return CLI::Validator(
      [low, high](const std::string& text) -> std::string {
        const auto number = io::ParseNumber(text);
        const bool good = number && *number >= low && *number <= high;
        return good ? "" : fmt::format("{} is no number from {} to {}", text, low, high);
      },
      "NUMBER");
}

CLI::Validator WholeNumber(std::int64_t low, std::int64_t high) {
  return CLI::Validator(
      [low, high](std::string& text) -> std::string {
        const std::string_view digits(text.data() + (text.starts_with('+') ? 1 : 0),
                                      text.data() + text.size());
        std::int64_t number = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        const bool good = error == std::errc{} && end == digits.data() + digits.size();
        if (!good || number < low || number > high) {
          return fmt::format("{} is no whole number from {} to {}", text, low, high);
        }
        text = std::to_string(number);
        return "";
      },
      "");
}

CLI::Validator OneOf(Choices<int> choices) {
  return CLI::Validator(
      [choices = std::move(choices)](std::string& text) -> std::string {
        std::string names;
        for (const auto& [name, number] : choices) {
          if (text == name) {
            text = std::to_string(number);
            return "";
          }
          names += (names.empty() ? "" : name == choices.back().first ? " or " : ", ") + name;
        }
        return fmt::format("{} is not one of {}", text, names);
      },
      "");
}

CLI::Validator OneOf(std::initializer_list<std::string> names) {
  Choices<int> choices;
  for (const std::string& name : names) choices.emplace_back(name, 0);
  return OneOf(std::move(choices)).non_modifying();
}

}  // namespace umlauf::tool
