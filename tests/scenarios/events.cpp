#include "tests/scenarios/events.h"

#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "tests/support/device_fixture.h"
#include "vantacore/cfg_items.h"
#include "vantacore/config_parser.h"
#include "vantacore/dc_interface_mgr.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/static_routes.h"

// The words, with VLAN and interface index as the first two numbers of most of them:
//
//   interface add VLAN INDEX NAME FLAGS MTU up|down    interface remove VLAN INDEX NAME
//   interface up VLAN INDEX NAME                       interface down VLAN INDEX NAME
//   status VLAN INDEX 1|2                              primary VLAN NAME
//   address add|delete|change VLAN INDEX ADDR MASK     address6 add|delete VLAN INDEX ADDR LENGTH
//   route add VLAN DEST MASK GATEWAY INDEX METRIC      route remove|enable|disable VLAN DEST MASK GATEWAY INDEX
//   route6 add VLAN DEST LENGTH GATEWAY INDEX METRIC   route6 remove VLAN DEST LENGTH GATEWAY INDEX
//   redistribute VLAN SOURCE DESTINATION on|off        join VLAN INDEX
//   withdraw FILE 0|1                                  wait MILLISECONDS
//   answer TYPE status CODE TIMES                      answer TYPE never|twice|late TIMES
//   limit TYPE ROWS STATUS
//
// Protocol codes are the stack's, in hexadecimal; TYPE is rtm, interface, address, route, rule or
// protocol.

namespace scenarios {
namespace {

using Tarsel::DcInterfaceMgr;
using Tarsel::DcRtmMgr;
using test_support::Device;

class Words {
 public:
  explicit Words(const std::string& line) : m_line(line) {
    std::istringstream stream(line);
    for (std::string word; stream >> word;) m_words.push_back(word);
  }

  std::string Next() {
    if (m_position == m_words.size()) Fail("a word is missing");
    return m_words[m_position++];
  }

  unsigned int Number(int base = 10) {
    const std::string word = Next();
    std::size_t end = 0;
    unsigned long value = 0;
    try {
      value = std::stoul(word, &end, base);
    } catch (const std::exception&) {
      Fail("'" + word + "' is no number");
    }
    if (end != word.size()) Fail("'" + word + "' is no number");
    return static_cast<unsigned int>(value);
  }

  unsigned short Vlan() { return static_cast<unsigned short>(Number()); }

  Tarsel::Ip4Addr Address() {
    Tarsel::Ip4Addr address;
    const std::string word = Next();
    if (!Tarsel::ParseAddress(address, word.c_str())) Fail("'" + word + "' is no IPv4 address");
    return address;
  }

  Tarsel::Ip6Addr Address6() {
    Tarsel::Ip6Addr address;
    const std::string word = Next();
    if (!Tarsel::ParseIp6Address(address, word.c_str())) Fail("'" + word + "' is no IPv6 address");
    return address;
  }

  bool OneOf(const char* yes, const char* no) {
    const std::string word = Next();
    if (word == yes) return true;
    if (word != no) Fail("'" + word + "' is neither " + yes + " nor " + no);
    return false;
  }

  void End() {
    if (m_position != m_words.size()) Fail("'" + m_words[m_position] + "' is too much");
  }

  [[noreturn]] void Fail(const std::string& why) const {
    throw std::runtime_error("event \"" + m_line + "\": " + why);
  }

 private:
  std::string m_line;
  std::vector<std::string> m_words;
  std::size_t m_position = 0;
};

void Interface(Device&, Words& words) {
  const std::string what = words.Next();
  const unsigned short vlan = words.Vlan();
  const unsigned int index = words.Number();
  const std::string name = words.Next();
  DcInterfaceMgr* registry = DcInterfaceMgr::GetInstance();
  if (what == "add") {
    const unsigned int flags = words.Number();
    const unsigned int mtu = words.Number();
    const unsigned int status = words.OneOf("up", "down") ? 1 : 2;
    registry->AddInterface(vlan, index, name.c_str(), DcInterfaceMgr::INTF_TYPE_NONE, flags, mtu,
                           status);
  } else if (what == "remove") {
    registry->RemoveInterface(vlan, index, name.c_str());
  } else if (what == "up") {
    registry->SetInterfaceUp(vlan, index, name.c_str());
  } else if (what == "down") {
    registry->SetInterfaceDown(vlan, index, name.c_str());
  } else {
    words.Fail("an interface is added, removed, up or down");
  }
}

void Status(Device& device, Words& words) {
  const unsigned short vlan = words.Vlan();
  const unsigned int index = words.Number();
  const unsigned int status = words.Number();
  if (status == 1) {
    device.ipInterface.up.insert({vlan, index});
  } else {
    device.ipInterface.up.erase({vlan, index});
  }
  device.Manager().ProcessInterfaceStatusChange(vlan, index, static_cast<unsigned short>(status));
}

void Primary(Device&, Words& words) {
  const unsigned short vlan = words.Vlan();
  DcInterfaceMgr::GetInstance()->SetPrimaryInterface(vlan, words.Next().c_str());
}

void Address(Device&, Words& words) {
  const std::string what = words.Next();
  const unsigned short vlan = words.Vlan();
  const unsigned int index = words.Number();
  const Tarsel::Ip4Addr address = words.Address();
  const Tarsel::Ip4Addr mask = words.Address();
  DcInterfaceMgr* registry = DcInterfaceMgr::GetInstance();
  if (what == "add") {
    registry->AddIpAddress(vlan, index, address, mask);
  } else if (what == "delete") {
    registry->DeleteIpAddress(vlan, index, address, mask);
  } else if (what == "change") {
    registry->ChangeIpAddress(vlan, index, address, mask);
  } else {
    words.Fail("an address is added, deleted or changed");
  }
}

void Address6(Device&, Words& words) {
  const bool add = words.OneOf("add", "delete");
  const unsigned short vlan = words.Vlan();
  const unsigned int index = words.Number();
  const Tarsel::Ip6Addr address = words.Address6();
  const unsigned int length = words.Number();
  DcInterfaceMgr* registry = DcInterfaceMgr::GetInstance();
  if (add) {
    registry->AddIpAddress(vlan, index, address, length);
  } else {
    registry->DeleteIpAddress(vlan, index, address, length);
  }
}

void Route(Device&, Words& words) {
  const std::string what = words.Next();
  const unsigned short vlan = words.Vlan();
  const Tarsel::Ip4Addr destination = words.Address();
  const Tarsel::Ip4Addr mask = words.Address();
  const Tarsel::Ip4Addr gateway = words.Address();
  const unsigned int index = words.Number();
  if (what == "add") {
    Tarsel::AddRoute(vlan, destination, mask, gateway, index, words.Number(),
                     Tarsel::PATH_TYPE_STATIC, 1);
  } else if (what == "remove") {
    Tarsel::RemoveRoute(vlan, destination, mask, gateway, index);
  } else if (what == "enable") {
    Tarsel::EnableRoute(vlan, destination, mask, gateway, index);
  } else if (what == "disable") {
    Tarsel::DisableRoute(vlan, destination, mask, gateway, index);
  } else {
    words.Fail("a route is added, removed, enabled or disabled");
  }
}

void Route6(Device&, Words& words) {
  const bool add = words.OneOf("add", "remove");
  const unsigned short vlan = words.Vlan();
  const Tarsel::Ip6Addr destination = words.Address6();
  const Tarsel::Ip6Prefix prefix(destination, words.Number());
  const Tarsel::Ip6Addr gateway = words.Address6();
  const unsigned int index = words.Number();
  if (add) {
    Tarsel::AddRoute(vlan, destination, prefix, gateway, index, words.Number(),
                     Tarsel::PATH_TYPE_STATIC, 1);
  } else {
    Tarsel::RemoveRoute(vlan, destination, prefix, gateway, index);
  }
}

void Redistribute(Device&, Words& words) {
  const unsigned short vlan = words.Vlan();
  const unsigned int source = words.Number(16);
  const unsigned int destination = words.Number(16);
  const bool on = words.OneOf("on", "off");
  DcRtmMgr* rtm = DcRtmMgr::GetInstance();
  if (rtm != nullptr) {  // there is none while there is no memory for it
    rtm->HandleRedistributionStatusChange(vlan, source, destination, !on, on);
  }
}

void Join(Device& device, Words& words) {
  const unsigned short vlan = words.Vlan();
  device.Manager().JoinNetwork(vlan, words.Number());
}

void Withdraw(Device& device, Words& words) {
  const std::string file = words.Next();
  device.Manager().DeleteOptions(file.c_str(),
                                 static_cast<Tarsel::DclConfigObject::OptionType>(words.Number()));
}

void Wait(Device& device, Words& words) { device.loop.AdvanceMilliseconds(words.Number()); }

routing_stack::RowType ReadRowType(Words& words) {
  static const std::map<std::string, routing_stack::RowType> types = {
      {"rtm", routing_stack::RowType::kRtm},
      {"interface", routing_stack::RowType::kInterface},
      {"address", routing_stack::RowType::kAddress},
      {"route", routing_stack::RowType::kRoute},
      {"rule", routing_stack::RowType::kRedistribution},
      {"protocol", routing_stack::RowType::kProtocol}};
  const auto found = types.find(words.Next());
  if (found == types.end()) words.Fail("unknown row type");
  return found->second;
}

void ScriptAnswer(Device& device, Words& words) {
  const routing_stack::RowType type = ReadRowType(words);
  routing_stack::Answer answer;
  const std::string kind = words.Next();
  if (kind == "status") {
    answer.status = words.Number();
  } else if (kind == "never") {
    answer.kind = routing_stack::Answer::kNever;
  } else if (kind == "twice") {
    answer.kind = routing_stack::Answer::kTwice;
  } else if (kind == "late") {
    answer.kind = routing_stack::Answer::kLate;
    answer.delayMs = 250;
  } else {
    words.Fail("unknown kind of answer");
  }
  device.Control().Script(type, answer, words.Number());
}

void Limit(Device& device, Words& words) {
  const routing_stack::RowType type = ReadRowType(words);
  const unsigned int rows = words.Number();
  device.Control().SetLimit(type, rows, words.Number());
}

}  // namespace

void ApplyEvent(Device& device, const std::string& line) {
  static const std::map<std::string, std::function<void(Device&, Words&)>> events = {
      {"interface", Interface}, {"status", Status},
      {"primary", Primary},     {"address", Address},
      {"address6", Address6},   {"route", Route},
      {"route6", Route6},       {"redistribute", Redistribute},
      {"join", Join},           {"withdraw", Withdraw},
      {"wait", Wait},           {"answer", ScriptAnswer},
      {"limit", Limit}};
  Words words(line);
  const auto found = events.find(words.Next());
  if (found == events.end()) words.Fail("unknown event");
  found->second(device, words);
  words.End();
}

}  // namespace scenarios
