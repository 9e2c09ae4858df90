#include <exception>
#include <string>
#include <vector>

#include "tools/Error.h"
#include "tools/System.h"
#include "tools/commands/Commands.h"
#include "tools/output/Console.h"
#include "umlauf/Version.h"
#include "umlauf/platform/tramsea/PrWin.h"

namespace {

using umlauf::tool::ToolError;

int Report(int code, const std::string& text) {
  umlauf::tool::WriteNote(text);
  return code;
}

/// The innermost subcommand that the command line names, and how it is called.
struct Called {
  explicit Called(const CLI::App& app) : command(&app), name(app.get_name()) {
    while (!command->get_subcommands().empty()) {
      command = command->get_subcommands().back();
      name += " " + command->get_name();
      ++depth;
    }
  }
  const CLI::App* command;
  std::string name;
  int depth = 1;
};

/// A usage error names the help that explains the command.
int ReportUsage(const CLI::App& app, const std::string& text) {
  return Report(ToolError::usage, text + "; see " + Called(app).name + " --help");
}

std::string ParseErrorText(const CLI::App& app, const CLI::ParseError& error, int argc,
                           const char* const* argv) {
  const Called called(app);
  const std::string nearest = umlauf::tool::NearestSubcommand(*called.command, "");
  if (nearest.empty() || called.depth >= argc || argv[called.depth][0] == '-') {
    return nearest.empty() || called.depth < argc ? error.what() : "a subcommand is needed";
  }
  const std::string word = argv[called.depth];
  return "\"" + word + "\" is no subcommand of " + called.name + ", the nearest one is " +
         umlauf::tool::NearestSubcommand(*called.command, word);
}

int Run(CLI::App& app, int argc, const char* const* argv) {
  try {
    app.parse(argc, argv);
    umlauf::tool::FlushOut();
    return 0;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) return ReportUsage(app, ParseErrorText(app, error, argc, argv));
    app.exit(error);  // prints the help or the version
    umlauf::tool::FlushOut();
    return 0;
  }
}

}  // namespace

int main(int argc, char** argv) {
  umlauf::tool::PrepareStandardStreams();
  const std::vector<std::string> arguments = umlauf::tool::Arguments(argc, argv);
  std::vector<const char*> texts;
  for (const std::string& each : arguments) texts.push_back(each.c_str());
  // The library's notes are not for the people at this program; what they need comes as one line from here.
  PrWin::SetSink([](int, int, const CString&) {});
  CLI::App app("Speed from tacho recordings of rotating machinery, and the signal files made of it.",
               "umlauf");
  app.allow_windows_style_options(false);  // "/data/run.wav" is a file on every system
  app.set_version_flag("--version", UMLAUF_VERSION);
  umlauf::tool::AddCommands(app);
  try {
    return Run(app, static_cast<int>(texts.size()), texts.data());
  } catch (const ToolError& error) {
    return error.code() == ToolError::usage ? ReportUsage(app, error.what())
                                            : Report(error.code(), error.what());
  } catch (const std::exception& error) {
    return Report(ToolError::failure, error.what());
  }
}
