#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "umlauf/Export.h"
#include "umlauf/platform/framework/CObject.h"

/// Place of an element in a list; null is no place. Valid until its element is removed.
struct __POSITION;
using POSITION = __POSITION*;

/// Doubly linked list of object pointers. The list does not own the objects. Its nodes are allocated in
/// blocks and used again. A null position given to any function throws CInvalidArgException. One list is used
/// by one thread at a time.
class UMLAUF_API CObList : public CObject {
  UMLAUF_DECLARE_DYNCREATE(CObList)

 public:
  /// `blockSize` nodes are allocated at a time.
  explicit CObList(std::size_t blockSize = 10);
  ~CObList() override;
  CObList(const CObList&) = delete;
  CObList& operator=(const CObList&) = delete;

  std::size_t GetCount() const { return count_; }
  bool IsEmpty() const { return count_ == 0; }
  POSITION GetHeadPosition() const { return PositionOf(head_); }
  POSITION GetTailPosition() const { return PositionOf(tail_); }
  CObject* GetAt(POSITION position) const;
  /// The object at the position, which moves on to the next (previous) one, null behind the last (first).
  CObject* GetNext(POSITION& position) const;
  CObject* GetPrev(POSITION& position) const;
  /// Place of the first element that is this object; null when there is none.
  POSITION Find(const CObject* object) const;
  /// Null when there is no memory.
  POSITION AddTail(CObject* object);
  void RemoveAt(POSITION position);
  void RemoveAll();

 private:
  struct Node {
    Node* next;
    Node* previous;
    CObject* object;
  };
  static POSITION PositionOf(Node* node) { return reinterpret_cast<POSITION>(node); }
  static Node& NodeAt(POSITION position);
  bool AddBlock();

  std::size_t blockSize_;
  std::size_t count_ = 0;
  Node* head_ = nullptr;
  Node* tail_ = nullptr;
  Node* free_ = nullptr;
  std::vector<std::unique_ptr<Node[]>> blocks_;
};
