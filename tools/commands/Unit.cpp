#include <cmath>
#include <memory>
#include <optional>
#include <string>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/output/Console.h"
#include "tools/output/NumberText.h"
#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/units/MeasuringUnit.h"

namespace umlauf::tool {
namespace {

struct UnitOptions {
  std::string text, to;
  std::optional<double> value;
};

/// The library takes an unknown name as "-" and says so in its log only.
CMeasuringUnit Parsed(const std::string& text) {
  std::string message;
  const PrWin::Sink before =
      PrWin::SetSink([&message](int, int, const CString& line) { message += line.ToUtf8(); });
  CMeasuringUnit unit;
  const bool good = unit.set(CString::FromUtf8(text));
  PrWin::SetSink(before);
  if (!good || !message.empty()) {
    Fail("\"{}\" is no known unit; write for example rpm, m/s², dB(Pa) or V^2", text);
  }
  return unit;
}

std::string Text(const CMeasuringUnit& unit) { return unit.prefixunit(false).ToUtf8(); }

void Row(std::string_view name, std::string_view value) { Print("{:<14}{}\n", name, value); }

std::string StandardUnit(const CMeasuringUnit& unit) {
  CMeasuringUnit standard(unit);
  const auto factor = static_cast<double>(standard.normalize());
  if (!(factor > 0)) return "none";
  standard.exponent(0);
  standard.set_db(false);
  standard.set_log(false);
  return fmt::format("{}, 1 {} = {:.7g} {}", Text(standard), unit.prefixstring().ToUtf8(), factor,
                     Text(standard));
}

void Explain(const std::string& text, const CMeasuringUnit& unit) {
  Row("text", text);
  Row("prints as", Text(unit));
  Row("base unit", fmt::format("{} (number {})", unit.baseunit().ToUtf8(), unit.unit()));
  Row("prefix", fmt::format("10^{}", unit.exponent()));
  Row("power", fmt::format("{}", unit.power()));
  Row("presentation", unit.is_db()    ? fmt::format("level in dB, reference {:g}", unit.logref())
                      : unit.is_log() ? fmt::format("logarithm to base 10, reference {:g}", unit.logref())
                                      : "plain");
  Row("standard unit", StandardUnit(unit));
  if (unit.exponent() != 0) {
    Row("note",
        "a prefix in a text is held with its exponent squared: k = 10^3 becomes 10^9; all above tells "
        "what is held");
  }
}

void RunUnit(const UnitOptions& options) {
  const CMeasuringUnit unit = Parsed(options.text);
  if (options.to.empty()) {
    Explain(options.text, unit);
    return;
  }
  const CMeasuringUnit to = Parsed(options.to);
  const std::string from = Text(unit), target = Text(to);
  if (unit.flags() != 0 || to.flags() != 0) {
    Fail(
        "{} cannot be converted to {} by a factor: levels and logarithms need their reference; give plain "
        "units",
        from, target);
  }
  const auto factor = static_cast<double>(unit.scale_to(to));
  if (!(factor > 0 && std::isfinite(factor))) {
    Fail("{} cannot be converted to {}: they measure different things; give units of one kind and power",
         from, target);
  }
  Explain(options.text, unit);
  Row("conversion", fmt::format("{} {} = {:.7g} {}", options.value.value_or(1), from,
                                options.value.value_or(1) * factor, target));
}

}  // namespace

void AddUnitCommand(CLI::App& app) {
  auto options = std::make_shared<UnitOptions>();
  CLI::App* command = app.add_subcommand("unit", "Explains a measuring unit and converts values");
  command->add_option("text", options->text, "the unit, for example rpm, m/s², dB(Pa)")->required();
  CLI::Option* to = command->add_option("--to", options->to, "unit to convert to");
  command->add_option("--value", options->value, "value to convert (1)")
      ->check(Finite().description(""))
      ->needs(to);
  command->callback([options] { RunUnit(*options); });
}

}  // namespace umlauf::tool
