#include "tools/speed/SpeedResults.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/output/Console.h"
#include "tools/output/Json.h"

namespace umlauf::tool {
namespace {

constexpr std::size_t firstNumber = 1;  ///< columns from here on are aligned to the right, but for the last

/// Two blanks before each line.
std::string Indented(const std::string& lines) {
  std::string text;
  for (std::size_t begin = 0; begin < lines.size();) {
    const std::size_t end = std::min(lines.find('\n', begin), lines.size());
    text += "  " + lines.substr(begin, end - begin);
    if (end + 1 < lines.size()) text += '\n';
    begin = end + 1;
  }
  return text;
}

}  // namespace

void SpeedResults::Add(const SpeedReport& report) {
  ++count_;
  if (json_) {
    objects_.push_back(Indented(report.Json()));
  } else {
    rows_.push_back(report.Row());
  }
}

void SpeedResults::AddFailure(const std::string& recording, unsigned channelNumber, const std::string& why) {
  ++count_;
  ++failures_;
  if (json_) {
    const nlohmann::ordered_json json = {
        {"recording", recording}, {"channel", channelNumber}, {"error", why}};
    objects_.push_back(Indented(JsonText(json)));
    return;
  }
  std::vector<std::string> row(SpeedReport::RowHeader().size());
  row[0] = recording;
  row[1] = fmt::format("{}", channelNumber);
  row.back() = "failed";
  rows_.push_back(std::move(row));
}

void SpeedResults::Print() const {
  if (json_) {
    tool::Print("[\n{}\n]\n", fmt::join(objects_, ",\n"));
    return;
  }
  std::vector<std::vector<std::string>> rows = {SpeedReport::RowHeader()};
  rows.insert(rows.end(), rows_.begin(), rows_.end());
  std::vector<std::size_t> widths(rows.front().size());
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const bool right = i >= firstNumber && i + 1 < row.size();
      line += right ? fmt::format("{:>{}}  ", row[i], widths[i]) : fmt::format("{:<{}}  ", row[i], widths[i]);
    }
    tool::Print("{}\n", line.substr(0, line.find_last_not_of(' ') + 1));
  }
}

}  // namespace umlauf::tool
