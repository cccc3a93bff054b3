// The interfaces of the model: what the network tells the routers, and the rows of the interfaces.
#include <cstring>

#include "model.h"
#include "tarsel/address.h"

namespace library_model {

// --- network events and interfaces ---

void LibraryModel::Network(NetworkEvent event, unsigned short vlan, unsigned int ifIndex,
                           unsigned int value) {
  const auto found = m_vlans.find(vlan);
  if (event == NET_STATUS) {
    Trace(10, Text("Updating Interface Status of Interface %u\n", ifIndex));
    if (found == m_vlans.end()) {
      return;
    }
    for (ModelRouter& router : found->second->routers) {
      if (router.protocol == 0) {
        continue;
      }
      m_log.Add("configuration %s:%u interface %u status %u", PROTOCOL_MEMBERS[router.protocol],
                vlan, ifIndex, value & 0xffffu);
      for (const auto& source : router.lists) {
        for (const ModelList& list : source.second) {
          m_log.Add("list %s:%u interface %u status %u", list.label.c_str(), vlan, ifIndex,
                    value & 0xffffu);
        }
      }
    }
  } else if (event == NET_ADDRESS) {
    AddressChanged(vlan, ifIndex, value);
  } else if (found == m_vlans.end()) {
    Trace(-1, Text("Connected remote to inet with VLAN %u before loading VLAN options... "
                   "Skipping\n",
                   vlan));
  } else if (event == NET_JOIN && RouterEnabled(found->second->routers[5])) {
    m_log.Add("IGMP:%u joins on %u", vlan, ifIndex);
  }
}

void LibraryModel::AddressChanged(unsigned short vlan, unsigned int ifIndex, unsigned int address) {
  Trace(10, Text("Updating IP Address Change to Interface %u\n", ifIndex));
  const auto found = m_vlans.find(vlan);
  if (found == m_vlans.end()) {
    return;
  }
  for (ModelRouter& router : found->second->routers) {
    if (router.protocol != 0) {
      m_log.Add("configuration %s:%u interface %u address %s", PROTOCOL_MEMBERS[router.protocol],
                vlan, ifIndex, Tarsel::Ip4Addr(address).ToString().c_str());
    }
  }
}

void LibraryModel::InterfaceRows(unsigned short vlan, unsigned int ifIndex, const char* name,
                                 int rowStatus, unsigned int operStatus, unsigned int flags,
                                 unsigned int extra) {
  for (const bool ipv6 : {false, true}) {
    const unsigned int instance = ipv6 ? vlan | 0x8000u : vlan;
    const unsigned int rowFlags = ipv6 ? flags & ~0x20u : flags;
    const std::string rowName = name;
    SerializerInsert(InterfaceOid(instance, ifIndex), [=](bool shared) {
      Trace(5, Text("InterfaceAction: shared_context = %d row_status = %d oper_status = %d vlan = "
                    "%d if_index = %d if_name = %s\n",
                    shared, rowStatus, static_cast<int>(operStatus), static_cast<int>(instance),
                    static_cast<int>(ifIndex), rowName.c_str()));
      m_stack->ActInterface(shared, rowStatus, operStatus, instance, ifIndex, rowName.c_str(), 0,
                            rowFlags, extra);
    });
  }
}

void LibraryModel::Interface(InterfaceEvent event, unsigned short vlan, unsigned int ifIndex,
                             const char* name, unsigned int type, unsigned int flags,
                             unsigned int extra, unsigned int status) {
  const auto found = m_interfaces.find({vlan, ifIndex});
  const bool known = found != m_interfaces.end();
  if (!known && event != IF_ADD) {
    Count("an event of an interface that is not known");
  }
  switch (event) {
    case IF_ADD:
      InterfaceRows(vlan, ifIndex, name, 4, status, flags, extra);
      if (!known) {
        m_interfaces[{vlan, ifIndex}] = {name, type, 0, 0, 0};
        m_names[name] = ifIndex;
      } else {
        Count("an interface is added again");
      }
      m_interfaces[{vlan, ifIndex}].status = status;
      break;
    case IF_REMOVE:
      InterfaceRows(vlan, ifIndex, name, 6, 2, 0, 0);
      if (known) {
        m_names.erase(found->second.name);
        m_interfaces.erase(found);
      }
      break;
    default:
      InterfaceRows(vlan, ifIndex, name, 1, event == IF_UP ? 1 : 2, 0, 0);
      if (known) {
        found->second.status = event == IF_UP ? 1 : 2;
      }
      break;
  }
}

void LibraryModel::AddressRow4(unsigned short vlan, unsigned int ifIndex, unsigned int address,
                               unsigned int mask, int rowStatus) {
  unsigned char bytes[4];
  std::memcpy(bytes, &address, 4);
  unsigned int length = 0;
  for (int bit = 0; bit < 32; ++bit) {
    length += mask >> bit & 1u;
  }
  SerializerInsert(AddressOid(vlan, ifIndex, bytes, 1), [=](bool shared) {
    Trace(5, Text("AddressAction: shared_context = %d row_status = %d vlan = %d if_index = %d "
                  "address = %u.%u.%u.%u\n",
                  shared, rowStatus, vlan, static_cast<int>(ifIndex), bytes[0], bytes[1], bytes[2],
                  bytes[3]));
    m_stack->ActAddress(rowStatus, vlan, 1, ifIndex, bytes, length);
  });
}

void LibraryModel::Address4(AddressEvent event, unsigned short vlan, unsigned int ifIndex,
                            const unsigned char* address, const unsigned char* mask) {
  unsigned int addressWord = 0;
  unsigned int maskWord = 0;
  std::memcpy(&addressWord, address, 4);
  std::memcpy(&maskWord, mask, 4);
  const auto found = m_interfaces.find({vlan, ifIndex});
  const bool known = found != m_interfaces.end();
  if (event == ADDRESS_CHANGE) {
    if (!known) {
      Count("an address change of an interface that is not known");
      return;
    }
    AddressRow4(vlan, ifIndex, found->second.address, found->second.mask, 6);
    AddressRow4(vlan, ifIndex, addressWord, maskWord, 1);
    found->second.address = addressWord;
    found->second.mask = maskWord;
    AddressChanged(vlan, ifIndex, addressWord);
    return;
  }
  AddressRow4(vlan, ifIndex, addressWord, maskWord, event == ADDRESS_ADD ? 1 : 6);
  if (known) {
    found->second.address = event == ADDRESS_ADD ? addressWord : 0;
    found->second.mask = event == ADDRESS_ADD ? maskWord : 0;
  }
}

void LibraryModel::Address6(AddressEvent event, unsigned short vlan, unsigned int ifIndex,
                            const unsigned char* address, unsigned int prefixLen) {
  const unsigned int instance = vlan | 0x8000u;
  const std::string bytes(reinterpret_cast<const char*>(address), 16);
  const int rowStatus = event == ADDRESS_ADD ? 1 : 6;
  SerializerInsert(AddressOid(instance, ifIndex, address, 2), [=](bool) {
    m_stack->ActAddress(rowStatus, instance, 2, ifIndex,
                        reinterpret_cast<const unsigned char*>(bytes.data()), prefixLen);
  });
}

void LibraryModel::SetPrimary(unsigned short vlan, const char* name) {
  if (name[0] != '\0') {
    m_primary[vlan] = name;
  }
}

std::string LibraryModel::IfName(unsigned short vlan, unsigned int ifIndex) const {
  const auto found = m_interfaces.find({vlan, ifIndex});
  return found != m_interfaces.end() ? found->second.name : "lo";
}

void LibraryModel::Query(unsigned short vlan, unsigned int ifIndex, const char* name) {
  const auto record = m_interfaces.find({vlan, ifIndex});
  const bool known = record != m_interfaces.end();
  m_log.Add("address %d %08x %08x", known, known ? record->second.address : 0,
            known ? record->second.mask : 0);
  m_log.Add("name %s", IfName(vlan, ifIndex).c_str());
  const auto index = m_names.find(name);
  m_log.Add("index %d %u", index != m_names.end(), index != m_names.end() ? index->second : 0);
  unsigned int type = 0;
  if (name[0] != '\0' && index != m_names.end() && m_interfaces.count({1, index->second}) != 0) {
    type = m_interfaces[{1, index->second}].type;
  }
  m_log.Add("type %u", type);
  const auto primary = m_primary.find(vlan);
  m_log.Add("primary %s", primary != m_primary.end() ? primary->second.c_str() : "(none)");

  if (primary == m_primary.end()) {
    m_log.Assertion("intf_name != 0", "dcrouter_api", 95);
  }
  for (const std::string& asked :
       {primary != m_primary.end() ? primary->second : std::string(), std::string("eth0")}) {
    const bool isNull = primary == m_primary.end() && asked.empty();
    const auto number = m_names.find(asked);
    const bool found =
        !isNull && number != m_names.end() && m_interfaces.count({vlan, number->second}) != 0;
    m_log.Add("stack asks address %d %08x", found,
              found ? m_interfaces[{vlan, number->second}].address : 0);
  }
  for (const unsigned int instance : {vlan & 0xffffu, vlan | 0x8000u}) {
    const RtmRecord* rtm = FindRtm(instance);
    m_log.Add("ready %d", rtm != nullptr && rtm->ready);
    if (rtm == nullptr) {
      m_log.Add("settings 2");
      continue;
    }
    const bool ipv6 = (instance & 0x8000u) != 0;
    m_log.Add("settings 1: %u 1 1 %u %u %u %u %u %u 0", instance, ipv6 ? rtm->v3in : rtm->v2in,
              ipv6 ? rtm->v3ex : rtm->v2ex, rtm->ebgp, rtm->ibgp, ipv6 ? rtm->ripng : rtm->ripv2,
              rtm->dead);
  }
  m_log.Add("rescheduled %d", m_rescheduled);
}

}  // namespace library_model
