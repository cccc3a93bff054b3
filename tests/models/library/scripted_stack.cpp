#include "scripted_stack.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace library_model {

namespace {

constexpr std::size_t REMEMBERED_ANSWERS = 40;
constexpr unsigned int MAXIMUM_DEPTH = 3;  // of requests made from inside requests

void Append(Oid& oid, const unsigned char* bytes, int type) {
  const int count = type == 1 ? 4 : 16;
  for (int i = 0; i < count; ++i) {
    oid.push_back(bytes[i]);
  }
}

std::string Hex(const unsigned char* bytes, int type) {
  std::string text;
  const int count = type == 1 ? 4 : 16;
  for (int i = 0; i < count; ++i) {
    text += Text("%02x", bytes[i]);
  }
  return text;
}

template <class Row>
std::vector<std::string> Bytes(const std::vector<Row>& rows) {
  std::vector<std::string> all;
  for (const Row& row : rows) {
    all.emplace_back(reinterpret_cast<const char*>(&row), sizeof row);
  }
  return all;
}

template <class Row>
std::vector<Row> From(unsigned int instance, const std::vector<Row>& rows) {
  std::vector<Row> some;
  for (const Row& row : rows) {
    if (row.instance >= instance) {
      some.push_back(row);
    }
  }
  std::stable_sort(some.begin(), some.end(),
                   [](const Row& a, const Row& b) { return a.instance < b.instance; });
  return some;
}

}  // namespace

Oid RouteOid(unsigned int instance, int type, const unsigned char* dest, unsigned int prefixLen,
             const unsigned char* nexthop, unsigned int ifIndex) {
  Oid oid = {3, instance, static_cast<unsigned int>(type)};
  Append(oid, dest, type);
  oid.push_back(prefixLen);
  Append(oid, nexthop, type);
  oid.push_back(ifIndex);
  return oid;
}
Oid InterfaceOid(unsigned int instance, unsigned int ifIndex) { return {1, instance, ifIndex}; }
Oid AddressOid(unsigned int instance, unsigned int ifIndex, const unsigned char* address,
               int type) {
  Oid oid = {4, instance, ifIndex, static_cast<unsigned int>(type)};
  Append(oid, address, type);
  return oid;
}
Oid RedistOid(unsigned int vlan, unsigned int source, unsigned int destination) {
  return {2, vlan, source, destination};
}
Oid ProtocolOid(unsigned int table, unsigned int instance, unsigned int id) {
  return {9, table, instance, id};
}

ScriptedStack::ScriptedStack(Log& log, Upcalls& upcalls, Counts* counts)
    : m_log(log), m_upcalls(upcalls), m_counts(counts) {}

void ScriptedStack::Init(const char* components) { m_log.Add("smsi_init %s", components); }

int ScriptedStack::Run() {
  m_log.Add("nbb_scheduler");
  std::vector<Deferred> deferred;
  deferred.swap(m_deferred);
  for (const Deferred& answer : deferred) {
    Answer(answer.which, answer.how, answer.status);
  }
  if (m_runReschedules) {
    Count("the stack asks for a run from inside its run");
    m_upcalls.Reschedule();
  }
  return m_runResult;
}

void ScriptedStack::ActRtm(const amb_cipr_rtm_entity& row) {
  std::string words;
  for (int i = 0; i < AMB_RTM_ENTITY_WORDS; ++i) {
    // A row that is destroyed has three words.
    if (row.word[i] != 0 && (i < 3 || row.word[1] != 6)) {
      words += Text(" %d=%u", i, row.word[i]);
    }
  }
  m_log.Add("sms_act_rtm%s", words.c_str());
  if (m_readyAtOnce && row.word[1] != 6) {
    Count("an instance is ready from inside its request");
    m_upcalls.SetRtmReady(row.word[0]);
  }
}

void ScriptedStack::UpdateRoute(int notShared, const RouteRow& row) {
  m_log.Add("sms_update_route %d %d %d %d %s/%u %s %d %u %u %d", notShared, row.rowStatus,
            row.adminStatus, row.type, Hex(row.dest, row.type).c_str(), row.prefixLen,
            Hex(row.nexthop, row.type).c_str(), row.pathType, row.ifIndex, row.instance,
            row.metric);
  Request request;
  request.requestClass = ROUTE;
  request.vlan = row.instance & 0x7fffu;
  request.route = row;
  request.oid = RouteOid(row.instance, row.type, row.dest, row.prefixLen, row.nexthop, row.ifIndex);
  Take(std::move(request));
}

void ScriptedStack::ActRedist(bool shared, const RedistRow& row, unsigned int zero) {
  m_log.Add("%s %d %d %d %d %u %u", shared ? "sms_bld_amb_test_cipr_redist" : "sms_act_cipr_redist",
            row.rowStatus, row.adminStatus, row.source, row.destination, row.vlan, zero);
  Request request;
  request.requestClass = REDIST;
  request.vlan = row.vlan & 0x7fffu;
  request.redist = row;
  request.oid = RedistOid(row.vlan, static_cast<unsigned int>(row.source),
                          static_cast<unsigned int>(row.destination));
  Take(std::move(request));
}

void ScriptedStack::ActInterface(bool shared, int rowStatus, unsigned int operStatus,
                                 unsigned int instance, unsigned int ifIndex, const char* name,
                                 unsigned int ifAttr, unsigned int flags, unsigned int extra) {
  m_log.Add("%s %d %u %u %u '%s' %u %u %u", shared ? "sms_bld_amb_test_i3_ei" : "sms_act_interface",
            rowStatus, operStatus, instance, ifIndex, name, ifAttr, flags, extra);
  Request request;
  request.requestClass = INTERFACE;
  request.vlan = instance & 0x7fffu;
  request.oid = InterfaceOid(instance, ifIndex);
  Take(std::move(request));
}

void ScriptedStack::ActAddress(int rowStatus, unsigned int instance, int type, unsigned int ifIndex,
                               const unsigned char* address, unsigned int prefixLen) {
  m_log.Add("sms_act_ipaddr %d %u %d %u %s/%u", rowStatus, instance, type, ifIndex,
            Hex(address, type).c_str(), prefixLen);
  Request request;
  request.requestClass = ADDRESS;
  request.vlan = instance & 0x7fffu;
  request.oid = AddressOid(instance, ifIndex, address, type);
  Take(std::move(request));
}

void ScriptedStack::ActProtocol(bool shared, unsigned int table, unsigned int instance,
                                unsigned int id, int rowStatus, int content) {
  m_log.Add("protocol row shared=%d %u %u %u %d %d", shared, table, instance, id, rowStatus,
            content);
  Request request;
  request.requestClass = PROTOCOL;
  request.vlan = instance & 0x7fffu;
  request.oid = ProtocolOid(table, instance, id);
  Take(std::move(request));
}

void ScriptedStack::Control(const char* what, const char* text, int value) {
  m_log.Add("%s '%s' %d", what, text, value);
}

void ScriptedStack::Take(Request request) {
  const Deferred policy = m_policies[request.requestClass];
  if (policy.how == 0 || m_depth >= MAXIMUM_DEPTH) {
    m_outstanding.push_back(std::move(request));
    return;
  }
  Count("an answer from inside the request");
  ++m_depth;
  if ((policy.how & KEPT) != 0) {
    m_outstanding.push_back(request);
  }
  Give(request, policy.how, policy.status);
  --m_depth;
}

void ScriptedStack::Give(const Request& request, int how, unsigned int status) {
  if ((how & ASK_AGAIN) != 0 && request.requestClass == ROUTE) {
    Count("the host asks again from inside the request");
    m_upcalls.AskAgain(request.route);
  }
  if ((how & PASS) != 0) {
    m_upcalls.PassNow();
  }
  for (int i = 0; i < ((how & REPEATED) != 0 ? 2 : 1); ++i) {
    if ((how & COMPLETION_FIRST) != 0) {
      m_upcalls.RunPendingAction(request.oid);
    }
    if ((how & STATE) != 0) {
      Report(request, status);
    }
    if ((how & COMPLETION) != 0 && (how & COMPLETION_FIRST) == 0) {
      m_upcalls.RunPendingAction(request.oid);
    }
    if (i == 1) {
      Count("an answer comes twice");
    }
  }
}

void ScriptedStack::Report(const Request& request, unsigned int status) {
  if (request.requestClass == ROUTE) {
    m_upcalls.SetRouteState(request.route, status);
  } else if (request.requestClass == REDIST) {
    m_upcalls.SetRedistState(request.redist, status);
  }
}

void ScriptedStack::SetPolicy(int requestClass, int how, unsigned int status) {
  m_policies[requestClass % CLASS_COUNT] = {0, how, status};
}

void ScriptedStack::Answer(unsigned int which, int how, unsigned int status) {
  if (m_outstanding.empty()) {
    return;
  }
  const std::size_t index = which % m_outstanding.size();
  const Request request = m_outstanding[index];
  if ((how & KEPT) == 0) {
    m_outstanding.erase(m_outstanding.begin() + static_cast<std::ptrdiff_t>(index));
    m_answered.push_back(request);
    if (m_answered.size() > REMEMBERED_ANSWERS) {
      m_answered.pop_front();
    }
  }
  Give(request, how, status);
}

void ScriptedStack::AnswerLate(unsigned int which, int how, unsigned int status) {
  if (!m_answered.empty()) {
    Count("an answer comes again later");
    const Request request = m_answered[which % m_answered.size()];
    Give(request, how, status);
  }
}

void ScriptedStack::AnswerInRun(unsigned int which, int how, unsigned int status) {
  m_deferred.push_back({which, how, status});
}

void ScriptedStack::AnswerAll(unsigned int status) {
  for (std::size_t count = m_outstanding.size(); count > 0 && !m_outstanding.empty(); --count) {
    Answer(0, STATE | COMPLETION, status);
  }
}

void ScriptedStack::SetRunResult(int milliseconds, bool reschedules) {
  m_runResult = milliseconds;
  m_runReschedules = reschedules;
}

bool ScriptedStack::HasRequestsOf(unsigned int vlan) const {
  return std::any_of(m_outstanding.begin(), m_outstanding.end(),
                     [vlan](const Request& request) { return request.vlan == vlan; });
}

void ScriptedStack::AddRow(unsigned int number) {
  static const unsigned int INSTANCES[] = {1, 10, 20, 30, 0x8001, 0x800a, 0x8014};
  static const unsigned int PROTOCOLS[] = {0, 2, 3, 8, 13, 14, 15, 99};
  const unsigned int instance = INSTANCES[number % 7];
  const unsigned int detail = number / 7;
  switch (detail % 4) {
    case 0: {
      amb_stubs_i3_ei row = {};
      row.instance = instance;
      row.if_index = 1 + detail / 4 % 5;
      std::snprintf(row.name, sizeof row.name, "eth%u", detail / 4 % 5);
      row.flags = detail / 20 % 64;
      row.oper_status = 1 + detail / 20 % 3;
      row.mtu = 1500 - detail % 100;
      m_interfaces.push_back(row);
      break;
    }
    case 1: {
      amb_stubs_i3_ea row = {};
      row.instance = instance;
      row.if_index = 1 + detail / 4 % 6;
      row.address_type = instance > 0x7fff ? 2 : 1;
      row.address[0] = static_cast<unsigned char>(10 + detail % 7);
      row.address[3] = static_cast<unsigned char>(detail / 4);
      row.prefix_length = instance > 0x7fff ? 64 : 24;
      m_addresses.push_back(row);
      break;
    }
    case 2: {
      amb_cipr_rtm_route row = {};
      row.instance = instance;
      row.destination[0] = static_cast<unsigned char>(10 + detail / 4 % 2);
      row.destination[2] = static_cast<unsigned char>(detail / 8 % 3);
      row.prefix_length = 24;
      row.next_hop[0] = 192;
      row.next_hop[15] = static_cast<unsigned char>(detail);
      row.if_index = 1 + detail / 4 % 6;
      row.route_type = detail / 4 % 7;
      row.route_proto = PROTOCOLS[detail / 4 % 8];
      row.age = detail;
      row.route_info = detail % 11;
      row.next_hop_as = detail % 13;
      row.metric1 = detail % 17;
      row.metric5 = 4000000000u + detail;
      m_routes.push_back(row);
      break;
    }
    default: {
      amb_cipr_rtm_rib row = {};
      row.instance = instance;
      row.destination[0] = static_cast<unsigned char>(10 + detail / 4 % 2);
      row.destination[2] = static_cast<unsigned char>(detail / 8 % 3);
      row.prefix_length = 20 + detail % 9;
      row.next_hop[0] = 192;
      row.next_hop[15] = static_cast<unsigned char>(detail);
      row.if_index = 1 + detail / 4 % 6;
      row.route_type = detail / 4 % 7;
      row.route_proto = PROTOCOLS[detail / 4 % 8];
      row.age = detail;
      row.metric2 = detail % 17;
      row.fib_flag = detail / 4 % 3;
      row.interface_pending = detail / 8 % 3;
      m_rib.push_back(row);
      break;
    }
  }
}

void ScriptedStack::ClearRows() {
  m_interfaces.clear();
  m_addresses.clear();
  m_routes.clear();
  m_rib.clear();
}

void ScriptedStack::WalkInterfaces(unsigned int instance, Response response) {
  m_log.Add("sms_get_next_i3_ei %u", instance);
  StartWalk({Bytes(From(instance, m_interfaces)), 0, std::move(response)});
}
void ScriptedStack::WalkAddresses(unsigned int instance, Response response) {
  m_log.Add("sms_get_next_i3_ea %u", instance);
  StartWalk({Bytes(From(instance, m_addresses)), 0, std::move(response)});
}
void ScriptedStack::WalkRoutes(Response response) {
  m_log.Add("sms_get_next_rtm_route");
  StartWalk({Bytes(m_routes), 0, std::move(response)});
}
void ScriptedStack::WalkRib(Response response) {
  m_log.Add("sms_get_next_rtm_rib");
  StartWalk({Bytes(m_rib), 0, std::move(response)});
}

void ScriptedStack::StartWalk(Walk walk) {
  if (!m_walksAtOnce) {
    m_walks.push_back(std::move(walk));
    return;
  }
  Count("a walk ends from inside its start");
  while (StepWalk(walk)) {
  }
}

bool ScriptedStack::StepWalk(Walk& walk) {
  if (walk.position == walk.rows.size()) {
    walk.response(m_walkEnd, nullptr);
    return false;
  }
  // A copy of its own, so that a sanitizer sees a row that is read after its call.
  std::vector<char> row(walk.rows[walk.position].begin(), walk.rows[walk.position].end());
  ++walk.position;
  return walk.response(1, row.data()) != 0;
}

void ScriptedStack::StepWalks(unsigned int rows) {
  for (std::size_t count = m_walks.size(); count > 0; --count) {
    Walk walk = std::move(m_walks.front());
    m_walks.pop_front();
    bool goesOn = true;
    for (unsigned int i = 0; goesOn && (rows == 0 || i < rows); ++i) {
      goesOn = StepWalk(walk);
    }
    if (goesOn) {
      Count("a walk is interrupted");
      m_walks.push_back(std::move(walk));
    }
  }
}

}  // namespace library_model
