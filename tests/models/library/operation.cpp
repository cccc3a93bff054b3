#include "operation.h"

#include <json/writer.h>

#include <memory>
#include <random>
#include <sstream>

#include "tests/support/json_text.h"

namespace library_model {

namespace {

constexpr unsigned short VLANS[] = {1, 10, 20, 30, 40, 0x8005};
constexpr unsigned int VLAN_COUNT = 6;
constexpr unsigned int STATUSES[] = {1, 5, 6, 3, 2, 0, 5, 1};
const char* const FILES[] = {"vlans", "remote-a", "remote-b", "other"};
const char* const NAMES[] = {"eth0", "eth1", "lan", "", "eth1"};

struct DoubtfulNumbers {
  const std::vector<int>& numbers;
  int operator[](std::size_t index) const { return index < numbers.size() ? numbers[index] : 0; }
};

unsigned short Vlan(int number) { return VLANS[static_cast<unsigned int>(number) % VLAN_COUNT]; }

Route MakeRoute(int vlan, int number) {
  const auto n = static_cast<unsigned int>(number);
  Route route;
  route.vlan = Vlan(vlan);
  route.ipv6 = n % 2 == 1;
  const unsigned int row = n / 2;
  route.dest[0] = static_cast<unsigned char>(route.ipv6 ? 0x20 : 10);
  route.dest[1] = static_cast<unsigned char>(row % 10);
  route.nexthop[0] = static_cast<unsigned char>(route.ipv6 ? 0x20 : 192);
  route.nexthop[3] = static_cast<unsigned char>(row / 10 % 2);
  route.prefixLen = (route.ipv6 ? 48 : 16) + (row / 20 % 2) * 8;
  route.ifIndex = 1 + row / 40 % 2;
  route.hostBits = row % 7 == 3 ? 1 : 0;
  return route;
}

Json::Value DrawGroups(const Draw& draw) {
  Json::Value groups(draw(4) == 0 ? Json::objectValue : Json::arrayValue);
  for (unsigned int count = draw(7); count > 0; --count) {
    Json::Value group(Json::objectValue);
    group["id"] = draw(6);
    group["content"] = draw(2) == 0 ? 1 + 4 * draw(2) : draw(9);
    switch (draw(30)) {
      case 0:
        group["reject"] = true;
        break;
      case 1:
        group["id"] = "one";
        break;
      case 2:
        group = Json::Value(Json::objectValue);
        break;
      case 3:
        group.removeMember("content");
        break;
      case 4:
        group = 5;
        break;
      default:
        break;
    }
    if (groups.isArray()) {
      groups.append(group);
    } else {
      groups["group" + std::to_string(draw(12))] = group;
    }
  }
  return groups;
}

Json::Value DrawRtm(const Draw& draw) {
  static const char* const KEYS[] = {"ospfv2_internal",
                                     "ospfv2_external",
                                     "ospfv3_internal",
                                     "ospfv3_external",
                                     "ripv2",
                                     "ripng",
                                     "ebgp",
                                     "ibgp"};
  Json::Value rtm(Json::objectValue);
  if (draw(3) == 0) {
    rtm["dead_rpm_timer"] = draw(4) == 0 ? Json::Value("long") : Json::Value(55 + draw(3));
  }
  if (draw(2) == 0) {
    Json::Value distances(Json::objectValue);
    for (const char* key : KEYS) {
      if (draw(2) == 0) {
        distances[key] = 20 * draw(3);
      }
    }
    rtm["ADMIN_DISTANCE"] = distances;
  }
  return rtm;
}

Json::Value DrawEntry(const Draw& draw, bool sparse) {
  Json::Value entry(Json::objectValue);
  if (draw(4) == 0) {
    entry["RTM"] = DrawRtm(draw);
  }
  for (const char* protocol : PROTOCOL_MEMBERS) {
    if (draw(sparse ? 6 : 4) == 0 || (sparse && draw(2) == 0)) {
      continue;
    }
    Json::Value member(Json::objectValue);
    if (draw(3) == 0) {
      member["enabled"] = draw(4) != 0;
    }
    if (draw(5) != 0) {
      member["IF_LIST"] = DrawGroups(draw);
    }
    if (draw(3) == 0) {
      member["AREA_LIST"] = DrawGroups(draw);
    }
    entry[protocol] = draw(40) == 0 ? Json::Value(7) : member;
  }
  return entry;
}

std::string ToText(const Json::Value& document) {
  Json::StreamWriterBuilder writer;
  writer["indentation"] = "";
  return Json::writeString(writer, document);
}

std::string DrawDocument(const Draw& draw, bool isLarge) {
  Json::Value group(draw(3) == 0 ? Json::objectValue : Json::arrayValue);
  for (unsigned int count = draw(40) == 0 ? 0 : (isLarge ? 6 : 1) + draw(5); count > 0; --count) {
    Json::Value entry = DrawEntry(draw, count > 4);
    const unsigned int vid = VLANS[draw(VLAN_COUNT)];
    entry["vid"] = vid + (draw(20) == 0 ? 65536u : 0u);
    switch (draw(60)) {
      case 0:
        entry.removeMember("vid");
        break;
      case 1:
        entry["vid"] = "ten";
        break;
      case 2:
        entry = Json::Value(Json::objectValue);
        break;
      case 3:
        entry = 12;
        break;
      default:
        break;
    }
    if (group.isArray()) {
      group.append(entry);
    } else {
      group["vlan" + std::to_string(draw(20))] = entry;
    }
  }
  Json::Value document(Json::objectValue);
  if (draw(60) != 0) {
    document["VLAN_CONFIGURATIONS"] = group;
  }
  return ToText(document);
}

// Every value that is left of `value` when one thing is taken out of it, however deep.
std::vector<Json::Value> WithoutOne(const Json::Value& value) {
  std::vector<Json::Value> smaller;
  const auto members = value.isObject() ? value.getMemberNames() : Json::Value::Members();
  const std::size_t count = value.isArray() ? value.size() : members.size();
  for (std::size_t i = 0; i < count; ++i) {
    const auto index = static_cast<Json::ArrayIndex>(i);
    Json::Value without = value;
    Json::Value removed;
    if (value.isArray()) {
      without.removeIndex(index, &removed);
    } else {
      without.removeMember(members[i], &removed);
    }
    smaller.push_back(without);
    for (const Json::Value& child : WithoutOne(removed)) {
      Json::Value with = value;
      (value.isArray() ? with[index] : with[members[i]]) = child;
      smaller.push_back(with);
    }
  }
  return smaller;
}

std::string DrawWords(const Draw& draw, unsigned int command) {
  static const char* const IP[] = {"pending-actions",
                                   "pe",
                                   "pending-actions summary",
                                   "summary",
                                   "SU",
                                   "mcast-database",
                                   "mc x",
                                   "",
                                   "what",
                                   "ips",
                                   "ips on",
                                   "ips OFF",
                                   "ips status",
                                   "ips set filter proc out 3,4",
                                   "ips reset filter type in",
                                   "ips set filter proc",
                                   "ips reset filter type up",
                                   "pending-actions summary x"};
  static const char* const VRF[] = {"", "vrf 10", "v 20", "VRF 65546", "vrf abc", "vrf", "vrf 77"};
  static const char* const DEST[] = {
      "", "", "dest 10.0.0.0", "de 11.0.2.0", "destination 10.0.0.0", "dest a00::", "dest x"};
  static const char* const PROTO[] = {"",          "", "proto bgp", "p static", "pro connected",
                                      "proto isis"};
  static const char* const DETAIL[] = {"", "", "detail", "d", "detail x"};
  std::string words;
  if (command == IP_PROTOCOL || command == IP6_PROTOCOL) {
    if (draw(3) != 0) {
      return IP[draw(sizeof IP / sizeof IP[0])];
    }
    words = command == IP_PROTOCOL && draw(2) == 0 ? "da" : "database";
  } else if (command == INTERFACES) {
    return draw(2) == 0 ? "6" : "";
  }
  for (const std::string part :
       {VRF[draw(2) == 0 ? 0 : draw(7)], DEST[draw(7)], PROTO[draw(6)], DETAIL[draw(5)]}) {
    if (!part.empty()) {
      words += (words.empty() ? "" : " ") + part;
    }
  }
  return words;
}

std::vector<std::string> Split(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) {
    words.push_back(word);
  }
  return words;
}

// Mostly one answer with everything in it; every now and then something else.
int DrawHow(const Draw& draw) {
  switch (draw(14)) {
    case 6:
    case 7:
      return STATE | COMPLETION | PASS;
    case 0:
      return STATE;
    case 1:
      return COMPLETION;
    case 2:
      return STATE | COMPLETION | REPEATED;
    case 3:
      return STATE | COMPLETION | COMPLETION_FIRST;
    case 4:
      return STATE | KEPT;
    case 5:
      return STATE | COMPLETION | ASK_AGAIN;
    default:
      return STATE | COMPLETION;
  }
}

int DrawInt(const Draw& draw, unsigned int below) { return static_cast<int>(draw(below)); }

Operation DrawAnswer(const Draw& draw) {
  const int which = DrawInt(draw, 100);
  const int status = static_cast<int>(STATUSES[draw(8)]);
  switch (draw(12)) {
    case 0:
      return {"answer-late", {which, DrawHow(draw), status}, ""};
    case 1:
    case 2:
      return {"answer-in-run", {which, DrawHow(draw), status}, ""};
    case 3:
      return {"fail", {which, 9 + DrawInt(draw, 4)}, ""};
    case 4:
      return {"answer-all", {status == 6 ? 1 : status}, ""};
    default:
      return {"answer", {which, DrawHow(draw), status}, ""};
  }
}

Operation DrawStack(const Draw& draw) {
  switch (draw(14)) {
    case 0:
    case 1:
    case 2:
    case 3:
      return {"ready", {DrawInt(draw, VLAN_COUNT), DrawInt(draw, 2)}, ""};
    case 4:
      return {"stack-ready", {}, ""};
    case 5:
      return {"policy",
              {DrawInt(draw, CLASS_COUNT), draw(2) == 0 ? DrawHow(draw) : 0,
               static_cast<int>(STATUSES[draw(8)])},
              ""};
    case 6:
      return {"all-later", {}, ""};
    case 13:
      return {"policy",
              {ROUTE, STATE | COMPLETION | (draw(2) == 0 ? ASK_AGAIN : PASS),
               static_cast<int>(STATUSES[draw(8)])},
              ""};
    case 7:
      return {"ready-at-once", {draw(3) == 0 ? 1 : 0}, ""};
    case 8:
      return {"run-result", {DrawInt(draw, 4) * 9 - 1, draw(12) == 0 ? 1 : 0}, ""};
    case 9:
      return {"reschedule", {1 + DrawInt(draw, 3)}, ""};
    case 10:
      return {"run", {}, ""};
    case 11:
      return {"router-ready", {DrawInt(draw, VLAN_COUNT), DrawInt(draw, 7), draw(4) != 0}, ""};
    default:
      return {"bgp-status", {DrawInt(draw, VLAN_COUNT), DrawInt(draw, 3)}, ""};
  }
}

Operation DrawInterface(const Draw& draw) {
  const int vlan = DrawInt(draw, 3);
  const int index = 1 + DrawInt(draw, 3);
  const int name = DrawInt(draw, 5);
  switch (draw(8)) {
    case 0:
    case 1:
    case 2:
      return {"interface",
              {draw(3) == 0 ? IF_ADD : DrawInt(draw, IF_EVENT_COUNT), vlan, index, name,
               DrawInt(draw, 64), 1 + DrawInt(draw, 2)},
              ""};
    case 3:
    case 4:
      return {
          "address4",
          {DrawInt(draw, ADDRESS_EVENT_COUNT), vlan, index, DrawInt(draw, 4), DrawInt(draw, 33)},
          ""};
    case 5:
      return {
          "address6", {DrawInt(draw, 2), vlan, index, DrawInt(draw, 4), DrawInt(draw, 200)}, ""};
    case 6:
      return {"primary", {vlan, name}, ""};
    default:
      return {
          "network",
          {DrawInt(draw, NET_EVENT_COUNT), DrawInt(draw, VLAN_COUNT), index, 1 + DrawInt(draw, 2)},
          ""};
  }
}

Operation DrawConsole(const Draw& draw) {
  switch (draw(8)) {
    case 0:
    case 1:
      return {"rows", {DrawInt(draw, 50000), 3 + DrawInt(draw, 30)}, ""};
    case 2:
      return {draw(20) == 0 ? "clear-rows" : "walks-at-once", {draw(3) == 0 ? 1 : 0}, ""};
    case 3:
      return {"walk-end", {draw(2) != 0 ? 7 : DrawInt(draw, 12)}, ""};
    case 4:
      return {"walk", {DrawInt(draw, 6)}, ""};
    default: {
      const unsigned int command = draw(COMMAND_COUNT);
      return {"console",
              {static_cast<int>(command), DrawInt(draw, VLAN_COUNT)},
              DrawWords(draw, command)};
    }
  }
}

Operation DrawOperation(const Draw& draw);

// A document; half of them come from a small stock, so that they come again.
Operation DrawReload(const Draw& draw) {
  const int file = DrawInt(draw, 4);
  const int type = draw(5) == 0 ? DrawInt(draw, 3) : file == 1 ? 1 : file == 2 ? 2 : 0;
  if (draw(2) == 0) {
    return {"reload", {file, type}, DrawDocument(draw, file == 0 || draw(3) == 0)};
  }
  std::mt19937 engine(draw(12));
  const Draw stock = [&engine](unsigned int below) { return engine() % below; };
  return {"reload", {file, type}, DrawDocument(stock, true)};
}

// A pass stops at its limit, and the bucket with which the next one is to go on goes.
std::vector<Operation> DrawStorm(const Draw& draw) {
  const int first = DrawInt(draw, VLAN_COUNT - 1);
  const int second = first + 1;
  const int row = DrawInt(draw, 200);
  std::vector<Operation> storm = {{"answer-all", {1}, ""}};
  for (const int vlan : {first, second}) {
    storm.push_back({"ready", {vlan, 0}, ""});
    storm.push_back({"ready", {vlan, 1}, ""});
  }
  storm.push_back({"routes", {second, row, 3}, ""});
  storm.push_back({"advance", {110}, ""});
  storm.push_back({"routes", {first, row, 40}, ""});
  storm.push_back({"advance", {100}, ""});
  storm.push_back({draw(3) == 0 ? "run" : "answer-all", {1}, ""});
  storm.push_back({"advance", {100}, ""});
  return storm;
}

}  // namespace

std::string ToLine(const Operation& operation) {
  std::string line = operation.word;
  for (const int number : operation.numbers) {
    line += " " + std::to_string(number);
  }
  return operation.text.empty() ? line : line + " | " + operation.text;
}

Operation FromLine(const std::string& line) {
  Operation operation;
  const std::size_t bar = line.find(" | ");
  std::istringstream stream(line.substr(0, bar));
  stream >> operation.word;
  for (int number = 0; stream >> number;) {
    operation.numbers.push_back(number);
  }
  if (bar != std::string::npos) {
    operation.text = line.substr(bar + 3);
  }
  return operation;
}

std::vector<Operation> DrawBeginning(const Draw& draw) {
  std::vector<Operation> beginning;
  if (draw(5) != 0) {
    beginning.push_back({"stack-ready", {}, ""});
  } else {
    // Rows become busy, idle and busy again before the stack is up.
    for (int i = 0; i < 12; ++i) {
      const int index = 1 + DrawInt(draw, 3);
      if (draw(2) == 0) {
        beginning.push_back({"completion", {0, DrawInt(draw, 2), index - 1, 1}, ""});
      } else {
        beginning.push_back({"interface", {IF_UP, 0, index, 0, 0, 1}, ""});
      }
    }
  }
  if (draw(5) != 0) {
    beginning.push_back({"reload", {0, 0}, DrawDocument(draw, true)});
  }
  if (draw(3) == 0) {
    const std::vector<Operation> storm = DrawStorm(draw);
    beginning.insert(beginning.end(), storm.begin(), storm.end());
  }
  return beginning;
}

std::vector<Operation> DrawOperations(const Draw& draw) {
  if (draw(120) == 0) {
    return DrawStorm(draw);
  }
  return {DrawOperation(draw)};
}

namespace {

Operation DrawOperation(const Draw& draw) {
  const unsigned int kind = draw(1000);
  if (kind < 230) {
    return {"route",
            {DrawInt(draw, ROUTE_REQUEST_COUNT), DrawInt(draw, VLAN_COUNT), DrawInt(draw, 240),
             DrawInt(draw, 70000), draw(4) == 0 ? 0 : 0x30000, 1 + DrawInt(draw, 2)},
            ""};
  }
  if (kind < 240) {
    return {"routes", {DrawInt(draw, VLAN_COUNT), DrawInt(draw, 200), 30 + DrawInt(draw, 20)}, ""};
  }
  if (kind < 290) {
    return {"redistribution",
            {DrawInt(draw, VLAN_COUNT), DrawInt(draw, 2), DrawInt(draw, 2), DrawInt(draw, 3),
             DrawInt(draw, 2), DrawInt(draw, 2)},
            ""};
  }
  if (kind < 550) {
    return DrawAnswer(draw);
  }
  if (kind < 660) {
    return DrawStack(draw);
  }
  if (kind < 730) {
    return {"advance", {draw(4) == 0 ? DrawInt(draw, 40) : 100 + DrawInt(draw, 100)}, ""};
  }
  if (kind < 790) {
    return DrawReload(draw);
  }
  if (kind < 800) {
    return {"ready", {DrawInt(draw, VLAN_COUNT), DrawInt(draw, 2)}, ""};
  }
  if (kind < 806) {
    return {"withdraw", {DrawInt(draw, 4), DrawInt(draw, 3)}, ""};
  }
  if (kind < 809) {
    return {"create-vlan", {DrawInt(draw, VLAN_COUNT), draw(4) == 0 ? 1 : 0}, ""};
  }
  if (kind < 812) {
    return {"delete-vlan", {DrawInt(draw, VLAN_COUNT)}, ""};
  }
  if (kind < 815) {
    return {draw(2) == 0 ? "reset-serializer" : "reset-scheduler", {}, ""};
  }
  if (kind < 817) {
    return {"refusing", {DrawInt(draw, 2)}, ""};
  }
  if (kind < 820) {
    return {"completion",
            {DrawInt(draw, 3), DrawInt(draw, 2), DrawInt(draw, 240), DrawInt(draw, 4)},
            ""};
  }
  if (kind < 826) {
    return {"query", {DrawInt(draw, VLAN_COUNT), 1 + DrawInt(draw, 4), DrawInt(draw, 5)}, ""};
  }
  if (kind < 900) {
    return DrawInterface(draw);
  }
  return DrawConsole(draw);
}

}  // namespace

std::vector<Operation> SmallerDocuments(const Operation& operation) {
  std::vector<Operation> smaller;
  if (operation.word == "reload") {
    for (const Json::Value& document : WithoutOne(test_support::ParsedJson(operation.text))) {
      smaller.push_back({operation.word, operation.numbers, ToText(document)});
    }
  }
  return smaller;
}

void Perform(const Operation& operation, Subject& subject, ScriptedStack& stack) {
  const DoubtfulNumbers n = {operation.numbers};
  const std::string& word = operation.word;
  const auto u = [&n](std::size_t index) { return static_cast<unsigned int>(n[index]); };
  if (word == "route") {
    subject.AskRoute(static_cast<RouteRequest>(u(0) % ROUTE_REQUEST_COUNT), MakeRoute(n[1], n[2]),
                     u(3), n[4], n[5]);
  } else if (word == "routes") {
    for (int i = 0; i < n[2]; ++i) {
      subject.AskRoute(ADD_ROUTE, MakeRoute(n[0], n[1] + i), 1, 0x30000, 1);
    }
  } else if (word == "redistribution") {
    static const unsigned int CODES[] = {0xD0000, 0x80000, 0xE0000};
    subject.ChangeRedistribution(static_cast<unsigned short>(Vlan(n[0]) | (n[1] != 0 ? 0x8000 : 0)),
                                 n[2] != 0 ? 0x30000 : 0x20000, CODES[u(3) % 3], n[4] != 0,
                                 n[5] != 0);
  } else if (word == "answer") {
    stack.Answer(u(0), n[1], u(2));
  } else if (word == "answer-late") {
    stack.AnswerLate(u(0), n[1], u(2));
  } else if (word == "answer-in-run") {
    stack.AnswerInRun(u(0), n[1], u(2));
  } else if (word == "answer-all") {
    stack.AnswerAll(u(0));
  } else if (word == "fail") {
    for (int i = 0; i < n[1]; ++i) {
      stack.Answer(u(0), STATE | COMPLETION | KEPT, 5);
      subject.Advance(100);
    }
  } else if (word == "ready") {
    subject.SetRtmReady(Vlan(n[0]) | (n[1] != 0 ? 0x8000u : 0u));
  } else if (word == "stack-ready") {
    subject.I3Ready();
  } else if (word == "policy") {
    stack.SetPolicy(n[0], n[1], u(2));
  } else if (word == "all-later") {
    for (int requests = 0; requests < CLASS_COUNT; ++requests) {
      stack.SetPolicy(requests, 0, 0);
    }
  } else if (word == "ready-at-once") {
    stack.SetReadyAtOnce(n[0] != 0);
  } else if (word == "run-result") {
    stack.SetRunResult(n[0], n[1] != 0);
  } else if (word == "reschedule") {
    for (int i = 0; i < n[0]; ++i) {
      subject.Reschedule();
    }
  } else if (word == "run") {
    subject.RunStackNow();
  } else if (word == "router-ready") {
    subject.SetRouterReady(Vlan(n[0]), n[1] % 7, n[2] != 0);
  } else if (word == "bgp-status") {
    subject.SetBgpStatus(Vlan(n[0]), n[1]);
  } else if (word == "advance") {
    subject.Advance(u(0));
  } else if (word == "reload") {
    subject.Reload(test_support::ParsedJson(operation.text), FILES[u(0) % 4], n[1]);
  } else if (word == "withdraw") {
    subject.DeleteOptions(FILES[u(0) % 4], n[1]);
  } else if (word == "create-vlan") {
    subject.CreateVlan(Vlan(n[0]), Json::Value(Json::objectValue), n[1]);
  } else if (word == "delete-vlan") {
    subject.DeleteVlan(Vlan(n[0]));
  } else if (word == "reset-scheduler") {
    subject.ResetScheduler();
  } else if (word == "reset-serializer") {
    subject.ResetSerializer();
  } else if (word == "refusing") {
    subject.SetRefusing(n[0] != 0);
  } else if (word == "query") {
    subject.Query(Vlan(n[0]), u(1), NAMES[u(2) % 5]);
  } else if (word == "interface") {
    subject.Interface(static_cast<InterfaceEvent>(u(0) % IF_EVENT_COUNT), Vlan(n[1]), u(2),
                      NAMES[u(3) % 5], u(4) % 5, u(4), u(4) * 3, u(5));
  } else if (word == "address4") {
    const unsigned char address[4] = {10, static_cast<unsigned char>(n[3]), 0, 1};
    unsigned char mask[4] = {};
    for (int bit = 0; bit < n[4] && bit < 32; ++bit) {
      mask[bit / 8] = static_cast<unsigned char>(mask[bit / 8] | 0x80u >> bit % 8);
    }
    subject.Address4(static_cast<AddressEvent>(u(0) % ADDRESS_EVENT_COUNT), Vlan(n[1]), u(2),
                     address, mask);
  } else if (word == "address6") {
    unsigned char address[16] = {0x20, 1};
    address[15] = static_cast<unsigned char>(n[3]);
    subject.Address6(n[0] == 0 ? ADDRESS_ADD : ADDRESS_DELETE, Vlan(n[1]), u(2), address, u(4));
  } else if (word == "primary") {
    subject.SetPrimary(Vlan(n[0]), NAMES[u(1) % 5]);
  } else if (word == "network") {
    subject.Network(static_cast<NetworkEvent>(u(0) % NET_EVENT_COUNT), Vlan(n[1]), u(2), u(3));
  } else if (word == "completion") {
    // Of a row that the stack was perhaps never asked for.
    const unsigned int instance = Vlan(n[0]) | (n[1] != 0 ? 0x8000u : 0u);
    const Route route = MakeRoute(n[0], n[2]);
    subject.RunPendingAction(n[3] != 0 ? InterfaceOid(instance, 1 + u(2) % 3)
                                       : RouteOid(route.vlan | (route.ipv6 ? 0x8000u : 0u),
                                                  route.ipv6 ? 2 : 1, route.dest, route.prefixLen,
                                                  route.nexthop, route.ifIndex));
  } else if (word == "one-sided") {
    // For the check of the checker: something that only one side does.
    if (!subject.IsModel()) {
      subject.AskRoute(REMOVE_ROUTE, MakeRoute(n[0], n[1]), 0, 0, 0);
    }
  } else if (word == "rows") {
    for (unsigned int i = 0; i < u(1); ++i) {
      stack.AddRow(u(0) + 11 * i);
    }
  } else if (word == "clear-rows") {
    stack.ClearRows();
  } else if (word == "walks-at-once") {
    stack.SetWalksAtOnce(n[0] != 0);
  } else if (word == "walk-end") {
    stack.SetWalkEnd(u(0) == 1 ? 7 : u(0));
  } else if (word == "walk") {
    stack.StepWalks(u(0));
  } else if (word == "console") {
    subject.Console(static_cast<Command>(u(0) % COMMAND_COUNT), Vlan(n[1]), Split(operation.text));
  }
}

}  // namespace library_model
