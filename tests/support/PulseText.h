#pragma once

#include <cstdio>

#include "support/Test.h"
#include "umlauf/pulses/DzPulsListe.h"
#include "umlauf/pulses/FueGroeHopListe.h"

/// + rising, - falling, g gap corrected, o open.
inline char Mark(const PulsEntry& entry) {
  return entry.IsOpen() ? 'o' : entry.IsGapCorrected() ? 'g' : entry.IsLoFlank() ? '-' : '+';
}
inline char Mark(const CFueGroeHop&) { return ':'; }

/// A list as text, "samples mark value" for each entry: "3+2.75 4o4". Entries must follow each other without
/// holes.
template <class Entry>
std::string Text(const CFueGroeListe<Entry>& list) {
  std::string text;
  std::uint64_t start = 0;
  for (const Entry& entry : list) {
    EXPECT_EQ(entry.StartSample(), start);
    start += entry.NrSamples();
    char item[64];
    std::snprintf(item, sizeof item, " %llu%c%.6g", static_cast<unsigned long long>(entry.NrSamples()),
                  Mark(entry), static_cast<double>(entry.Value()));
    text += text.empty() ? item + 1 : item;
  }
  return text;
}

/// A completed list of rising pulses, (samples, value) each, and `rest` samples behind them, at 1000
/// samples/s.
inline CDzPulsListe Pulses(const std::vector<std::pair<std::uint64_t, float>>& pulses, std::uint64_t rest) {
  CDzPulsListe list;
  for (const auto& [samples, value] : pulses) list.AddEntry(samples, value);
  list.CompletePulsList(rest);
  list.SetSampleRate(1000.0f);
  return list;
}
