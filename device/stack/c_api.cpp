// The exported C functions: each one notes the call and forwards to the engine that is current.

#include <algorithm>
#include <cstring>

#include "engine.h"
#include "protocol_rows.h"
#include "protocol_table.h"
#include "redistributed.h"

using namespace routing_stack;

unsigned int nbb_os_failures = 0;

namespace {

constexpr std::size_t kNameBytes = sizeof(amb_stubs_i3_ei::name) - 1;

// Notes the call with its arguments and returns the current engine; null if there is none, and then
// the call is not noted.
template <typename... Arguments>
Engine* Note(Call call, const Arguments&... arguments) {
  Engine* const engine = Engine::Current();
  if (engine != nullptr) {
    engine->Calls().Note(call, arguments...);
  }
  return engine;
}

void Count(Call call) {
  Engine* const engine = Engine::Current();
  if (engine != nullptr) {
    engine->Calls().Count(call);
  }
}

// Stored keys are not longer than the limit, so one byte more is enough to find that a key is not
// stored.
std::string KeyText(const unsigned char* key, unsigned int length) {
  const std::size_t looked = std::min<std::size_t>(length, kProtocolKeyBytes + 1);
  return key != nullptr ? std::string(reinterpret_cast<const char*>(key), looked) : std::string();
}

int FillRow(const std::pair<const ProtocolKey, ProtocolRow>& stored, sms_protocol_row* row) {
  std::memset(row, 0, sizeof *row);
  row->table = stored.first.table;
  row->instance = stored.first.instance;
  row->key_length = static_cast<unsigned int>(
      stored.first.key.copy(reinterpret_cast<char*>(row->key), sizeof row->key));
  row->admin_status = stored.second.adminStatus;
  row->payload = stored.second.payload.c_str();
  return 1;
}

unsigned int CopyOid(const Oid& oid, unsigned int* buffer) {
  if (buffer == nullptr) {
    return 0;
  }
  std::copy(oid.words, oid.words + oid.length, buffer);
  return oid.length;
}

void CopyAddress(unsigned char (&to)[16], const unsigned char* from, int addressType) {
  if (from != nullptr) {
    std::memcpy(to, from, addressType == 1 ? 4 : 16);
  }
}

void RequestInterface(Call call, int rowStatus, unsigned int operStatus, unsigned int instance,
                      unsigned int ifIndex, const char* name, unsigned int ifAttr,
                      unsigned int flags, unsigned int extra) {
  Engine* const engine =
      Note(call, rowStatus, operStatus, instance, ifIndex, name, ifAttr, flags, extra);
  if (engine == nullptr) {
    return;
  }
  InterfaceRequest request;
  request.rowStatus = rowStatus;
  request.operStatus = operStatus;
  request.key = {instance, ifIndex};
  request.name.assign(name != nullptr ? name : "", name != nullptr ? strnlen(name, kNameBytes) : 0);
  request.flags = flags;
  request.extra = extra;
  engine->Submit(std::move(request));
}

void RequestRedistribution(Call call, int rowStatus, int adminStatus, int source, int destination,
                           unsigned int vlan, unsigned int zero) {
  Engine* const engine = Note(call, rowStatus, adminStatus, source, destination, vlan, zero);
  if (engine == nullptr) {
    return;
  }
  RedistributionRequest request;
  request.rowStatus = rowStatus;
  request.adminStatus = adminStatus;
  request.key = {vlan, static_cast<std::uint32_t>(source), static_cast<std::uint32_t>(destination)};
  engine->Submit(std::move(request));
}

void StartWalk(Engine* engine, WalkTable table, unsigned int instance, sms_response response,
               void* command) {
  if (engine != nullptr) {
    engine->StartWalk(table, instance, response, command);
  }
}

}  // namespace

// Life and scheduling.

void smsi_init(char* components) {
  Engine* const engine = Note(Call::kSmsiInit, components);
  if (engine != nullptr) {
    engine->Start();
  }
}

int nbb_scheduler(void) {
  Engine* const engine = Engine::Current();
  if (engine == nullptr) {
    return -1;
  }
  engine->Calls().Count(Call::kNbbScheduler);
  return engine->Run();
}

void InvokeCallback(int fd, int events) {
  Engine* const engine = Note(Call::kInvokeCallback, fd, events);
  if (engine != nullptr) {
    engine->DescriptorReady(fd, events);
  }
}

// Tracing.

void nbb_trips_control(int on) {
  Engine* const engine = Note(Call::kNbbTripsControl, on);
  if (engine != nullptr) {
    engine->trace.on = on != 0;
  }
}

void nbb_set_ips_filter(char* filter, unsigned short value) {
  Engine* const engine = Note(Call::kNbbSetIpsFilter, filter, value);
  if (filter == nullptr) {
    ++nbb_os_failures;
  } else if (engine != nullptr && *filter == '\0') {
    engine->trace.filters.erase(value);
  } else if (engine != nullptr) {
    engine->trace.filters[value] = filter;
  }
}

int nbb_get_ips_tracing(void) {
  Engine* const engine = Note(Call::kNbbGetIpsTracing);
  return engine != nullptr && engine->trace.on ? 1 : 0;
}

// Row requests.

void sms_act_rtm(amb_cipr_rtm_entity* row) {
  constexpr int kFamilyWord = 30;
  Engine* const engine = Note(Call::kSmsActRtm, row);
  if (engine == nullptr || row == nullptr) {
    return;
  }
  RtmRequest request;
  request.instance = row->word[0];
  request.rowStatus = row->word[1];
  request.family = row->word[kFamilyWord];
  engine->Submit(std::move(request));
}

void sms_update_route(int not_shared, int row_status, int admin_status, int address_type,
                      const unsigned char* destination, unsigned int prefix_length,
                      const unsigned char* next_hop, int path_type, unsigned int if_index,
                      unsigned short instance, unsigned short metric) {
  Engine* const engine =
      Note(Call::kSmsUpdateRoute, not_shared, row_status, admin_status, address_type,
           AddressArgument{destination, address_type}, prefix_length,
           AddressArgument{next_hop, address_type}, path_type, if_index, instance, metric);
  if (engine == nullptr) {
    return;
  }
  RouteRequest request;
  request.rowStatus = row_status;
  request.adminStatus = admin_status;
  request.addressType = address_type;
  request.pathType = path_type;
  request.hasDestination = destination != nullptr;
  CopyAddress(request.destination, destination, address_type);
  CopyAddress(request.nextHop, next_hop, address_type);
  request.prefixLength = prefix_length;
  request.ifIndex = if_index;
  request.instance = instance;
  request.metric = metric;
  engine->Submit(std::move(request));
}

void sms_act_interface(int row_status, unsigned int oper_status, unsigned int instance,
                       unsigned int if_index, const char* name, unsigned int if_attr,
                       unsigned int flags, unsigned int extra) {
  RequestInterface(Call::kSmsActInterface, row_status, oper_status, instance, if_index, name,
                   if_attr, flags, extra);
}

void sms_bld_amb_test_i3_ei(int row_status, unsigned int oper_status, unsigned int instance,
                            unsigned int if_index, const char* name, unsigned int if_attr,
                            unsigned int flags, unsigned int extra) {
  RequestInterface(Call::kSmsBldInterface, row_status, oper_status, instance, if_index, name,
                   if_attr, flags, extra);
}

void sms_act_ipaddr(int row_status, unsigned int vlan_or_instance, int address_type,
                    unsigned int if_index, const unsigned char* address,
                    unsigned int prefix_length) {
  Engine* const engine = Note(Call::kSmsActIpaddr, row_status, vlan_or_instance, address_type,
                              if_index, AddressArgument{address, address_type}, prefix_length);
  if (engine == nullptr) {
    return;
  }
  AddressRequest request;
  request.rowStatus = row_status;
  request.addressType = address_type;
  const Family family = FamilyOf(address_type);
  request.key = {{vlan_or_instance, if_index}, family, Address::FromBytes(address, family)};
  request.prefixLength = prefix_length;
  engine->Submit(std::move(request));
}

void sms_act_cipr_redist(int row_status, int admin_status, int source, int destination,
                         unsigned int vlan, unsigned int zero) {
  RequestRedistribution(Call::kSmsActRedist, row_status, admin_status, source, destination, vlan,
                        zero);
}

void sms_bld_amb_test_cipr_redist(int row_status, int admin_status, int source, int destination,
                                  unsigned int vlan, unsigned int zero) {
  RequestRedistribution(Call::kSmsBldRedist, row_status, admin_status, source, destination, vlan,
                        zero);
}

// Row identifiers.

unsigned int sms_get_route_oid(unsigned int* buffer, unsigned short instance, int address_type,
                               const unsigned char* destination, unsigned int prefix_length,
                               const unsigned char* next_hop, unsigned int if_index) {
  Count(Call::kSmsGetRouteOid);
  return CopyOid(RouteOid(instance, address_type, destination, prefix_length, next_hop, if_index),
                 buffer);
}

unsigned int sms_set_i3_ei_oid(unsigned int* buffer, unsigned int instance, unsigned int if_index) {
  Count(Call::kSmsSetEiOid);
  return CopyOid(InterfaceOid(instance, if_index), buffer);
}

unsigned int sms_set_i3_ea_oid(unsigned int* buffer, unsigned int instance, unsigned int if_index,
                               const void* address, int address_type) {
  Count(Call::kSmsSetEaOid);
  return CopyOid(
      AddressOid(instance, if_index, static_cast<const unsigned char*>(address), address_type),
      buffer);
}

unsigned int sms_set_cipr_redist_oid(unsigned int* buffer, unsigned int vlan, unsigned int source,
                                     unsigned int destination) {
  Count(Call::kSmsSetRedistOid);
  return CopyOid(RedistributionOid(vlan, source, destination), buffer);
}

// Walks.

void sms_get_next_i3_ei(unsigned int instance, sms_response response, void* command) {
  StartWalk(Note(Call::kSmsGetNextEi, instance), WalkTable::kInterfaces, instance, response,
            command);
}

void sms_get_next_i3_ea(unsigned int instance, sms_response response, void* command) {
  StartWalk(Note(Call::kSmsGetNextEa, instance), WalkTable::kAddresses, instance, response,
            command);
}

void sms_get_next_rtm_route(sms_response response, void* command) {
  StartWalk(Note(Call::kSmsGetNextRtmRoute), WalkTable::kRoutes, 0, response, command);
}

void sms_get_next_rtm_rib(sms_response response, void* command) {
  StartWalk(Note(Call::kSmsGetNextRtmRib), WalkTable::kRib, 0, response, command);
}

// Protocol rows.

void sms_act_protocol_row(int not_shared, unsigned int table, int row_status, int admin_status,
                          unsigned int instance, const unsigned char* key, unsigned int key_length,
                          const char* payload) {
  const std::size_t stored = std::min<std::size_t>(key_length, kProtocolKeyBytes);
  const std::string bytes(key != nullptr ? reinterpret_cast<const char*>(key) : "",
                          key != nullptr ? stored : 0);
  Engine* const engine = Note(Call::kProtocolRow, not_shared, table, row_status, admin_status,
                              instance, bytes, payload);
  if (engine == nullptr) {
    return;
  }
  ProtocolRequest request;
  request.rowStatus = row_status;
  request.adminStatus = admin_status;
  request.key = {instance, table, bytes};
  request.keyLength = key_length;
  request.payload = payload != nullptr ? payload : "";
  engine->Submit(std::move(request));
}

unsigned int sms_get_protocol_row_oid(unsigned int* buffer, unsigned int table,
                                      unsigned int instance, const unsigned char* key,
                                      unsigned int key_length) {
  return CopyOid(ProtocolOid(table, instance, key, key_length), buffer);
}

void sms_register_protocol_answer(sms_protocol_answer answer) { SetProtocolAnswer(answer); }

int sms_get_protocol_row(unsigned int table, unsigned int instance, const unsigned char* key,
                         unsigned int key_length, sms_protocol_row* row) {
  const Engine* const engine = Engine::Current();
  if (engine == nullptr || row == nullptr) {
    return 0;
  }
  const auto& rows = engine->GetTables().ProtocolRows();
  const auto found = rows.find({instance, table, KeyText(key, key_length)});
  return found != rows.end() ? FillRow(*found, row) : 0;
}

int sms_get_next_protocol_row(unsigned int table, unsigned int instance, const unsigned char* key,
                              unsigned int key_length, sms_protocol_row* row) {
  const Engine* const engine = Engine::Current();
  if (engine == nullptr || row == nullptr) {
    return 0;
  }
  const auto& rows = engine->GetTables().ProtocolRows();
  const auto next = rows.upper_bound({instance, table, KeyText(key, key_length)});
  if (next == rows.end() || next->first.instance != instance || next->first.table != table) {
    return 0;
  }
  return FillRow(*next, row);
}

int sms_get_next_redistributed(unsigned int instance, unsigned int destination,
                               const amb_cipr_rtm_route* previous, amb_cipr_rtm_route* row) {
  const Engine* const engine = Engine::Current();
  return engine != nullptr && row != nullptr &&
                 NextRedistributed(engine->GetTables(), engine->Now(), instance, destination,
                                   previous, row)
             ? 1
             : 0;
}
