#include "cfg_bucket.h"

namespace Tarsel {

namespace {

// Makes `node` the predecessor of `before` in its ring.
void LinkRing(CfgNode* node, CfgNode* before) {
  node->sameNext = before;
  node->samePrev = before->samePrev;
  before->samePrev->sameNext = node;
  before->samePrev = node;
}

}  // namespace

// 0 is the mark of a bucket that is not quiet.
std::uint64_t CfgBucket::s_newItems = 1;

CfgBucket::CfgBucket() : m_front(nullptr), m_back(nullptr), m_quietFrom(0), m_quietSince(0) {}

CfgBucket::~CfgBucket() {
  while (m_front != nullptr) {
    CfgNode* next = m_front->next;
    delete m_front;
    m_front = next;
  }
}

CfgBucket::First CfgBucket::FindRow(const Row& row) const {
  return m_rows.Find(row.hash,
                     [&row](const First& first) { return first.item->GetOid() == row.oid; });
}

CfgNode* CfgBucket::FindFirst(const Row& row) const { return FindRow(row).node; }

CfgNode* CfgBucket::FindLast(const Row& row) const {
  const First first = FindRow(row);
  return first ? first.node->samePrev : nullptr;
}

CfgItem* CfgBucket::FindFirstIssued(const Row& row) const {
  const First first = FindRow(row);
  if (!first || first.item->GetActionState() == CfgItem::ISSUED) {
    return first.item;
  }
  CfgNode* node = first.node->sameNext;
  while (node != first.node && node->item->GetActionState() != CfgItem::ISSUED) {
    node = node->sameNext;
  }
  return node != first.node ? node->item : nullptr;
}

// A node in the list, in a ring of its own. A null `before` is the end of the list.
CfgNode* CfgBucket::NewNode(CfgItem* item, std::uint32_t hash, CfgNode* before) {
  CfgNode* prev = before != nullptr ? before->prev : m_back;
  CfgNode* node = new CfgNode{item, prev, before, nullptr, nullptr, hash};
  node->samePrev = node->sameNext = node;
  (prev != nullptr ? prev->next : m_front) = node;
  (before != nullptr ? before->prev : m_back) = node;
  return node;
}

void CfgBucket::Append(CfgItem* item, const Row& row, CfgNode* last) {
  CfgNode* node = NewNode(item, row.hash, nullptr);
  if (last != nullptr) {
    LinkRing(node, last->sameNext);
  } else {
    m_rows.Add(row.hash, First{node, item});
  }
}

void CfgBucket::InsertFor(CfgNode* last, CfgItem* item) {
  CfgNode* first = last->sameNext;
  CfgNode* pred = last->prev;
  CfgNode* node = NewNode(item, last->hash, pred != nullptr ? pred : last);
  // All other items of the row stand in front of `last` and so in front of the new item, except for
  // the predecessor when it is one of them.
  if (pred == nullptr || last->samePrev != pred) {
    LinkRing(node, first);
    return;
  }
  LinkRing(node, pred);
  if (pred == first) {
    m_rows.Replace(node->hash, First{first, first->item}, First{node, item});
  }
}

void CfgBucket::Unlink(CfgNode* node) {
  const First entry{node, node->item};
  CfgNode* next = node->sameNext;
  if (next == node) {
    m_rows.Erase(node->hash, entry);
  } else if (m_rows.Find(node->hash, [&entry](const First& first) { return first == entry; })) {
    m_rows.Replace(node->hash, entry, First{next, next->item});
  }
  node->samePrev->sameNext = node->sameNext;
  node->sameNext->samePrev = node->samePrev;
  (node->prev != nullptr ? node->prev->next : m_front) = node->next;
  (node->next != nullptr ? node->next->prev : m_back) = node->prev;
  delete node;
}

}  // namespace Tarsel
