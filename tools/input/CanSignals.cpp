#include "tools/input/CanSignals.h"

#include <algorithm>
#include <set>

#include "tools/Error.h"

namespace umlauf::tool {
namespace {

constexpr std::size_t mostPanels = 8;

/// A field of a table; one with separators or quotes goes in quotes.
std::string Field(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char each : text) quoted += each == '"' ? std::string("\"\"") : std::string(1, each);
  return quoted + "\"";
}

}  // namespace

CanSignals::CanSignals(const Description& description, unsigned channels) {
  const std::string& kcd = description.kcd;
  const std::vector<std::string>& wanted = description.signals;
  decoder_.SetRecordedChannels(channels);
  decoder_.SetBigEndianOffset(description.offsets);
  decoder_.SetBus(CString::FromUtf8(description.bus));
  if (!decoder_.SetDecoderXmlFile(CString::FromPath(kcd))) {
    const bool buses = notes_.text().find("buses") != std::string::npos;
    Fail("cannot use {}: {}{}", kcd, notes_.text(),
         buses ? " with --bus" : "; give a message description in KCD");
  }
  std::vector<bool> found(wanted.size());
  std::set<CString> taken;
  for (unsigned i = 0; i < decoder_.NumSignals(); ++i) {
    const CanSignalInfo_s info = decoder_.Signal(i);
    Signal signal;
    signal.message = info.message.ToUtf8();
    signal.name = info.signal.ToUtf8();
    signal.unit = info.unit.ToUtf8();
    signal.identifier = info.identifier;
    signal.labelled = info.labelled;
    anyBigEndian_ |= info.bigEndian;
    bool take = wanted.empty();
    for (std::size_t k = 0; k < wanted.size(); ++k) {
      if (wanted[k] != signal.name && wanted[k] != signal.message + "." + signal.name) continue;
      take = found[k] = true;
    }
    // The decoder knows signals by name: a name that comes again, as in several groups, stands for them all.
    const CString name = info.message + L"." + info.signal;
    if (!take || !taken.insert(name).second) continue;
    decoder_.AppSignalBekanntmachen(static_cast<int>(signals_.size()), name);
    signals_.push_back(std::move(signal));
  }
  for (std::size_t k = 0; k < wanted.size(); ++k) {
    if (!found[k]) Fail("{} describes no signal {}; leave out --signal to see all", kcd, wanted[k]);
  }
  if (signals_.empty()) {
    Fail("cannot use {}: it describes no signals{}{}", kcd, notes_.empty() ? "" : "; ", notes_.text());
  }
  decoder_.StartDecoderSession();
}

void CanSignals::Take(double time, const CanMessageBlock_s& message, OutputFile* csv) {
  const unsigned n = decoder_.DecodeCanMessage(message);
  for (unsigned i = 0; i < n; ++i) {
    const auto index = static_cast<std::size_t>(decoder_.ResultId(i));
    if (index >= signals_.size()) continue;
    Signal& signal = signals_[index];
    const double value = decoder_.ResultValue(i);
    ++signal.count;
    signal.min = std::min(signal.min, value);
    signal.max = std::max(signal.max, value);
    signal.sum += value;
    signal.values.Add(time, value);
    const std::string label = signal.labelled ? decoder_.ResultLabel(i).ToUtf8() : std::string();
    if (!label.empty()) {
      NamedValue& named = signal.named[value];
      named.name = label;
      ++named.count;
    }
    if (csv != nullptr) {
      csv->Print("{},{},{},{},{},{}\n", time, Field(signal.message), Field(signal.name), value,
                 Field(signal.unit), Field(label));
    }
  }
}

Plot CanSignals::Picture(const std::string& title) const {
  Plot plot{title, "time in s", {}, true};
  for (const Signal& each : signals_) {
    if (each.values.empty()) continue;
    const std::string unit = each.unit.empty() ? "" : " in " + each.unit;
    plot.panels.push_back(
        {each.name + unit, {{"", PlotSeries::Look::line, "#1f5fa8", each.values.Points()}}});
  }
  if (plot.panels.empty()) Fail("there is nothing to draw: none of the signals came; check the description");
  if (plot.panels.size() > mostPanels) {
    Fail("{} signals are too many for one picture; choose up to {} with --signal", plot.panels.size(),
         mostPanels);
  }
  return plot;
}

}  // namespace umlauf::tool
