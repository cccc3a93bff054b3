#include "cfg_bucket.h"

#include <cstring>

namespace Tarsel {

namespace {

// Makes `node` the predecessor of `before` in its ring.
void LinkRing(CfgNode* node, CfgNode* before) {
  node->sameNext = before;
  node->samePrev = before->samePrev;
  before->samePrev->sameNext = node;
  before->samePrev = node;
}

void LeaveRing(CfgNode* node) {
  node->samePrev->sameNext = node->sameNext;
  node->sameNext->samePrev = node->samePrev;
}

void FetchAhead(const CfgItem* item, std::size_t from, std::size_t to) {
  for (std::size_t offset = from; offset < to; offset += CfgBucket::CACHE_LINE) {
    __builtin_prefetch(reinterpret_cast<const char*>(item) + offset);
  }
}

}  // namespace

// 0 is the mark of a bucket that is not quiet.
std::uint64_t CfgBucket::s_newItems = 1;

CfgBucket::CfgBucket()
    : m_front(nullptr), m_back(nullptr), m_expected(nullptr), m_quietFrom(0), m_quietSince(0) {}

// Whether the item is of the row, given that the keys are equal.
bool CfgBucket::IsItem(const Row& row, CfgItem* item) {
  const std::size_t size = row.oid.GetUsableLength() * sizeof(unsigned int);
  return std::memcmp(item->GetOid().GetSubIds(), row.oid.GetSubIds(), size) == 0;
}

void CfgBucket::Expect(CfgNode* node) {
  m_expected = node;
  if (node != nullptr) {
    FetchAhead(node->item, 0, ITEM_HEAD);
    m_rows.Prefetch(node->key);
  }
}

// `size` is how many bytes of the item the caller will touch.
CfgBucket::First CfgBucket::FindRow(const Row& row, std::size_t size) {
  // The expected node is taken without the table only when it is alone in its ring: then it is the
  // row's first item and its last.
  CfgNode* node = m_expected;
  if (node == nullptr || !(node->key == row.key) || node->sameNext != node ||
      !IsItem(row, node->item)) {
    node = m_rows
               .Find(row.key,
                     [&row, size](const First& entry) {
                       __builtin_prefetch(entry.node);
                       FetchAhead(entry.item, 0, size);
                       return IsItem(row, entry.item);
                     })
               .node;
    if (node == nullptr) {
      return First();
    }
  } else {
    FetchAhead(node->item, ITEM_HEAD, size);
  }
  Expect(node->next);
  return First{node, node->item};
}

CfgNode* CfgBucket::FindFirst(const Row& row) { return FindRow(row, ITEM_SIZE).node; }

CfgNode* CfgBucket::FindLast(const Row& row) {
  const First first = FindRow(row, ITEM_SIZE);
  return first ? first.node->samePrev : nullptr;
}

CfgItem* CfgBucket::FindFirstIssued(const Row& row) {
  const First first = FindRow(row, ITEM_HEAD);
  if (!first || first.item->GetActionState() == CfgItem::ISSUED) {
    return first.item;
  }
  CfgNode* node = first.node->sameNext;
  while (node != first.node && node->item->GetActionState() != CfgItem::ISSUED) {
    node = node->sameNext;
  }
  return node != first.node ? node->item : nullptr;
}

// A null `before` is the end of the list.
void CfgBucket::EnterList(CfgNode* node, CfgNode* before) {
  CfgNode* prev = before != nullptr ? before->prev : m_back;
  node->prev = prev;
  node->next = before;
  (prev != nullptr ? prev->next : m_front) = node;
  (before != nullptr ? before->prev : m_back) = node;
}

void CfgBucket::LeaveList(CfgNode* node) {
  (node->prev != nullptr ? node->prev->next : m_front) = node->next;
  (node->next != nullptr ? node->next->prev : m_back) = node->prev;
}

void CfgBucket::Append(CfgItem* item, const Row& row, CfgNode* last) {
  CfgNode* node = m_nodes.Take();
  *node = CfgNode{item, nullptr, nullptr, node, node, row.key};
  EnterList(node, nullptr);
  if (last != nullptr) {
    LinkRing(node, last->sameNext);
  } else {
    m_rows.Add(row.key, First{node, item});
  }
}

// The node is kept and only its item changes: it goes on lying beside its neighbours in memory.
CfgItem* CfgBucket::ReplaceLast(CfgNode* last, CfgItem* item) {
  CfgItem* replaced = last->item;
  CfgNode* first = last->sameNext;
  CfgNode* pred = last->prev;
  last->item = item;
  if (m_expected == last) {
    m_expected = last->next;
  }
  if (first == last) {
    m_rows.Replace(last->key, First{last, replaced}, First{last, item});
  }
  if (pred == nullptr) {
    return replaced;
  }
  LeaveList(last);
  EnterList(last, pred);
  // All other items of the row are before the last one and therefore before its new place, except
  // the predecessor if it is one of them.
  if (last->samePrev == pred) {
    LeaveRing(last);
    LinkRing(last, pred);
    if (pred == first) {
      m_rows.Replace(last->key, First{first, first->item}, First{last, item});
    }
  }
  return replaced;
}

void CfgBucket::Unlink(CfgNode* node) {
  if (m_expected == node) {
    m_expected = node->next;
  }
  const First entry{node, node->item};
  CfgNode* next = node->sameNext;
  if (next == node) {
    m_rows.Erase(node->key, entry);
  } else if (m_rows.Find(node->key, [&entry](const First& first) { return first == entry; })) {
    m_rows.Replace(node->key, entry, First{next, next->item});
  }
  LeaveRing(node);
  LeaveList(node);
  m_nodes.Give(node);
}

}  // namespace Tarsel
