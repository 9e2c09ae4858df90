#include "umlauf/keys/ElementNames.h"

#include <map>
#include <set>
#include <sstream>
#include <thread>

#include "support/Process.h"
#include "support/Test.h"
#include "umlauf/keys/TramonStrings.h"
#include "umlauf/platform/basis/CLibMgr.h"
#include "umlauf/platform/basis/CSwitchResourceDefault.h"
#include "umlauf/resources/LibraryTexts.h"

namespace {

using Texts = std::map<unsigned, std::string>;

Texts Parse(const CResourceTable& table) {
  std::istringstream lines{std::string(table.texts)};
  Texts texts;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('#')) continue;
    const auto tab = line.find('\t');
    EXPECT_NE(tab, std::string::npos) << table.language << ": " << line;
    EXPECT_TRUE(texts.emplace(std::stoul(line), line.substr(tab + 1)).second)
        << table.language << ": " << line;
  }
  return texts;
}

/// The signs that a program reads out of a text: placeholders, file patterns, separators.
std::string Signs(std::string text) {
  std::erase_if(text, [](char c) { return std::string_view("%*|()").find(c) == std::string_view::npos; });
  return text;
}

void UseLanguage(const wchar_t* language) {
  CLibMgr::SetLanguage(language);
  TramonStrings::ReloadElementNames();
}

TEST(StringTables, LanguagesAgreeInAllButTheWords) {
  const CSwitchResourceDefault library(umlauf::LibraryResources());
  const auto tables = umlauf::LibraryResources().tables;
  ASSERT_EQ(tables.size(), 13u);
  const Texts english = Parse(tables.front());
  ASSERT_EQ(english.size(), 57u);
  for (const CResourceTable& table : tables) {
    const CSwitchResourceDefault switched{CString(table.language)};
    const Texts texts = Parse(table);
    EXPECT_EQ(texts.size(), english.size()) << table.language;
    int words = 0;  // that are the same in English
    for (const auto& [id, text] : texts) {
      const std::string where = std::string(table.language).append(" ").append(std::to_string(id));
      ASSERT_TRUE(english.contains(id)) << where;
      EXPECT_EQ(CLibMgr::LoadStringW(id).ToUtf8(), text) << where;
      EXPECT_EQ(Signs(text), Signs(english.at(id))) << where;
      EXPECT_ALL(!text.empty(), !text.starts_with(' '), !text.ends_with(' ')) << where;
      EXPECT_EQ(text.find_first_of("\r\t\""), std::string::npos) << where;
      words += text == english.at(id);
    }
    EXPECT_LE(words, &table == tables.data() ? 57 : 4) << table.language;
    for (const unsigned id : {0u, 19u, 411u, UINT_MAX}) EXPECT_TRUE(CLibMgr::LoadStringW(id).IsEmpty()) << id;
  }
}

TEST(StringTables, LanguageIsThatOfTheSwitchTheProcessOrTheEnvironment) {
  const struct {
    const char *all, *messages, *lang, *expected;
  } cases[] = {{"de_AT.UTF-8", "fr", "it", "de"},
               {"", "ja_JP", "it", "ja"},
               {"", "", "ZH-Hans", "zh"},
               {"C", "de", "de", ""},
               {"", "", "../../x", ""}};
  CLibMgr::SetLanguage(L"");
  for (const auto& c : cases) {
    SetEnvironment("LC_ALL", c.all);
    SetEnvironment("LC_MESSAGES", c.messages);
    SetEnvironment("LANG", c.lang);
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
  } cases[] = {{L"de", 1, L"eins"}, {L"de", 2, L"two"}, {L"de", 12, L"twelve"},
               {L"de", 3, L""},     {L"fr", 1, L"one"}, {L"en", 0, L""}};
  for (const auto& c : cases) {
    const CSwitchResourceDefault switched{CString(c.language)};
    EXPECT_EQ(CLibMgr::LoadStringW(c.id), c.text) << &c - cases;
  }
}

TEST(ElementNames, NameEveryKindAndNothingElse) {
  UseLanguage(L"en");
  std::wstring names;
  for (const unsigned count : {0u, 1u, 2u, UINT_MAX}) names += Clavis::ElementName(2, count) + L"|";
  for (const int kind : {-1, 8, INT_MAX}) names += Clavis::ElementName(kind, 1) + L"|";
  EXPECT_EQ(names, L"Channel|Channel|Channels|Channels|?|?|?|");
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
  const Cases<const CString& (*)(int), std::vector<int>, const wchar_t*> cases = {
      {TramonStrings::ResultName,
       {INT_MIN, -1, 0, 3, 4, 5, INT_MAX},
       L"Test result|Test result|n.OK|Sys.err.|Not set|||"},
      {TramonStrings::MessArtName, {-7, 0, 10, 11, INT_MAX}, L"Test Kind|Not set|Evaluation|||"},
      {TramonStrings::TestPropBitName,
       {-1, 0, 10, 11, 30, 31, 32, INT_MAX},
       L"Test properties|(Legacy-Bit)|Extension data|||(Zel42 measurement)|||"}};
  for (const auto& [name, indices, expectedNames] : cases) {
    std::wstring names;
    for (const int index : indices) names += name(index) + L"|";
    EXPECT_EQ(names, expectedNames);
  }
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
  const CString all = TramonStrings::TestPropsSymbolForm(0xFFFFFFFF);
  EXPECT_EQ(all, L"LRBW!+-CEAXabcdefghijklmnopqrstZ");
  EXPECT_EQ(std::set<wchar_t>(all.view().begin(), all.view().end()).size(), 32u);
  for (int bit = 0; bit < 32; ++bit)
    EXPECT_EQ(TramonStrings::TestPropBitChar(bit), all.view()[static_cast<std::size_t>(bit)]);
  for (const int bit : {32, -1, INT_MAX}) EXPECT_EQ(TramonStrings::TestPropBitChar(bit), L'\u30A6');
  EXPECT_EQ(TramonStrings::TestPropsSymbolForm(0x1A), L"RW!");
}

}  // namespace
