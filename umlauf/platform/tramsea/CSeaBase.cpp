#include "umlauf/platform/tramsea/CSeaBase.h"

#include "umlauf/platform/memory/WithoutMemory.h"
#include "umlauf/platform/os/os.h"
#include "umlauf/platform/tramsea/CResourceSea.h"

namespace os = umlauf::os;

namespace {

std::wstring DefaultFolder() {
  const std::wstring config = os::UserConfigFolder();
  return config.empty() ? config : config + L"/umlauf";
}

}  // namespace

CString CSeaBase::ApplicationPath() {
  return umlauf::WithMemory(std::wstring(), [] {
    if (std::wstring named = os::Environment("UMLAUF_SETTINGS"); !named.empty()) return named;
    const std::wstring folder = DefaultFolder();
    return folder.empty() ? folder : folder + L"/settings.db";
  });
}

CResourceSea& CSeaBase::ApplicationSea() {
  static CResourceSea sea([] {
    // The folder of a file that was named is its owner's business.
    umlauf::HadMemory([] {
      if (os::Environment("UMLAUF_SETTINGS").empty()) os::CreateFolders(DefaultFolder());
    });
    return ApplicationPath();
  }());
  return sea;
}
