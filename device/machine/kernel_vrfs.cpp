#include "kernel_vrfs.h"

#include <utility>

#include "device/kernel/link.h"
#include "device/kernel/route.h"
#include "device/program/printable.h"

namespace machine {

namespace {

constexpr const char* VRFS = "VRF devices";  // as `verify` calls them
constexpr std::size_t MOST_OF_A_VRF_NAME = 64;

bool IsKernelsOwn(std::uint32_t table) {
  return table >= kernel::DEFAULT_TABLE && table <= kernel::LOCAL_TABLE;
}

std::string VlanText(unsigned short vlan) { return "VLAN " + std::to_string(vlan); }

std::string NameText(const std::string& name) {
  return program::Printable(name, MOST_OF_A_VRF_NAME);
}

}  // namespace

KernelVrfs::KernelVrfs(const KernelLinks& links, const keepers::Interfaces& interfaces, Hooks hooks)
    : m_links(links), m_interfaces(interfaces), m_hooks(std::move(hooks)) {}

void KernelVrfs::Apply(const documents::Device& device) {
  m_defaultVlan = m_defaultVlan.value_or(device.defaultVlan);
  m_settings = device.kernel;
  m_vrfs.clear();
  for (const auto& [name, vlan] : device.links.vrfs) {
    m_vrfs.emplace(vlan, name);
  }
  Look();
}

void KernelVrfs::Look() {
  if (m_defaultVlan) {
    Resolve();
    Tell();
  }
}

bool KernelVrfs::AreKnown() const {
  return m_vrfs.empty() || !m_settings.writesRoutes || m_links.AreVrfsKnown();
}

// Of two VLANs whose VRF devices have the same table the first one has it. All of them count when
// it is asked whose a table is: one without its VRF device has no other table.
void KernelVrfs::Resolve() {
  KernelTables::VrfTables tables;
  for (const auto& [vlan, name] : m_vrfs) {
    tables[vlan] = std::nullopt;
  }
  m_problems.clear();
  for (const auto& [vlan, name] : m_vrfs) {
    m_tables = {*m_defaultVlan, m_settings.tableBase, tables};
    std::string problem = FindProblem(name, vlan);
    if (problem.empty()) {
      tables[vlan] = m_links.GetVrfs().Find(name)->table;
    } else {
      m_problems[vlan] = std::move(problem);
    }
  }
  m_tables = {*m_defaultVlan, m_settings.tableBase, std::move(tables)};
}

// Empty if the VLAN can have the table.
std::string KernelVrfs::FindProblem(const std::string& name, unsigned short vlan) const {
  if (m_links.GetWatch() == nullptr) {
    return "the kernel's links cannot be read";
  }
  if (!m_links.AreVrfsKnown()) {
    return "the kernel's links have not been read yet";
  }
  const std::string device = "its VRF device " + NameText(name);
  const kernel::Vrfs::Vrf* const vrf = m_links.GetVrfs().Find(name);
  if (vrf == nullptr) {
    return device + " is not there";
  }
  const std::string has = device + " has table " + std::to_string(vrf->table) + ", which is ";
  if (vrf->table == 0 || IsKernelsOwn(vrf->table)) {
    return has + "the kernel's own";
  }
  const auto owner = m_tables.FindOwner(vrf->table);
  return owner && *owner != vlan ? has + "that of " + VlanText(*owner) : "";
}

// Once for each state, but nothing for one that is as it should be from the beginning, and nothing
// before it is known.
void KernelVrfs::Tell() {
  if (!m_settings.writesRoutes) {
    m_told.clear();
    return;
  }
  if (m_links.GetWatch() != nullptr && !m_links.AreVrfsKnown()) {
    return;
  }
  std::map<unsigned short, std::string> lines;
  for (const auto& [vlan, name] : m_vrfs) {
    const auto problem = m_problems.find(vlan);
    const bool isWritten = problem == m_problems.end();
    const std::string line =
        isWritten
            ? "Routes of " + VlanText(vlan) + " are written into table " +
                  std::to_string(*m_tables.Of(vlan)) + " of the kernel: its VRF device " +
                  NameText(name) + " is there"
            : "No routes of " + VlanText(vlan) + " are written into the kernel: " + problem->second;
    const auto told = m_told.find(vlan);
    const bool isNews = told == m_told.end() ? !isWritten : told->second != line;
    if (isNews) {
      (isWritten ? m_hooks.log : m_hooks.complain)(line);
    }
    lines[vlan] = line;
  }
  m_told = std::move(lines);
}

std::vector<views::VrfState> KernelVrfs::Describe() const {
  std::vector<views::VrfState> states;
  if (m_settings.writesRoutes) {
    for (const auto& [vlan, name] : m_vrfs) {
      const auto problem = m_problems.find(vlan);
      states.push_back({NameText(name), vlan, m_tables.Of(vlan),
                        problem != m_problems.end() ? problem->second : ""});
    }
  }
  return states;
}

// The kernel looks packets up in the table of the VRF device that the interface belongs to, whatever
// its VLAN is.
std::vector<std::string> KernelVrfs::FindStrangers() const {
  std::vector<std::string> lines;
  const kernel::LinkWatch::Links& links = m_links.GetWatch()->GetLinks();
  for (const auto& [key, interface] : m_interfaces.Get()) {
    const auto [vlan, index] = key;
    const auto link = links.find(index);
    if (link == links.end() || index == kernel::LOOPBACK_INDEX || m_problems.count(vlan) != 0) {
      continue;
    }
    const kernel::Vrfs::Vrf* const vrf =
        m_links.GetVrfs().Find(link->second.vrfTable ? index : link->second.master);
    const auto wanted = m_vrfs.find(vlan);
    const std::string subject = NameText(link->second.name) + " of " + VlanText(vlan) + " is ";
    if (vrf != nullptr && (wanted == m_vrfs.end() || wanted->second != vrf->name)) {
      lines.push_back(subject + "enslaved to the VRF device " + NameText(vrf->name) +
                      ": what comes in there is looked up in table " + std::to_string(vrf->table));
    } else if (vrf == nullptr && wanted != m_vrfs.end()) {
      lines.push_back(subject + "not enslaved to the VRF device " + NameText(wanted->second) +
                      ": what comes in there is looked up in the main table");
    }
  }
  return lines;
}

std::optional<rows::Verdict> KernelVrfs::Verify(std::size_t mostLines) const {
  if (m_vrfs.empty() || !m_settings.writesRoutes) {
    return std::nullopt;
  }
  rows::Verdict verdict;
  verdict.kind = VRFS;
  verdict.rows = m_vrfs.size();
  const auto fail = [&](const std::string& line) {
    ++verdict.fails;
    if (verdict.lines.size() < mostLines) {
      verdict.lines.push_back("kernel: " + line);
    }
  };
  for (const auto& [vlan, problem] : m_problems) {
    fail("no routes of " + VlanText(vlan) + " are written: " + problem);
  }
  if (m_links.GetWatch() != nullptr) {
    for (const std::string& line : FindStrangers()) {
      fail(line);
    }
  }
  return verdict;
}

}  // namespace machine
