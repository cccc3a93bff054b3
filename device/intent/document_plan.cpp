#include "document_plan.h"

#include <algorithm>
#include <utility>

namespace intent {

using documents::ConfigFile;
using documents::ConfigFiles;
using documents::ProtocolSets;
using Tarsel::DclConfigObject;

namespace {

const ConfigFile* Find(const ConfigFiles& files, const std::string& name) {
  const auto found = std::find_if(files.begin(), files.end(),
                                  [&name](const auto& file) { return file->name == name; });
  return found == files.end() ? nullptr : found->get();
}

class Planner {
 public:
  Planner(const ConfigFiles& applied, const ConfigFiles& wanted)
      : m_applied(applied), m_wanted(wanted), m_before(applied), m_after(wanted) {}

  DocumentPlan Plan() {
    FindStopping();
    for (const auto& file : m_applied) {
      Empty(*file, true);
    }
    for (const auto& file : m_wanted) {
      const ConfigFile* const old = Find(m_applied, file->name);
      if (old != nullptr) {
        Empty(*old, false);
      }
      if (old != file.get() || IsHandedOverOtherwise(*file)) {
        m_plan.steps.emplace_back(DocumentLoad{file, CutDocument(*file, m_after)});
      }
    }
    for (const auto& file : m_applied) {
      if (Find(m_wanted, file->name) == nullptr) {
        Empty(*file, false);
        m_plan.steps.emplace_back(DocumentWithdrawal{file->name, file->type});
      }
    }
    return std::move(m_plan);
  }

 private:
  void FindStopping() {
    for (const auto& [vlan, protocols] : m_before.protocols) {
      const unsigned int stopping = protocols & ~m_after.Running(vlan);
      if (m_after.HasVlan(vlan) && stopping != 0) {
        m_plan.stopping.emplace_hint(m_plan.stopping.end(), vlan, stopping);
      }
    }
  }

  // The members that go, of protocols that stop or of the others.
  void Empty(const ConfigFile& file, bool areStopping) {
    const ConfigFile* const next = Find(m_wanted, file.name);
    ProtocolSets members;
    for (const auto& entry : file.protocols) {
      const unsigned short vlan = entry.first;
      const unsigned int after = next == nullptr ? 0 : m_after.ProtocolsOf(*next, vlan);
      const unsigned int going = m_before.ProtocolsOf(file, vlan) & ~after;
      const unsigned int running = m_after.Running(vlan);
      const unsigned int bits = going & (areStopping ? ~running : running);
      if (bits != 0 && m_before.HasVlan(vlan) && m_after.HasVlan(vlan)) {
        members.emplace_hint(members.end(), vlan, bits);
      }
    }
    if (members.empty()) {
      return;
    }
    for (EmptiedMember& member : EmptyMembers(file, members, areStopping)) {
      m_plan.steps.emplace_back(std::move(member));
    }
  }

  bool IsHandedOverOtherwise(const ConfigFile& file) const {
    return file.type != DclConfigObject::VLAN_OPTIONS &&
           std::any_of(file.vlans.begin(), file.vlans.end(), [&](unsigned short vlan) {
             return m_before.HasVlan(vlan) != m_after.HasVlan(vlan) ||
                    m_before.ProtocolsOf(file, vlan) != m_after.ProtocolsOf(file, vlan);
           });
  }

  const ConfigFiles& m_applied;
  const ConfigFiles& m_wanted;
  const Scope m_before;
  const Scope m_after;
  DocumentPlan m_plan;
};

}  // namespace

DocumentPlan PlanDocuments(const ConfigFiles& applied, const ConfigFiles& wanted) {
  return Planner(applied, wanted).Plan();
}

}  // namespace intent
