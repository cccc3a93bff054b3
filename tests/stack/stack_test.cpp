#include "stack_test.h"

#include <arpa/inet.h>

namespace stack_test {

AddressBytes::AddressBytes(const std::string& text)
    : type(text.find(':') == std::string::npos ? 1 : 2) {
  EXPECT_EQ(1, inet_pton(type == 1 ? AF_INET : AF_INET6, text.c_str(), bytes)) << text;
}

PrefixBytes::PrefixBytes(const std::string& text)
    : address(text.substr(0, text.find('/'))),
      length(static_cast<unsigned int>(std::stoul(text.substr(text.find('/') + 1)))) {}

StackTest::StackTest()
    : host(HostDouble::Get()), stack([this] { return now; }), control(stack.GetControl()) {
  host.Reset();
  stack.MakeCurrent();
}

void StackTest::Start() {
  char components[] = "ripv2 ospf bgp";
  smsi_init(components);
  RunAll();
  host.Take();
}

int StackTest::RunOnce() {
  host.rescheduled = false;
  host.insideStackRun = true;
  const int result = nbb_scheduler();
  host.insideStackRun = false;
  return result;
}

int StackTest::RunAll() {
  int result = 0;
  for (int runs = 0; result == 0; ++runs) {
    if (runs == 100000) {
      ADD_FAILURE() << "the stack does not come to rest";
      break;
    }
    result = RunOnce();
  }
  return result;
}

void StackTest::AddInstance(unsigned int instance) {
  amb_cipr_rtm_entity& entity = host.configurations[instance];
  entity = {};
  entity.word[6] = 40;
  entity.word[7] = 110;
  entity.word[8] = 200;
  entity.word[9] = 20;
  entity.word[14] = 120;
  SendEntity(instance, 1);
}

void StackTest::SendEntity(unsigned int instance, unsigned int rowStatus) {
  amb_cipr_rtm_entity row = {};
  row.word[0] = instance;
  row.word[1] = rowStatus;
  row.word[2] = rowStatus == 6 ? 2 : 1;
  row.word[30] = (instance & kIp6Bit) != 0 ? 2 : 1;
  sms_act_rtm(&row);
}

void StackTest::DropInstance(unsigned int instance) {
  SendEntity(instance, 6);
  host.configurations.erase(instance);
}

void StackTest::AddInterface(unsigned int instance, unsigned int ifIndex, bool up) {
  const std::string name = "eth" + std::to_string(ifIndex);
  sms_act_interface(4, up ? 1 : 2, instance, ifIndex, name.c_str(), 0, 24, 0);
}

void StackTest::SetInterface(unsigned int instance, unsigned int ifIndex, bool up) {
  sms_act_interface(1, up ? 1 : 2, instance, ifIndex, "", 0, 0, 0);
}

void StackTest::RemoveInterface(unsigned int instance, unsigned int ifIndex) {
  sms_act_interface(6, 2, instance, ifIndex, "", 0, 0, 0);
}

void StackTest::AddAddress(unsigned int instance, unsigned int ifIndex,
                           const std::string& address) {
  const PrefixBytes prefix(address);
  sms_act_ipaddr(1, instance, prefix.address.type, ifIndex, prefix.address.bytes, prefix.length);
}

void StackTest::RemoveAddress(unsigned int instance, unsigned int ifIndex,
                              const std::string& address) {
  const PrefixBytes prefix(address);
  sms_act_ipaddr(6, instance, prefix.address.type, ifIndex, prefix.address.bytes, prefix.length);
}

void StackTest::AddRoute(unsigned int instance, const std::string& prefix,
                         const std::string& nextHop, unsigned int ifIndex, unsigned int metric) {
  Route(1, 1, instance, prefix, nextHop, ifIndex, metric);
}

void StackTest::Route(int rowStatus, int adminStatus, unsigned int instance,
                      const std::string& prefix, const std::string& nextHop, unsigned int ifIndex,
                      unsigned int metric) {
  const PrefixBytes destination(prefix);
  const AddressBytes gateway(nextHop);
  sms_update_route(1, rowStatus, adminStatus, destination.address.type, destination.address.bytes,
                   destination.length, gateway.bytes, kStaticPath, ifIndex,
                   static_cast<unsigned short>(instance), static_cast<unsigned short>(metric));
}

routing_stack::Candidate StackTest::MakeCandidate(unsigned int instance, const std::string& prefix,
                                                  const std::string& nextHop, unsigned int proto,
                                                  unsigned int metric, unsigned int ifIndex) {
  const PrefixBytes destination(prefix);
  const AddressBytes gateway(nextHop);
  routing_stack::Candidate candidate;
  candidate.instance = instance;
  candidate.addressType = destination.address.type;
  std::copy(destination.address.bytes, destination.address.bytes + 16, candidate.destination);
  candidate.prefixLength = destination.length;
  std::copy(gateway.bytes, gateway.bytes + 16, candidate.nextHop);
  candidate.ifIndex = ifIndex;
  candidate.proto = proto;
  candidate.metric = metric;
  return candidate;
}

namespace {

template <typename Row>
std::string RouteText(const Row& row, const std::string& interface) {
  const int family = (row.instance & kIp6Bit) != 0 ? AF_INET6 : AF_INET;
  char destination[INET6_ADDRSTRLEN];
  char nextHop[INET6_ADDRSTRLEN];
  inet_ntop(family, row.destination, destination, sizeof destination);
  inet_ntop(family, row.next_hop, nextHop, sizeof nextHop);
  return std::to_string(row.instance & ~kIp6Bit) + " " + destination + "/" +
         std::to_string(row.prefix_length) + " proto " + std::to_string(row.route_proto) + " via " +
         nextHop + " if " + interface + " metric " + std::to_string(row.metric1);
}

}  // namespace

std::string RowText(const amb_cipr_rtm_rib& row) {
  const std::string interface = row.interface_pending != 0 ? "TBD" : std::to_string(row.if_index);
  return (row.fib_flag != 0 ? "> " : "  ") + RouteText(row, interface);
}

std::string RowText(const amb_cipr_rtm_route& row) {
  return RouteText(row, std::to_string(row.if_index));
}

Lines StackTest::Rib() {
  Lines lines;
  for (const amb_cipr_rtm_rib& row : control.Rib()) {
    lines.push_back(RowText(row));
  }
  return lines;
}

Lines StackTest::Routes() {
  Lines lines;
  for (const amb_cipr_rtm_route& row : control.Routes()) {
    lines.push_back(RowText(row));
  }
  return lines;
}

}  // namespace stack_test
