#include "umlauf/platform/framework/CString.h"

#include <clocale>

#include "support/Test.h"

namespace {

TEST(CString, EditsAndSearches) {
  CString s(L"10^ m/s");
  EXPECT_ALL(s.GetLength() == 7, s.Left(4) == L"10^ ", s.Right(3) == L"m/s", s.Mid(4) == L"m/s",
             s.Mid(-3, 2) == L"10", s.Mid(50) == L"", s.Find(L"/") == 5, s.Find(L'x') == -1,
             s.Find(L"m", 5) == -1, s.Find(L'm', 5) == -1, s.Find(L"1", -2) == 0, s.Replace(L"m", L"mm") == 1,
             s == L"10^ mm/s", s.Insert(100, L"!") == 9, L"<" + s + L'>' == L"<10^ mm/s!>",
             CString(L"a") < CString(L"b"));
}

TEST(CString, CodePages) {
  const std::string utf8 =
      "\xC2\xB0"
      "C \xE2\x82\xAC \xF0\x9F\x98\x80";  // degree, euro, an emoji
  const CString s = CString::FromUtf8(utf8);
  EXPECT_ALL(s.ToUtf8() == utf8,
             s.ToAnsi() ==
                 "\xB0"
                 "C \x80 ?",
             CString::FromAnsi("\xB0"
                               "C \x80") == L"°C €");
}

TEST(CString, EveryAnsiByteSurvivesTheWayThere) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    EXPECT_EQ(CString::FromAnsi(text).ToAnsi(), text) << byte;
  }
}

TEST(CString, MalformedUtf8BecomesReplacementCharacters) {
  const Cases<std::string, std::wstring> cases = {
      {"\xFF", L"\xFFFD"},           {"a\xC3", L"a\xFFFD"},
      {"\xE2\x82x", L"\xFFFDx"},     {"\xC0\xAF", L"\xFFFD\xFFFD"},  // overlong
      {"\xED\xA0\x80", L"\xFFFD"},                                   // surrogate
      {"\xF5\x80", L"\xFFFD\xFFFD"},
  };
  for (const auto& [bytes, wide] : cases) EXPECT_EQ(CString::FromUtf8(bytes).str(), wide);
}

TEST(CString, HalfACharacterIsReplacedAndNamesKeepTheirs) {
  const Cases<std::wstring, std::string, std::string> cases = {
      {L"a\xD83D", "a\xEF\xBF\xBD", "a?"},
      {L"\xDE00"
       L"b",
       "\xEF\xBF\xBD"
       "b",
       "?b"},
      {L"\xD83Dx\xDE00", "\xEF\xBF\xBDx\xEF\xBF\xBD", "?x?"},
      {L"\U0001F600\U0010FFFF", "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", "??"},
  };
  for (const auto& [wide, utf8, ansi] : cases)
    EXPECT_ALL(CString(wide).ToUtf8() == utf8, CString(wide).ToAnsi() == ansi);
  for (const std::string name :
       {"\xF0\x9F\x98\x80\xFF", "\xFF\xF0\x9F\x98\x80", "\xED\xA0\xBD\xED\xB8\x80"}) {
    EXPECT_EQ(CString::FromPath(name).ToPath(), name);
  }
}

TEST(CString, FormatIsTypeSafeAndKeepsToThePoint) {
  CString s;
  s.Format(L"[%f|%u|%d|%s|%s|%c]", 0.5f, 7u, -3, L"wide", "narrow µ", L'²');
  EXPECT_EQ(s, L"[0.500000|7|-3|wide|narrow µ|²]");
  s.Format(L"%d %s", 1);  // an argument is missing
  EXPECT_EQ(s, L"%d %s");
  s.Format(L"%5.2f|%3d|%4s", 3.14159, 42, L"ab");
  EXPECT_EQ(s, L" 3.14| 42|  ab");
}

}  // namespace
