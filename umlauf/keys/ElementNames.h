#pragma once

#include "umlauf/Export.h"
#include "umlauf/keys/Clavis.h"
#include "umlauf/platform/framework/CString.h"

/// Names of the element kinds as shown to people, in the language in use (CLibMgr). They are loaded from the
/// string table at the first use. The texts returned are the same objects for the life of the process;
/// `ReloadElementNames` changes what they hold.
namespace Clavis {

/// Name of a kind: the singular when count is below 2, else the plural; "?" for what is no kind.
UMLAUF_API const CString& ElementName(qOrder kind, unsigned count);
inline const CString& ElementName(int kind, unsigned count) {
  return ElementName(static_cast<qOrder>(kind), count);
}

UMLAUF_API const CString& ModeName();
UMLAUF_API const CString& InstrumentName();
UMLAUF_API const CString& ChannelName();
UMLAUF_API const CString& LocationName();
UMLAUF_API const CString& ParameterName();
UMLAUF_API const CString& SensorName();
UMLAUF_API const CString& TypeName();
UMLAUF_API const CString& TypeNamePlural();
UMLAUF_API const CString& BenchName();
UMLAUF_API const CString& BenchNamePlural();
/// The name that stands for all elements: "(all)".
UMLAUF_API const CString& AllName();

/// Loads the names again after a change of language. Not synchronised with those who read them meanwhile.
UMLAUF_API void ReloadElementNames();

}  // namespace Clavis
