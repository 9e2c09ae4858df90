#pragma once

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"

struct CResourceModule;

/// Chooses the module or the language from which this thread loads texts (CLibMgr::LoadStringW), and gives
/// back what was chosen before when it goes. Objects of one thread go in the reverse order of their coming.
class UMLAUF_API CSwitchResourceDefault {
 public:
  /// The module must outlive this object.
  explicit CSwitchResourceDefault(const CResourceModule& module);
  /// A language as in the environment ("de", "de_AT.UTF-8"); an empty one chooses nothing.
  explicit CSwitchResourceDefault(const CString& language);
  ~CSwitchResourceDefault();
  CSwitchResourceDefault(const CSwitchResourceDefault&) = delete;
  CSwitchResourceDefault& operator=(const CSwitchResourceDefault&) = delete;

  /// What this thread has chosen: null and empty at first.
  static const CResourceModule* Module();
  static CString Language();

 private:
  const CResourceModule* module_;
  CString language_;
};
