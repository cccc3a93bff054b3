// A hash table from row identifiers to the records that carry them.
#ifndef OID_TABLE_H
#define OID_TABLE_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tarsel {

inline std::uint32_t HashOid(const unsigned int* subIds, unsigned int count) {
  constexpr std::uint64_t MULTIPLIER = 0x9E3779B97F4A7C15U;
  std::uint64_t hash = count;
  for (unsigned int i = 0; i < count; i += 2) {
    const std::uint64_t high = i + 1 < count ? subIds[i + 1] : 0;
    hash = (hash ^ (high << 32 | subIds[i])) * MULTIPLIER;
    hash ^= hash >> 32;
  }
  return static_cast<std::uint32_t>(hash);
}

/// What the table keeps of an identifier: a hash, which tells it from nearly all others, and the
/// exact length. The identifier itself holds its length after the sub-identifiers, in memory that a
/// search then need not touch.
struct OidKey {
  std::uint32_t hash;
  std::uint32_t length;
  bool operator==(const OidKey& other) const {
    return hash == other.hash && length == other.length;
  }
};

/// Finds entries by their identifier. An identifier is 524 bytes long, so the table neither copies
/// it nor looks into an entry whose key differs: a slot is an entry and a key, the caller compares
/// the sub-identifiers. An entry is a pointer, or something small that behaves like one: its
/// default value is none. Open addressing with linear probing; the table grows and shrinks with the
/// number of entries. Nothing is owned.
template <class Entry>
class OidTable {
 public:
  OidTable() : m_count(0) {}

  /// The entry with this key for which `same(entry)` answers true, or none.
  template <class Same>
  Entry Find(const OidKey& key, Same same) const {
    if (m_count == 0) {
      return Entry();
    }
    for (std::size_t i = key.hash & Mask(); m_slots[i].entry; i = (i + 1) & Mask()) {
      if (m_slots[i].key == key && same(m_slots[i].entry)) {
        return m_slots[i].entry;
      }
    }
    return Entry();
  }

  /// Fetches ahead what a search for the key looks at first.
  void Prefetch(const OidKey& key) const {
    if (m_count != 0) {
      __builtin_prefetch(&m_slots[key.hash & Mask()]);
    }
  }

  /// `entry` must not be in the table.
  void Add(const OidKey& key, Entry entry) {
    if ((m_count + 1) * 4 > m_slots.size() * 3) {
      Resize(m_slots.empty() ? MIN_SLOTS : m_slots.size() * 2);
    }
    ++m_count;
    Place(key, entry);
  }

  /// `to` takes the place of `from`, which must be in the table.
  void Replace(const OidKey& key, Entry from, Entry to) { m_slots[SlotOf(key, from)].entry = to; }

  /// `entry` must be in the table.
  void Erase(const OidKey& key, Entry entry) {
    std::size_t hole = SlotOf(key, entry);
    for (std::size_t i = (hole + 1) & Mask(); m_slots[i].entry; i = (i + 1) & Mask()) {
      // An entry may move back to the hole unless that lies before the slot where its probe starts.
      const std::size_t distance = (i - m_slots[i].key.hash) & Mask();
      if (distance >= ((i - hole) & Mask())) {
        m_slots[hole] = m_slots[i];
        hole = i;
      }
    }
    m_slots[hole].entry = Entry();
    --m_count;
    if (m_slots.size() > MIN_SLOTS && m_count * 8 < m_slots.size()) {
      Resize(m_slots.size() / 2);
    }
  }

  template <class Visit>
  void ForEach(Visit visit) const {
    for (const Slot& slot : m_slots) {
      if (slot.entry) {
        visit(slot.entry);
      }
    }
  }

  void Clear() {
    std::vector<Slot>().swap(m_slots);
    m_count = 0;
  }

 private:
  struct Slot {
    Entry entry = Entry();
    OidKey key = {0, 0};
  };
  static constexpr std::size_t MIN_SLOTS = 4;

  std::size_t Mask() const { return m_slots.size() - 1; }

  std::size_t SlotOf(const OidKey& key, Entry entry) const {
    std::size_t i = key.hash & Mask();
    while (!(m_slots[i].entry == entry)) {
      i = (i + 1) & Mask();
    }
    return i;
  }

  void Place(const OidKey& key, Entry entry) {
    std::size_t i = key.hash & Mask();
    while (m_slots[i].entry) {
      i = (i + 1) & Mask();
    }
    m_slots[i].entry = entry;
    m_slots[i].key = key;
  }

  void Resize(std::size_t slots) {
    std::vector<Slot> old(slots);
    old.swap(m_slots);
    for (const Slot& slot : old) {
      if (slot.entry) {
        Place(slot.key, slot.entry);
      }
    }
  }

  std::vector<Slot> m_slots;  // none, or a power of two
  std::size_t m_count;
};

}  // namespace Tarsel

#endif
