#include "loader.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <utility>

#include "device/base/trace_control.h"
#include "device/program/printable.h"
#include "route_plan.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_router_mgr.h"
#include "vantacore/dc_rtm_mgr.h"

namespace host {

using Tarsel::DclConfigObject;
using Tarsel::DcRouterMgr;

namespace {

VlanIds ExistingVlans() {
  VlanIds vlans;
  for (const auto& vlan : DcRouterMgr::GetInstance()->GetVlans()) {
    vlans.insert(vlan.first);
  }
  return vlans;
}

bool IsEnabledNow(unsigned short vlan, DcRouterMgr::ProtocolType protocol) {
  const Tarsel::DcRouterBase* router = DcRouterMgr::GetInstance()->GetDcRouterByVID(vlan, protocol);
  return router && router->IsEnabled();
}

bool Enables(const ConfigFile& file, unsigned short vlan, DcRouterMgr::ProtocolType protocol) {
  const auto set = file.protocols.find(vlan);
  return set != file.protocols.end() && (set->second & 1u << protocol) != 0;
}

// While it lives, the askers hear what is logged without a level. The library logs from its depth, so
// what an asker throws ends here; the log has the line.
class Hearing {
 public:
  explicit Hearing(const std::vector<Report>& askers) : m_isNeeded(!askers.empty()) {
    if (m_isNeeded) {
      m_log = Tarsel::SetTraceSink([this, &askers](int level, const std::string& line) {
        Log(level, line);
        if (level == Tarsel::TRACE_NO_LEVEL) {
          Tell(askers, line);
        }
      });
    }
  }
  Hearing(const Hearing&) = delete;
  Hearing& operator=(const Hearing&) = delete;
  ~Hearing() {
    if (m_isNeeded) {
      Tarsel::SetTraceSink(std::move(m_log));
    }
  }

 private:
  void Log(int level, const std::string& line) const {
    if (m_log) {
      m_log(level, line);
    } else {
      std::fwrite(line.data(), 1, line.size(), stderr);
    }
  }

  static void Tell(const std::vector<Report>& askers, const std::string& line) {
    for (const Report& asker : askers) {
      try {
        asker(line);
      } catch (const std::exception&) {
      }
    }
  }

  const bool m_isNeeded;
  Tarsel::TraceSink m_log;  // empty: standard error
};

}  // namespace

Loader::Loader(ConfigFolder& folder, DeviceState& device, Settle& answers, Report report)
    : m_folder(folder), m_device(device), m_answers(answers), m_report(std::move(report)) {}

void Loader::Reload(Report asker) {
  if (asker) {
    m_askers.push_back(std::move(asker));
  }
  if (m_isWaiting) {
    m_isAskedAgain = true;
  } else {
    Begin();
  }
}

void Loader::Begin() {
  const Hearing hearing(m_askers);
  m_folder.Read();
  const std::size_t requests =
      m_feeder.RemoveVlans(FindLeavingVlans()) +
      m_redistribution.Withdraw(PlanRedistribution(
          [this](unsigned short vlan, auto protocol) { return WillBeEnabled(vlan, protocol); }));
  if (requests == 0) {
    Apply();
    m_askers.clear();
    return;
  }
  m_isWaiting = true;
  m_answers.Wait(0, [this](bool) {
    m_isWaiting = false;
    {
      const Hearing again(m_askers);
      Apply();
    }
    if (std::exchange(m_isAskedAgain, false)) {
      Begin();
    } else {
      m_askers.clear();
    }
  });
}

// A VLAN stays when the VLAN document names it, or when a document that keeps it now still does. A
// remote document that names it only from now on may come too late to keep it.
VlanIds Loader::FindLeavingVlans() const {
  const auto& records = DcRouterMgr::GetInstance()->GetVlans();
  VlanIds leaving = ExistingVlans();
  for (const auto& file : m_folder.GetFiles()) {
    for (const unsigned short vlan : file->vlans) {
      const auto record = records.find(vlan);
      if (record != records.end() && (file->type == DclConfigObject::VLAN_OPTIONS ||
                                      record->second->configFiles.count(file->name.c_str()) != 0)) {
        leaving.erase(vlan);
      }
    }
  }
  return leaving;
}

// A protocol runs when the VLAN document enables it. A remote document is for protocols that run: it
// can keep one enabled, when it is known already, but cannot start one.
bool Loader::WillBeEnabled(unsigned short vlan, DcRouterMgr::ProtocolType protocol) const {
  return std::any_of(m_folder.GetFiles().begin(), m_folder.GetFiles().end(), [&](const auto& file) {
    return Enables(*file, vlan, protocol) &&
           (file->type == DclConfigObject::VLAN_OPTIONS ||
            (m_applied.count(file->name) != 0 && IsEnabledNow(vlan, protocol)));
  });
}

// Profiles are the VLAN document's, like all that concerns a VLAN's routing tables.
Rules Loader::PlanRedistribution(const IsEnabled& isEnabled) const {
  for (const auto& file : m_folder.GetFiles()) {
    if (file->type == DclConfigObject::VLAN_OPTIONS) {
      return PlanRules(file->profiles, isEnabled);
    }
  }
  return {};
}

void Loader::Apply() {
  VlanIds named;
  for (const auto& file : m_folder.GetFiles()) {
    named.insert(file->vlans.begin(), file->vlans.end());
  }
  m_device.Apply(m_folder.GetDevice(), named);
  const VlanIds before = ExistingVlans();
  ApplyDocuments();
  for (const unsigned short vlan : ExistingVlans()) {
    if (before.count(vlan) == 0) {
      m_device.AnnounceTo(vlan);
    }
  }
  ApplyRoutes();
  m_redistribution.Push(PlanRedistribution(IsEnabledNow));
}

// What the library had queued was for the stack that is gone. A VLAN's record of readiness is as well,
// and would let requests through before the new stack knows the VLAN; so no VLAN outlives this.
void Loader::BringBack() {
  DcRouterMgr* manager = DcRouterMgr::GetInstance();
  manager->GetSerializer().Reset();
  manager->GetCfgSched().Reset();
  WithdrawDocuments();
  for (const unsigned short vlan : ExistingVlans()) {
    Tarsel::DcRtmMgr::GetInstance()->DeleteRtmConfig(vlan);
  }
  m_feeder.Forget();
  m_redistribution.Forget();
  ApplyDocuments();
  m_device.BringBack();
  for (const unsigned short vlan : ExistingVlans()) {
    m_device.AnnounceTo(vlan);
  }
  ApplyRoutes();
  m_redistribution.Push(PlanRedistribution(IsEnabledNow));
}

void Loader::WithdrawDocuments() {
  for (const auto& [name, type] : m_applied) {
    DcRouterMgr::GetInstance()->DeleteOptions(name.c_str(), type);
  }
  m_applied.clear();
}

void Loader::ApplyDocuments() {
  auto withdrawn = std::exchange(m_applied, {});
  for (const auto& file : m_folder.GetFiles()) {
    DcRouterMgr::GetInstance()->Reload(file->document, file->name.c_str(), file->type);
    m_applied[file->name] = file->type;
    withdrawn.erase(file->name);
  }
  for (const auto& [name, type] : withdrawn) {
    DcRouterMgr::GetInstance()->DeleteOptions(name.c_str(), type);
  }
}

void Loader::ApplyRoutes() {
  const RouteSet routes = m_folder.CollectRoutes();
  const VlanIds vlans = ExistingVlans();
  std::vector<RouteKey> waiting;
  m_feeder.Push(ResolveRoutes(
      routes, [&](unsigned short vlan) { return vlans.count(vlan) != 0; },
      [&](unsigned short vlan, const std::string& name) { return m_device.IndexOf(vlan, name); },
      waiting));
  for (const RouteKey& key : waiting) {
    if (m_waitingRoutes.count(key) == 0) {
      m_report(routes.at(key).origin + ": waits for interface " + program::Quote(key.second));
    }
  }
  m_waitingRoutes = std::set<RouteKey>(waiting.begin(), waiting.end());
}

}  // namespace host
