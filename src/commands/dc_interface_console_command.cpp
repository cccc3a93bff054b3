// The interface table.
//
// Two walks, one after the other: the interfaces, then their addresses. The rows of both are kept
// by interface index and printed when the second walk ends. A walk starts at the command's instance
// and would run on into later ones; it is ended at the first row of one. Rows of earlier instances
// cannot come, so they are not filtered out.
#include "vantacore/dc_interface_console_command.h"

#include "src/values/row_codes.h"
#include "stack/sms.h"
#include "vantacore/dc_rtm_mgr.h"
#include "walk_answers.h"

namespace Tarsel {

namespace {

bool IsRowOrEnd(unsigned int result) {
  return result == RESULT_ROW || result == RESULT_END_OF_TABLE;
}

// Instances are compared as signed numbers.
bool IsLaterInstance(std::uint32_t instance, unsigned int own) {
  return static_cast<std::int32_t>(instance) > static_cast<std::int32_t>(own);
}

}  // namespace

DcInterfaceConsoleCommand::DcInterfaceConsoleCommand(DcConsole* console, bool ipv6)
    : DcInterfaceConsoleCommand(console, m_default_vlan, ipv6) {}

DcInterfaceConsoleCommand::DcInterfaceConsoleCommand(DcConsole* console, unsigned short vlan,
                                                     bool ipv6)
    : DcConsoleCommand(console, vlan, nullptr, nullptr),
      m_ipv6(ipv6),
      m_instance(0),
      m_prefixStr(ipv6 ? &DcConsoleCommand::ToIp6PrefixStr : &DcConsoleCommand::ToIp4PrefixStr),
      m_handler(&DcInterfaceConsoleCommand::HandleEiEntry) {}

DcInterfaceConsoleCommand::~DcInterfaceConsoleCommand() = default;

bool DcInterfaceConsoleCommand::Parse(int, char**) {
  m_instance = DcRtmMgr::GetDclProtocolInstanceIdFromVlan(
      m_vlan, m_ipv6 ? DcRtmMgr::PROTO_IPV6 : DcRtmMgr::PROTO_IPV4);
  sms_get_next_i3_ei(m_instance, ResponseHandler, static_cast<DcConsoleCommand*>(this));
  return true;
}

unsigned int DcInterfaceConsoleCommand::Display(unsigned int context, unsigned int result,
                                                const void* row) {
  return (this->*m_handler)(context, result, row);
}

unsigned int DcInterfaceConsoleCommand::HandleEiEntry(unsigned int, unsigned int result,
                                                      const void* row) {
  if (!IsRowOrEnd(result)) {
    ParseError(result);
    return END_COMMAND;
  }
  const amb_stubs_i3_ei* const interface = static_cast<const amb_stubs_i3_ei*>(row);
  if (result == RESULT_ROW && !IsLaterInstance(interface->instance, m_instance)) {
    m_interfaces[interface->if_index].first = *interface;
    return NEXT_ROW;
  }
  SwitchToEaEntries();
  return END_WALK;
}

void DcInterfaceConsoleCommand::SwitchToEaEntries() {
  m_handler = &DcInterfaceConsoleCommand::HandleEaEntry;
  sms_get_next_i3_ea(m_instance, ResponseHandler, static_cast<DcConsoleCommand*>(this));
}

unsigned int DcInterfaceConsoleCommand::HandleEaEntry(unsigned int, unsigned int result,
                                                      const void* row) {
  if (!IsRowOrEnd(result)) {
    ParseError(result);
    return END_COMMAND;
  }
  const amb_stubs_i3_ea* const address = static_cast<const amb_stubs_i3_ea*>(row);
  if (result == RESULT_ROW && !IsLaterInstance(address->instance, m_instance)) {
    // An address may belong to an interface that has come since the first walk.
    m_interfaces[address->if_index].second.push_back(*address);
    return NEXT_ROW;
  }
  PrintTable();
  TableEnd();
  return END_COMMAND;
}

void DcInterfaceConsoleCommand::PrintTable() const {
  Print("\n");
  Print("%s", GetIfFlagHelpStr().c_str());
  Print("%4s %10s %10s %6s %6s %6s %s\n", "VLAN", "IfIndex", "IfName", "Status", "MTU", "Flags",
        "IPAddress");
  for (const auto& entry : m_interfaces) {
    PrintInterface(entry.second);
  }
}

void DcInterfaceConsoleCommand::PrintInterface(const Entry& entry) const {
  const amb_stubs_i3_ei& interface = entry.first;
  Print("%4u %10u %10s ", VlanOfInstance(interface.instance), interface.if_index, interface.name);
  Print("%6s %6u %6s ", interface.oper_status == OPER_UP ? "UP" : "DOWN", interface.mtu,
        GetIfFlagsStr(&interface).c_str());
  bool isFirst = true;
  for (const amb_stubs_i3_ea& address : entry.second) {
    const char* const prefix = m_prefixStr(address.address, address.prefix_length);
    if (isFirst) {
      Print("%s", prefix);
    } else {
      Print("\n%4s %10s %10s %6s %6s %6s %s", "", "", "", "", "", "", prefix);
    }
    isFirst = false;
  }
  Print("\n");
}

string DcInterfaceConsoleCommand::GetIfFlagHelpStr() {
  return "Flags:\nB-Broadcast M-Multicast L-Loopback\nT-MPLS Tunnel P-Point2Point U-Unnumbered\n";
}

string DcInterfaceConsoleCommand::GetIfFlagsStr(const amb_stubs_i3_ei* row) {
  static const struct {
    std::uint32_t bit;
    char letter;
  } letters[] = {{1, 'T'}, {2, 'L'}, {4, 'P'}, {8, 'B'}, {16, 'M'}, {32, 'U'}};
  string text;
  for (const auto& flag : letters) {
    if ((row->flags & flag.bit) != 0) {
      text += flag.letter;
    }
  }
  return text;
}

}  // namespace Tarsel
