#include <algorithm>
#include <exception>
#include <string>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "umlauf/Version.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace {

int Report(int code, std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  fmt::print(stderr, "umlauf: {}\n", text);
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  using umlauf::tool::ToolError;
  // The library's notes are not for the people at this program; what they need comes as one line from here.
  PrWin::SetSink([](int, int, const CString&) {});
  CLI::App app("Speed from tacho recordings of rotating machinery, and the signal files made of it.",
               "umlauf");
  app.set_version_flag("--version", UMLAUF_VERSION);
  app.require_subcommand(1);
  umlauf::tool::AddSpeedCommand(app);
  umlauf::tool::AddCanCommand(app);
  umlauf::tool::AddDownsampleCommand(app);
  umlauf::tool::AddEncoderCommand(app);
  umlauf::tool::AddInfoCommand(app);
  umlauf::tool::AddPlotCommand(app);
  umlauf::tool::AddPairsCommand(app);
  umlauf::tool::AddUnitCommand(app);
  umlauf::tool::AddSimulateCommand(app);
  umlauf::tool::AddSettingsCommand(app);
  try {
    app.parse(argc, argv);
    return 0;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    return Report(ToolError::usage, std::string(error.what()) + "; see umlauf --help");
  } catch (const ToolError& error) {
    return Report(error.code(), error.what());
  } catch (const std::exception& error) {
    return Report(ToolError::failure, error.what());
  }
}
