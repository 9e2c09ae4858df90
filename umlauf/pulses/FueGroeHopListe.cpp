#include "umlauf/pulses/FueGroeHopListe.h"

CFueGroeHop& CFueGroeHopListe::AddEntry(std::uint64_t samples, float value) {
  const std::uint64_t start = empty() ? 0 : entries_.back().StartSample() + entries_.back().NrSamples();
  CFueGroeHop& hop = Append(samples, value);
  hop.SetStartSample(start);
  return hop;
}

void CFueGroeHopListe::Anhaengen(const CFueGroeHopListe& other) {
  const std::size_t count = other.entries_.size();  // before growing: the other list may be this one
  for (std::size_t i = 0; i < count; ++i) {
    const CFueGroeHop hop = other.entries_[i];
    AddEntry(hop.NrSamples(), hop.Value());
  }
}

float CFueGroeHopListe::WertBei(std::uint64_t sample) const {
  const std::int64_t i = Sample2Idx(sample);
  return i < 0 ? 0.0f : entries_[static_cast<std::size_t>(i)].Value();
}

bool CFueGroeHopListe::ListeAbschliessen(std::uint64_t total) {
  std::uint64_t samples = 0;
  double product = 0.0;
  for (const CFueGroeHop& hop : entries_) {
    samples += hop.NrSamples();
    product += hop.Produkt();
  }
  SetAverage(samples == 0 ? LastValue() : static_cast<float>(product / static_cast<double>(samples)));
  if (total == 0 || samples >= total) return false;
  const std::size_t before = entries_.size();
  AddEntry(total - samples, LastValue());
  return entries_.size() > before;
}
