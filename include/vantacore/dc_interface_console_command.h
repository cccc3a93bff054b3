// The interface table of one VLAN.
#ifndef VANTACORE_DC_INTERFACE_CONSOLE_COMMAND_H
#define VANTACORE_DC_INTERFACE_CONSOLE_COMMAND_H

#include <cstdint>
#include <list>
#include <map>
#include <utility>

#include "stack/rows.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/export.h"

namespace Tarsel {

/// Prints the stack's interfaces of a VLAN with their IPv4 or IPv6 addresses. It walks the
/// interface table, then the address table, keeps whole rows and prints at the end.
class VANTACORE_API DcInterfaceConsoleCommand : public DcConsoleCommand {
 public:
  /// Takes ownership of `console`. For the default VLAN, m_default_vlan.
  DcInterfaceConsoleCommand(DcConsole* console, bool ipv6);
  /// The same for a given VLAN.
  DcInterfaceConsoleCommand(DcConsole* console, unsigned short vlan, bool ipv6);
  ~DcInterfaceConsoleCommand() override;

  /// Takes no words; always true.
  bool Parse(int argc, char** argv) override;
  unsigned int Display(unsigned int context, unsigned int result, const void* row) override;

  /// A response of the first walk: keeps the interface, or begins the second walk at the end.
  unsigned int HandleEiEntry(unsigned int context, unsigned int result, const void* row);
  /// A response of the second walk: keeps the address, or prints the table at the end.
  unsigned int HandleEaEntry(unsigned int context, unsigned int result, const void* row);
  /// Starts the second walk. If the stack answers at once, the command may have been deleted when
  /// this call returns.
  void SwitchToEaEntries();

  /// Returns the text above the table that explains the letters of the flags column.
  static string GetIfFlagHelpStr();
  /// Returns the letters of the row's flags.
  static string GetIfFlagsStr(const amb_stubs_i3_ei* row);

 private:
  typedef unsigned int (DcInterfaceConsoleCommand::*Handler)(unsigned int, unsigned int,
                                                             const void*);
  typedef std::pair<amb_stubs_i3_ei, std::list<amb_stubs_i3_ea>> Entry;

  void PrintTable() const;
  void PrintInterface(const Entry& entry) const;

  bool m_ipv6;
  unsigned int m_instance;
  const char* (*m_prefixStr)(const unsigned char* addr, unsigned int len);
  Handler m_handler;
  std::map<std::uint32_t, Entry> m_interfaces;
};

}  // namespace Tarsel

#endif
