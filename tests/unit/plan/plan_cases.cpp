#include "tests/unit/plan/plan_cases.h"

#include <gtest/gtest.h>

#include "tests/support/read_documents.h"

namespace plan_tests {

intent::Intent IntentOf(const Texts& texts) {
  documents::Folder folder;
  folder.declared = documents::DeclaredProtocols();
  const auto add = [&](const std::string& name, const std::string& text) {
    folder.files.push_back(test_support::ReadConfig(name, text));
    EXPECT_FALSE(folder.files.back()->findings.HasErrors())
        << folder.files.back()->findings.Lines()[0];
  };
  const auto vlans = texts.find("vlans.json");
  if (vlans != texts.end()) add(vlans->first, vlans->second);
  for (const auto& [name, text] : texts) {
    if (name == "device.json") {
      const auto file = std::make_shared<documents::DeviceFile>();
      file->device = test_support::ReadDevice(text);
      folder.deviceFile = file;
    } else if (name != "vlans.json") {
      add(name, text);
    }
  }
  return intent::Intent(folder);
}

std::string WithEntries(const std::string& entries) {
  return R"({"VLAN_CONFIGURATIONS": {)" + entries + "}}";
}

std::string WithMembers(const std::string& members) {
  return WithEntries(R"("v": {"vid": 10, )" + members + "}");
}

std::string WithInterfaces(const std::string& interfaces) {
  return R"({"default_vlan": 10, "interfaces": [)" + interfaces + "]}";
}

Lines ListAll(const intent::Intent& from, const intent::Intent& to) {
  Lines lines;
  const plan::Totals totals = plan::ListChanges(from, to, [&](const std::string& line) {
    lines.push_back(line);
    return true;
  });
  EXPECT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), plan::DescribeTotals(totals));
  const plan::Plan plan = plan::MakePlan(from, to);
  EXPECT_EQ(plan::DescribeTotals(plan.totals), plan::DescribeTotals(totals));
  EXPECT_EQ(plan.totals.requests, totals.requests);
  return lines;
}

Lines ListAll(const Texts& from, const Texts& to) { return ListAll(IntentOf(from), IntentOf(to)); }

}  // namespace plan_tests
