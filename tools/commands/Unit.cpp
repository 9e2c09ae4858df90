#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tools/Error.h"
#include "tools/LibraryNotes.h"
#include "tools/commands/Commands.h"
#include "tools/output/Console.h"
#include "tools/output/UnitText.h"
#include "umlauf/units/MeantUnit.h"
#include "umlauf/units/MeasuringUnit.h"

namespace umlauf::tool {
namespace {

struct UnitOptions {
  std::string text, to;
  std::optional<double> value;
  bool literal = false;
};

/// A unit as people mean it, beside the text that they wrote.
struct NamedUnit {
  std::string text;
  CMeasuringUnit unit;
};

[[noreturn]] void FailUnknown(const std::string& text) {
  Fail("\"{}\" is no known unit; write for example rpm, m/s², dB(Pa) or V^2", text);
}

/// The library takes an unknown name as "-" and says so in its log only.
CMeasuringUnit Literal(const std::string& text) {
  const LibraryNotes notes;
  CMeasuringUnit unit;
  if (!unit.set(CString::FromUtf8(text)) || !notes.empty()) FailUnknown(text);
  return unit;
}

/// The unit as people mean it: 10^3 by k, and 10^6 by that of km².
CMeasuringUnit Meant(const std::string& text) {
  CMeasuringUnit unit;
  const LibraryNotes notes;  // an unknown name is told here
  if (!MeantUnit::Read(CString::FromUtf8(text), unit)) FailUnknown(text);
  return unit;
}

NamedUnit Read(const std::string& text, bool literal) {
  return {text, literal ? Literal(text) : Meant(text)};
}

/// The unit in print. That of a power with a prefix is printed as it was written: k stands for 10^3 before a
/// power there, but for 10^3 of the whole in the library's texts.
std::string Text(const NamedUnit& named, bool literal) {
  const bool plain = literal || named.unit.exponent() == 0 || named.unit.power() == 1;
  return plain ? named.unit.prefixunit(true).ToUtf8() : named.text;
}

void UnitRow(std::string_view name, std::string_view text) { Row(name, text, 14); }

/// What a value in the unit is multiplied by to be in that of SI; 0 when there is none.
double StandardFactor(const CMeasuringUnit& unit) {
  return std::pow(static_cast<double>(CMeasuringUnit::std_fac(unit.unit())), unit.power()) *
         std::pow(10.0, unit.exponent());
}

std::string StandardUnit(const NamedUnit& named, bool literal) {
  CMeasuringUnit plain(named.unit), standard(named.unit);
  if (CMeasuringUnit::std_fac(named.unit.unit()) == 0.0f) return "none";
  standard.normalize();
  standard.exponent(0);
  for (CMeasuringUnit* each : {&plain, &standard}) {
    each->set_db(false);
    each->set_log(false);
  }
  const std::string text = UnitText(standard);
  const bool isLevel = named.unit.flags() != 0;
  return fmt::format("{}, 1 {} = {:.7g} {}", text,
                     isLevel ? UnitText(plain) : Text({named.text, plain}, literal),
                     StandardFactor(named.unit), text);
}

void Explain(const NamedUnit& named, bool literal) {
  const CMeasuringUnit& unit = named.unit;
  UnitRow("text", named.text);
  UnitRow("prints as", Text(named, literal));
  UnitRow("base unit", fmt::format("{} (number {})", unit.baseunit().ToUtf8(), unit.unit()));
  UnitRow("prefix", fmt::format("10^{}", unit.exponent()));
  UnitRow("power", fmt::format("{}", unit.power()));
  UnitRow("presentation", unit.is_db()    ? fmt::format("level in dB, reference {:g}", unit.logref())
                          : unit.is_log() ? fmt::format("logarithm to base 10, reference {:g}", unit.logref())
                                          : "plain");
  UnitRow("standard unit", StandardUnit(named, literal));
  if (literal && unit.exponent() != 0) {
    UnitRow(
        "note",
        "the library holds the prefix of a text with its exponent squared: k = 10^3 becomes 10^9; all above "
        "tells what is held");
  }
}

double Factor(const NamedUnit& from, const NamedUnit& to, bool literal) {
  const std::string fromText = Text(from, literal), toText = Text(to, literal);
  const CMeasuringUnit &a = from.unit, &b = to.unit;
  if (a.flags() != 0 || b.flags() != 0) {
    Fail(
        "{} cannot be converted to {} by a factor: levels and logarithms need their reference; give plain "
        "units",
        fromText, toText);
  }
  const double factor = MeantUnit::Factor(a, b);
  if (factor == 0 && a.matches(b) && CMeasuringUnit::standard(a.unit()) != CommonUnits::none) {
    Fail("{} cannot be converted to {}: the factor is beyond the range of numbers", fromText, toText);
  }
  if (factor == 0) {
    Fail("{} cannot be converted to {}: they measure different things; give units of one kind and power",
         fromText, toText);
  }
  return factor;
}

void RunUnit(const UnitOptions& options) {
  const NamedUnit unit = Read(options.text, options.literal);
  if (options.to.empty()) return Explain(unit, options.literal);
  const NamedUnit to = Read(options.to, options.literal);
  const double factor = Factor(unit, to, options.literal), value = options.value.value_or(1);
  if (!std::isfinite(value * factor))
    Fail("{:g} {} is beyond the range of numbers in {}", value, unit.text, to.text);
  Explain(unit, options.literal);
  UnitRow("conversion", fmt::format("{} {} = {:.7g} {}", value, Text(unit, options.literal), value * factor,
                                    Text(to, options.literal)));
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
  command->add_flag("--literal", options->literal,
                    "show and convert what the library holds of the text, with prefixes squared");
  command->callback([options] { RunUnit(*options); });
}

}  // namespace umlauf::tool
