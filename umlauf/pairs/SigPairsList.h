#pragma once

#include <cstddef>
#include <map>
#include <memory>

#include "umlauf/pairs/SigPairs.h"
#include "umlauf/platform/framework/CObList.h"

/// Ordered list of point pairs that owns its objects through a pool: an object that leaves the list goes back
/// to the pool and is handed out again by the next `NeuesObjekt`. An object may carry an external-data key, a
/// pointer of the caller's (`CSignal::ExtData`, not owned), under which the list finds it.
///
/// The list owns all objects, those in use and those in the pool; a pointer to an object is valid until
/// `AllesLoeschen` or the list's end, though after its return to the pool it will be another signal. What is
/// added or removed through the base goes past the pool: the list may hold signals (nothing but signals) that
/// it does not own, and an object removed there is not handed out again before `AllesInDenVorrat`. A null
/// position throws CInvalidArgException, the one exception of the library; without memory null is returned.
/// One list is used by one thread at a time.
class UMLAUF_API CSigPairsList : public CObList {
 public:
  CSigPairsList() { Grow(); }
  /// Deletes all objects.
  ~CSigPairsList() override;

  const CString& Name() const { return name_; }
  void SetName(const CString& name) { name_ = name; }

  // Objects in and out
  /// An empty object with reset header and room for n points, at the end of the list.
  CSigPairs* NeuesObjekt(std::size_t n);
  /// A copy of `source` under an external-data key (none when null) at the end of the list; null for null. It
  /// is assigned, so an object out of the pool keeps colour and sub-type of the signal that it was before.
  CSigPairs* NeuesObjekt(const CSigPairs* source, void* extData);
  /// Returns the object at the position to the pool.
  void InDenVorrat(POSITION position);
  /// Returns all objects to the pool.
  void AllesInDenVorrat();
  /// Deletes all objects, those in the pool too.
  void AllesLoeschen();
  /// Moves an object of the list to its end.
  void AnsEndeSetzen(const CSigPairs* object);
  /// Gives an object of the list another external-data key, none when null. The list finds the object that
  /// got a key last.
  void ExtDataSetzen(CSigPairs* object, void* extData);
  /// Places of the pool, used or not.
  std::size_t Vorratsgroesse() const { return capacity_; }

  // Walking through the list
  bool IstLeer() const { return IsEmpty(); }
  CSigPairs* GetAt(POSITION position) const { return static_cast<CSigPairs*>(CObList::GetAt(position)); }
  /// The object at the position, which moves on to the next (previous) one, null behind the last (first).
  CSigPairs* GetNext(POSITION& position) const { return static_cast<CSigPairs*>(CObList::GetNext(position)); }
  CSigPairs* GetPrev(POSITION& position) const { return static_cast<CSigPairs*>(CObList::GetPrev(position)); }

  // Searches, in list order; null when nothing matches
  CSigPairs* FindeObjektZuExtData(const void* extData) const;
  /// The first object that carries the key and has this name, or name, parameter and number of a signal.
  CSigPairs* FindeObjektZuExtData(const void* extData, const CString& name) const;
  CSigPairs* FindeObjektZuExtData(const void* extData, const CSigPairs& like) const;
  /// By exactly this name.
  CSigPairs* FindeObjekt(const wchar_t* name) const;
  /// By exactly this parameter; NaN matches nothing.
  CSigPairs* FindeObjektZu(float parameter) const;
  /// The first with exactly this parameter, else the first with the nearest; NaN parameters are passed over.
  CSigPairs* FindeObjektUngefaehr(float parameter) const;

  // All objects together
  /// True when all ascend like the first or, when that does not, all descend like it; true for no objects.
  bool AlleSortiert() const;
  std::size_t MaxNPaare() const;
  /// Lower and upper corner of x and y over all objects with points; zeros when there are none.
  CSignal::Range XMinMaxBereich() const;
  /// The points of all objects one behind the other, unsorted, with the first object's header.
  CSigPairs VerbundAllerPunkte() const;
  /// The common grid, y = 0: the x of all points in ascending order. Of points that follow the last one kept
  /// within the first object's point-equality tolerance only that one stays. Carries the list's name and the
  /// first object's units and tolerance.
  CSigPairs Intervalle() const;
  /// Greatest, smallest, mean and sum of squares of the interpolated values at each point of the common grid,
  /// over the objects whose x range holds it. Empty when there is no memory.
  CSigPairs Maximum() const;
  CSigPairs Minimum() const;
  CSigPairs Mittelwert() const;
  CSigPairs QuadratSumme() const;

 private:
  CSigPairs* AusDemVorrat();
  CSigPairs* Append(CSigPairs* object);
  bool Grow();
  std::size_t UsedIndex(const CSigPairs* object) const;
  void DropKey(CSigPairs* object);
  void EnterKey(CSigPairs* object, void* extData);
  template <class Test>
  CSigPairs* First(Test test) const;
  template <class Visit>
  void ForEach(Visit visit) const;
  template <class Fold>
  CSigPairs OverGrid(float start, Fold fold, bool average) const;

  using Entry = std::unique_ptr<CSigPairs>;
  static constexpr std::size_t kFirstCapacity = 16;

  std::unique_ptr<Entry[]> pool_;  // the first used_ entries are in the list, the others free or null
  std::size_t capacity_ = 0;
  std::size_t used_ = 0;
  std::map<const void*, CSigPairs*> byExtData_;
  CString name_;
};
