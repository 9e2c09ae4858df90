#include "umlauf/keys/ElementNames.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <thread>

#include "umlauf/keys/TramonStrings.h"
#include "umlauf/platform/basis/CLibMgr.h"
#include "umlauf/platform/basis/CSwitchResourceDefault.h"
#include "umlauf/resources/StringTables.h"

namespace {

using Texts = std::map<unsigned, std::string>;

Texts ReadTable(const std::string& language) {
  std::ifstream file(std::string(UMLAUF_TEST_DATA "/../../umlauf/resources/") + language + ".txt");
  Texts texts;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('#')) continue;
    const auto tab = line.find('\t');
    EXPECT_NE(tab, std::string::npos) << language << ": " << line;
    EXPECT_TRUE(texts.emplace(std::stoul(line), line.substr(tab + 1)).second) << language << ": " << line;
  }
  return texts;
}

/// What a program reads out of a text: placeholders, file patterns, separators, product names.
std::string FixedParts(const std::string& text) {
  std::string parts;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' || text[i] == '*') parts += text.substr(i, text.find_first_of(" |)", i) - i);
    if (text[i] == '|' || text[i] == '(' || text[i] == ')') parts += text[i];
    if (text.compare(i, 5, "Zel42") == 0) parts += "Zel42";
  }
  return parts;
}

void UseLanguage(const wchar_t* language) {
  CLibMgr::SetLanguage(language);
  TramonStrings::ReloadElementNames();
}

TEST(StringTables, LanguagesAgreeInAllButTheWords) {
  // Texts that are the same in English: signs, and words that both languages share.
  const std::map<std::string, std::set<unsigned>> same{
      {"cs", {201}},     {"de", {2, 5, 6}}, {"es", {6, 20, 21, 201}},
      {"hu", {201}},     {"it", {201}},     {"ja", {201}},
      {"ko", {20, 201}}, {"pl", {201}},     {"pt", {6, 20, 201}},
      {"ro", {2, 201}},  {"ru", {}},        {"zh", {}}};
  const Texts english = ReadTable("en");
  ASSERT_EQ(english.size(), 57u);
  for (const auto& [language, sameIds] : same) {
    const Texts texts = ReadTable(language);
    ASSERT_EQ(texts.size(), english.size()) << language;
    for (const auto& [id, text] : texts) {
      ASSERT_TRUE(english.contains(id)) << language << ' ' << id;
      EXPECT_EQ(FixedParts(text), FixedParts(english.at(id))) << language << ' ' << id;
      EXPECT_EQ(text == english.at(id), sameIds.contains(id)) << language << ' ' << id << ' ' << text;
      EXPECT_TRUE(!text.empty() && text.front() != ' ' && text.back() != ' ') << language << ' ' << id;
      EXPECT_EQ(text.find_first_of("\r\t\""), std::string::npos) << language << ' ' << id;
    }
  }
}

TEST(StringTables, EveryTextIsEmbedded) {
  const CSwitchResourceDefault library(umlauf::LibraryResources());
  EXPECT_EQ(umlauf::LibraryResources().tables.size(), 13u);
  for (const CResourceTable& table : umlauf::LibraryResources().tables) {
    const CSwitchResourceDefault switched{CString(table.language)};
    for (const auto& [id, text] : ReadTable(table.language))
      EXPECT_EQ(CLibMgr::LoadStringW(id).ToUtf8(), text);
    for (const unsigned id : {0u, 19u, 411u, UINT_MAX}) EXPECT_TRUE(CLibMgr::LoadStringW(id).IsEmpty());
  }
}

TEST(StringTables, LanguageIsThatOfTheSwitchTheProcessOrTheEnvironment) {
  const struct {
    const char *all, *messages, *lang, *expected;
  } cases[] = {{"de_AT.UTF-8", "fr", "it", "de"},
               {"", "ja_JP", "it", "ja"},
               {"", "", "pt_BR.UTF-8", "pt"},
               {"C", "de", "de", ""},
               {"POSIX", "", "", ""},
               {"", "", "", ""},
               {"", "", "ZH-Hans", "zh"},
               {"", "", "../../x", ""}};
  CLibMgr::SetLanguage(L"");
  for (const auto& c : cases) {
    setenv("LC_ALL", c.all, 1);
    setenv("LC_MESSAGES", c.messages, 1);
    setenv("LANG", c.lang, 1);
    EXPECT_EQ(CLibMgr::Language().ToUtf8(), c.expected) << &c - cases;
  }
  CLibMgr::SetLanguage(L"pl");
  {
    const CSwitchResourceDefault outer(L"hu");
    {
      const CSwitchResourceDefault inner(L"ru_RU");
      EXPECT_EQ(CLibMgr::Language(), L"ru");
      std::thread([] { EXPECT_EQ(CLibMgr::Language(), L"pl"); }).join();
    }
    EXPECT_EQ(CLibMgr::Language(), L"hu");
  }
  EXPECT_EQ(CLibMgr::Language(), L"pl");
  CLibMgr::SetLanguage(L"en");
}

TEST(StringTables, MissingTextsAndLanguagesFallBackToTheFirstTable) {
  constexpr CResourceTable tables[] = {{"en", "1\tone\n2\ttwo\n12\ttwelve"},
                                       {"de", "# 2\tnicht\n1\teins\n3"}};
  const CResourceModule module{tables};
  EXPECT_TRUE(CLibMgr::LoadStringW(1).IsEmpty());  // no module is chosen
  const CSwitchResourceDefault own(module);
  const struct {
    const wchar_t* language;
    unsigned id;
    const wchar_t* text;
  } cases[] = {{L"de", 1, L"eins"}, {L"de", 2, L"two"}, {L"de", 12, L"twelve"}, {L"de", 3, L""},
               {L"fr", 1, L"one"},  {L"C", 2, L"two"},  {L"en", 0, L""}};
  for (const auto& c : cases) {
    const CSwitchResourceDefault switched{CString(c.language)};
    EXPECT_EQ(CLibMgr::LoadStringW(c.id), c.text) << &c - cases;
  }
}

TEST(ElementNames, NameEveryKindAndNothingElse) {
  UseLanguage(L"en");
  std::wstring names;
  for (const unsigned count : {0u, 1u, 2u, UINT_MAX}) names += Clavis::ElementName(2, count) + L"|";
  EXPECT_EQ(names, L"Channel|Channel|Channels|Channels|");
  for (const int kind : {-1, 8, 9, INT_MIN, INT_MAX}) EXPECT_EQ(Clavis::ElementName(kind, 1), L"?");
  names.clear();
  for (const auto name : {Clavis::ModeName, Clavis::InstrumentName, Clavis::ChannelName, Clavis::LocationName,
                          Clavis::ParameterName, Clavis::SensorName, Clavis::TypeName, Clavis::TypeNamePlural,
                          Clavis::BenchName, Clavis::BenchNamePlural, Clavis::AllName}) {
    names += name() + L"|";
  }
  EXPECT_EQ(names, L"Test step|Instrument|Channel|Location|Parameter|Sensor|Type|Types|Bench|Benches|(all)|");
}

TEST(TramonStrings, NameEveryIndexAndNothingElse) {
  UseLanguage(L"en");
  const auto names = [](const CString& (*name)(int), std::initializer_list<int> indices) {
    std::wstring text;
    for (const int index : indices) text += name(index) + L"|";
    return text;
  };
  EXPECT_EQ(names(TramonStrings::ResultName, {INT_MIN, -1, 0, 3, 4, 5, INT_MAX}),
            L"Test result|Test result|n.OK|Sys.err.|Not set|||");
  EXPECT_EQ(names(TramonStrings::MessArtName, {-7, 0, 10, 11, INT_MAX}), L"Test Kind|Not set|Evaluation|||");
  EXPECT_EQ(names(TramonStrings::TestPropBitName, {-1, 0, 10, 11, 30, 31, 32, INT_MAX}),
            L"Test properties|(Legacy-Bit)|Extension data|||(Zel42 measurement)|||");
}

TEST(TramonStrings, NamesFollowTheLanguageAfterReloading) {
  const CString& bench = Clavis::BenchName();
  const CString& result = TramonStrings::ResultName(0);
  UseLanguage(L"de_DE.UTF-8");
  EXPECT_EQ(bench + L" " + result, L"Pr\u00FCfstand n.i.O.");
  UseLanguage(L"en");
  EXPECT_EQ(bench + L" " + result, L"Bench n.OK");
}

TEST(TramonStrings, PropertySymbolsAreDistinct) {
  std::set<wchar_t> symbols{L'\u30A6'};
  for (int bit = 0; bit < 32; ++bit) {
    EXPECT_TRUE(symbols.insert(TramonStrings::TestPropBitChar(bit)).second) << bit;
    EXPECT_EQ(TramonStrings::TestPropsSymbolForm(ULONG{1} << bit),
              CString() + TramonStrings::TestPropBitChar(bit));
  }
  for (const int bit : {32, -1, INT_MAX}) EXPECT_EQ(TramonStrings::TestPropBitChar(bit), L'\u30A6');
  EXPECT_EQ(TramonStrings::TestPropsSymbolForm(0x1A), L"RW!");
  EXPECT_EQ(TramonStrings::TestPropsSymbolForm(0xFFFFFFFF), L"LRBW!+-CEAXabcdefghijklmnopqrstZ");
}

}  // namespace
