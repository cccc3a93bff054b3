// Rules keep VLANs apart, whatever happens.

#include <gmock/gmock.h>
#include <unistd.h>

#include "namespace_fixture.h"

namespace {

using kernel_test::KernelTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Lines = std::vector<std::string>;

constexpr const char* WITH_RULES = R"({"routes": true, "rules": true})";
constexpr const char* WITHOUT_RULES = R"({"routes": true})";
/// r1 has VLAN 10 as the default VLAN, r2 has VLAN 20 by the document.
constexpr const char* LINKS_WITH_RULES =
    R"({"interfaces": ["r?", "r1.*"], "routes": true, "rules": true})";

const Lines s_rulesOfR2 = kernel_test::RulesOf("r2", 40020);

class KernelRules : public KernelTest {
 protected:
  /// Waits until the kernel has these, ten seconds at most.
  static void AwaitRules(const Lines& expected) {
    for (int i = 0; i < 200 && OurRules() != expected; ++i) {
      usleep(50000);
    }
    EXPECT_EQ(expected, OurRules());
  }

  void Begin(const char* kernel = WITH_RULES) {
    WriteDevice(kernel);
    WriteRoutes({{"10.9.0.0/16", "10.1.0.2"}}, {{"10.9.0.0/16", "10.1.0.2"}});
    Start();
    AwaitPass();
  }
  void Change(const char* kernel) {
    WriteDevice(kernel);
    Reload();
    AwaitPass();
  }
};

TEST_F(KernelRules, LeadEachInterfaceIntoTheTableOfItsVlanAndNoFurther) {
  Begin();
  EXPECT_EQ(s_rulesOfR2, OurRules()) << "the default VLAN has the main table";
  EXPECT_THAT(Verify(), HasSubstr("PASS  rules in the kernel: 4"));
  EXPECT_THAT(Ask("status", "sessions"),
              HasSubstr("\n                4 of 4 rules installed, 0 refused\n"));
  EXPECT_THAT(Ask("status json", "sessions"),
              HasSubstr(R"("rules":{"written":true,"wanted":4,"installed":4,"refused":0})"));
  EXPECT_THAT(Ask("metrics", "overruns_total 0"),
              HasSubstr("vantacore_kernel_rules_installed 4\n"));
  End();
  EXPECT_EQ(s_rulesOfR2, OurRules()) << "a device that ends leaves forwarding as it is";
}

TEST_F(KernelRules, AreNoneUnlessTheDocumentSaysSo) {
  Ip("rule add iif r2 lookup 40020 priority 22000 protocol 201");
  Begin(WITHOUT_RULES);
  AwaitRules({});  // an earlier run's has gone
  EXPECT_THAT(Verify(), Not(HasSubstr("rules in the kernel")));
}

TEST_F(KernelRules, ComeAndGoByAReload) {
  Begin(WITHOUT_RULES);
  WriteDevice(WITH_RULES);
  EXPECT_THAT(Ask("diff", "request"), HasSubstr("rules are written into the kernel"));
  Change(WITH_RULES);
  EXPECT_EQ(s_rulesOfR2, OurRules());
  Change(R"({"routes": true, "rules": true, "table_base": 50000})");
  EXPECT_THAT(OurRules(), ElementsAre(HasSubstr("50020"), HasSubstr("unreachable"),
                                      HasSubstr("50020"), HasSubstr("unreachable")));
  WriteDevice(WITHOUT_RULES);
  EXPECT_THAT(Ask("diff", "request"), HasSubstr("rules are taken out of the kernel"));
  Change(WITHOUT_RULES);
  EXPECT_THAT(OurRules(), IsEmpty());
  Change(WITH_RULES);
  Change(R"({"rules": true})");
  EXPECT_THAT(OurRules(), IsEmpty()) << "without routes the tables are empty";
}

TEST_F(KernelRules, FollowTheVlanOfAnInterface) {
  Begin();
  const auto write = [this](int vlan) {
    folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "any", "vlan": )" + std::to_string(vlan) +
                                    R"(, "index": 3, "ipv4": "10.1.0.1/24"}],
      "kernel": )" + WITH_RULES + "}");
    Reload();
    AwaitPass();
  };
  write(30);
  EXPECT_THAT(OurRules(), ElementsAre(HasSubstr("iif r2 lookup 40030"), s_rulesOfR2[1],
                                      HasSubstr("iif r2 lookup 40030"), s_rulesOfR2[3]));
  write(10);
  EXPECT_THAT(OurRules(), IsEmpty());
}

TEST_F(KernelRules, ThatSomebodyDeletesArePutBack) {
  Begin();
  Ip("rule delete iif r2 lookup 40020 priority 22000");
  Ip("-6 rule delete iif r2 unreachable priority 22001");
  const std::string verdict = Verify();
  EXPECT_THAT(verdict,
              HasSubstr("FAIL  kernel: rule iif r2 lookup 40020 was missing, put back now\n"));
  EXPECT_THAT(
      verdict,
      HasSubstr("FAIL  kernel: rule iif r2 unreachable of IPv6 was missing, put back now\n"));
  AwaitPass();
  EXPECT_EQ(s_rulesOfR2, OurRules());
  EXPECT_THAT(Ask("metrics", "overruns_total 0"),
              HasSubstr("vantacore_kernel_rules_repaired_total{found=\"missing\"} 2\n"));
}

TEST_F(KernelRules, UnderOurNumberThatNobodyWantsGo) {
  Begin();
  Ip("rule add iif r1 lookup 40020 priority 22000 protocol 201");
  Ip("rule add from 10.0.0.0/8 to 10.2.0.0/16 fwmark 7/15 oif r1 ipproto udp sport 5-9 lookup main "
     "suppress_prefixlength 3 priority 100 protocol 201");
  Ip("-6 rule add not from 2001:db8::/32 blackhole priority 22001 protocol 201");
  const std::string verdict = Verify();
  EXPECT_THAT(verdict, HasSubstr("FAIL  kernel: rule iif r1 lookup 40020 was there and nobody "
                                 "wants it, removed now\n"));
  EXPECT_THAT(verdict, HasSubstr("FAIL  kernel: rule of another form was there"));
  EXPECT_THAT(verdict, HasSubstr("FAIL  kernel: rule of another form of IPv6 was there"));
  AwaitPass();
  EXPECT_EQ(s_rulesOfR2, OurRules());
  EXPECT_THAT(Ask("metrics", "overruns_total 0"),
              HasSubstr("vantacore_kernel_rules_repaired_total{found=\"stray\"} 3\n"));
}

TEST_F(KernelRules, OfOthersAreLeftAlone) {
  const Lines others = {"21000: from all lookup main suppress_prefixlength 0 proto static",
                        "22000: from all iif r1 lookup 40020 proto static",
                        "22000: from all iif r2 lookup 40020 proto static"};
  Ip("rule add iif r1 lookup 40020 priority 22000 protocol static");
  Ip("rule add iif r2 lookup 40020 priority 22000 protocol static");
  Ip("rule add lookup main suppress_prefixlength 0 priority 21000 protocol static");
  Begin();
  EXPECT_EQ(others, RulesWith("proto static"));
  EXPECT_EQ(s_rulesOfR2, OurRules());
  Change(WITHOUT_RULES);
  EXPECT_EQ(others, RulesWith("proto static"));
  EXPECT_THAT(OurRules(), IsEmpty());
}

TEST_F(KernelRules, GoAndComeWithALink) {
  Begin(LINKS_WITH_RULES);
  EXPECT_EQ(s_rulesOfR2, OurRules());
  Ip("link delete r2");
  AwaitRules({});
  Ip("link add r2 index 7 type veth peer name p2");
  AwaitRules(s_rulesOfR2);
  Ip("link add r1.30 type veth peer name p3");
  AwaitRules({"22000: from all iif r1.30 lookup 40030 proto 201", s_rulesOfR2[0],
              "22001: from all iif r1.30 unreachable proto 201", s_rulesOfR2[1],
              "6 22000: from all iif r1.30 lookup 40030 proto 201", s_rulesOfR2[2],
              "6 22001: from all iif r1.30 unreachable proto 201", s_rulesOfR2[3]});
  AwaitPass();
}

// A document names interfaces as it likes; the kernel's name goes with the index.
TEST_F(KernelRules, HaveTheNameThatTheKernelGivesALink) {
  Begin();
  Ip("link set r2 down");
  Ip("link set r2 name other");
  Ip("link set other up");
  AwaitRules({"22000: from all iif other lookup 40020 proto 201",
              "22001: from all iif other unreachable proto 201",
              "6 22000: from all iif other lookup 40020 proto 201",
              "6 22001: from all iif other unreachable proto 201"});
}

// Everything that the machine itself sends comes in there.
TEST_F(KernelRules, AreNoneForTheLoopback) {
  folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "r2", "vlan": 20, "index": 3, "ipv4": "10.1.0.1/24"},
      {"name": "lo", "vlan": 20, "index": 1, "ipv4": "192.0.2.1/32"}],
      "kernel": {"routes": true, "rules": true}})");
  Ip("address add 192.0.2.1/32 dev lo");
  Ip("link set lo up");
  Start();
  AwaitPass();
  EXPECT_EQ(s_rulesOfR2, OurRules());
}

TEST_F(KernelRules, AreFoundAgainByTheNextRun) {
  Begin();
  Ip("rule add iif r1 lookup 40020 priority 22000 protocol 201");
  Kill();
  Ip("rule delete iif r2 unreachable priority 22001");
  Start();
  AwaitPass();
  EXPECT_EQ(s_rulesOfR2, OurRules());
  const std::string metrics = Ask("metrics", "overruns_total 0");
  EXPECT_THAT(metrics, HasSubstr("vantacore_kernel_rules_repaired_total{found=\"missing\"} 0\n"))
      << "what this run has not written it cannot miss";
}

TEST_F(KernelRules, OfAnEarlierRunThatNobodyWantsGo) {
  Begin();
  Kill();
  folder.Write("device.json", R"({"default_vlan": 10, "interfaces": [
      {"name": "r1", "vlan": 30, "index": 2, "ipv4": "10.1.0.1/24"}],
      "kernel": {"routes": true, "rules": true}})");
  Ip("rule add iif r1 lookup 40020 priority 22000 protocol 201");
  Start();
  AwaitPass();
  EXPECT_THAT(OurRules(), ElementsAre("22000: from all iif r1 lookup 40030 proto 201",
                                      "22001: from all iif r1 unreachable proto 201",
                                      "6 22000: from all iif r1 lookup 40030 proto 201",
                                      "6 22001: from all iif r1 unreachable proto 201"));
}

TEST_F(KernelRules, GoWithKernelClean) {
  Ip("rule add iif r2 lookup 40020 priority 22000 protocol static");
  Begin();
  End();
  Ip("rule add from 10.0.0.0/8 lookup 5 priority 100 protocol 201");
  const system_test::Result clean = system_test::RunDaemon({"--kernel-clean"}, "");
  EXPECT_EQ(0, clean.status);
  EXPECT_EQ("3 routes and 5 rules removed\n", clean.output);
  EXPECT_THAT(OurRules(), IsEmpty());
  EXPECT_THAT(RulesWith("proto static"), testing::SizeIs(1));
}

// The kernel takes the first rule away that fits what a deletion names: ours, here.
TEST_F(KernelRules, AStrayWithoutAnInterfaceGoesAndOursStand) {
  Begin();
  AwaitRules(s_rulesOfR2);
  Ip("rule add priority 22000 lookup 40020 protocol 201");
  Ip("rule add priority 22001 unreachable protocol 201");
  Ip("-6 rule add priority 22000 lookup 40020 protocol 201");
  EXPECT_THAT(Verify(), HasSubstr("FAIL  kernel: rule of another form was there"));
  AwaitRules(s_rulesOfR2);
  AwaitPass();
}

// Nobody was there to hear that they are wanted no more.
TEST_F(KernelRules, OfAnEarlierRunGoWhereNoneAreWrittenNow) {
  Begin();
  AwaitRules(s_rulesOfR2);
  End();
  WriteDevice(WITHOUT_RULES);
  Start();
  AwaitRules({});
  AwaitPass();
}

}  // namespace
