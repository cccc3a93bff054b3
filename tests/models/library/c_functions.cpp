// The C functions of the stack, for the library: all of them hand on to the scripted stack.
#include <algorithm>
#include <cstring>

#include "library_subject.h"
#include "stack/sms.h"

namespace {

library_model::ScriptedStack& Stack() { return *library_model::GetSurroundings().stack; }

unsigned int Copy(unsigned int* buffer, const library_model::Oid& oid) {
  std::copy(oid.begin(), oid.end(), buffer);
  return static_cast<unsigned int>(oid.size());
}

library_model::ScriptedStack::Response Bind(sms_response response, void* command) {
  return [response, command](unsigned int result, void* row) {
    return response(command, 0, result, row);
  };
}

}  // namespace

extern "C" {

unsigned int nbb_os_failures = 0;

void smsi_init(char* components) { Stack().Init(components); }
int nbb_scheduler(void) { return Stack().Run(); }
void InvokeCallback(int, int) {}
void nbb_trips_control(int on) { Stack().Control("nbb_trips_control", "", on); }
void nbb_set_ips_filter(char* filter, unsigned short value) {
  Stack().Control("nbb_set_ips_filter", filter, value);
}
int nbb_get_ips_tracing(void) {
  Stack().Control("nbb_get_ips_tracing", "", 0);
  return 0;
}

void sms_act_rtm(amb_cipr_rtm_entity* row) { Stack().ActRtm(*row); }
void sms_update_route(int not_shared, int row_status, int admin_status, int address_type,
                      const unsigned char* destination, unsigned int prefix_length,
                      const unsigned char* next_hop, int path_type, unsigned int if_index,
                      unsigned short instance, unsigned short metric) {
  library_model::RouteRow row;
  row.instance = instance;
  row.type = address_type;
  std::memcpy(row.dest, destination, address_type == 1 ? 4 : 16);
  row.prefixLen = prefix_length;
  std::memcpy(row.nexthop, next_hop, address_type == 1 ? 4 : 16);
  row.ifIndex = if_index;
  row.metric = metric;
  row.pathType = path_type;
  row.rowStatus = row_status;
  row.adminStatus = admin_status;
  Stack().UpdateRoute(not_shared, row);
}
void sms_act_interface(int row_status, unsigned int oper_status, unsigned int instance,
                       unsigned int if_index, const char* name, unsigned int if_attr,
                       unsigned int flags, unsigned int extra) {
  Stack().ActInterface(false, row_status, oper_status, instance, if_index, name, if_attr, flags,
                       extra);
}
void sms_bld_amb_test_i3_ei(int row_status, unsigned int oper_status, unsigned int instance,
                            unsigned int if_index, const char* name, unsigned int if_attr,
                            unsigned int flags, unsigned int extra) {
  Stack().ActInterface(true, row_status, oper_status, instance, if_index, name, if_attr, flags,
                       extra);
}
void sms_act_ipaddr(int row_status, unsigned int vlan_or_instance, int address_type,
                    unsigned int if_index, const unsigned char* address,
                    unsigned int prefix_length) {
  Stack().ActAddress(row_status, vlan_or_instance, address_type, if_index, address, prefix_length);
}
void sms_act_cipr_redist(int row_status, int admin_status, int source, int destination,
                         unsigned int vlan, unsigned int zero) {
  Stack().ActRedist(false, {row_status, admin_status, source, destination, vlan}, zero);
}
void sms_bld_amb_test_cipr_redist(int row_status, int admin_status, int source, int destination,
                                  unsigned int vlan, unsigned int zero) {
  Stack().ActRedist(true, {row_status, admin_status, source, destination, vlan}, zero);
}

unsigned int sms_get_route_oid(unsigned int* buffer, unsigned short instance, int address_type,
                               const unsigned char* destination, unsigned int prefix_length,
                               const unsigned char* next_hop, unsigned int if_index) {
  return Copy(buffer, library_model::RouteOid(instance, address_type, destination, prefix_length,
                                              next_hop, if_index));
}
unsigned int sms_set_i3_ei_oid(unsigned int* buffer, unsigned int instance, unsigned int if_index) {
  return Copy(buffer, library_model::InterfaceOid(instance, if_index));
}
unsigned int sms_set_i3_ea_oid(unsigned int* buffer, unsigned int instance, unsigned int if_index,
                               const void* address, int address_type) {
  return Copy(buffer,
              library_model::AddressOid(instance, if_index,
                                        static_cast<const unsigned char*>(address), address_type));
}
unsigned int sms_set_cipr_redist_oid(unsigned int* buffer, unsigned int vlan, unsigned int source,
                                     unsigned int destination) {
  return Copy(buffer, library_model::RedistOid(vlan, source, destination));
}

void sms_get_next_i3_ei(unsigned int instance, sms_response response, void* command) {
  Stack().WalkInterfaces(instance, Bind(response, command));
}
void sms_get_next_i3_ea(unsigned int instance, sms_response response, void* command) {
  Stack().WalkAddresses(instance, Bind(response, command));
}
void sms_get_next_rtm_route(sms_response response, void* command) {
  Stack().WalkRoutes(Bind(response, command));
}
void sms_get_next_rtm_rib(sms_response response, void* command) {
  Stack().WalkRib(Bind(response, command));
}

}  // extern "C"
