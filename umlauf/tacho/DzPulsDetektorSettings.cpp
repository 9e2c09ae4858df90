// Settings of the detector: setters, automatic thresholds, settings text.

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <string_view>

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/tacho/DzPulsDetektor.h"

namespace {

/// Takes a settings line apart as wcstok does: leading delimiters are skipped, so no token is empty. The
/// opening bracket delimits the first token only.
class Tokens {
 public:
  explicit Tokens(std::wstring_view text) : rest_(text) {}
  /// Empty at the end of the text.
  std::wstring_view Next() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(delimiters_), rest_.size()));
    const std::wstring_view token = rest_.substr(0, rest_.find_first_of(delimiters_));
    rest_.remove_prefix(std::min(token.size() + 1, rest_.size()));
    delimiters_ = L"|]";
    return token;
  }

 private:
  std::wstring_view rest_;
  std::wstring_view delimiters_ = L"[|]";
};

/// The token as plain characters from its number on: without blanks and a plus sign in front, up to the first
/// character that no number has.
std::string NumberText(std::wstring_view token) {
  token.remove_prefix(std::min(token.find_first_not_of(L" \t\n\v\f\r"), token.size()));
  if (token.size() > 1 && token[0] == L'+' && token[1] != L'-') token.remove_prefix(1);
  std::string text;
  for (const wchar_t c : token.substr(0, token.find_first_not_of(L"0123456789.eE+-"))) {
    text.push_back(static_cast<char>(c));
  }
  return text;
}

float ToReal(std::wstring_view token) {
  constexpr double greatest = std::numeric_limits<float>::max();
  const std::string text = NumberText(token);
  double value = 0.0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    const bool tiny = text.find("e-") != std::string::npos || text.find("E-") != std::string::npos;
    value = tiny ? 0.0 : text[0] == '-' ? -greatest : greatest;
  }
  return static_cast<float>(std::clamp(value, -greatest, greatest));
}

std::uint32_t ToCount(std::wstring_view token) {
  const std::string text = NumberText(token);
  std::uint32_t value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  return result.ec == std::errc::result_out_of_range ? std::numeric_limits<std::uint32_t>::max() : value;
}

}  // namespace

void CDzPulsDetektor::SchrankenSetzen(float upper, float lower) {
  settings_.upper = upper;
  settings_.lower = lower;
}

void CDzPulsDetektor::QuellenPulseProUmdr(unsigned pulses) {
  settings_.sourcePulses = pulses;
  settings_.sourcePulsesReal = static_cast<float>(pulses);
}

void CDzPulsDetektor::PulsTeilerSetzen(unsigned n) {
  settings_.divider = n;
  settings_.dividerReciprocal = n < 2 ? 1.0f : 1.0f / static_cast<float>(n);
}

void CDzPulsDetektor::StoerpulsFilterAktivieren(bool on, float threshold, unsigned runIn, unsigned deadTime) {
  settings_.spikeFilter = on;
  settings_.spikeThreshold = static_cast<double>(threshold);
  settings_.runIn = runIn;
  settings_.deadTime = deadTime;
}

void CDzPulsDetektor::PulsLueckenKorrigieren(bool on, float factor) {
  settings_.gapCorrection = on;
  settings_.gapFactor = factor;
}

float CDzPulsDetektor::Deviation(float mean, float meanSquare) {
  const double m = static_cast<double>(mean);
  return static_cast<float>(std::sqrt(std::max(static_cast<double>(meanSquare) - m * m, 0.0)));
}

bool CDzPulsDetektor::AutoSchrankenSetzen(float min, float max, float mean, float sdv) {
  const float range = max - min;
  if (settings_.ttl) {
    SchrankenSetzen(max - 0.33f * range, min + 0.33f * range);
  } else {
    SchrankenSetzen(std::min(mean + 2.0f * sdv, max - 0.2f * range),
                    std::max(mean - 2.0f * sdv, min + 0.2f * range));
  }
  return range > 3.0f * sdv;
}

bool CDzPulsDetektor::AutoSchrankenSetzen(const float* levels) {
  if (levels != nullptr)
    return AutoSchrankenSetzen(levels[0], levels[1], levels[2], Deviation(levels[2], levels[3]));
  return AutoSchrankenSetzen(published_.minimum, published_.maximum, published_.mean, SdvSample());
}

const CString& CDzPulsDetektor::SettingsStringBilden() {
  const Settings& s = settings_;
  settingsText_.Format(L"[%f|%f|%u|%u|%d|%d|%d|%f|%u|%u|%d]", s.lower, s.upper, s.divider, s.minLength,
                       s.both ? 1 : 0, s.ttl ? 1 : 0, s.spikeFilter ? 1 : 0, s.spikeThreshold, s.runIn,
                       s.deadTime, s.falling ? 1 : 0);
  return settingsText_;
}

bool CDzPulsDetektor::SettingsStringLesen(const CString& text) {
  settingsText_ = text;
  Tokens tokens(settingsText_.GetString());
  const auto read = [&tokens](auto store) {
    const std::wstring_view token = tokens.Next();
    if (!token.empty()) store(token);
    return !token.empty();
  };
  const auto real = [&read](auto& field) {
    return read([&field](std::wstring_view token) { field = ToReal(token); });
  };
  const auto count = [&read](std::uint32_t& field) {
    return read([&field](std::wstring_view token) { field = ToCount(token); });
  };
  const auto flag = [&read](bool& field) {
    return read([&field](std::wstring_view token) { field = token[0] == L'1'; });
  };
  const auto divider = [&] {
    return read([this](std::wstring_view token) { PulsTeilerSetzen(std::max(ToCount(token), 1u)); });
  };
  Settings& s = settings_;
  return umlauf::WithMemory(false, [&] {  // for numbers of many digits
    return real(s.lower) && real(s.upper) && divider() && count(s.minLength) && flag(s.both) && flag(s.ttl) &&
           flag(s.spikeFilter) && real(s.spikeThreshold) && count(s.runIn) && count(s.deadTime) &&
           flag(s.falling);
  });
}
