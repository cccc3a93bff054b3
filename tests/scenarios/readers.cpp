#include "tests/scenarios/readers.h"

#include <sstream>
#include <stdexcept>

#include "device/documents/device_document.h"
#include "device/documents/vlan_document.h"
#include "device/keepers/interfaces.h"
#include "tests/support/device_fixture.h"
#include "tests/support/json_text.h"
#include "vantacore/cfg_items.h"
#include "vantacore/config_parser.h"
#include "vantacore/redistribution_profile.h"
#include "vantacore/route_config.h"
#include "vantacore/static_routes.h"

namespace scenarios {
namespace {

using Tarsel::OptionsNode;

// --- routes ---

constexpr unsigned int IF_INDEX = 3;

std::string Describe(const Tarsel::Ip4RouteConfig& route) {
  return std::string(route.network.ToString().c_str()) + " " + route.netmask.ToString().c_str() +
         " via " + route.gateway.ToString().c_str() + " of '" + route.interface.c_str() +
         "' metric " + std::to_string(route.metric);
}

std::string Describe(const Tarsel::Ip6RouteConfig& route) {
  return std::string(route.network.ToString().c_str()) + " /" +
         std::to_string(route.prefix.GetLength()) + " via " + route.gateway.ToString().c_str() +
         " of '" + route.interface.c_str() + "' metric " + std::to_string(route.metric);
}

void Add(const Tarsel::Ip4RouteConfig& route) {
  Tarsel::AddRoute(route.vlan, route.network, route.netmask, route.gateway, IF_INDEX, route.metric,
                   Tarsel::PATH_TYPE_STATIC, 1);
}

void Add(const Tarsel::Ip6RouteConfig& route) {
  Tarsel::AddRoute(route.vlan, route.network, route.prefix, route.gateway, IF_INDEX, route.metric,
                   Tarsel::PATH_TYPE_STATIC, 1);
}

template <class Route>
class RouteReader : public Tarsel::ConfigParser {
 public:
  explicit RouteReader(std::ostream& out) : m_out(out) {}

  int ParseVlanOptions(unsigned short vlan, const OptionsNode& group) override {
    const auto end = group.end();
    for (auto entry = group.begin(); entry != end; ++entry) {
      Route route;
      const bool good = route.ParseGroup(vlan, *entry);
      m_out << "read " << vlan << " " << entry.GetName().c_str() << ": "
            << (good ? "" : "refused, read so far: ") << Describe(route) << "\n";
      if (good) Add(route);
    }
    return 1;
  }

 private:
  std::ostream& m_out;
};

void ReadRoutes(const Tarsel::Options& document, std::ostream& out) {
  const int status4 =
      RouteReader<Tarsel::Ip4RouteConfig>(out).ParseOptions("STATIC_ROUTES", document);
  out << "status " << status4 << "\n";
  const int status6 =
      RouteReader<Tarsel::Ip6RouteConfig>(out).ParseOptions("STATIC_ROUTES6", document);
  out << "status " << status6 << "\n";
}

// --- profiles ---

// Each entry is read into a profile whose flags are all off and into one whose flags are all on.
void ReadProfiles(const Tarsel::Options& document, std::ostream& out) {
  const OptionsNode entries = document.GetRootNode();
  const auto end = entries.end();
  for (auto entry = entries.begin(); entry != end; ++entry) {
    Tarsel::RedistributionProfile off(false, false, false, false, false);
    Tarsel::RedistributionProfile on;
    const bool first = off.ParseOption(*entry);
    const bool second = on.ParseOption(*entry);
    if (first != second) throw std::runtime_error("one entry read in two ways");
    out << "profile " << entry.GetName().c_str() << ": " << (first ? "there" : "absent");
    for (const auto* profile : {&off, &on}) {
      out << (profile == &off ? ", from off" : ", from on") << " static=" << profile->static_
          << " connected=" << profile->connected << " bgp=" << profile->bgp
          << " rip=" << profile->rip << " ospf=" << profile->ospf;
    }
    out << "\n";
  }
}

// --- names of groups ---

constexpr unsigned short CALLERS_VLAN = 77;

void ReadNames(const Tarsel::Options& document, std::ostream& out) {
  class Parser : public Tarsel::ConfigParser {
    int ParseVlanOptions(unsigned short, const OptionsNode&) override { return 0; }
  } parser;
  const OptionsNode groups = document.GetRootNode();
  const auto end = groups.end();
  for (auto group = groups.begin(); group != end; ++group) {
    for (const char* prefix : {"RIP", "OSPF"}) {
      unsigned short vlan = CALLERS_VLAN;
      const int taken = parser.GetVlanFromGroup(prefix, *group, &vlan);
      out << "name " << group.GetName().c_str() << " for " << prefix << ": "
          << (taken != 0 ? "taken" : "left") << ", VLAN " << vlan << "\n";
    }
  }
}

// --- what the host of the software device reads ---

void Tell(const documents::Findings& findings, std::ostream& out) {
  for (const std::string& line : findings.Lines()) out << "found " << line << "\n";
}

void ReadDevice(test_support::Device&, const std::string& name, const std::string& text,
                std::ostream& out) {
  static keepers::Interfaces state;
  documents::DeviceFile file;
  const bool isDocument = documents::ReadDeviceDocument(text, name, file);
  Tell(file.findings, out);
  if (!isDocument) {
    out << "not applied\n";
    return;
  }
  out << "default VLAN " << file.device.defaultVlan << "\n";
  state.Apply(file.device, {10});
}

// What can be used is handed to the library, as from a folder that is read partially.
void ReadChecked(test_support::Device& device, const std::string& name, const std::string& text,
                 std::ostream& out) {
  static const documents::VlanShapes SHAPES(documents::DeclaredProtocols());
  documents::ConfigFile file;
  file.name = name;
  const bool isDocument = documents::ReadVlanDocument(text, SHAPES, file);
  Tell(file.findings, out);
  if (isDocument) {
    device.Reload(file.document, name);
  } else {
    out << "not applied\n";
  }
}

// --- the kinds ---

struct Kind {
  const char* begin;  // of the names
  void (*read)(test_support::Device& device, const std::string& name, const std::string& text,
               std::ostream& out);
};

template <void (*read)(const Tarsel::Options& document, std::ostream& out)>
void ReadOptions(test_support::Device&, const std::string& name, const std::string& text,
                 std::ostream& out) {
  read(Tarsel::Options(test_support::ParsedJson(text, name)), out);
}

constexpr Kind KINDS[] = {{"routes", ReadOptions<ReadRoutes>},
                          {"profiles", ReadOptions<ReadProfiles>},
                          {"names", ReadOptions<ReadNames>},
                          {"device", ReadDevice},
                          {"checked", ReadChecked}};

const Kind* KindOf(const std::string& name) {
  for (const Kind& kind : KINDS) {
    if (name.rfind(kind.begin, 0) == 0) return &kind;
  }
  return nullptr;
}

}  // namespace

bool IsReadByOtherMeans(const std::string& name) { return KindOf(name) != nullptr; }

bool ReadDocument(test_support::Device& device, const std::string& name, const std::string& text,
                  std::ostream& out) {
  const Kind* const kind = KindOf(name);
  if (kind != nullptr) kind->read(device, name, text, out);
  return kind != nullptr;
}

}  // namespace scenarios
