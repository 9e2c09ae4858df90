#pragma once

// The standard messages of a combo box, with their usual numbers and results. Where the system's own headers
// are included first, these are macros of the same values.
//
// wParam and lParam of a message stand behind it, then the result. An index is that of an item, from 0; one
// outside the list gives CB_ERR.
#ifndef CB_GETCOUNT
inline constexpr int CB_OKAY = 0;
inline constexpr int CB_ERR = -1;
inline constexpr int CB_ERRSPACE = -2;

inline constexpr unsigned CB_ADDSTRING = 0x0143;     ///< 0, const wchar_t*: index of the new, last item
inline constexpr unsigned CB_DELETESTRING = 0x0144;  ///< index, 0: number of items left
inline constexpr unsigned CB_GETCOUNT = 0x0146;      ///< 0, 0: number of items
inline constexpr unsigned CB_GETCURSEL = 0x0147;     ///< 0, 0: index of the selected item, else CB_ERR
inline constexpr unsigned CB_GETLBTEXT = 0x0148;     ///< index, wchar_t* with room: copies text, its length
inline constexpr unsigned CB_GETLBTEXTLEN = 0x0149;  ///< index, 0: length without the closing 0
inline constexpr unsigned CB_INSERTSTRING = 0x014A;  ///< index (-1: at the end), const wchar_t*: index
inline constexpr unsigned CB_RESETCONTENT = 0x014B;  ///< 0, 0: empties the list, CB_OKAY
inline constexpr unsigned CB_FINDSTRING = 0x014C;    ///< index to search behind or -1, beginning: index
inline constexpr unsigned CB_SELECTSTRING = 0x014D;  ///< as CB_FINDSTRING, and selects what it finds
inline constexpr unsigned CB_SETCURSEL = 0x014E;     ///< index, 0: index; outside: CB_ERR, none selected
inline constexpr unsigned CB_GETITEMDATA = 0x0150;   ///< index, 0: the item's data, 0 at first
inline constexpr unsigned CB_SETITEMDATA = 0x0151;   ///< index, data: CB_OKAY
inline constexpr unsigned CB_FINDSTRINGEXACT = 0x0158;  ///< as CB_FINDSTRING, for the whole text
#endif

// Notifications of a combo box.
#ifndef CBN_SELCHANGE
inline constexpr unsigned CBN_SELCHANGE = 1;  ///< the user chose an item
#endif
