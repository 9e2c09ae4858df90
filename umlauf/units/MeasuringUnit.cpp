#include "umlauf/units/MeasuringUnit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include "umlauf/platform/basis/Formatting.h"
#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/tramsea/PrWin.h"
#include "umlauf/platform/vekta/numeric.h"
#include "umlauf/units/internal/SiPrefixes.h"
#include "umlauf/units/internal/UnitParser.h"
#include "umlauf/units/internal/UnitStrings.h"

using umlauf::HadMemory;
using umlauf::WithMemory;

namespace {

constexpr int kMessageStyle = 3;
constexpr std::size_t kAnsiBuffer = 256;

std::int16_t Saturated(int value) {
  using Limits = std::numeric_limits<std::int16_t>;
  return static_cast<std::int16_t>(std::clamp<int>(value, Limits::min(), Limits::max()));
}

float PowerOfTen(int exponent) { return std::pow(10.0f, static_cast<float>(exponent)); }

/// The row of a common unit; one of zeros for any other index.
const SCommonUnit& CommonRow(std::uint32_t index) {
  static constexpr SCommonUnit nothing{};
  return index < kCommonUnits.size() ? kCommonUnits[index] : nothing;
}

std::wstring PowerText(int power) {
  if (power == 1) return L"";
  if (power == 2) return L"²";
  if (power == 3) return L"³";
  const std::wstring number = std::to_wstring(power);
  return power < 0 ? L"^(" + number + L")" : L"^" + number;
}

/// A power of ten as a stream writes it without decimals: "1e+01", "1e-20".
std::wstring PowerOfTenText(int exponent) {
  const std::wstring digits = std::to_wstring(std::abs(exponent));
  return (exponent < 0 ? L"1e-" : L"1e+") + std::wstring(digits.size() < 2 ? 1 : 0, L'0') + digits;
}

}  // namespace

bool CMeasuringUnitInterface::m_showUnitWithDb = true;

CMeasuringUnitInterface& CMeasuringUnitInterface::operator=(const CMeasuringUnitInterface& other) {
  CPODHolder::operator=(other.pod());
  return *this;
}

CMeasuringUnitInterface& CMeasuringUnitInterface::operator=(const SMeasuringUnitPOD& record) {
  CPODHolder::operator=(record);
  return *this;
}

void CMeasuringUnitInterface::set(std::uint32_t unit, std::int16_t exponent, std::int16_t power, float logref,
                                  unitFlags flags) {
  pod() = {unit, exponent, power, logref, flags};
}

void CMeasuringUnitInterface::_construct(bool keep) {
  if (!keep) clear();
}

void CMeasuringUnitInterface::clear() { pod() = SMeasuringUnitPOD(); }

void CMeasuringUnitInterface::set_db(bool on) {
  pod().flags = on ? flags() | flag_db : flags() & ~unitFlags{flag_db};
}

void CMeasuringUnitInterface::set_log(bool on) {
  pod().flags = on ? flags() | flag_log : flags() & ~unitFlags{flag_log};
}

bool CMeasuringUnitInterface::set(const wchar_t* text) {
  clear();
  if (text == nullptr || *text == L'\0') return false;
  SMeasuringUnitPOD parsed;
  CString reason;
  bool read = false;
  if (!HadMemory([&] { read = umlauf::units::ParseUnit(text, parsed, reason); })) return false;
  if (read) {
    pod() = parsed;
  } else {
    PrWin::Output(PrWin::debug, kMessageStyle, L"CMeasuringUnit::set(): Invalid argument: %s caused: %s\n",
                  text, reason);
  }
  return read;
}

bool CMeasuringUnitInterface::setA(const char* text) {
  clear();
  if (text == nullptr || std::strlen(text) >= kAnsiBuffer) return false;
  return set(Formatting::ansi2unicode(text).c_str());
}

CString CMeasuringUnitInterface::prefixstring() const {
  return WithMemory(CString(), [this]() -> CString {
    std::wstring text(UnitStrings::Instance().Name(unit()));
    if (!empty() && power() != 1) {
      if (text.find_first_of(L"*/^()") != std::wstring::npos) text = L"(" + text + L")";
      text += PowerText(power());
    }
    const auto [group, rest] = prefixidx();
    if (group != 0 && prefix(group) == L'-') return PowerOfTenText(exponent()) + text;
    if (group != 0) text.insert(text.begin(), prefix(group));
    if (rest != 0) text = PowerOfTenText(rest) + text;
    return text;
  });
}

CString CMeasuringUnitInterface::prefixunit(bool longForm) const {
  if (power() == 0) return {};
  if (is_db()) return m_showUnitWithDb ? L"dB(" + prefixstring() + L")" : CString(L"dB");
  if (is_log()) return longForm ? L"10^ " + prefixstring() : L"log(" + prefixstring() + L")";
  return prefixstring();
}

const char* CMeasuringUnitInterface::prefixunitA(bool longForm) const {
  thread_local std::array<char, kAnsiBuffer> buffer;
  const std::string text = prefixunit(longForm).ToAnsi();
  buffer[text.copy(buffer.data(), buffer.size() - 1)] = '\0';
  return buffer.data();
}

wchar_t CMeasuringUnitInterface::prefix(int group) {
  using umlauf::units::kSiPrefixes;
  constexpr int lowest = kSiPrefixes.front().exponent / 3;
  if (group < lowest || group > kSiPrefixes.back().exponent / 3) return umlauf::units::kNoPrefixLetter;
  return kSiPrefixes[static_cast<std::size_t>(group - lowest)].letter;
}

std::pair<int, int> CMeasuringUnitInterface::prefixidx() const {
  const int rest = (exponent() % 3 + 3) % 3;
  return {(exponent() - rest) / 3, rest};
}

int CMeasuringUnitInterface::engineering(float x) {
  constexpr int most = std::numeric_limits<std::int16_t>::max() / 3;
  const float magnitude = std::log10(std::fabs(x));
  if (!std::isfinite(magnitude)) return 0;
  const int before = exponent();
  const float group = std::floor((magnitude + static_cast<float>(before)) / 3.0f);
  const int after = 3 * std::clamp(numeric::trunc_sat<int>(group), -most, most);
  exponent(static_cast<std::int16_t>(after));
  return before - after;
}

float CMeasuringUnitInterface::normalize() {
  const float factor = std::pow(std_fac(unit()), static_cast<float>(power())) * PowerOfTen(exponent());
  unit(standard(unit()));
  exponent(1);
  return factor;
}

float CMeasuringUnitInterface::scale_to(const CMeasuringUnitInterface& other) const {
  if (power() != other.power()) return 0.0f;
  if (unit() == other.unit() && exponent() == other.exponent()) return 1.0f;
  if (standard(unit()) != standard(other.unit())) return 0.0f;
  const auto exponentOfPower = static_cast<float>(power());
  return std::pow(std_fac(unit()), exponentOfPower) / std::pow(std_fac(other.unit()), exponentOfPower) *
         PowerOfTen(exponent() - other.exponent());
}

bool CMeasuringUnitInterface::matches(const CMeasuringUnitInterface& other) const {
  return standard(unit()) == standard(other.unit()) && power() == other.power() &&
         logref() == other.logref() && flags() == other.flags();
}

float CMeasuringUnitInterface::invert() {
  if (is_log()) return 1.0f;
  const std::uint32_t reciprocal = inverse(unit());
  exponent(Saturated(-exponent()));
  if (reciprocal == none) {
    set_power(Saturated(-power()));
    return 1.0f;
  }
  const float factor = std::pow(inv_fac(unit()), static_cast<float>(power()));
  unit(reciprocal);
  return factor;
}

void CMeasuringUnitInterface::power(std::int16_t n) {
  set_power(Saturated(power() * n));
  exponent(Saturated(exponent() * n));
}

bool CMeasuringUnitInterface::root(std::int16_t n) {
  if (n == 1) return true;
  if (n == 0 || power() == 0 || power() % n != 0) return false;
  set_power(Saturated(power() / n));
  exponent(Saturated(exponent() / n));
  return true;
}

bool CMeasuringUnitInterface::operator==(const CMeasuringUnitInterface& other) const {
  return unit() == other.unit() && exponent() == other.exponent() && power() == other.power() &&
         logref() == other.logref() && flags() == other.flags();
}

bool CMeasuringUnitInterface::operator==(const CString& text) const { return prefixunit(false) == text; }

CString CMeasuringUnitInterface::UnitString(std::uint32_t index) {
  return WithMemory(CString(), [index]() -> CString { return UnitStrings::Instance().Name(index); });
}

std::uint32_t CMeasuringUnitInterface::inverse(std::uint32_t index) { return CommonRow(index).inverse; }
float CMeasuringUnitInterface::inv_fac(std::uint32_t index) { return CommonRow(index).inv_fac; }
std::uint32_t CMeasuringUnitInterface::standard(std::uint32_t index) { return CommonRow(index).standard; }
float CMeasuringUnitInterface::std_fac(std::uint32_t index) { return CommonRow(index).std_fac; }

bool CMeasuringUnitInterface::registerUncommonUnits() { return UnitStrings::registers; }
void CMeasuringUnitInterface::registerUncommonUnits(bool on) { UnitStrings::registers = on; }
bool CMeasuringUnitInterface::warnOnRegistration() { return UnitStrings::warns; }
void CMeasuringUnitInterface::warnOnRegistration(bool on) { UnitStrings::warns = on; }
