// The names of an object's members, to find those that stand twice.
#ifndef DEVICE_DOCUMENTS_NAME_SET_H
#define DEVICE_DOCUMENTS_NAME_SET_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace documents {

/// Keeps a digest of each name, since an object can have millions. Names that come in ascending
/// order, as programs write them, cost a comparison each.
class NameSet {
 public:
  void Clear();
  void Add(std::string_view name, std::size_t offset);
  /// Returns the offsets of the names that had been added before, in ascending order.
  std::vector<std::size_t> FindDoubled();

 private:
  struct Entry {
    std::array<std::uint64_t, 2> digest;
    std::size_t offset;
  };

  std::vector<Entry> m_entries;
  std::string m_last;
  bool m_isAscending = true;
};

}  // namespace documents

#endif
