#include "umlauf/platform/framework/CObject.h"

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
  for (const CRuntimeClass* c = this; c != nullptr;
       c = c->m_pfnGetBaseClass != nullptr ? c->m_pfnGetBaseClass() : nullptr) {
    if (c == base) return true;
  }
  return false;
}

const CRuntimeClass* CObject::GetThisClass() {
  static const CRuntimeClass record{"CObject", sizeof(CObject), NoArchiveSchema, nullptr, nullptr};
  return &record;
}

const CRuntimeClass* CObject::GetRuntimeClass() const { return GetThisClass(); }
void CObject::Serialize(CArchive&) {}
void CObject::AssertValid() const {}
void CObject::Dump(CDumpContext&) const {}
