#include "tools/speed/EdgeWarnings.h"

#include "tools/input/RecordingInput.h"

namespace umlauf::tool {

RecordingWarnings WarningsOfEdges(CPulseJudge& judge, double startTime) {
  RecordingWarnings warnings;
  Add(judge.Finish(), startTime, warnings);
  for (RecordingWarning& warning : warnings) {
    if (warning.code == "few-pulses") {
      warning.text = L"only a few pulses were found; check channel and format of the recording";
    } else if (warning.code == "irregular") {
      warning.text =
          L"the pulses do not follow each other regularly; check channel and format of the recording";
    } else if (warning.code == "extra-pulses") {
      warning.text = L"there are pulses that are far too short, as from a disturbed line; check the sensor";
    } else {
      warning.text =
          L"pulses seem to be missing: tell the gap of the wheel if it has one, or check the sensor";
    }
  }
  return warnings;
}

}  // namespace umlauf::tool
