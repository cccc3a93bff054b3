#include "host_double.h"

#include <arpa/inet.h>

#include "vantacore/dcrouter_api.h"

namespace stack_test {

HostDouble& HostDouble::Get() {
  static HostDouble host;
  return host;
}

void HostDouble::Note(const std::string& call) {
  calls.push_back(call);
  callsFromOutside += insideStackRun ? 0 : 1;
  if (onCall) {
    const auto seen = onCall;
    seen(call);
  }
}

std::vector<std::string> HostDouble::Take() {
  std::vector<std::string> taken;
  taken.swap(calls);
  return taken;
}

std::string OidText(const unsigned int* oid, unsigned int length) {
  std::string text;
  for (unsigned int i = 0; i < length; ++i) {
    text += (i == 0 ? "" : ":") + std::to_string(oid[i]);
  }
  return text;
}

}  // namespace stack_test

namespace {

using stack_test::HostDouble;

std::string Join(const char* name, std::initializer_list<std::string> arguments) {
  std::string text;
  for (const std::string& argument : arguments) {
    text += (text.empty() ? "" : ", ") + argument;
  }
  return std::string(name) + "(" + text + ")";
}

std::string Text(long long value) { return std::to_string(value); }

std::string AddressText(int type, const unsigned char* bytes) {
  char text[INET6_ADDRSTRLEN] = "";
  inet_ntop(type == 1 ? AF_INET : AF_INET6, bytes, text, sizeof text);
  return text;
}

int Answer(const std::map<unsigned int, unsigned int>& addresses, unsigned int id,
           unsigned int* address) {
  const auto found = addresses.find(id);
  if (found == addresses.end()) {
    return 0;
  }
  *address = found->second;
  return 1;
}

}  // namespace

void cRescheduleNBase(void) {
  ++HostDouble::Get().runsAskedFor;
  HostDouble::Get().rescheduled = true;
}

int cIsNBaseRescheduled(void) { return HostDouble::Get().rescheduled ? 1 : 0; }

void cSetRouteState(unsigned int id, int type, const unsigned char* destination,
                    unsigned int prefix_length, const unsigned char* next_hop,
                    unsigned int if_index, int metric, int path_type, int row_status,
                    int admin_status, unsigned int unused, unsigned int status) {
  HostDouble::Get().Note(Join(
      "cSetRouteState", {Text(id), Text(type), AddressText(type, destination), Text(prefix_length),
                         AddressText(type, next_hop), Text(if_index), Text(metric), Text(path_type),
                         Text(row_status), Text(admin_status), Text(unused), Text(status)}));
}

void cSetRedistState(unsigned int row_status, unsigned int admin_status, unsigned int source,
                     unsigned int destination, unsigned int priority, unsigned int vlan,
                     unsigned int extra, unsigned int status) {
  HostDouble::Get().Note(Join(
      "cSetRedistState", {Text(row_status), Text(admin_status), Text(source), Text(destination),
                          Text(priority), Text(vlan), Text(extra), Text(status)}));
}

void cSetRtmReady(unsigned int vid) { HostDouble::Get().Note(Join("cSetRtmReady", {Text(vid)})); }

int cGetRtmConfig(unsigned int vid, amb_cipr_rtm_entity* entity) {
  HostDouble& host = HostDouble::Get();
  host.Note(Join("cGetRtmConfig", {Text(vid)}));
  const auto found = host.configurations.find(vid);
  if (found == host.configurations.end()) {
    return 2;
  }
  *entity = found->second;
  return 1;
}

int cGetAddress(unsigned int id, unsigned int* address) {
  HostDouble::Get().Note(Join("cGetAddress", {Text(id)}));
  return Answer(HostDouble::Get().primaryAddresses, id, address);
}

int cGetVlanAddress(unsigned int id, unsigned int* address) {
  HostDouble::Get().Note(Join("cGetVlanAddress", {Text(id)}));
  return Answer(HostDouble::Get().vlanAddresses, id, address);
}

int cI3Ready(void) {
  HostDouble::Get().Note("cI3Ready()");
  return 0;
}

void cRunPendingAction(unsigned int* key, unsigned int key_len) {
  HostDouble::Get().Note("cRunPendingAction(" + stack_test::OidText(key, key_len) + ")");
}

void cRegisterWorkWithEventloop(int fd, int id, unsigned int mask) {
  HostDouble::Get().Note(Join("cRegisterWorkWithEventloop", {Text(fd), Text(id), Text(mask)}));
}

void cUnregisterWorkWithEventloop(int fd, int id) {
  HostDouble::Get().Note(Join("cUnregisterWorkWithEventloop", {Text(fd), Text(id)}));
}

void cChangeMask(int fd, unsigned int mask) {
  HostDouble::Get().Note(Join("cChangeMask", {Text(fd), Text(mask)}));
}
