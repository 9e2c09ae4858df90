#pragma once

#include "umlauf/record/FlatRecord.h"

/// What travels beside a signal: a record T that owns itself, without nested records. A class derives from
/// it, takes over its constructors and assignments, names the fields, and gets its tag beside its definition
/// (MarshalingYard::ID). The flat form is the record.
template <class T>
class UMLAUF_TEMPLATE_API CSideRecord : public CPODOwner<T> {
 public:
  /// The record as its fields are initialised.
  CSideRecord() : CSideRecord(T()) {}
  explicit CSideRecord(const T& record) : CPODOwner<T>(record) {}
  using CPODOwner<T>::operator=;
  /// With keep false the initial state; with keep true nothing.
  void _construct(bool keep) {
    if (!keep) this->pod() = T();
  }
};
