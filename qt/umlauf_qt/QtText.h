#pragma once

#include <QString>

#include "umlauf/platform/framework/CString.h"

/// Text between the library and Qt.
inline QString ToQString(const CString& text) { return QString::fromStdWString(text.str()); }
inline CString FromQString(const QString& text) { return CString(text.toStdWString()); }
