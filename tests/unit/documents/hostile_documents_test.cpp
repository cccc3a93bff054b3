// Documents that are written to take long, or much memory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>

#include "tests/unit/documents/reading.h"

namespace {

using documents_tests::ReadDevice;
using documents_tests::ReadVlans;
using documents_tests::WithEntries;
using testing::ElementsAre;
using testing::HasSubstr;

double ProcessorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

std::string Numbered(unsigned count, const std::string& before, const std::string& after) {
  std::string text;
  for (unsigned i = 0; i < count; ++i) {
    text += (text.empty() ? "" : ",") + before + std::to_string(i) + after;
  }
  return text;
}

// Each of many routes is compared with the one that counts, whose name is most of the document.
TEST(HostileDocument, HasALongNameInFrontOfShortOnes) {
  for (const std::string metric : {"", R"(, "metric": 2)"}) {
    const std::string route = R"({"network": "::", "prefix": 0, "gateway": "::1")";
    const std::string text = WithEntries(
        R"("a": {"vid": 1, "STATIC_ROUTES6": {")" + std::string(8000000, 'A') + "\": " + route +
        "}, " + Numbered(50000, "\"B", "\": " + route + metric + "}") + "}}");
    const double begin = ProcessorSeconds();
    const auto read = ReadVlans(text);
    EXPECT_LT(ProcessorSeconds() - begin, 3);
    EXPECT_EQ(read.file.routes.Get().size(), 1u);
    EXPECT_EQ(read.file.findings.CountErrors(), metric.empty() ? 0u : 50000u);
  }
}

std::string Device(const std::string& interfaceMembers, const std::string& members = "") {
  return R"({"default_vlan": 1, "interfaces": [{"name": "a", "vlan": 1, "index": 1)" +
         interfaceMembers + "}]" + members + "}";
}

constexpr char NO_ROOM[] = "too much for the memory of a document, expected at most ";

TEST(HostileDocument, HasMoreInterfacesThanFit) {
  std::string interfaces;
  for (unsigned i = 1; i <= 150000; ++i) {
    const std::string number = std::to_string(i);
    interfaces += (i == 1 ? R"({"name":"a)" : R"(,{"name":"a)") + number;
    interfaces += R"(","vlan":1,"index":)" + number + "}";
  }
  const auto read = ReadDevice(R"({"default_vlan": 1, "interfaces": [)" + interfaces + "]}");
  EXPECT_THAT(read.Lines(), ElementsAre(HasSubstr(NO_ROOM)));
  EXPECT_GT(read.file.device.interfaces.size(), 65536u);
  EXPECT_LT(read.file.device.interfaces.size(), 150000u);
}

TEST(HostileDocument, HasMoreAddressesThanFit) {
  std::string addresses;
  for (unsigned i = 0; i < 220000; ++i) {
    char text[32];
    std::snprintf(text, sizeof text, "%s\"%x:%x::/9\"", i == 0 ? "" : ",", i >> 16, i & 0xFFFF);
    addresses += text;
  }
  const auto read = ReadDevice(Device(R"(, "ipv6": [)" + addresses + "]"));
  EXPECT_THAT(read.Lines(), ElementsAre(HasSubstr(NO_ROOM)));
  EXPECT_TRUE(read.file.device.interfaces.empty()) << "there is no room for the interface either";
}

TEST(HostileDocument, HasOneVlansPrimaryInterfaceManyTimes) {
  std::string names = R"("1": "a")";
  for (unsigned i = 0; i < 500000; ++i) {
    names += R"(,"1":"a")";
  }
  const auto read = ReadDevice(Device("", R"(, "primary_interfaces": {)" + names + "}"));
  EXPECT_EQ(read.file.findings.CountErrors(), 500000u) << "each name once";
  EXPECT_EQ(read.file.device.primaries.at(1), "a");
}

TEST(HostileDocument, HasManyNumbersThatNobodyHasDeclared) {
  const documents::VlanShapes shapes(documents::Protocols{nullptr, 0});
  std::string numbers = "-1, 2147483647, 2147483648";
  for (unsigned i = 0; i < 300000; ++i) {
    numbers += ",1";
  }
  const double begin = ProcessorSeconds();
  const auto read =
      ReadVlans(WithEntries(R"("a": {"vid": 1, "BGP": {"x": [)" + numbers + "]}}"), shapes);
  EXPECT_LT(ProcessorSeconds() - begin, 1);
  EXPECT_EQ(read.file.findings.CountErrors(), 0u);
  const Tarsel::OptionsNode list = read.file.document.GetRootNode()
                                       .GetChildNode("VLAN_CONFIGURATIONS")
                                       .GetChildNode("a")
                                       .GetChildNode("BGP")
                                       .GetChildNode("x");
  unsigned count = 0;
  for (auto i = list.begin(); i != list.end(); ++i) {
    ++count;
  }
  EXPECT_EQ(count, 300003u);
}

TEST(HostileDocument, HasMoreThanFitsThatNobodyHasDeclared) {
  const documents::VlanShapes shapes(documents::Protocols{nullptr, 0});
  std::string numbers = "1";
  for (unsigned i = 0; i < 600000; ++i) {
    numbers += ",1";
  }
  const auto read = ReadVlans(WithEntries(R"("a": {"vid": 1, "BGP": {"x": [)" + numbers + "]}}, " +
                                          R"("b": {"vid": 2, "BGP": {"x": [1]}})"),
                              shapes);
  ASSERT_EQ(read.file.findings.CountErrors(), 1u);
  EXPECT_THAT(read.Lines()[0], HasSubstr(NO_ROOM));
  const Tarsel::OptionsNode entry =
      read.file.document.GetRootNode().GetChildNode("VLAN_CONFIGURATIONS").GetChildNode("b");
  EXPECT_TRUE(entry.GetChildNode("BGP").IsObject());
  EXPECT_TRUE(entry.GetChildNode("BGP").IsEmpty());
}

}  // namespace
