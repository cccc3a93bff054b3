// All tables as text, for comparing states.

#include <cstring>
#include <sstream>

#include "engine.h"

namespace routing_stack {

namespace {

const char* UpOrDown(bool up) { return up ? " up" : " down"; }

std::string RouterId(const Instance& instance) {
  unsigned char bytes[4];
  std::memcpy(bytes, &instance.routerId, sizeof bytes);
  return Address::FromBytes(bytes, Family::kIp4).ToText(Family::kIp4);
}

void DumpInstances(const Tables& tables, std::ostream& out) {
  for (const auto& [id, instance] : tables.Instances()) {
    const Distances& distances = instance.rib.GetDistances();
    out << "instance " << id << (instance.family == Family::kIp4 ? " ipv4" : " ipv6") << " ospf "
        << distances.ospfInternal << '/' << distances.ospfExternal << " bgp "
        << distances.internalBgp << '/' << distances.externalBgp << " rip " << distances.rip
        << " router-id " << RouterId(instance) << '\n';
  }
}

void DumpTrace(const Engine::Trace& trace, std::ostream& out) {
  if (trace.on) {
    out << "trace\n";
  }
  for (const auto& [code, filter] : trace.filters) {
    out << "trace filter " << code << " \"" << filter << "\"\n";
  }
}

void DumpInterfaces(const Tables& tables, std::ostream& out) {
  for (const auto& [key, row] : tables.Interfaces()) {
    out << "interface " << key.instance << '/' << key.ifIndex << " \"" << row.name << "\" flags "
        << row.flags << UpOrDown(row.IsUp()) << " mtu " << row.mtu << '\n';
  }
  for (const auto& [key, row] : tables.Addresses()) {
    out << "address " << key.interface.instance << '/' << key.interface.ifIndex << ' '
        << key.address.ToText(key.family) << '/' << row.prefixLength << '\n';
  }
}

void DumpRoute(std::uint32_t id, const Instance& instance, const RibEntry& entry,
               std::ostream& out) {
  const CandidateKey key = entry.GetKey();
  out << id << ' ' << key.prefix.address.ToText(instance.family) << '/'
      << static_cast<unsigned int>(key.prefix.length) << " proto "
      << static_cast<unsigned int>(key.proto) << " via " << key.nextHop.ToText(instance.family)
      << " if " << key.ifIndex << " out " << entry.OutInterface() << " metric " << entry.metric
      << UpOrDown(entry.adminUp);
}

void DumpRibs(const Tables& tables, std::ostream& out) {
  for (const auto& [id, instance] : tables.Instances()) {
    const Rib& rib = instance.rib;
    for (const RibEntry* e = rib.After(nullptr); e != nullptr; e = rib.After(*e)) {
      DumpRoute(id, instance, *e, out << "rib ");
      out << (e->installed || e->beside ? " fib\n" : "\n");
    }
  }
  for (const auto& [id, instance] : tables.Instances()) {
    const Rib& rib = instance.rib;
    for (const RibEntry* e = rib.InstalledAfter(nullptr); e != nullptr;) {
      DumpRoute(id, instance, *e, out << "route ");
      out << '\n';
      const Prefix prefix = e->GetPrefix();
      e = rib.InstalledAfter(&prefix);
    }
  }
}

void DumpRules(const Tables& tables, std::ostream& out) {
  for (const auto& [key, adminStatus] : tables.Redistributions()) {
    out << "redistribution " << key.instance << ' ' << key.source << ' ' << key.destination
        << UpOrDown(adminStatus == 1) << '\n';
  }
  for (const auto& [key, row] : tables.ProtocolRows()) {
    out << "protocol " << key.instance << ' ' << key.table << " \"" << key.key << "\" \""
        << row.payload << '"' << UpOrDown(row.adminStatus == 1) << '\n';
  }
}

}  // namespace

std::string Control::Dump() const {
  std::ostringstream out;
  const Tables& tables = m_engine.m_tables;
  DumpTrace(m_engine.trace, out);
  DumpInstances(tables, out);
  DumpInterfaces(tables, out);
  DumpRibs(tables, out);
  DumpRules(tables, out);
  return out.str();
}

}  // namespace routing_stack
