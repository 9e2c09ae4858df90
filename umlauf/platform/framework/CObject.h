#pragma once

#include <cstddef>

#include "umlauf/Export.h"

class CArchive;
class CDumpContext;
class CObject;

/// Schema word of a class record that takes no part in archives.
inline constexpr unsigned NoArchiveSchema = 0xFFFF;

/// Run-time class record: the name of a class, its base, and how to create an object of it. Records are
/// constants that live as long as the program.
struct UMLAUF_API CRuntimeClass {
  const char* m_lpszClassName;
  std::size_t m_nObjectSize;
  unsigned m_wSchema;
  CObject* (*m_pfnCreateObject)();              ///< null when the class is dynamic only
  const CRuntimeClass* (*m_pfnGetBaseClass)();  ///< null for CObject

  /// A new default object, owned by the caller; null when the class offers no creation.
  CObject* CreateObject() const { return m_pfnCreateObject != nullptr ? m_pfnCreateObject() : nullptr; }
  /// True for the class itself and for every class below `base`.
  bool IsDerivedFrom(const CRuntimeClass* base) const;
};

/// Root of the classes that have a run-time class record.
class UMLAUF_API CObject {
 public:
  virtual const CRuntimeClass* GetRuntimeClass() const;
  virtual ~CObject() = default;
  virtual void Serialize(CArchive& archive);
  virtual void AssertValid() const;
  virtual void Dump(CDumpContext& context) const;

  static const CRuntimeClass* GetThisClass();
  bool IsKindOf(const CRuntimeClass* base) const { return GetRuntimeClass()->IsDerivedFrom(base); }

 protected:
  CObject() = default;
  CObject(const CObject&) = default;
  CObject& operator=(const CObject&) = default;
};

/// Declares the class record of a class that cannot be created from it. `GetThisClass` is static,
/// `GetRuntimeClass` virtual.
#define UMLAUF_DECLARE_DYNAMIC(Class)                    \
 public:                                                 \
  static const CRuntimeClass* GetThisClass();            \
  const CRuntimeClass* GetRuntimeClass() const override; \
                                                         \
 protected:                                              \
  static const CRuntimeClass* _GetBaseClass();

/// As UMLAUF_DECLARE_DYNAMIC, with `CreateObject`, which makes a default object owned by the caller.
#define UMLAUF_DECLARE_DYNCREATE(Class) \
  UMLAUF_DECLARE_DYNAMIC(Class)         \
 public:                                \
  static CObject* CreateObject();

#define UMLAUF_IMPLEMENT_CLASS_RECORD(Class, Base, creator)                            \
  const CRuntimeClass* Class::_GetBaseClass() { return Base::GetThisClass(); }         \
  const CRuntimeClass* Class::GetThisClass() {                                         \
    static const CRuntimeClass record{#Class, sizeof(Class), NoArchiveSchema, creator, \
                                      &Class::_GetBaseClass};                          \
    return &record;                                                                    \
  }                                                                                    \
  const CRuntimeClass* Class::GetRuntimeClass() const { return GetThisClass(); }

#define UMLAUF_IMPLEMENT_DYNAMIC(Class, Base) UMLAUF_IMPLEMENT_CLASS_RECORD(Class, Base, nullptr)

#define UMLAUF_IMPLEMENT_DYNCREATE(Class, Base)                       \
  CObject* Class::CreateObject() { return new (std::nothrow) Class; } \
  UMLAUF_IMPLEMENT_CLASS_RECORD(Class, Base, &Class::CreateObject)
