#include <cstring>

#include "src/values/row_codes.h"
#include "vantacore/dc_interface_mgr.h"

namespace Tarsel {

bool IpInterface::Key::NameCompare(const Key& a, const Key& b) {
  return a.vlan != b.vlan ? a.vlan < b.vlan : a.ifIndex < b.ifIndex;
}

std::size_t IpInterface::Ip6PrefixHash(const Ip6Prefix& prefix) {
  std::uint32_t word;
  std::memcpy(&word, prefix.GetAddress().GetBytes(), sizeof word);
  return word;
}

IpInterface::IpInterface(const Key& key_, const char* name_, DcInterfaceMgr::IntfType type_)
    : key(key_),
      ifIndex(key_.ifIndex),
      name(name_),
      type(type_),
      status(OPER_DOWN),
      // At least 0 buckets: as many as the container starts with by itself.
      prefixes(0, &IpInterface::Ip6PrefixHash) {}

}  // namespace Tarsel
