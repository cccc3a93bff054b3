// The base of the protocol routers.
//
// A router is made of its protocol's configuration, which decides whether it is enabled and ready,
// and of configuration lists, which carry its rows into the stack. Configuration comes from several
// sources, each under the name of the document that it came from; the protocol configuration sees
// all of them, while every source has lists of its own, so that withdrawing one leaves the rows of
// the others alone.
//
// Only a protocol that runs on interfaces has lists. A source gets them on the first reload that
// finds the protocol enabled. They are deleted when the source no longer names the router, when a
// reload finds the protocol disabled, and with the router. Deleting the lists does not tell the
// stack: withdrawing the rows is the concrete protocol's task.
#include "vantacore/dc_router_base.h"

#include <new>

#include "vantacore/config_parser.h"

namespace Tarsel {

DcIpInterface* DcRouterBase::m_ip_interface = nullptr;
DcSckInterface* DcRouterBase::m_sck_interface = nullptr;

DcProtoConfigBase::~DcProtoConfigBase() = default;

DcConfigLists::DcConfigLists(const string& source, DclConfigObject::OptionType sourceType)
    : name(source), type(sourceType) {}

DcConfigLists::~DcConfigLists() {
  for (DCLConfigList* list : lists) {
    list->Clear();
    delete list;
  }
}

DcRouterBase::DcRouterBase(const string& protocol, unsigned short vid, DcProtoConfigBase* config)
    : protoConfig(config), name(protocol), vlan(vid), status(DcProtoInterfaceBase::DISABLED) {
  displayName.Format("%s:%u", name.c_str(), vlan);
}

DcRouterBase::~DcRouterBase() {
  delete protoConfig;
  // Objects may ask the router while they are deleted. They must not find a deleted configuration,
  protoConfig = nullptr;
  // nor lists that are deleted or being deleted.
  while (!configLists.empty()) {
    const auto first = configLists.begin();
    const DcConfigLists* lists = first->second;
    configLists.erase(first);
    delete lists;
  }
}

// ---- configuration

int DcRouterBase::Reload(const OptionsNode& node, const string& source,
                         DclConfigObject::OptionType type) {
  const OptionsNode member = node.GetChildNode(name.c_str());
  if (member.IsEmpty()) {
    DeleteOptions(source, type);
    return 1;
  }
  if (protoConfig != nullptr) {
    protoConfig->ParseOptions(member, source, type);
  }
  DcProtoInterfaceBase* interfaceBase = GetInterface();
  if (interfaceBase == nullptr) {
    return 1;
  }
  if (!interfaceBase->IsEnabled()) {
    DropConfigLists(source);
    return 1;
  }
  if (const DcConfigLists* lists = FindOrCreateConfigLists(source, type)) {
    for (DCLConfigList* list : lists->GetLists()) {
      list->Parse(member, source, type);
    }
  }
  return 1;
}

// The source's lists, or null when the concrete router refuses it.
DcConfigLists* DcRouterBase::FindOrCreateConfigLists(const string& source,
                                                     DclConfigObject::OptionType type) {
  const auto found = configLists.find(source);
  if (found != configLists.end()) {
    return found->second;
  }
  DcConfigLists* lists = CreateConfigLists(source, type);
  if (lists == nullptr) {
    return nullptr;
  }
  if (!CreateConfigList(*lists)) {
    delete lists;
    return nullptr;
  }
  configLists.emplace(source, lists);
  return lists;
}

DcConfigLists* DcRouterBase::CreateConfigLists(const string& source,
                                               DclConfigObject::OptionType type) {
  return new (std::nothrow) DcConfigLists(source, type);
}

void DcRouterBase::DeleteOptions(const string& source, DclConfigObject::OptionType type) {
  // The caller's text may be part of what is about to be deleted.
  const string copy = source;
  if (protoConfig != nullptr) {
    protoConfig->DeleteOptions(copy, type);
  }
  DropConfigLists(copy);
}

void DcRouterBase::DropConfigLists(const string& source) {
  const auto found = configLists.find(source);
  if (found == configLists.end()) {
    return;
  }
  const DcConfigLists* lists = found->second;
  configLists.erase(found);
  delete lists;
}

// ---- status

DcProtoInterfaceBase* DcRouterBase::GetInterface() const {
  return dynamic_cast<DcProtoInterfaceBase*>(protoConfig);
}

void DcRouterBase::SetStatus(string, DcProtoInterfaceBase::ConfigStatus newStatus) {
  SetStatus(newStatus);
}

void DcRouterBase::SetStatus(DcProtoInterfaceBase::ConfigStatus newStatus) { status = newStatus; }

bool DcRouterBase::IsEnabled() const {
  DcProtoInterfaceBase* interfaceBase = GetInterface();
  return interfaceBase != nullptr ? interfaceBase->IsEnabled()
                                  : status != DcProtoInterfaceBase::DISABLED;
}

bool DcRouterBase::IsReady() const {
  DcProtoInterfaceBase* interfaceBase = GetInterface();
  return interfaceBase != nullptr ? interfaceBase->IsReady()
                                  : status == DcProtoInterfaceBase::READY;
}

bool DcRouterBase::IsEnabled(unsigned int ifIndex) const { return ifStatus.count(ifIndex) != 0; }

bool DcRouterBase::IsReady(unsigned int ifIndex) const {
  if (DcProtoInterfaceBase* interfaceBase = GetInterface()) {
    return interfaceBase->IsReady(ifIndex);
  }
  const auto found = ifStatus.find(ifIndex);
  return found != ifStatus.end() && found->second;
}

void DcRouterBase::SetInterfaceStatus(unsigned int ifIndex,
                                      DcProtoInterfaceBase::IfStatus newStatus) {
  if (newStatus == DcProtoInterfaceBase::IF_GONE) {
    ifStatus.erase(ifIndex);
  } else {
    ifStatus[ifIndex] = newStatus != DcProtoInterfaceBase::IF_NOT_READY;
  }
}

// ---- events

void DcRouterBase::ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int newStatus) {
  DcProtoInterfaceBase* interfaceBase = GetInterface();
  if (interfaceBase == nullptr) {
    return;
  }
  interfaceBase->ProcessInterfaceStatusChange(ifIndex, newStatus);
  for (const auto& entry : configLists) {
    for (DCLConfigList* list : entry.second->GetLists()) {
      list->ProcessInterfaceStatusChange(ifIndex, newStatus);
    }
  }
}

void DcRouterBase::ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address) {
  if (DcProtoInterfaceBase* interfaceBase = GetInterface()) {
    interfaceBase->ProcessIPAddressChange(ifIndex, address);
  }
}

string DcRouterBase::FormatIpv4Addr(const void* address) const { return FormatIp4Addr(address); }

// ---- the host's interfaces

void DcRouterBase::Initialize(DcIpInterface* ipInterface) { m_ip_interface = ipInterface; }
void DcRouterBase::SocketInitialize(DcSckInterface* sckInterface) {
  m_sck_interface = sckInterface;
}

// The stack may ask for a descriptor before the host has bound its event loop.

void DcRouterBase::SetSckDescriptor(int fd, int mode, int id) {
  if (m_sck_interface != nullptr) {
    m_sck_interface->RegisterDescriptor(fd, mode, id);
  }
}

void DcRouterBase::RemoveSckDescriptor(int fd, int id) {
  if (m_sck_interface != nullptr) {
    m_sck_interface->RemoveDescriptor(fd, id);
  }
}

void DcRouterBase::ChangeWorkMask(int fd, int mode) {
  if (m_sck_interface != nullptr) {
    m_sck_interface->ChangeDescriptorMode(fd, mode);
  }
}

}  // namespace Tarsel
