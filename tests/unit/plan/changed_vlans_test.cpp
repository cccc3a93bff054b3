// Which VLANs a plan looks into: those whose text has not changed would cost their time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/plan/sides.h"
#include "tests/unit/plan/plan_cases.h"

namespace {

using namespace plan_tests;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Entry(unsigned int vlan, const std::string& members = "") {
  return "\"v" + std::to_string(vlan) + "\": {\"vid\": " + std::to_string(vlan) + members + "}";
}

documents::VlanIds Changed(const Texts& from, const Texts& to) {
  const intent::Intent a = IntentOf(from);
  const intent::Intent b = IntentOf(to);
  const documents::VlanIds changed = plan::FindChangedVlans(a, b);
  EXPECT_EQ(plan::FindChangedVlans(b, a), changed);
  return changed;
}

std::string Interface(unsigned int vlan, unsigned int mtu) {
  return R"({"name": "eth0", "vlan": )" + std::to_string(vlan) + R"(, "index": 1, "mtu": )" +
         std::to_string(mtu) + "}";
}

TEST(ChangedVlans, AreThoseWithAnotherText) {
  const std::string note = R"(, "x-note": 1)";
  const Texts from = {
      {"vlans.json", WithEntries(Entry(10) + "," + Entry(11) + "," + Entry(12) + "," + Entry(13))}};
  const Texts to = {{"vlans.json", WithEntries(Entry(10) + "," + Entry(11, note) + "," + Entry(12) +
                                               "," + Entry(13))}};
  EXPECT_THAT(Changed(from, from), IsEmpty());
  EXPECT_THAT(Changed(from, to), ElementsAre(11));
}

TEST(ChangedVlans, AreThoseOfDocumentsThatComeOrGo) {
  const Texts one = {{"vlans.json", WithEntries(Entry(10) + "," + Entry(11) + "," + Entry(12))},
                     {"remote/b.json", WithEntries(Entry(10))},
                     {"remote/d.json", WithEntries(Entry(11))}};
  for (const char* name : {"remote/a.json", "remote/c.json", "remote/e.json"}) {
    Texts two = one;
    two[name] = WithEntries(Entry(12));
    EXPECT_THAT(Changed(one, two), ElementsAre(12)) << name;
  }
  EXPECT_THAT(Changed(one, {}), ElementsAre(10, 11, 12));
}

TEST(ChangedVlans, AreThoseOfInterfacesThatDiffer) {
  const auto device = [](unsigned int one, unsigned int two, const std::string& primaries = "") {
    return Texts{{"device.json", R"({"default_vlan": 10, "interfaces": [)" + Interface(10, 1500) +
                                     "," + Interface(11, one) + "," + Interface(12, two) + "]" +
                                     primaries + "}"}};
  };
  EXPECT_THAT(Changed(device(1500, 1500), device(1500, 1500)), IsEmpty());
  EXPECT_THAT(Changed(device(1500, 1500), device(1500, 1400)), ElementsAre(12));
  EXPECT_THAT(
      Changed(device(1500, 1500), device(1500, 1500, R"(, "primary_interfaces": {"11": "eth0"})")),
      ElementsAre(11));
}

TEST(ChangedVlans, AreAllOfADocumentWithErrors) {
  const Texts texts = {{"vlans.json", WithEntries(Entry(10) + "," + Entry(11))}};
  documents::Folder folder = IntentOf(texts).GetFolder();
  auto broken = std::make_shared<documents::ConfigFile>(*folder.files[0]);
  broken->findings.Add({documents::Severity::ERROR, {}, "wrong"});
  folder.files[0] = broken;
  const intent::Intent other(folder);
  EXPECT_THAT(plan::FindChangedVlans(IntentOf(texts), other), ElementsAre(10, 11));
  EXPECT_THAT(plan::FindChangedVlans(other, IntentOf(texts)), ElementsAre(10, 11));
  EXPECT_THAT(plan::FindChangedVlans(other, other), IsEmpty());
}

}  // namespace
