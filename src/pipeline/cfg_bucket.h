// One bucket of the configuration scheduler: a list of items and an index over their rows.
#ifndef CFG_BUCKET_H
#define CFG_BUCKET_H

#include <cstddef>
#include <cstdint>

#include "node_pool.h"
#include "oid_table.h"
#include "vantacore/cfg_sched.h"

namespace Tarsel {

/// A place in a bucket's list.
struct CfgNode {
  CfgItem* item;
  CfgNode* prev;
  CfgNode* next;
  CfgNode* samePrev;  // the ring of the row's items; the first one's predecessor is the last one
  CfgNode* sameNext;
  OidKey key;
};

/// The items in their list order, on which the scheduler's behaviour depends. An index makes it
/// unnecessary to walk the list: the items of one row form a ring in list order, and a table finds
/// the ring's first item by the row's identifier. A ring has more than one item only if an item has
/// refused to replace an earlier one. The index requires that an item's identifier never changes.
///
/// With many items most time is spent on fetching from memory, first the table's slot and then the
/// item. Documents and answers mostly name rows in list order, so the node after the one found last
/// is tried before the table, and its item is fetched ahead.
class CfgBucket {
 public:
  // How many bytes of an item are fetched ahead. The head holds what a search looks at: the state
  // and the first sub-identifiers. An item that is about to be deleted is fetched as a whole,
  // because the allocator hands its memory out for the next item, which is then filled. Other sizes
  // would only cost time; those who define items check theirs against these.
  static constexpr std::size_t CACHE_LINE = 64;
  static constexpr std::size_t ITEM_HEAD = 3 * CACHE_LINE;
  static constexpr std::size_t ITEM_SIZE = 10 * CACHE_LINE;

  /// A row's identity; refers to the identifier that it was made from.
  struct Row {
    explicit Row(const MibOid& oid_)
        : oid(oid_), key{HashOid(oid_.GetSubIds(), oid_.GetUsableLength()), oid_.GetLength()} {}
    const MibOid& oid;
    const OidKey key;
  };

  /// The items are the scheduler's.
  CfgBucket();
  CfgBucket(const CfgBucket&) = delete;
  CfgBucket& operator=(const CfgBucket&) = delete;

  bool IsEmpty() const { return m_front == nullptr; }
  CfgNode* GetFront() const { return m_front; }

  /// The row's item nearest the front, or nearest the back; null when there is none.
  CfgNode* FindFirst(const Row& row);
  CfgNode* FindLast(const Row& row);
  /// The row's first item that is issued, or null.
  CfgItem* FindFirstIssued(const Row& row);

  /// Puts `item` at the back. `last` is what FindLast answers for its row.
  void Append(CfgItem* item, const Row& row, CfgNode* last);
  /// Replaces the item of `last`, the last node of its row, by `item`, and moves the node one
  /// position towards the front; a node at the front stays there. Returns the replaced item, which
  /// is no longer in a bucket.
  CfgItem* ReplaceLast(CfgNode* last, CfgItem* item);
  /// Removes the node and frees it.
  void Unlink(CfgNode* node);

  /// A pass skips a quiet bucket: the last pass left no New item in it, and no item has become New
  /// since. A pass calls StartPass before the first item and EndPass after the last. Code that puts
  /// a New item into the bucket, or leaves one there, calls Disturb, also between the two.
  void StartPass() { m_quietFrom = s_newItems; }
  void EndPass() { m_quietSince = m_quietFrom; }
  void Disturb() { m_quietFrom = m_quietSince = 0; }
  bool IsQuiet() const { return m_quietSince == s_newItems; }

  /// An item of any bucket has been made New again.
  static void NoteNewItem() { ++s_newItems; }

 private:
  // What the table holds for a row. The item is stored with its node so that a lookup, which reads
  // the item's identifier, need not fetch the node first.
  struct First {
    CfgNode* node = nullptr;
    CfgItem* item = nullptr;
    explicit operator bool() const { return node != nullptr; }
    bool operator==(const First& other) const { return node == other.node; }
  };

  First FindRow(const Row& row, std::size_t size);
  static bool IsItem(const Row& row, CfgItem* item);
  void Expect(CfgNode* node);
  void EnterList(CfgNode* node, CfgNode* before);
  void LeaveList(CfgNode* node);

  static std::uint64_t s_newItems;

  NodePool<CfgNode> m_nodes;
  CfgNode* m_front;
  CfgNode* m_back;
  CfgNode* m_expected;         // after the one that was found last, or null
  OidTable<First> m_rows;      // the first item of each row
  std::uint64_t m_quietFrom;   // s_newItems when the pass under way began; 0 once it is disturbed
  std::uint64_t m_quietSince;  // s_newItems when the last undisturbed pass began; 0 if not quiet
};

}  // namespace Tarsel

#endif
