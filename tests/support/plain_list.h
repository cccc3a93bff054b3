// The least configuration list there is: rows of a number and a value, under a router without a
// protocol, so that what is measured is the list.
#ifndef TESTS_SUPPORT_PLAIN_LIST_H
#define TESTS_SUPPORT_PLAIN_LIST_H

#include <json/json.h>

#include <cstddef>

#include "tarsel/options.h"
#include "vantacore/dc_router_base.h"

namespace test_support {

class PlainRouter : public Tarsel::DcRouterBase {
 public:
  PlainRouter() : DcRouterBase("BENCH", 10, nullptr) {}
  bool CreateConfigList(Tarsel::DcConfigLists&) override { return true; }
};

// The least that a concrete object does.
class PlainRow : public Tarsel::DclConfigObject {
 public:
  explicit PlainRow(Tarsel::DcRouterBase& owner) : DclConfigObject(owner) {}
  explicit PlainRow(const PlainRow* parsed) : DclConfigObject(parsed), m_value(parsed->m_value) {}

  int Compare(Tarsel::DclConfigObject* other) override {
    return !KeyMatch(other) ? 2 : m_value == static_cast<PlainRow*>(other)->m_value ? 0 : 1;
  }
  void Update(Tarsel::DclConfigObject* other) override {
    m_value = static_cast<PlainRow*>(other)->m_value;
  }
  unsigned short GetRowStatus() override { return 1; }
  void SetDestroy() override { m_destroyed = true; }
  void Display(Tarsel::DcConsole*, unsigned int) override {}
  bool CommitToMib() override {
    SetActionReq(false);
    return m_destroyed;
  }
  bool ParseOption(const Tarsel::OptionsNode& node, unsigned short) override {
    return node.AsVal(id, "id") != 0 && node.AsVal(m_value, "value") != 0;
  }

 private:
  int m_value = 0;
  bool m_destroyed = false;
};

class PlainList : public Tarsel::DCLConfigList {
 public:
  explicit PlainList(Tarsel::DcRouterBase* owner) : DCLConfigList(owner, "Bench", "ROWS") {}
  void ProcessInterfaceStatusChange(unsigned int, unsigned int) override {}
  Tarsel::DclConfigObject* CreateObject(const Tarsel::OptionsNode&, const Tarsel::string&,
                                        Tarsel::DclConfigObject::OptionType) override {
    return new PlainRow(*router);
  }
  Tarsel::DclConfigObject* CloneObject(Tarsel::DclConfigObject* parsed) override {
    return new PlainRow(static_cast<PlainRow*>(parsed));
  }
  std::size_t Size() const { return objects.size(); }
};

// `count` rows of which the first `changed` have the value 1, the others 0.
inline Tarsel::Options PlainListDocument(int count, int changed) {
  Json::Value root;
  for (int i = 0; i < count; ++i) {
    Json::Value row;
    row["id"] = i;
    row["value"] = i < changed ? 1 : 0;
    root["ROWS"].append(row);
  }
  return Tarsel::Options(root);
}

}  // namespace test_support

#endif
