// The route table and the RIB of one VLAN.
#ifndef VANTACORE_RTM_COMMANDS_H
#define VANTACORE_RTM_COMMANDS_H

#include "stack/rows.h"
#include "tarsel/address.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/export.h"

namespace Tarsel {

/// What RtmRouteCommand and RtmRibCommand share, as a template over the row type: the grammar "[vrf
/// <vid>] [dest <address>] [proto <name>] [detail]", the filters, the table and the detailed view.
/// `family` is 0 for IPv4, 41 for IPv6. Any other family shows the rows of the IPv4 instance as
/// IPv6 rows.
template <class T>
class RtmRTCommand : public DcConsoleCommand {
 public:
  /// Takes ownership of `console`. The texts are borrowed; a null one is printed as the empty text.
  RtmRTCommand(DcConsole* console, unsigned short family, const char* usage,
               const char* description);

  /// Takes the words and checks that the VLAN exists; subclasses start their walk afterwards. False
  /// after a message or the usage text, or silently if words are left over.
  bool Parse(int argc, char** argv) override;
  /// A row of the walk: printed when it passes the filters. At the end, or on an error, the command
  /// is over.
  unsigned int Display(unsigned int context, unsigned int result, const void* row) override;
  /// The detailed view of one row.
  virtual void PrintEntry(const T* row) const;

  /// The handler of "dest". False, with a message, for a text that is not an address of the family
  /// and for null, which is printed as the empty text.
  static bool ParseDestination(DcConsoleCommand& cmd, const char* text);
  /// The handler of "proto": bgp, connected, ospf, rip or static, in lower case.
  static bool ParseProtocol(DcConsoleCommand& cmd, const char* text);
  /// The handler of "detail".
  static void SetDetail(DcConsoleCommand& cmd);
  /// The name of the row's protocol, "" for codes without one.
  static const char* ProtoStr(const T* row);
  /// The name of the row's type, "" for codes without one.
  static const char* TypeStr(const T* row);

 protected:
  /// Whether the row belongs to the VLAN's instance and has the destination and the protocol that
  /// were asked for.
  bool PassesFilters(const T* row) const;
  /// The line above the rows.
  void PrintTableHeader();
  /// One line; `>` marks a row of the RIB that is installed.
  void PrintTableRow(const T* row) const;

  /// The grammar: "vrf", "dest", "proto", "detail".
  static const DcConsoleCommand::ConsoleCommandOption* const m_opts[4];

  Ip4Addr m_dest4;  ///< 0.0.0.0 for no filter
  Ip6Addr m_dest6;  ///< :: for no filter
  /// Whether rows are shown in full.
  bool m_detail;
  /// 0 for IPv4, 41 for IPv6.
  unsigned short m_family;
  unsigned int m_proto;  ///< 0 for all protocols
};

extern template class VANTACORE_API RtmRTCommand<amb_cipr_rtm_route>;
extern template class VANTACORE_API RtmRTCommand<amb_cipr_rtm_rib>;

/// The installed routes.
class VANTACORE_API RtmRouteCommand : public RtmRTCommand<amb_cipr_rtm_route> {
 public:
  /// Takes ownership of `console`; `family` is 0 for IPv4, 41 for IPv6.
  RtmRouteCommand(DcConsole* console, unsigned short family);
  bool Parse(int argc, char** argv) override;
};

/// Every candidate; installed ones are marked.
class VANTACORE_API RtmRibCommand : public RtmRTCommand<amb_cipr_rtm_rib> {
 public:
  /// Takes ownership of `console`; `family` is 0 for IPv4, 41 for IPv6.
  RtmRibCommand(DcConsole* console, unsigned short family);
  bool Parse(int argc, char** argv) override;
  void PrintEntry(const amb_cipr_rtm_rib* row) const override;
};

}  // namespace Tarsel

#endif
