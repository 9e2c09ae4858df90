#pragma once

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CString.h"

class CResourceSea;

/// Gives access to the application's settings database.
class UMLAUF_API CSeaBase {
 public:
  /// The settings database of the application, one for the whole process, opened for writing at the first
  /// call and created when it is missing. When it cannot be opened the log says why; it then is closed: it
  /// holds no entries and takes none. May be called from every thread; an application may open another file
  /// in it.
  static CResourceSea& ApplicationSea();

  /// Path of the file that ApplicationSea opens: what the environment variable UMLAUF_SETTINGS names
  /// (":memory:" for a database that is gone with the process), else umlauf/settings.db in the user's
  /// configuration folder. Empty when neither is there.
  static CString ApplicationPath();
};
