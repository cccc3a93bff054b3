// The exported C functions with any values in any order, also from inside stack calls.
//
// An input is a sequence of steps: a C function, a request of the host, or time. Pointers are as large
// as the functions state. Requests name rows of a small set, so that what is pending stays small, and
// callbacks name such rows or anything else. Where the input says so the stack stands still (its
// answers are then the input's alone), or a callback comes from inside the next stack call.
//
// At the end every row of the set is answered and every VLAN and instance deleted; the scheduler must
// be empty then, and a second run must look the same.
#include <cstring>
#include <memory>
#include <set>

#include "fuzz/support/bytes.h"
#include "fuzz/support/check.h"
#include "fuzz/support/device.h"
#include "vantacore/cfg_items.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/dcrouter_api.h"

namespace {

using fuzz::Bytes;
using fuzz::Check;
using fuzz::Device;
using Tarsel::DcRtmMgr;

constexpr unsigned int MAX_STEPS = 80;
constexpr unsigned int ROUTES = 4;  // of each VLAN and family
constexpr int PATH_TYPE = Tarsel::PATH_TYPE_STATIC;
const unsigned short VLANS[] = {10, 20, 0x800A};  // the last one shares an instance with the first
// No answer finds a route under an IPv6 instance's id: the callback clears the bit.
const unsigned short ROUTE_VLANS[] = {10, 20, 30};
const unsigned int PROTOCOLS[] = {0x20000, 0x30000, 0x80000, 0xD0000, 0xE0000};

struct Route {
  unsigned short vlan;
  int type;
  unsigned char destination[16];
  unsigned char nextHop[16];
  unsigned int prefixLength;
  unsigned int ifIndex;
};

Route MakeRoute(unsigned short vlan, int type, unsigned int number) {
  Route route{vlan, type, {}, {}, 16, 3};
  const unsigned char destination[4] = {10, static_cast<unsigned char>(9 + number), 0, 0};
  const unsigned char nextHop[4] = {10, 1, 2, 1};
  std::memcpy(route.destination, destination, 4);
  std::memcpy(route.nextHop, nextHop, 4);
  return route;
}

// A route of the set, out of one byte.
Route PickRoute(Bytes& bytes) {
  const unsigned int choice = bytes.Choice(3 * 2 * ROUTES);
  return MakeRoute(ROUTE_VLANS[choice % 3], choice / 3 % 2 + 1, choice / 6);
}

void Request(const Route& route, unsigned int metric, int rowStatus, int adminStatus) {
  DcRtmMgr::GetInstance()->UpdateStaticRoute(
      route.vlan, route.type, route.destination, static_cast<int>(route.prefixLength),
      route.nextHop, route.ifIndex, metric, PATH_TYPE, rowStatus, adminStatus);
}

void Answer(const Route& route, int rowStatus, unsigned int status) {
  // As large as stated: 4 bytes for IPv4.
  const std::size_t length = route.type == 1 ? 4 : 16;
  const std::unique_ptr<unsigned char[]> destination(new unsigned char[length]);
  const std::unique_ptr<unsigned char[]> nextHop(new unsigned char[length]);
  std::memcpy(destination.get(), route.destination, length);
  std::memcpy(nextHop.get(), route.nextHop, length);
  cSetRouteState(route.vlan, route.type, destination.get(), route.prefixLength, nextHop.get(),
                 route.ifIndex, 5, PATH_TYPE, rowStatus, 1, 0, status);
}

void Complete(const Route& route) {
  unsigned int buffer[SMS_OID_MAX];
  const unsigned short instance = route.type == 1 ? route.vlan
                                                  : DcRtmMgr::GetDclProtocolInstanceIdFromVlan(
                                                        route.vlan, DcRtmMgr::PROTO_IPV6);
  cRunPendingAction(buffer, sms_get_route_oid(buffer, instance, route.type, route.destination,
                                              route.prefixLength, route.nextHop, route.ifIndex));
}

void AnswerAnything(Bytes& bytes) {
  Route route{};
  route.vlan = bytes.Word();
  route.type = static_cast<int>(bytes.Number());
  if (route.type != 1) route.type = 2;  // the stated sizes are those of these two
  bytes.Fill(route.destination, bytes.Choice(17));
  bytes.Fill(route.nextHop, bytes.Choice(17));
  route.prefixLength = bytes.Number();
  route.ifIndex = bytes.Number();
  Answer(route, static_cast<int>(bytes.Number()), bytes.Number());
}

void CompleteAnything(Bytes& bytes) {
  const unsigned int length = bytes.Choice(200);
  const std::unique_ptr<unsigned int[]> key(new unsigned int[length]);
  for (unsigned int i = 0; i < length; ++i) key[i] = bytes.IsEmpty() ? i : bytes.Number();
  cRunPendingAction(key.get(), length);
}

void Redistribution(Bytes& bytes, bool isAnswer) {
  const unsigned int source = PROTOCOLS[bytes.Choice(5)];
  const unsigned int destination = PROTOCOLS[bytes.Choice(5)];
  const unsigned short vlan = VLANS[bytes.Choice(3)];
  const unsigned int rowStatus = bytes.Flag() ? 1 : 6;
  if (isAnswer) {
    cSetRedistState(rowStatus, 1, source, destination, 0, vlan, 0, bytes.Choice(8));
  } else {
    DcRtmMgr::GetInstance()->Redistribute(rowStatus, 1, source, destination, vlan);
  }
}

class Run {
 public:
  explicit Run(Bytes bytes) : m_bytes(bytes) {}

  void Execute() {
    for (unsigned int step = 0; step < MAX_STEPS && !m_bytes.IsEmpty(); ++step) Step();
  }

  void Finish();

 private:
  void Step() {
    const unsigned int choice = m_bytes.Choice(32);
    if (choice < 18) {
      Callback(choice);
    } else {
      Host(choice - 18);
    }
  }
  unsigned int Id() { return m_bytes.Flag() ? VLANS[m_bytes.Choice(3)] : m_bytes.Number(); }
  void Callback(unsigned int choice);
  void Host(unsigned int choice);
  void Ready(unsigned int id) {
    m_ready.insert(static_cast<unsigned short>(id));
    cSetRtmReady(id);
    Check(cIsRtmReady(id) == 1, "an instance that was reported ready is not");
  }

  Bytes m_bytes;
  std::set<unsigned short> m_ready;
};

void Run::Callback(unsigned int choice) {
  Device& device = Device::Get();
  switch (choice) {
    case 0:
    case 1:
      return Answer(PickRoute(m_bytes), m_bytes.Flag() ? 1 : 6, m_bytes.Choice(8));
    case 2:
    case 3:
      return Complete(PickRoute(m_bytes));
    case 4:
      return AnswerAnything(m_bytes);
    case 5:
      return CompleteAnything(m_bytes);
    case 6:
      return Redistribution(m_bytes, true);
    case 7:
      return cSetRedistState(m_bytes.Number(), m_bytes.Number(), m_bytes.Number(), m_bytes.Number(),
                             m_bytes.Number(), m_bytes.Number(), m_bytes.Number(),
                             m_bytes.Number());
    case 8:
      return Ready(Id());
    case 9: {
      const unsigned int id = Id();
      amb_cipr_rtm_entity entity;
      std::memset(&entity, 0xA5, sizeof entity);
      const amb_cipr_rtm_entity before = entity;
      const int answer = cGetRtmConfig(id, &entity);
      Check(answer == 1 || answer == 2, "a wrong answer about an entity");
      Check(answer == 1 || std::memcmp(&entity, &before, sizeof entity) == 0,
            "an unknown instance's row was written");
      return;
    }
    case 10:
    case 11: {
      const unsigned int id = Id();
      unsigned int address = 0xA5A5A5A5;
      const int answer = choice == 10 ? cGetAddress(id, &address) : cGetVlanAddress(id, &address);
      Check(answer == 1 || (answer == 0 && address == 0xA5A5A5A5),
            "an address was written without success");
      return;
    }
    case 12:
      return device.Note("ready " + std::to_string(cI3Ready() != 0));
    case 13: {
      const int fd = static_cast<int>(m_bytes.Number()), id = static_cast<int>(m_bytes.Number());
      return cRegisterWorkWithEventloop(fd, id, m_bytes.Number());
    }
    case 14: {
      const int fd = static_cast<int>(m_bytes.Number());
      return cUnregisterWorkWithEventloop(fd, static_cast<int>(m_bytes.Number()));
    }
    case 15: {
      const int fd = static_cast<int>(m_bytes.Number());
      return cChangeMask(fd, m_bytes.Number());
    }
    case 16:
      return cRescheduleNBase();
    default: {
      const unsigned int id = Id();
      Check(cIsIpv6Instance(cGetIp6Instance(id)) == 1, "an IPv6 instance that is none");
      Check(cGetIp4Instance(cGetIp6Instance(id)) == cGetIp4Instance(id), "instances do not match");
      cIsNBaseRescheduled();
      cIsRtmReady(id);
    }
  }
}

void Run::Host(unsigned int choice) {
  Device& device = Device::Get();
  switch (choice) {
    case 0:
    case 1:
    case 2: {
      const Route route = PickRoute(m_bytes);
      const int rowStatus = m_bytes.Flag() ? 1 : 6;
      return Request(route, m_bytes.Byte(), rowStatus, m_bytes.Flag() ? 1 : 2);
    }
    case 3:
      return Redistribution(m_bytes, false);
    case 4:
    case 5: {
      const unsigned int vid = VLANS[m_bytes.Choice(3)];
      device.Reload(R"({"VLAN_CONFIGURATIONS": {"a": {"vid": )" + std::to_string(vid) +
                        R"(, "RIPV2": {"enabled": true}, "OSPF": {"enabled": true}}}})",
                    "document" + std::to_string(m_bytes.Choice(2)));
      return;
    }
    case 6:
      return device.Withdraw("document" + std::to_string(m_bytes.Choice(2)),
                             Tarsel::DclConfigObject::VLAN_OPTIONS);
    case 7:
      return device.Control().Hold();
    case 8:
      return device.Control().Release();
    case 9:
      return device.Control().SetSynchronous(m_bytes.Flag());
    case 10: {
      // From inside the next stack call, once.
      const auto armed = std::make_shared<bool>(true);
      const unsigned int next = m_bytes.Choice(18);
      device.Control().SetCallObserver(
          [this, armed, next](routing_stack::Call, const std::string& line) {
            Device::Get().Note(line);
            if (*armed) {
              *armed = false;
              Callback(next);
            }
          });
      return;
    }
    case 11: {
      const routing_stack::Answer answers[] = {{routing_stack::Answer::kStatus, 5, 0},
                                               {routing_stack::Answer::kStatus, 3, 0},
                                               {routing_stack::Answer::kNever, 0, 0},
                                               {routing_stack::Answer::kTwice, 0, 0},
                                               {routing_stack::Answer::kLate, 0, 200}};
      const routing_stack::RowType type =
          m_bytes.Flag() ? routing_stack::RowType::kRoute : routing_stack::RowType::kRedistribution;
      return device.Control().Script(type, answers[m_bytes.Choice(5)], m_bytes.Choice(4));
    }
    default:
      device.loop.AdvanceMilliseconds(m_bytes.Choice(8) * 50);
  }
}

// Whatever is pending is sent, answered and forgotten.
void Run::Finish() {
  Device& device = Device::Get();
  device.RecordCalls();
  device.Control().ClearScripts();
  device.Control().SetSynchronous(false);
  device.Control().Release();
  device.Withdraw("document0", Tarsel::DclConfigObject::VLAN_OPTIONS);
  device.Withdraw("document1", Tarsel::DclConfigObject::VLAN_OPTIONS);
  device.EndRequests();
  device.Control().Restart();
  for (const unsigned short vlan : {VLANS[0], VLANS[1], VLANS[2], ROUTE_VLANS[2]}) {
    Ready(vlan);
    Ready(DcRtmMgr::GetDclProtocolInstanceIdFromVlan(vlan, DcRtmMgr::PROTO_IPV6));
  }
  // Nothing stays New: each pass sends what is ready, and rules without a ready router are dropped.
  device.loop.AdvanceMilliseconds(3000);
  for (const unsigned short vlan : ROUTE_VLANS) {
    for (unsigned int number = 0; number < ROUTES; ++number) {
      for (int type = 1; type <= 2; ++type) Answer(MakeRoute(vlan, type, number), 1, 1);
    }
  }
  for (const unsigned short vlan : VLANS) {
    for (const unsigned int source : PROTOCOLS) {
      for (const unsigned int destination : PROTOCOLS) {
        cSetRedistState(1, 1, source, destination, 0, vlan, 0, 1);
      }
    }
  }
  for (const unsigned short id : m_ready) DcRtmMgr::GetInstance()->DeleteRtmConfig(id);
  Check(device.Settle(), "the device does not come to rest");
  // Late answers must not meet the next input; so the stack forgets, and the library its queues.
  device.EndRequests();
  device.Control().Restart();
  Check(device.Settle(), "the device does not come to rest at the end");
  Check(device.IsEmpty(), "something is left behind:\n" + device.Dump());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::RunTwice([&] {
    Run run(Bytes(data, size));
    run.Execute();
    run.Finish();
  });
  return 0;
}
