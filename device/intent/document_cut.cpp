#include "document_cut.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>

#include "device/documents/members.h"
#include "device/documents/router_members.h"
#include "vlan_forecast.h"

namespace intent {

using documents::ConfigFile;
using documents::ProtocolSets;
using documents::ROUTER_MEMBERS;
using documents::RouterMember;
using Tarsel::DclConfigObject;
using Tarsel::Options;
using Tarsel::OptionsNode;
using Tarsel::OptionsNodeIterator;
using Tarsel::string;

namespace {

constexpr const char* ENTRIES = "VLAN_CONFIGURATIONS";

unsigned int BitsOf(const ProtocolSets& sets, unsigned short vlan) {
  const auto found = sets.find(vlan);
  return found == sets.end() ? 0 : found->second;
}

bool IsContainer(const OptionsNode& node) {
  return node.IsObject() || (node.IsEmpty() && !node.IsNull()) || node.begin() != node.end();
}

// A value is read through the object that it is a member of. A number with a fraction is handed out
// as a text only, and so is this copy of it.
Json::Value CopyScalar(const OptionsNode& parent, const char* name) {
  bool flag = false;
  int number = 0;
  unsigned int large = 0;
  string text;
  if (parent.AsVal(flag, name)) {
    return flag;
  }
  parent.GetAsString(text, name);
  if (parent.AsVal(number, name)) {
    const bool isWhole = text == std::to_string(number).c_str();
    return isWhole ? Json::Value(number) : Json::Value(static_cast<double>(number));
  }
  return parent.AsVal(large, name) ? Json::Value(large) : Json::Value(text.c_str());
}

Json::Value Copy(const OptionsNode& node);

Json::Value CopyMember(const OptionsNode& parent, const OptionsNode& child, const char* name) {
  if (child.IsNull()) {
    return Json::Value();
  }
  return IsContainer(child) ? Copy(child) : CopyScalar(parent, name);
}

// Nobody can read a value that is an element of an array, only that it is none of the others.
Json::Value CopyElement(const OptionsNode& child) {
  return child.IsNull() ? Json::Value() : IsContainer(child) ? Copy(child) : Json::Value(0);
}

// Of an object or an array.
Json::Value Copy(const OptionsNode& node) {
  Json::Value copy(node.IsObject() ? Json::objectValue : Json::arrayValue);
  const OptionsNodeIterator end = node.end();
  for (OptionsNodeIterator child = node.begin(); child != end; ++child) {
    if (node.IsObject()) {
      const string name = child.GetName();
      copy[name.c_str()] = CopyMember(node, *child, name.c_str());
    } else {
      copy.append(CopyElement(*child));
    }
  }
  return copy;
}

Json::Value CopyWithout(const OptionsNode& entry, unsigned int protocols) {
  Json::Value copy = Copy(entry);
  for (const RouterMember& member : ROUTER_MEMBERS) {
    if (protocols & documents::BitOf(member.router)) {
      copy.removeMember(member.name);
    }
  }
  return copy;
}

Json::Value WithEmptyLists(const OptionsNode& member, bool isEnabled) {
  Json::Value emptied(Json::objectValue);
  const OptionsNodeIterator end = member.end();
  for (OptionsNodeIterator child = member.begin(); child != end; ++child) {
    const string name = child.GetName();
    emptied[name.c_str()] = IsContainer(*child) ? Json::Value(Json::objectValue)
                                                : CopyMember(member, *child, name.c_str());
  }
  emptied[documents::ENABLED.name] = isEnabled;
  return emptied;
}

bool HasRows(const OptionsNode& member) {
  const OptionsNodeIterator end = member.end();
  for (OptionsNodeIterator child = member.begin(); child != end; ++child) {
    if (IsContainer(*child) && !(*child).IsEmpty()) {
      return true;
    }
  }
  return false;
}

using Use = std::function<void(const OptionsNode& entry, const string& name, unsigned short vlan)>;

// Calls back with the entries that the library takes.
void ForEachEntry(const OptionsNode& list, const Use& use) {
  const OptionsNodeIterator end = list.end();
  for (OptionsNodeIterator entry = list.begin(); entry != end; ++entry) {
    int number = 0;
    if ((*entry).AsVal(number, "vid")) {
      use(*entry, list.IsObject() ? entry.GetName() : string(),
          static_cast<unsigned short>(number));
    }
  }
}

}  // namespace

Scope::Scope(const documents::ConfigFiles& files)
    : vlans(FindVlans(files)), protocols(FindEnabledProtocols(files)) {}

unsigned int Scope::Running(unsigned short vlan) const { return BitsOf(protocols, vlan); }

unsigned int Scope::ProtocolsOf(const ConfigFile& file, unsigned short vlan) const {
  return BitsOf(file.protocols, vlan) & Running(vlan);
}

std::shared_ptr<const Options> CutDocument(const ConfigFile& file, const Scope& scope) {
  const bool isWhole =
      file.type == DclConfigObject::VLAN_OPTIONS ||
      std::all_of(file.protocols.begin(), file.protocols.end(), [&](const auto& entry) {
        return scope.HasVlan(entry.first) && (entry.second & ~scope.Running(entry.first)) == 0;
      });
  if (isWhole) {
    return nullptr;
  }
  const OptionsNode list = file.document.GetRootNode().GetChildNode(ENTRIES);
  Json::Value entries(list.IsObject() ? Json::objectValue : Json::arrayValue);
  ForEachEntry(list, [&](const OptionsNode& entry, const string& name, unsigned short vlan) {
    if (scope.HasVlan(vlan)) {
      Json::Value& place = list.IsObject() ? entries[name.c_str()] : entries.append(Json::Value());
      place = CopyWithout(entry, ~scope.Running(vlan));
    }
  });
  Json::Value root(Json::objectValue);
  root[ENTRIES] = std::move(entries);
  return std::make_shared<const Options>(std::move(root));
}

std::vector<EmptiedMember> EmptyMembers(const ConfigFile& file, const ProtocolSets& protocols,
                                        bool areStopping) {
  const bool letsStop = areStopping && file.type != DclConfigObject::VLAN_OPTIONS;
  std::vector<EmptiedMember> emptied;
  const OptionsNode list = file.document.GetRootNode().GetChildNode(ENTRIES);
  ForEachEntry(list, [&](const OptionsNode& entry, const string&, unsigned short vlan) {
    const unsigned int bits = BitsOf(protocols, vlan);
    for (const RouterMember& member : ROUTER_MEMBERS) {
      const OptionsNode node = entry.GetChildNode(member.name);
      if ((bits & documents::BitOf(member.router)) && (letsStop || HasRows(node))) {
        Json::Value only(Json::objectValue);
        only[member.name] = WithEmptyLists(node, !letsStop);
        emptied.push_back({vlan, member.router, file.name, file.type,
                           std::make_shared<const Options>(std::move(only))});
      }
    }
  });
  return emptied;
}

}  // namespace intent
