#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "tools/LibraryNotes.h"
#include "tools/output/OutputFile.h"
#include "tools/plot/PlotTrace.h"
#include "umlauf/can/CanMessageDecoderXml.h"

namespace umlauf::tool {

/// The signals of a message description, decoded from message after message. Those of one name in messages of
/// one name (in several groups of a multiplexed message, say) are one signal. Not for several threads.
class CanSignals {
 public:
  struct NamedValue {
    std::string name;
    std::uint64_t count = 0;
  };
  struct Signal {
    std::string message, name, unit;
    std::uint32_t identifier = 0;
    std::uint64_t count = 0;
    double min = std::numeric_limits<double>::infinity(), max = -std::numeric_limits<double>::infinity();
    double sum = 0;
    bool labelled = false;                 ///< some values have names
    std::map<double, NamedValue> named{};  ///< those that came, by value
    PlotTrace values;                      ///< over seconds

    double mean() const { return sum / static_cast<double>(count); }
  };

  struct Description {
    std::string kcd;  ///< file
    std::string bus;  ///< empty = all
    CCanMessageDecoderXml::BigEndianOffset offsets =
        CCanMessageDecoderXml::BigEndianOffset::mostSignificantFromTop;
    std::vector<std::string> signals;  ///< SIGNAL or MESSAGE.SIGNAL; empty = all
  };
  /// The messages come from 1 or 2 channels. Throws ToolError.
  CanSignals(const Description& description, unsigned channels);

  /// Decodes a message and writes a line for each value where there is a file for it.
  void Take(double time, const CanMessageBlock_s& message, OutputFile* csv);

  const std::vector<Signal>& all() const { return signals_; }
  std::uint64_t unknownMessages() const { return decoder_.NumUnknownMessages(); }
  /// Whether some signal is big-endian, so that the choice of their offsets counts.
  bool anyBigEndian() const { return anyBigEndian_; }
  /// What the decoder noted about the description and the messages, on one line.
  const std::string& notes() const { return notes_.text(); }
  /// A panel for each signal that has values. Throws ToolError when there are none, or too many.
  Plot Picture(const std::string& title) const;

 private:
  LibraryNotes notes_;
  CCanMessageDecoderXml decoder_;
  std::vector<Signal> signals_;
  bool anyBigEndian_ = false;
};

}  // namespace umlauf::tool
