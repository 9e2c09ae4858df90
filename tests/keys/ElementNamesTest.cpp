#include "umlauf/keys/ElementNames.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <fstream>
#include <map>
#include <regex>
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
  static const std::regex fixed(R"(%[^ ]+|\*\.[a-z*]+|\||Zel42|^\(|\)$)");
  std::string parts;
  for (std::sregex_iterator i(text.begin(), text.end(), fixed), end; i != end; ++i) parts += i->str() + ' ';
  return parts;
}

/// Chooses the language of the names, and English again when it goes.
struct NamesIn {
  explicit NamesIn(const wchar_t* language) {
    CLibMgr::SetLanguage(language);
    TramonStrings::ReloadElementNames();
  }
  ~NamesIn() {
    CLibMgr::SetLanguage(L"en");
    TramonStrings::ReloadElementNames();
  }
};

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
    const char *all, *messages, *lang;
    const wchar_t* expected;
  } cases[] = {{"de_AT.UTF-8", "fr", "it", L"de"},
               {"", "ja_JP", "it", L"ja"},
               {"", "", "pt_BR.UTF-8", L"pt"},
               {"C", "de", "de", L""},
               {"POSIX", "", "", L""},
               {"", "", "", L""},
               {"", "", "ZH-Hans", L"zh"},
               {"", "", "../../x", L""}};
  CLibMgr::SetLanguage(L"");
  for (const auto& c : cases) {
    setenv("LC_ALL", c.all, 1);
    setenv("LC_MESSAGES", c.messages, 1);
    setenv("LANG", c.lang, 1);
    EXPECT_EQ(CLibMgr::Language(), c.expected) << &c - cases;
  }
  CLibMgr::SetLanguage(L"pl");
  {
    const CSwitchResourceDefault outer(L"hu");
    {
      const CSwitchResourceDefault inner(CString(L"ru_RU"));
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
  const NamesIn english(L"en");
  EXPECT_EQ(Clavis::ElementName(2, 1), L"Channel");
  EXPECT_EQ(Clavis::ElementName(2, 0), L"Channel");
  EXPECT_EQ(Clavis::ElementName(2, 5), L"Channels");
  for (const int kind : {-1, 8, 9, INT_MIN, INT_MAX}) EXPECT_EQ(Clavis::ElementName(kind, 1), L"?");
  const struct {
    const CString& name;
    const wchar_t* text;
  } names[] = {{Clavis::ModeName(), L"Test step"},  {Clavis::InstrumentName(), L"Instrument"},
               {Clavis::ChannelName(), L"Channel"}, {Clavis::LocationName(), L"Location"},
               {Clavis::SensorName(), L"Sensor"},   {Clavis::ParameterName(), L"Parameter"},
               {Clavis::TypeName(), L"Type"},       {Clavis::TypeNamePlural(), L"Types"},
               {Clavis::BenchName(), L"Bench"},     {Clavis::BenchNamePlural(), L"Benches"},
               {Clavis::AllName(), L"(all)"}};
  for (const auto& n : names) EXPECT_EQ(n.name, n.text);
}

TEST(TramonStrings, NameEveryIndexAndNothingElse) {
  const NamesIn english(L"en");
  using Function = const CString& (*)(int);
  const struct {
    Function function;
    int index;
    const wchar_t* text;
  } cases[] = {{TramonStrings::ResultName, -1, L"Test result"},
               {TramonStrings::ResultName, INT_MIN, L"Test result"},
               {TramonStrings::ResultName, 0, L"n.OK"},
               {TramonStrings::ResultName, 3, L"Sys.err."},
               {TramonStrings::ResultName, 4, L"Not set"},
               {TramonStrings::ResultName, 5, L""},
               {TramonStrings::MessArtName, -7, L"Test Kind"},
               {TramonStrings::MessArtName, 10, L"Evaluation"},
               {TramonStrings::MessArtName, 11, L""},
               {TramonStrings::MessArtName, INT_MAX, L""},
               {TramonStrings::TestPropBitName, -1, L"Test properties"},
               {TramonStrings::TestPropBitName, 10, L"Extension data"},
               {TramonStrings::TestPropBitName, 12, L""},
               {TramonStrings::TestPropBitName, 31, L"(Zel42 measurement)"},
               {TramonStrings::TestPropBitName, 32, L""}};
  for (const auto& c : cases) EXPECT_EQ(c.function(c.index), c.text) << &c - cases;
}

TEST(TramonStrings, NamesFollowTheLanguageAfterReloading) {
  const CString& bench = Clavis::BenchName();
  const CString& result = TramonStrings::ResultName(0);
  {
    const NamesIn german(L"de_DE.UTF-8");
    EXPECT_EQ(bench, L"Pr\u00FCfstand");
    EXPECT_EQ(result, L"n.i.O.");
  }
  EXPECT_EQ(bench, L"Bench");
  EXPECT_EQ(result, L"n.OK");
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
