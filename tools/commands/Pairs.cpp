#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "tools/Error.h"
#include "tools/commands/Commands.h"
#include "tools/input/SignalFile.h"
#include "tools/output/OutputFile.h"
#include "tools/output/UnitText.h"
#include "umlauf/pairs/SigPairs.h"

namespace umlauf::tool {
namespace {

struct PairsOptions {
  std::string first, second, output;
  std::optional<double> tolerance, tolerancePercent;
  double width = 0, divisor = 0;
  std::optional<double> from, to;
  int factor = 0;
  bool mean = false;
};

/// What becomes of the y units of two signals that are combined.
enum class UnitRule {
  same,     ///< both must measure the same; the second one's values are converted
  first,    ///< the second one's values do not matter
  product,  ///< kept when the second signal has none, else unknown
  ratio     ///< as a product; none when both measure the same
};

struct Combination {
  const char* name;
  const char* text;
  CSigPairs::Operation operation;
  UnitRule units;
};

constexpr Combination combinations[] = {
    {"add", "A + B", CSigPairs::addieren, UnitRule::same},
    {"subtract", "A - B", CSigPairs::subtrahieren, UnitRule::same},
    {"multiply", "A · B", CSigPairs::multiplizieren, UnitRule::product},
    {"divide", "A / B, 0 where B is 0", CSigPairs::dividieren, UnitRule::ratio},
    {"union", "A, and B where A has no values", CSigPairs::vereinigen, UnitRule::same},
    {"intersect", "A within the range of B, with the points of both", CSigPairs::schneiden, UnitRule::first},
    {"min", "the smaller of A and B", CSigPairs::minimum, UnitRule::same},
    {"max", "the greater of A and B", CSigPairs::maximum, UnitRule::same},
};

/// Factor from one unit to the other; nothing when they measure different things. Without a unit on one side
/// the numbers are taken as they are.
std::optional<float> Factor(const CMeasuringUnit& from, const CMeasuringUnit& to) {
  if (from.empty() || to.empty() || from == to) return 1.0f;
  const float factor = from.flags() != 0 || to.flags() != 0 ? 0.0f : from.scale_to(to);
  return factor > 0 && std::isfinite(factor) ? std::optional(factor) : std::nullopt;
}

float FactorOrFail(const char* axis, const CMeasuringUnit& from, const CMeasuringUnit& to) {
  const std::optional<float> factor = Factor(from, to);
  if (!factor) {
    Fail("the {} units {} and {} measure different things; combine signals of one kind", axis, UnitText(to),
         UnitText(from));
  }
  return *factor;
}

/// Gives `other` the units of `pairs`, and `pairs` those of the result.
void MatchUnits(CSigPairs& pairs, CSigPairs& other, UnitRule rule) {
  if (const float factor = FactorOrFail("x", other.XUnit(), pairs.XUnit()); factor != 1) {
    for (SPunkt* each = other.Punkte(); each != other.PunkteEnd(); ++each) each->x *= factor;
  }
  if (pairs.XUnit().empty()) pairs.SetXUnit(other.XUnit());
  const CMeasuringUnit unit = other.YUnit();
  if (rule == UnitRule::same) {
    other.Scale(FactorOrFail("y", unit, pairs.YUnit()));
    if (pairs.YUnit().empty()) pairs.SetYUnit(unit);
  } else if (rule == UnitRule::ratio && !unit.empty() && Factor(unit, pairs.YUnit())) {
    other.Scale(*Factor(unit, pairs.YUnit()));
    pairs.SetYUnit(CMeasuringUnit());
  } else if (rule != UnitRule::first && !unit.empty()) {
    pairs.SetYUnit(CMeasuringUnit());
  }
}

std::unique_ptr<CSigPairs> ReadPoints(const std::string& path) {
  std::unique_ptr<CSigPairs> pairs = ReadPairs(path);
  if (!pairs->Gueltig()) Fail("cannot use {}: it holds no points", path);
  return pairs;
}

void WritePairs(const CSigPairs& pairs, const PairsOptions& options) {
  if (options.output == "-") FailUsage("-o writes a binary file; name one");
  OutputFile out(options.output);
  WriteSignalFile(pairs, out);
  out.Commit();
}

void RunCombination(const Combination& combination, const PairsOptions& options) {
  const std::unique_ptr<CSigPairs> pairs = ReadPoints(options.first), other = ReadPoints(options.second);
  MatchUnits(*pairs, *other, combination.units);
  // Values between points are those of straight lines, which unsorted points do not have.
  other->DatenSortieren(false);
  if (options.tolerance) pairs->PunktgleichheitToleranz(static_cast<float>(*options.tolerance));
  if (options.tolerancePercent)
    pairs->PunktgleichheitToleranzP(static_cast<float>(*options.tolerancePercent));
  pairs->Verrechnen(*other, combination.operation);
  if (!pairs->Gueltig()) {
    Fail("{} and {} have no range of x in common; nothing was written", options.first, options.second);
  }
  WritePairs(*pairs, options);
}

void Sort(CSigPairs& pairs, const PairsOptions&) { pairs.DatenSortieren(false); }
void Smooth(CSigPairs& pairs, const PairsOptions& options) {
  pairs.Glaetten(static_cast<float>(options.width));
}
void Thin(CSigPairs& pairs, const PairsOptions& options) {
  pairs.DatenSortieren(false);
  pairs.Linearisieren(static_cast<float>(options.divisor));
}
void Subsample(CSigPairs& pairs, const PairsOptions& options) {
  pairs.Unterabtasten(options.factor, options.mean);
}
void Cut(CSigPairs& pairs, const PairsOptions& options) {
  if (!options.from && !options.to) FailUsage("cut where? give --from, --to or both");
  if (options.from) pairs.CutLeft(static_cast<float>(*options.from));
  if (options.to) pairs.CutRight(static_cast<float>(*options.to));
  if (!pairs.Gueltig()) {
    Fail("no point of {} would be left; umlauf info tells its x range", options.first);
  }
}

}  // namespace

void AddPairsCommand(CLI::App& app) {
  auto options = std::make_shared<PairsOptions>();
  CLI::App* command = app.add_subcommand("pairs", "Calculates with signals as point pairs");
  command->require_subcommand(1);
  const auto addOutput = [&](CLI::App* action) {
    action->add_option("-o,--output", options->output, "signal file to write (point pairs)")
        ->required()
        ->type_name("FILE");
  };
  for (const Combination& each : combinations) {
    CLI::App* action = command->add_subcommand(each.name, each.text);
    action->add_option("a", options->first, "signal file")->required();
    action->add_option("b", options->second, "signal file")->required();
    addOutput(action);
    CLI::Option* absolute =
        action->add_option("--tolerance", options->tolerance, "x values that are closer are one point");
    absolute->check(Between(0.0, 1e30).description(""));
    action
        ->add_option("--tolerance-percent", options->tolerancePercent,
                     "the same in percent of the mean distance of A's points (5)")
        ->check(Between(0.0, 100.0).description(""))
        ->excludes(absolute);
    action->callback([options, &each] { RunCombination(each, *options); });
  }
  const auto addEdit = [&](const char* name, const char* text,
                           void (*edit)(CSigPairs&, const PairsOptions&)) {
    CLI::App* action = command->add_subcommand(name, text);
    action->add_option("file", options->first, "signal file")->required();
    addOutput(action);
    action->callback([options, edit] {
      const std::unique_ptr<CSigPairs> pairs = ReadPoints(options->first);
      edit(*pairs, *options);
      WritePairs(*pairs, *options);
    });
    return action;
  };
  addEdit("sort", "Puts the points in the order of their x", Sort);
  addEdit("smooth", "Makes each y the mean of the points around it", Smooth)
      ->add_option("--width", options->width, "of points closer than this in x")
      ->required()
      ->check(AboveZero().description(""));
  addEdit("thin", "Drops points that lie close to the line through those before", Thin)
      ->add_option("--divisor", options->divisor, "close is the y range over this")
      ->required()
      ->check(AboveZero().description(""));
  CLI::App* subsample = addEdit("subsample", "Keeps every n-th point", Subsample);
  subsample->add_option("--factor", options->factor, "that n")
      ->required()
      ->transform(WholeNumber(2, std::numeric_limits<int>::max()));
  subsample->add_flag("--mean", options->mean, "with the mean of the points that it stands for");
  CLI::App* cut = addEdit("cut", "Drops the points outside a range of x", Cut);
  cut->add_option("--from", options->from, "first x")->check(Finite().description(""));
  cut->add_option("--to", options->to, "last x")->check(Finite().description(""));
}

}  // namespace umlauf::tool
