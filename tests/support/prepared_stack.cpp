#include "tests/support/prepared_stack.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "device/stack/oid.h"
#include "device/stack/protocol_rows.h"
#include "tarsel/address.h"
#include "vantacore/cfg_items.h"
#include "vantacore/dcrouter_api.h"
#include "vantacore/static_routes.h"

namespace prepared_stack {

namespace {

constexpr std::uint32_t FIRST_DESTINATION = 20U << 24;
constexpr unsigned int HOST_LENGTH = 32;
constexpr unsigned int IF_INDEX = 3;
constexpr unsigned int METRIC = 5;
constexpr unsigned int END_OF_TABLE = 7;
const Tarsel::Ip4Addr HOST_MASK(255, 255, 255, 255);
const Tarsel::Ip4Addr GATEWAY(10, 1, 2, 1);

std::size_t g_routeRequests = 0;
sms_response g_ribResponse = nullptr;
void* g_ribCommand = nullptr;

Tarsel::Ip4Addr Destination(std::uint32_t number) {
  const std::uint32_t word = FIRST_DESTINATION + number;
  return Tarsel::Ip4Addr(word >> 24, word >> 16 & 0xFF, word >> 8 & 0xFF, word & 0xFF);
}

}  // namespace

RouteAnswer::RouteAnswer(unsigned short vlan_, std::uint32_t number) : vlan(vlan_) {
  std::memcpy(destination, Destination(number).GetBytes(), sizeof destination);
  unsigned int buffer[SMS_OID_MAX];
  oidLength =
      sms_get_route_oid(buffer, vlan, 1, destination, HOST_LENGTH, GATEWAY.GetBytes(), IF_INDEX);
  if (oidLength > sizeof oid / sizeof oid[0]) std::abort();
  std::copy_n(buffer, oidLength, oid);
}

void RouteAnswer::Give() {
  cSetRouteState(vlan, 1, destination, HOST_LENGTH, GATEWAY.GetBytes(), IF_INDEX, METRIC,
                 Tarsel::PATH_TYPE_STATIC, 1, 1, 0, 1);
  cRunPendingAction(oid, oidLength);
}

std::vector<RouteAnswer> RouteAnswers(unsigned short vlan, std::uint32_t count) {
  std::vector<RouteAnswer> answers;
  answers.reserve(count);
  for (std::uint32_t number = 0; number < count; ++number) answers.emplace_back(vlan, number);
  return answers;
}

void AddRoute(unsigned short vlan, std::uint32_t number) {
  Tarsel::AddRoute(vlan, Destination(number), HOST_MASK, GATEWAY, IF_INDEX, METRIC,
                   Tarsel::PATH_TYPE_STATIC, 1);
}

std::size_t RouteRequests() { return g_routeRequests; }

void PlayRibWalk(const std::vector<amb_cipr_rtm_rib>& rows) {
  const sms_response respond = g_ribResponse;
  if (respond == nullptr) std::abort();
  g_ribResponse = nullptr;
  for (const amb_cipr_rtm_rib& row : rows) {
    if (respond(g_ribCommand, 0, 1, const_cast<amb_cipr_rtm_rib*>(&row)) == 0) return;
  }
  respond(g_ribCommand, 0, END_OF_TABLE, nullptr);
}

}  // namespace prepared_stack

namespace {

unsigned int Write(unsigned int* buffer, const routing_stack::Oid& oid) {
  std::copy_n(oid.words, oid.length, buffer);
  return oid.length;
}

}  // namespace

extern "C" {

void smsi_init(char*) {}
int nbb_scheduler(void) { return -1; }
void InvokeCallback(int, int) {}

void nbb_trips_control(int) {}
void nbb_set_ips_filter(char*, unsigned short) {}
int nbb_get_ips_tracing(void) { return 0; }
unsigned int nbb_os_failures = 0;

void sms_act_rtm(amb_cipr_rtm_entity*) {}
void sms_update_route(int, int, int, int, const unsigned char*, unsigned int, const unsigned char*,
                      int, unsigned int, unsigned short, unsigned short) {
  ++prepared_stack::g_routeRequests;
}
void sms_act_interface(int, unsigned int, unsigned int, unsigned int, const char*, unsigned int,
                       unsigned int, unsigned int) {}
void sms_bld_amb_test_i3_ei(int, unsigned int, unsigned int, unsigned int, const char*,
                            unsigned int, unsigned int, unsigned int) {}
void sms_act_ipaddr(int, unsigned int, int, unsigned int, const unsigned char*, unsigned int) {}
void sms_act_cipr_redist(int, int, int, int, unsigned int, unsigned int) {}
void sms_bld_amb_test_cipr_redist(int, int, int, int, unsigned int, unsigned int) {}

unsigned int sms_get_route_oid(unsigned int* buffer, unsigned short instance, int address_type,
                               const unsigned char* destination, unsigned int prefix_length,
                               const unsigned char* next_hop, unsigned int if_index) {
  return Write(buffer, routing_stack::RouteOid(instance, address_type, destination, prefix_length,
                                               next_hop, if_index));
}
unsigned int sms_set_i3_ei_oid(unsigned int* buffer, unsigned int instance, unsigned int if_index) {
  return Write(buffer, routing_stack::InterfaceOid(instance, if_index));
}
unsigned int sms_set_i3_ea_oid(unsigned int* buffer, unsigned int instance, unsigned int if_index,
                               const void* address, int address_type) {
  return Write(buffer,
               routing_stack::AddressOid(instance, if_index,
                                         static_cast<const unsigned char*>(address), address_type));
}
unsigned int sms_set_cipr_redist_oid(unsigned int* buffer, unsigned int vlan, unsigned int source,
                                     unsigned int destination) {
  return Write(buffer, routing_stack::RedistributionOid(vlan, source, destination));
}

void sms_get_next_i3_ei(unsigned int, sms_response, void*) {}
void sms_get_next_i3_ea(unsigned int, sms_response, void*) {}
void sms_get_next_rtm_route(sms_response, void*) {}
void sms_get_next_rtm_rib(sms_response response, void* command) {
  prepared_stack::g_ribResponse = response;
  prepared_stack::g_ribCommand = command;
}

void sms_act_protocol_row(int, unsigned int, int, int, unsigned int, const unsigned char*,
                          unsigned int, const char*) {}
unsigned int sms_get_protocol_row_oid(unsigned int* buffer, unsigned int table,
                                      unsigned int instance, const unsigned char* key,
                                      unsigned int key_length) {
  return Write(buffer, routing_stack::ProtocolOid(table, instance, key, key_length));
}
void sms_register_protocol_answer(sms_protocol_answer) {}
int sms_get_protocol_row(unsigned int, unsigned int, const unsigned char*, unsigned int,
                         sms_protocol_row*) {
  return 0;
}
int sms_get_next_protocol_row(unsigned int, unsigned int, const unsigned char*, unsigned int,
                              sms_protocol_row*) {
  return 0;
}
int sms_get_next_redistributed(unsigned int, unsigned int, const amb_cipr_rtm_route*,
                               amb_cipr_rtm_route*) {
  return 0;
}

}  // extern "C"
