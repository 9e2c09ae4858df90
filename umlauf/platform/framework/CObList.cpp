#include "umlauf/platform/framework/CObList.h"

#include <algorithm>

#include "umlauf/platform/framework/CInvalidArgException.h"
#include "umlauf/platform/memory/WithoutMemory.h"

UMLAUF_IMPLEMENT_DYNCREATE(CObList, CObject)

CObList::CObList(std::size_t blockSize) : blockSize_(std::max<std::size_t>(blockSize, 1)) {}

CObList::~CObList() = default;

CObList::Node& CObList::NodeAt(POSITION position) {
  if (position == nullptr) AfxThrowInvalidArgException();
  return *reinterpret_cast<Node*>(position);
}

CObject* CObList::GetAt(POSITION position) const { return NodeAt(position).object; }

CObject* CObList::GetNext(POSITION& position) const {
  const Node& node = NodeAt(position);
  position = PositionOf(node.next);
  return node.object;
}

CObject* CObList::GetPrev(POSITION& position) const {
  const Node& node = NodeAt(position);
  position = PositionOf(node.previous);
  return node.object;
}

POSITION CObList::Find(const CObject* object) const {
  Node* node = head_;
  while (node != nullptr && node->object != object) node = node->next;
  return PositionOf(node);
}

bool CObList::AddBlock() {
  if (!umlauf::HadMemory([this] { blocks_.push_back(std::make_unique<Node[]>(blockSize_)); })) return false;
  for (std::size_t i = blockSize_; i-- > 0;) {
    Node& node = blocks_.back()[i];
    node.next = free_;
    free_ = &node;
  }
  return true;
}

POSITION CObList::AddTail(CObject* object) {
  if (free_ == nullptr && !AddBlock()) return nullptr;
  Node* const node = free_;
  free_ = node->next;
  *node = {nullptr, tail_, object};
  (tail_ != nullptr ? tail_->next : head_) = node;
  tail_ = node;
  ++count_;
  return PositionOf(node);
}

void CObList::RemoveAt(POSITION position) {
  Node& node = NodeAt(position);
  (node.previous != nullptr ? node.previous->next : head_) = node.next;
  (node.next != nullptr ? node.next->previous : tail_) = node.previous;
  node.next = free_;
  free_ = &node;
  --count_;
}

void CObList::RemoveAll() {
  while (head_ != nullptr) RemoveAt(PositionOf(head_));
}
