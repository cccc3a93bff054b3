// The interface registry.
//
// A record stands for one (VLAN, interface index) from its first AddInterface to its
// RemoveInterface. Beside the records there is one index from names to interface indices for all
// VLANs, written by new records only, and a table of each VLAN's primary interface by name, which
// nothing removes from.
//
// Each event first queues rows for the stack, registered interface or not, and then updates the
// record. Queueing may reach the stack at once and the stack may call back, so records are looked
// up after it, and what is still needed of one is copied before: arguments may lie in a record.

#include "vantacore/dc_interface_mgr.h"

#include <cstring>
#include <map>

#include "address_events.h"
#include "src/values/row_codes.h"

namespace Tarsel {

namespace {

// The only VLAN for whose interfaces types are answered.
constexpr unsigned short TYPE_VLAN = 1;

constexpr unsigned int IP6_ADDRESS_BITS = 128;
constexpr unsigned int WORD_BITS = 32;
constexpr unsigned int IP6_WORDS = IP6_ADDRESS_BITS / WORD_BITS;

Ip6Prefix MakePrefix(const Ip6Addr& addr, unsigned int prefixLen) {
  const unsigned int length = prefixLen < IP6_ADDRESS_BITS ? prefixLen : IP6_ADDRESS_BITS;
  std::uint32_t words[IP6_WORDS];
  std::memcpy(words, addr.GetBytes(), sizeof words);
  for (unsigned int i = length / WORD_BITS; i < IP6_WORDS; ++i) {
    words[i] &= i == length / WORD_BITS ? Ip6Prefix::s_masks32[length % WORD_BITS] : 0;
  }
  return Ip6Prefix(Ip6Addr::FromBytes(words), length);
}

}  // namespace

struct DcInterfaceMgr::Tables {
  typedef bool (*KeyCompare)(const IpInterface::Key&, const IpInterface::Key&);

  std::map<IpInterface::Key, IpInterface, KeyCompare> interfaces{&IpInterface::Key::NameCompare};
  std::map<string, std::uint32_t> indexByName;
  std::map<unsigned short, string> primaryByVlan;
};

DcInterfaceMgr* DcInterfaceMgr::m_instance = nullptr;

DcInterfaceMgr::DcInterfaceMgr() : m_defaultInterface(0), m_tables(new Tables) {}

DcInterfaceMgr::~DcInterfaceMgr() = default;

DcInterfaceMgr* DcInterfaceMgr::GetInstance() {
  if (m_instance == nullptr) {
    m_instance = new DcInterfaceMgr;
  }
  return m_instance;
}

void DcInterfaceMgr::Initialize(unsigned int defaultInterface) {
  m_defaultInterface = defaultInterface;
}

unsigned int DcInterfaceMgr::GetDefaultInterface() const { return m_defaultInterface; }

const IpInterface* DcInterfaceMgr::FindInterface(unsigned short vlan, unsigned int ifIndex) const {
  const auto found = m_tables->interfaces.find(IpInterface::Key{vlan, ifIndex});
  return found == m_tables->interfaces.end() ? nullptr : &found->second;
}

IpInterface* DcInterfaceMgr::Find(unsigned short vlan, unsigned int ifIndex) {
  const auto found = m_tables->interfaces.find(IpInterface::Key{vlan, ifIndex});
  return found == m_tables->interfaces.end() ? nullptr : &found->second;
}

// --- interface events ---

void DcInterfaceMgr::AddInterface(unsigned short vlan, unsigned int ifIndex, const char* name,
                                  IntfType type, unsigned int flags, unsigned int extra,
                                  unsigned int status) {
  SetInterfaceStatus(vlan, ifIndex, name, ROW_CREATE_AND_GO, status, 0, flags, extra);
  const IpInterface::Key key = {vlan, ifIndex};
  auto record = m_tables->interfaces.find(key);
  if (record == m_tables->interfaces.end()) {
    record = m_tables->interfaces.emplace(key, IpInterface(key, name, type)).first;
    m_tables->indexByName[record->second.name] = ifIndex;
  }
  record->second.status = status;
}

void DcInterfaceMgr::RemoveInterface(unsigned short vlan, unsigned int ifIndex, const char* name) {
  SetInterfaceStatus(vlan, ifIndex, name, ROW_DESTROY, OPER_DOWN, 0, 0, 0);
  const auto record = m_tables->interfaces.find(IpInterface::Key{vlan, ifIndex});
  if (record != m_tables->interfaces.end()) {
    m_tables->indexByName.erase(record->second.name);
    m_tables->interfaces.erase(record);
  }
}

void DcInterfaceMgr::SetInterfaceUp(unsigned short vlan, unsigned int ifIndex, const char* name) {
  SetInterfaceStatus(vlan, ifIndex, name, ROW_ACTIVE, OPER_UP, 0, 0, 0);
  if (IpInterface* record = Find(vlan, ifIndex)) {
    record->status = OPER_UP;
  }
}

void DcInterfaceMgr::SetInterfaceDown(unsigned short vlan, unsigned int ifIndex, const char* name) {
  SetInterfaceStatus(vlan, ifIndex, name, ROW_ACTIVE, OPER_DOWN, 0, 0, 0);
  if (IpInterface* record = Find(vlan, ifIndex)) {
    record->status = OPER_DOWN;
  }
}

// --- address events ---

void DcInterfaceMgr::AddIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip4Addr& addr,
                                  const Ip4Addr& mask) {
  const Ip4Addr newAddress = addr;
  const Ip4Addr newMask = mask;
  UpdateIpAddress(vlan, ifIndex, newAddress, newMask, ROW_ACTIVE);
  if (IpInterface* record = Find(vlan, ifIndex)) {
    record->address = newAddress;
    record->mask = newMask;
  }
}

void DcInterfaceMgr::DeleteIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip4Addr& addr,
                                     const Ip4Addr& mask) {
  UpdateIpAddress(vlan, ifIndex, addr, mask, ROW_DESTROY);
  if (IpInterface* record = Find(vlan, ifIndex)) {
    record->address = Ip4Addr();
    record->mask = Ip4Addr();
  }
}

void DcInterfaceMgr::ChangeIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip4Addr& addr,
                                     const Ip4Addr& mask) {
  const IpInterface* before = Find(vlan, ifIndex);
  if (before == nullptr) {
    return;
  }
  const Ip4Addr oldAddress = before->address;
  const Ip4Addr oldMask = before->mask;
  const Ip4Addr newAddress = addr;
  const Ip4Addr newMask = mask;
  UpdateIpAddress(vlan, ifIndex, oldAddress, oldMask, ROW_DESTROY);
  UpdateIpAddress(vlan, ifIndex, newAddress, newMask, ROW_ACTIVE);
  if (IpInterface* record = Find(vlan, ifIndex)) {
    record->address = newAddress;
    record->mask = newMask;
  }
  TellAddressChange(vlan, ifIndex, newAddress);
}

void DcInterfaceMgr::AddIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip6Addr& addr,
                                  unsigned int prefixLen) {
  const Ip6Prefix prefix = MakePrefix(addr, prefixLen);
  UpdateIpAddress(vlan, ifIndex, addr, prefixLen, ROW_ACTIVE);
  if (IpInterface* record = Find(vlan, ifIndex)) {
    record->prefixes.insert(prefix);
  }
}

void DcInterfaceMgr::DeleteIpAddress(unsigned short vlan, unsigned int ifIndex, const Ip6Addr& addr,
                                     unsigned int prefixLen) {
  const Ip6Prefix prefix(addr, IP6_ADDRESS_BITS);
  UpdateIpAddress(vlan, ifIndex, addr, prefixLen, ROW_DESTROY);
  if (IpInterface* record = Find(vlan, ifIndex)) {
    record->prefixes.erase(prefix);
  }
}

// --- queries ---

bool DcInterfaceMgr::GetIfIpAddr(unsigned short vlan, unsigned int ifIndex, Ip4Addr& addr,
                                 Ip4Addr& mask) {
  const IpInterface* record = Find(vlan, ifIndex);
  if (record == nullptr) {
    return false;
  }
  addr = record->address;
  mask = record->mask;
  return true;
}

bool DcInterfaceMgr::GetIfIpAddr(unsigned short vlan, const char* name, Ip4Addr& addr) {
  unsigned int ifIndex = 0;
  Ip4Addr mask;
  return GetIfIndex(name, ifIndex) && GetIfIpAddr(vlan, ifIndex, addr, mask);
}

const char* DcInterfaceMgr::GetIfName(unsigned short vlan, unsigned int ifIndex) {
  const IpInterface* record = Find(vlan, ifIndex);
  return record == nullptr ? "lo" : record->name.c_str();
}

bool DcInterfaceMgr::GetIfIndex(const char* name, unsigned int& ifIndex) {
  if (name == nullptr) {
    return false;
  }
  const auto found = m_tables->indexByName.find(name);
  if (found == m_tables->indexByName.end()) {
    return false;
  }
  ifIndex = found->second;
  return true;
}

DcInterfaceMgr::IntfType DcInterfaceMgr::GetIfType(const char* name) {
  unsigned int ifIndex = 0;
  if (name == nullptr || *name == '\0' || !GetIfIndex(name, ifIndex)) {
    return INTF_TYPE_NONE;
  }
  const IpInterface* record = Find(TYPE_VLAN, ifIndex);
  return record == nullptr ? INTF_TYPE_NONE : record->type;
}

void DcInterfaceMgr::SetPrimaryInterface(unsigned short vlan, const char* name) {
  if (name == nullptr || *name == '\0') {
    return;
  }
  // The name may be the very text that is about to be replaced.
  m_tables->primaryByVlan[vlan] = string(name);
}

const char* DcInterfaceMgr::GetPrimaryInterface(unsigned short vlan) const {
  const auto found = m_tables->primaryByVlan.find(vlan);
  return found == m_tables->primaryByVlan.end() ? nullptr : found->second.c_str();
}

}  // namespace Tarsel
