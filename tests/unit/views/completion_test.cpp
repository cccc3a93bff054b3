// What half-typed values may become.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/views/completion.h"
#include "tests/unit/views/view_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Completion : public views_test::ViewFixture {
 protected:
  Completion() {
    m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"},
      {"name": "eth1", "vlan": 10, "index": 4},
      {"name": "port1", "vlan": 10, "index": 5},
      {"name": "eth2", "vlan": 20, "index": 6}]})");
  }
  std::vector<std::string> Prefixes(const std::string& begun, std::size_t most = 100) {
    return m_questions.CompletePrefix(10, begun.find(':') != std::string::npos, begun, most);
  }
};

TEST_F(Completion, OfVlansAndInterfaces) {
  StartWith(Entry(10, "") + "," + Entry(20, "") + "," + Entry(2000, ""));
  EXPECT_THAT(m_questions.CompleteVlan("", 10), ElementsAre("10", "20", "2000"));
  EXPECT_THAT(m_questions.CompleteVlan("2", 10), ElementsAre("20", "2000"));
  EXPECT_THAT(m_questions.CompleteVlan("2", 1), ElementsAre("20"));
  EXPECT_THAT(m_questions.CompleteInterface(10, "eth", 10), ElementsAre("eth0", "eth1"));
  EXPECT_THAT(m_questions.CompleteInterface(10, "", 2), ElementsAre("eth0", "eth1"));
  EXPECT_THAT(m_questions.CompleteInterface(20, "eth", 10), ElementsAre("eth2"));
  EXPECT_THAT(m_questions.CompleteInterface(30, "", 10), IsEmpty());
}

TEST_F(Completion, OfPrefixes) {
  const std::string rest = R"("gateway": "10.1.2.1")";
  const std::string other = R"("gateway": "10.1.2.2", "interface": "eth9")";
  StartWith(R"("a": {"vid": 10, "STATIC_ROUTES": {)" + Route("a", "1.0.0.0", "255.0.0.0", rest) +
            "," + Route("b", "10.9.0.0", "255.255.0.0", rest) + "," +
            Route("c", "10.9.0.0", "255.255.0.0", other) + "," +
            Route("d", "10.19.0.0", "255.255.0.0", other) + "," +
            Route("e", "10.9.128.0", "255.255.128.0", rest) + "," +
            Route("f", "100.0.0.0", "255.0.0.0", rest) + R"(}, "STATIC_ROUTES6": {
    "r": {"network": "2001:db8::", "prefix": 32, "gateway": "2001:db8::1"},
    "s": {"network": "2001:db8:10::", "prefix": 48, "gateway": "2001:db8::1"},
    "t": {"network": "2002::", "prefix": 16, "gateway": "2001:db8::1"}}})");
  EXPECT_THAT(Prefixes("1"), ElementsAre("1.0.0.0/8", "10.9.0.0/16", "10.9.128.0/17",
                                         "10.19.0.0/16", "100.0.0.0/8"));
  EXPECT_THAT(Prefixes("1", 2), ElementsAre("1.0.0.0/8", "10.9.0.0/16"));
  EXPECT_THAT(Prefixes("10.9."), ElementsAre("10.9.0.0/16", "10.9.128.0/17"));
  EXPECT_THAT(Prefixes("10.1"), ElementsAre("10.19.0.0/16"));
  EXPECT_THAT(Prefixes("10.9.0.0/"), ElementsAre("10.9.0.0/16"));
  EXPECT_THAT(Prefixes("10.9.0.0/17"), IsEmpty());
  EXPECT_THAT(Prefixes("300."), IsEmpty());
  EXPECT_THAT(Prefixes("x"), IsEmpty());
  EXPECT_THAT(Prefixes("x.9.0"), IsEmpty());
  EXPECT_THAT(Prefixes("0.9.0"), IsEmpty());
  EXPECT_THAT(Prefixes(".9"), IsEmpty());
  EXPECT_THAT(Prefixes("10.9.0.0"), ElementsAre("10.9.0.0/16"));
  EXPECT_THAT(Prefixes("10.9.0.0."), IsEmpty());
  EXPECT_THAT(Prefixes("10.9.0.0.0"), IsEmpty());
  EXPECT_THAT(Prefixes("10.9.128.0/1"), ElementsAre("10.9.128.0/17"));
  EXPECT_THAT(Prefixes("2001:db8::/"), ElementsAre("2001:db8::/32"));
  EXPECT_THAT(Prefixes("2001:x:"), IsEmpty());
  EXPECT_THAT(Prefixes("2001:db8:10:"), ElementsAre("2001:db8:10::/48"));
  EXPECT_THAT(Prefixes("20010:"), IsEmpty());
  EXPECT_THAT(Prefixes("2001:d"), ElementsAre("2001:db8::/32", "2001:db8:10::/48"));
  EXPECT_THAT(Prefixes("2001:db8:1"), ElementsAre("2001:db8:10::/48"));
  EXPECT_THAT(m_questions.CompletePrefix(10, true, "2", 100),
              ElementsAre("2001:db8::/32", "2001:db8:10::/48", "2002::/16"));
  EXPECT_THAT(m_questions.CompletePrefix(20, false, "", 100), IsEmpty());
}

// What is completed is the common beginning.
TEST_F(Completion, OfTooManyPrefixesBeginsAsAllDo) {
  std::string routes;
  for (unsigned int second = 64; second < 84; ++second) {
    for (unsigned int third = 0; third < 250; third += second < 83 ? 1 : 50) {
      routes += (routes.empty() ? "" : ",") +
                Route("r" + std::to_string(second * 1000 + third),
                      "100." + std::to_string(second) + "." + std::to_string(third) + ".0",
                      "255.255.255.0", R"("gateway": "10.1.2.1")");
    }
  }
  StartWith(Entry(10, routes));
  const std::vector<std::string> found = Prefixes("100.", 20);
  ASSERT_EQ(found.size(), 20u);
  EXPECT_EQ(found.front(), "100.64.0.0/24");
  EXPECT_EQ(found[18], "100.64.18.0/24");
  EXPECT_EQ(found.back(), "100.70.0.0/24") << "the first one that begins with 100. only";
  EXPECT_THAT(Prefixes("100.64.1", 20).back(), testing::StartsWith("100.64.1"));
}

TEST_F(Completion, LooksAtTheLastPrefixIfThereAreTooManyToLookAt) {
  std::string routes;
  for (std::size_t i = 0; i <= views::LOOKS; ++i) {
    const std::string address = std::to_string(i / 250) + "." + std::to_string(i % 250);
    routes += (i == 0 ? "" : ",") + Route("r" + std::to_string(i), "100.64." + address,
                                          "255.255.255.255", R"("gateway": "10.1.2.1")");
  }
  routes += "," + Route("s", "100.83.0.0", "255.255.0.0", R"("gateway": "10.1.2.1")");
  StartWith(Entry(10, routes));
  EXPECT_EQ(Prefixes("100.", 20).back(), "100.83.0.0/16");
  EXPECT_EQ(Prefixes("100.", 20).size(), 20u);
}

}  // namespace
