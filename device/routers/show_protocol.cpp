#include "show_protocol.h"

#include <strings.h>

#include <cstring>
#include <string>

#include "device/stack/protocol_rows.h"
#include "host/dc_console.h"
#include "routers/protocol_interface.h"
#include "row_object.h"
#include "row_registry.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_rtm_mgr.h"

namespace routers {

using Tarsel::DcConsole;
using Tarsel::DclConfigListIteratorFunc;
using Tarsel::DclConfigObject;
using Tarsel::DcRouterBase;
using Tarsel::DcRouterMgr;
using Tarsel::DcRtmMgr;
using Tarsel::FormatIp4Addr;
using Tarsel::FormatIp6Addr;
using Tarsel::ParseNumber;
using Tarsel::ProtocolInterface;
using Tarsel::string;

namespace {

constexpr unsigned int ALL_VLANS = 0x10000;

/// Prints the rows of one instance: a BGP router has rows in the instances of both families.
class RowPrinter : public DclConfigListIteratorFunc {
 public:
  RowPrinter(DcConsole* console, unsigned int instance)
      : m_console(console), m_instance(instance) {}

  bool operator()(DclConfigObject* object) override {
    if (static_cast<RowObject*>(object)->GetRowName().instance == m_instance) {
      object->Display(m_console, 0);
    }
    return true;
  }

 private:
  DcConsole* m_console;
  unsigned int m_instance;
};

const char* RouteSource(unsigned int proto) {
  switch (proto) {
    case 2:
      return "connected";
    case 3:
      return "static";
    case 8:
      return "rip";
    case 13:
      return "ospf";
    case 14:
      return "bgp";
    default:
      return "other";
  }
}

string AddressText(const unsigned char* address, int ipProto) {
  return ipProto == DcRtmMgr::PROTO_IPV6 ? FormatIp6Addr(address) : FormatIp4Addr(address);
}

/// Shows the routers of a view.
class RouterPrinter : public DcRouterMgr::DcRouterIteratorFunc {
 public:
  RouterPrinter(DcConsole* console, const ProtocolView& view) : m_console(console), m_view(view) {}

  void Invoke(DcRouterBase* router) override {
    auto* const protocol = static_cast<ProtocolInterface*>(router->GetInterface());
    const unsigned int instance =
        DcRtmMgr::GetDclProtocolInstanceIdFromVlan(router->GetVlan(), m_view.ipProto);
    protocol->Display(m_console);
    if (m_view.showMore != nullptr && protocol->IsEnabled()) {
      m_view.showMore(m_console, *router);
    }
    RowPrinter rows(m_console, instance);
    protocol->ForEachRow(rows);
    ShowLeftBehind(instance);
    ShowReceived(instance);
  }

 private:
  void ShowLeftBehind(unsigned int instance) const {
    for (const ProtocolTable* table : m_view.tables) {
      if (table == nullptr) {
        continue;
      }
      sms_protocol_row row;
      int found = sms_get_next_protocol_row(table->number, instance, nullptr, 0, &row);
      while (found) {
        const std::string key(reinterpret_cast<const char*>(row.key), row.key_length);
        if (!RowRegistry::Get().IsConfigured({table->number, instance, key})) {
          PrintRow(m_console, table->label, key, "left behind", row.payload);
        }
        found = sms_get_next_protocol_row(table->number, instance, row.key, row.key_length, &row);
      }
    }
  }

  void ShowReceived(unsigned int instance) const {
    amb_cipr_rtm_route route;
    const amb_cipr_rtm_route* previous = nullptr;
    while (sms_get_next_redistributed(instance, m_view.code, previous, &route)) {
      string prefix = AddressText(route.destination, m_view.ipProto);
      prefix.AppendFmt("/%u", route.prefix_length);
      m_console->Print("  receives  %s %s via %s metric %u\n", prefix.c_str(),
                       RouteSource(route.route_proto),
                       AddressText(route.next_hop, m_view.ipProto).c_str(), route.metric1);
      previous = &route;
    }
  }

  DcConsole* m_console;
  const ProtocolView& m_view;
};

/// "" or "vrf <vid>", where the word may be abbreviated.
bool ParseWords(int argc, char** argv, unsigned int& vlan) {
  vlan = ALL_VLANS;
  if (argc <= 1) {
    return true;
  }
  return argc == 3 && strncasecmp(argv[1], "vrf", std::strlen(argv[1])) == 0 &&
         argv[1][0] != '\0' && argv[2][0] != '\0' && ParseNumber(&vlan, argv[2]) &&
         vlan < ALL_VLANS;
}

}  // namespace

void ShowProtocol(DcConsole* console, const ProtocolView& view, int argc, char** argv) {
  unsigned int vlan;
  if (!ParseWords(argc, argv, vlan)) {
    console->Print("Usage: %s %s [vrf <vid>]\n", view.tree, argv[0]);
    return;
  }
  DcRouterMgr* const manager = DcRouterMgr::GetInstance();
  RouterPrinter printer(console, view);
  if (vlan == ALL_VLANS) {
    manager->ForEachDcRouter(&printer, view.type);
  } else if (DcRouterBase* const router =
                 manager->GetDcRouterByVID(static_cast<unsigned short>(vlan), view.type)) {
    printer.Invoke(router);
  } else {
    console->Print("VLAN %u is not present\n", vlan);
  }
}

}  // namespace routers
