// The settings line of the pulse detector, and detection with what it gives.

#include <algorithm>
#include <vector>

#include "fuzz/support/Fuzz.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/tacho/DzPulsDetektor.h"

namespace umlauf::fuzz {
namespace {

/// The lines of two detectors are equal, and such a line is read as a whole.
void ReadBack(CDzPulsDetektor& detector) {
  const CString line = detector.SettingsStringBilden();
  CDzPulsDetektor back;
  Require(back.SettingsStringLesen(line), "a written line is read as a whole");
  Require(back.SettingsStringBilden() == line, "a written line gives that line");
}

/// Where the closed pulses of a signal end, block by block.
std::vector<std::uint64_t> Ends(CDzPulsDetektor detector, const Exact<float>& x, std::size_t longest) {
  std::vector<std::uint64_t> ends;
  CDzPulsListe list;
  std::uint64_t behind = 0;
  for (std::size_t i = 0; i < x.size(); i += longest) {
    const std::size_t n = std::min(longest, x.size() - i);
    detector.PulseSuchen(x.data() + i, n, list, 1);
    std::uint64_t samples = 0;
    for (const PulsEntry& pulse : list) {
      samples += pulse.NrSamples();
      if (!pulse.IsOpen()) ends.push_back(behind + samples);
    }
    Require(samples == n, "the pulses of a block cover it");
    behind += n;
  }
  return ends;
}

}  // namespace

// The line up to its end, the length of the blocks, then samples.
void FuzzOne(Input input) {
  const std::string_view text = input.Text();
  const std::size_t end = std::min(text.find('\n'), text.size());
  CDzPulsDetektor detector;
  detector.SettingsStringLesen(CString::FromUtf8(text.substr(0, end)));
  ReadBack(detector);
  Input samples(input.Rest().subspan(std::min(end + 1, text.size())));
  const std::size_t longest = 1 + samples.Byte() % 16;
  const Exact<float> x(samples.Rest());
  // The spike filter compares values, which may differ in their last bit.
  if (detector.StoerpulsFilter()) return;
  const auto same = [&] {
    return Ends(detector, x, std::max<std::size_t>(x.size(), 1)) == Ends(detector, x, longest);
  };
  if (same()) return;
  // So does the shortest length, with what is left of an edge between two blocks; edges do not.
  detector.PulsMinLenSetzen(0);
  Require(same(), "the closed pulses do not depend on the blocks");
}

}  // namespace umlauf::fuzz
