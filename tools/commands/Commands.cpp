#include "tools/commands/Commands.h"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <vector>

namespace umlauf::tool {
namespace {

/// All subcommands, in the order of the help.
constexpr void (*commands[])(CLI::App&) = {
    AddSpeedCommand,  AddOrdersCommand,     AddEncoderCommand, AddCanCommand,      AddSpectrumCommand,
    AddFilterCommand, AddDownsampleCommand, AddInfoCommand,    AddPlotCommand,     AddExportCommand,
    AddImportCommand, AddPairsCommand,      AddUnitCommand,    AddSimulateCommand, AddSettingsCommand,
};

/// How many characters have to be put in, left out or changed to make one word of the other.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t k = 0; k < b.size(); ++k) {
      const std::size_t changed = diagonal + (a[i] == b[k] ? 0 : 1);
      diagonal = row[k + 1];
      row[k + 1] = std::min({changed, diagonal + 1, row[k] + 1});
    }
  }
  return row.back();
}

}  // namespace

void AddCommands(CLI::App& app) {
  app.require_subcommand(1);
  for (const auto add : commands) add(app);
}

std::string NearestSubcommand(const CLI::App& app, const std::string& word) {
  std::string nearest;
  for (const CLI::App* each : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (nearest.empty() || Distance(word, each->get_name()) < Distance(word, nearest)) {
      nearest = each->get_name();
    }
  }
  return nearest;
}

}  // namespace umlauf::tool
