#pragma once

#include "support/Test.h"
#include "umlauf/platform/ui/ComboBoxControl.h"

/// Holds one conversation with an empty control and compares its answers with those of a standard combo box.
inline void ExpectStandardAnswers(CComboBoxControl& control) {
  constexpr auto none = static_cast<std::uintptr_t>(-1);
  const auto text = [](const wchar_t* t) { return reinterpret_cast<std::intptr_t>(t); };
  struct Turn {
    unsigned message;
    std::uintptr_t wParam;
    std::intptr_t lParam, answer;
  };
  const auto turns = std::to_array<Turn>({
      {CB_GETCOUNT, 0, 0, 0},
      {CB_GETCURSEL, 0, 0, -1},
      {CB_SETCURSEL, 0, 0, CB_ERR},
      {CB_ADDSTRING, 0, text(L"rpm"), 0},
      {CB_GETCURSEL, 0, 0, -1},  // nothing is selected by itself
      {CB_ADDSTRING, 0, text(L"°C"), 1},
      {CB_ADDSTRING, 0, 0, CB_ERR},
      {CB_INSERTSTRING, 1, text(L"Hz"), 1},
      {CB_INSERTSTRING, none, text(L"hz"), 3},
      {CB_INSERTSTRING, 5, text(L"m"), CB_ERR},
      {CB_GETCOUNT, 0, 0, 4},  // rpm, Hz, °C, hz
      {CB_GETITEMDATA, 1, 0, 0},
      {CB_SETITEMDATA, 1, -15, CB_OKAY},
      {CB_GETITEMDATA, 1, 0, -15},
      {CB_GETITEMDATA, none, 0, CB_ERR},
      {CB_GETLBTEXTLEN, 2, 0, 2},
      {CB_GETLBTEXT, 0, 0, CB_ERR},
      {CB_SETCURSEL, 1, 0, 1},
      {CB_INSERTSTRING, 0, text(L"first"), 0},
      {CB_GETCURSEL, 0, 0, 2},  // the selection stays with "Hz"
      {CB_DELETESTRING, 0, 0, 4},
      {CB_GETCURSEL, 0, 0, 1},
      {CB_GETITEMDATA, 1, 0, -15},
      {CB_DELETESTRING, 4, 0, CB_ERR},
      {CB_FINDSTRINGEXACT, none, text(L"HZ"), 1},
      {CB_FINDSTRINGEXACT, 1, text(L"HZ"), 3},  // the search starts behind the index ...
      {CB_FINDSTRINGEXACT, 3, text(L"HZ"), 1},  // ... and begins anew at the end
      {CB_FINDSTRINGEXACT, none, text(L"H"), CB_ERR},
      {CB_FINDSTRING, 3, text(L"r"), 0},
      {CB_FINDSTRING, none, 0, CB_ERR},
      {CB_SELECTSTRING, none, text(L"°"), 2},
      {CB_GETCURSEL, 0, 0, 2},
      {CB_SELECTSTRING, none, text(L"V"), CB_ERR},
      {CB_DELETESTRING, 2, 0, 3},
      {CB_GETCURSEL, 0, 0, -1},  // the selected item is gone
      {CB_SETCURSEL, 2, 0, 2},
      {CB_SETCURSEL, 3, 0, CB_ERR},
      {CB_GETCURSEL, 0, 0, -1},
      {CB_ADDSTRING, 0, text(L"Ölförderung Žďár, Ρυθμός, Обороты"), 3},
      {CB_FINDSTRINGEXACT, none, text(L"öLFÖRDERUNG žĎÁR, ρΥΘΜός, оБОРОТЫ"), 3},
      {CB_FINDSTRING, none, text(L"öl"), 3},
      {CB_FINDSTRING, none, text(L"ol"), CB_ERR},
      {CB_DELETESTRING, 3, 0, 3},
      {0x9999, 0, 0, 0},
  });
  for (std::size_t i = 0; i < turns.size(); ++i) {
    const Turn& turn = turns[i];
    EXPECT_EQ(control.SendMessageW(turn.message, turn.wParam, turn.lParam), turn.answer) << "turn " << i;
  }
  std::array<wchar_t, 3> buffer{L'x', L'x', L'x'};
  EXPECT_EQ(control.SendMessageW(CB_GETLBTEXT, 1, reinterpret_cast<std::intptr_t>(buffer.data())), 2);
  EXPECT_EQ(std::wstring(buffer.data()), L"Hz");
  control.SendMessageW(CB_SETCURSEL, 1, 0);
  EXPECT_EQ(control.SendMessageW(CB_RESETCONTENT, 0, 0), CB_OKAY);
  EXPECT_EQ(control.SendMessageW(CB_GETCOUNT, 0, 0), 0);
  EXPECT_EQ(control.SendMessageW(CB_GETCURSEL, 0, 0), -1);
}
