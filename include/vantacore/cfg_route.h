// A small table of configured static routes, and the type of its entries.
#ifndef VANTACORE_CFG_ROUTE_H
#define VANTACORE_CFG_ROUTE_H

#include <cstdint>
#include <list>

#include "tarsel/string.h"
#include "vantacore/export.h"

namespace Tarsel {

class DcConsole;

/// One static route. A plain value; a default one is all zero.
struct VANTACORE_API CfgRouteEntry {
  std::int32_t type = 0;               ///< 1 IPv4, anything else IPv6
  unsigned char destination[16] = {};  ///< the first 4 bytes for IPv4
  unsigned char gateway[16] = {};      ///< likewise
  /// Number of leading bits, 0 to 32 or 128; not checked.
  std::uint32_t prefixLen = 0;
  /// The outgoing interface, 0 for none.
  std::uint32_t ifIndex = 0;
  std::uint16_t metric = 0;  ///< printed as "Cost"
  std::uint16_t other = 0;   ///< stored and copied only
  /// The stack's kind of path: PATH_TYPE_STATIC or another.
  std::int32_t pathType = 0;
  /// 1 active, 6 destroy.
  std::int32_t rowStatus = 0;
  /// 1 up, 2 down.
  std::int32_t adminStatus = 0;

  /// The significant bytes of an address of this entry's family: 4 or 16.
  unsigned int GetAddressLength() const { return type == 1 ? 4U : 16U; }
  /// `address`, of this entry's family, as text.
  string Format(const void* address) const;
};

/// The configured static routes of one VLAN, in the order in which they were added. For other
/// libraries of the process; nothing inside this library creates one. Addresses are passed as 4
/// bytes for type 1, else as 16, and must not be null. The table counts additions since it was made
/// or last emptied by CleanList; DelEntry does not lower the count.
class VANTACORE_API CfgRoute {
 public:
  /// An empty table for a VLAN.
  explicit CfgRoute(unsigned short vlan);
  ~CfgRoute();
  CfgRoute(const CfgRoute&) = delete;
  CfgRoute& operator=(const CfgRoute&) = delete;

  /// The first entry if it is this route, else null; later entries are never examined. The pointer
  /// is valid until the entry is deleted.
  CfgRouteEntry* GetCfgRouteEntry(int type, const void* dest, unsigned int prefixLen,
                                  const void* gateway);
  /// If the first entry is this route, updates it and returns false. Otherwise appends the route
  /// and returns true, even if a later entry is the same route.
  bool AddEntry(int type, const void* dest, unsigned int prefixLen, const void* gateway,
                unsigned long ifIndex, unsigned short other, unsigned short metric, long pathType,
                long rowStatus, long adminStatus);
  /// Removes every entry of this route and interface index. Returns true. The addresses may be
  /// those of an entry that is removed.
  bool DelEntry(int type, const void* dest, unsigned int prefixLen, const void* gateway,
                unsigned long ifIndex);
  /// Calls `callback` on each entry, front to back. The callback must not add or delete entries.
  void IterateAll(void (*callback)(CfgRouteEntry*, void*), void* context);
  /// Removes all entries and sets the count to 0.
  void CleanList();

  /// Prints the table on a console. The header is printed unless the count is 0; the last line
  /// shows the count as the number of entries.
  void PrintTable(DcConsole* console);
  /// Writes the table to the log, level 0, without the header.
  void PrintList();

 private:
  std::list<CfgRouteEntry> m_entries;
  std::uint32_t m_count;  // additions since construction or CleanList
  std::uint32_t m_vlan;
};

}  // namespace Tarsel

#endif
