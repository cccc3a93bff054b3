// The route table and the RIB of one VLAN.
#ifndef VANTACORE_RTM_COMMANDS_H
#define VANTACORE_RTM_COMMANDS_H

#include "stack/rows.h"
#include "tarsel/address.h"
#include "vantacore/dc_console_command.h"
#include "vantacore/export.h"

namespace Tarsel {

/// What both commands share, by row type: the grammar "[vrf <vid>] [dest <address>] [proto <name>]
/// [detail]", the filters, the table and the detailed view. `family` is 0 for IPv4, 41 for IPv6.
template <class T>
class RtmRTCommand : public DcConsoleCommand {
 public:
  RtmRTCommand(DcConsole* console, unsigned short family, const char* usage,
               const char* description);

  /// Takes the words and checks that the VLAN exists; subclasses start their walk afterwards.
  bool Parse(int argc, char** argv) override;
  unsigned int Display(unsigned int context, unsigned int result, const void* row) override;
  /// The detailed view of one row.
  virtual void PrintEntry(const T* row) const;

  static bool ParseDestination(DcConsoleCommand& cmd, const char* text);
  static bool ParseProtocol(DcConsoleCommand& cmd, const char* text);
  static void SetDetail(DcConsoleCommand& cmd);
  /// Names of the row's protocol and type, "" for codes without one.
  static const char* ProtoStr(const T* row);
  static const char* TypeStr(const T* row);

 protected:
  bool PassesFilters(const T* row) const;
  void PrintTableHeader();
  void PrintTableRow(const T* row) const;

  static const DcConsoleCommand::ConsoleCommandOption* const m_opts[4];

  Ip4Addr m_dest4;  // 0.0.0.0: no filter
  Ip6Addr m_dest6;  // ::: no filter
  bool m_detail;
  unsigned short m_family;
  unsigned int m_proto;  // 0: all protocols
};

extern template class VANTACORE_API RtmRTCommand<amb_cipr_rtm_route>;
extern template class VANTACORE_API RtmRTCommand<amb_cipr_rtm_rib>;

/// The installed routes.
class VANTACORE_API RtmRouteCommand : public RtmRTCommand<amb_cipr_rtm_route> {
 public:
  RtmRouteCommand(DcConsole* console, unsigned short family);
  bool Parse(int argc, char** argv) override;
};

/// Every candidate; installed ones are marked.
class VANTACORE_API RtmRibCommand : public RtmRTCommand<amb_cipr_rtm_rib> {
 public:
  RtmRibCommand(DcConsole* console, unsigned short family);
  bool Parse(int argc, char** argv) override;
  void PrintEntry(const amb_cipr_rtm_rib* row) const override;
};

}  // namespace Tarsel

#endif
