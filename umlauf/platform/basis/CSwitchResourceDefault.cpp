#include "umlauf/platform/basis/CSwitchResourceDefault.h"

namespace {

struct Choice {
  const CResourceModule* module = nullptr;
  CString language;
};

Choice& ThisThread() {
  thread_local Choice choice;
  return choice;
}

}  // namespace

CSwitchResourceDefault::CSwitchResourceDefault(const CResourceModule& module)
    : module_(Module()), language_(Language()) {
  ThisThread().module = &module;
}

CSwitchResourceDefault::CSwitchResourceDefault(const CString& language)
    : module_(Module()), language_(Language()) {
  ThisThread().language = language;
}

CSwitchResourceDefault::~CSwitchResourceDefault() { ThisThread() = {module_, language_}; }

const CResourceModule* CSwitchResourceDefault::Module() { return ThisThread().module; }
CString CSwitchResourceDefault::Language() { return ThisThread().language; }
