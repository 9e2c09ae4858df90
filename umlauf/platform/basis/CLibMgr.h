#pragma once

#include <span>
#include <string_view>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"

/// The string table of one language: UTF-8 lines "id<TAB>text"; lines that do not begin with a digit are
/// comments.
struct CResourceTable {
  const char* language;  ///< two-letter code ("de")
  std::string_view texts;
};

/// The string tables of one module (library or program), one per language. The first one serves for texts
/// and languages that are missing. It refers to the tables, which must outlive it.
struct CResourceModule {
  std::span<const CResourceTable> tables;
};

/// Loads texts from the string tables of modules. The language is, in this order: the one that a
/// CSwitchResourceDefault of this thread chose, the one set by `SetLanguage`, the one of the environment
/// (LC_ALL, LC_MESSAGES, LANG). Only its language part counts: "de_AT.UTF-8" is "de". Texts that were loaded
/// before a change of language stay as they are until they are loaded again. May be called from every thread.
class UMLAUF_API CLibMgr {
 public:
  /// Text `id` of the module that a CSwitchResourceDefault of this thread chose; empty when there is no such
  /// text, or no module.
  static CString LoadStringW(unsigned id);
  /// Code of the language in use, two or three small letters; empty when none is named.
  static CString Language();
  /// Chooses the language of the process; an empty one hands the choice back to the environment.
  static void SetLanguage(const CString& language);
};
