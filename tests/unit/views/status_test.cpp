#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/views/state_fixture.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using views::Format;

// Made before the device.
struct StateFolder {
  const test_support::ScratchFolder state;
};

class Status : private StateFolder, public views_test::StateFixture {
 protected:
  Status() : StateFixture(Settings{false, state.Path()}) {}

  std::string Text() { return Read(Ask().Status(Format::TEXT)); }
  Json::Value Object() { return ReadJson(Ask().Status(Format::JSON)); }
};

TEST_F(Status, TellsHowTheDeviceIs) {
  StartWith(WITH_ROUTE);
  const std::string text = Text();
  EXPECT_EQ(m_laters, 1u);  // until the folder has been looked at
  EXPECT_THAT(text, HasSubstr("\nrevision        1 since 2001-09-09 01:46:40Z\n"
                              "                start\n"
                              "folder          says what is in force\n"
                              "settled         yes\n"
                              "differences     none\n"
                              "interfaces      1 up, 0 down\n"
                              "stack           ready, restarted 0 times\n"));
  EXPECT_THAT(text, HasSubstr("\nsessions        3\n"));
  EXPECT_THAT(text, HasSubstr(" MB resident\n"));
  EXPECT_LE(LongestLine(text), 80u);
}

TEST_F(Status, IsADocument) {
  StartWith(WITH_ROUTE);
  const Json::Value status = Object();
  EXPECT_EQ(status["view"], "status");
  EXPECT_EQ(status["revision"]["number"], 1);
  EXPECT_EQ(status["folder_differs"], false);
  EXPECT_EQ(status["settled"], true);
  EXPECT_EQ(status["unsettled_by"].size(), 0u);
  EXPECT_TRUE(status["trial"].isNull());
  EXPECT_EQ(status["interfaces"]["up"], 1);
  EXPECT_EQ(status["interfaces"]["down"], 0);
  EXPECT_EQ(status["stack"]["ready"], true);
  EXPECT_EQ(status["sessions"], 3);
  EXPECT_EQ(status["started"], "2001-09-09T01:46:40.000Z");
  EXPECT_GT(status["resident_bytes"].asUInt64(), 1000000u);
  EXPECT_GT(status["longest_turn_microseconds"]["since_start"].asUInt64(), 0u);
}

TEST_F(Status, CountsInterfacesOfAllVlans) {
  m_files.Write("device.json", R"({"default_vlan": 10, "interfaces": [
    {"name": "eth0", "vlan": 10, "index": 3, "ipv4": "10.1.0.1/16"},
    {"name": "eth1", "vlan": 10, "index": 4, "up": false},
    {"name": "eth2", "vlan": 20, "index": 5, "up": false}]})");
  StartWith(WITH_ROUTE);
  EXPECT_THAT(Text(), HasSubstr("\ninterfaces      1 up, 2 down\n"));
  const Json::Value status = Object();
  EXPECT_EQ(status["interfaces"]["up"], 1);
  EXPECT_EQ(status["interfaces"]["down"], 2);
}

TEST_F(Status, TellsOfTheKernelIfRoutesAreWrittenThere) {
  StartWith(WITH_ROUTE);
  EXPECT_THAT(Text(), Not(HasSubstr("kernel")));
  EXPECT_EQ(Object()["kernel"]["written"], false);
  m_kernel.isWritten = true;
  m_kernel.wanted = 5;
  m_kernel.standing = 3;
  m_kernel.refused = 2;
  EXPECT_THAT(Text(), HasSubstr("\nkernel          3 of 5 routes installed, 2 refused\n"));
  EXPECT_THAT(Text(), Not(HasSubstr("rules installed")));
  const Json::Value kernel = Object()["kernel"];
  EXPECT_EQ(kernel["written"], true);
  EXPECT_EQ(kernel["wanted"], 5);
  EXPECT_EQ(kernel["installed"], 3);
  EXPECT_EQ(kernel["refused"], 2);
  EXPECT_EQ(kernel["rules"]["written"], false);
  m_kernel.rules = {true, 8, 7, 1, 0, 0};
  EXPECT_THAT(Text(), HasSubstr("\n                7 of 8 rules installed, 1 refused\n"));
  const Json::Value rules = Object()["kernel"]["rules"];
  EXPECT_EQ(rules["written"], true);
  EXPECT_EQ(rules["wanted"], 8);
  EXPECT_EQ(rules["installed"], 7);
  EXPECT_EQ(rules["refused"], 1);
}

TEST_F(Status, TellsWhereTheRoutesOfVrfDevicesAre) {
  StartWith(WITH_ROUTE);
  EXPECT_EQ(Object()["kernel"]["vrfs"].size(), 0u);
  m_kernel.isWritten = true;
  m_kernel.vrfs = {{"blue", 20, 100, ""}, {"red", 30, std::nullopt, "it is not \"there\""}};
  EXPECT_THAT(Text(), HasSubstr("                VLAN 20 in table 100 of the VRF device blue\n"
                                "                no routes of VLAN 30: it is not \"there\"\n"));
  const Json::Value vrfs = Object()["kernel"]["vrfs"];
  ASSERT_EQ(vrfs.size(), 2u);
  EXPECT_EQ(vrfs[0]["name"], "blue");
  EXPECT_EQ(vrfs[0]["vlan"], 20);
  EXPECT_EQ(vrfs[0]["table"], 100);
  EXPECT_TRUE(vrfs[0]["problem"].isNull());
  EXPECT_EQ(vrfs[1]["name"], "red");
  EXPECT_TRUE(vrfs[1]["table"].isNull());
  EXPECT_EQ(vrfs[1]["problem"], "it is not \"there\"");
}

TEST_F(Status, TellsThatTheFolderDiffers) {
  StartWith(WITH_ROUTE);
  WriteVlans(R"("a": {"vid": 10})");
  EXPECT_THAT(Text(), HasSubstr("folder          differs from what is in force"));
  WriteVlans(WITH_ROUTE);  // the same text in another file
  EXPECT_EQ(Object()["folder_differs"], false);
  m_files.Write("remote/a.json", R"({"VLAN_CONFIGURATIONS": {}})");
  EXPECT_EQ(Object()["folder_differs"], true);
  m_files.Remove("remote/a.json");
  EXPECT_EQ(Object()["folder_differs"], false);
  m_files.Remove("device.json");
  EXPECT_EQ(Object()["folder_differs"], true);
}

TEST_F(Status, TellsOfATrial) {
  StartWith(WITH_ROUTE);
  WriteVlans(R"("a": {"vid": 10})");
  apply::ReloadRequest request;
  request.confirmSeconds = 60;
  apply::Asker asker;
  asker.name = "alice at the socket";
  Reload(asker, request);
  ASSERT_TRUE(SettleAll());
  const std::string text = Text();
  EXPECT_THAT(text, HasSubstr(" seconds are left for `confirm 2`, then revision 1\n"));
  EXPECT_THAT(text, HasSubstr("reload by alice at the socket\n"));
  EXPECT_LE(LongestLine(text), 80u);
  const Json::Value trial = Object()["trial"];
  EXPECT_EQ(trial["revision"], 2);
  EXPECT_EQ(trial["back"], 1);
  EXPECT_LE(trial["seconds_left"].asUInt64(), 60u);
  EXPECT_GE(trial["seconds_left"].asUInt64(), 50u);
}

TEST_F(Status, TellsWhatKeepsTheDeviceFromBeingSettled) {
  StartWith(WITH_ROUTE);
  Control().Hold();
  WriteVlans(R"("a": {"vid": 10})");
  Reload();
  ASSERT_TRUE(TurnUntil([this] { return m_reloader->GetKnowledge().CountOpen() != 0; }));
  const std::string text = Text();
  EXPECT_THAT(text, HasSubstr("settled         no: the stack is held\n"));
  EXPECT_THAT(text, HasSubstr("    1 request for a route or a rule is open\n"));
  EXPECT_THAT(text, HasSubstr("stack           ready, held, "));
  const Json::Value status = Object();
  EXPECT_EQ(status["settled"], false);
  EXPECT_GE(status["unsettled_by"].size(), 2u);
  EXPECT_EQ(status["open_requests"], 1);
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Text(), HasSubstr("settled         yes\n"));
}

TEST_F(Status, CountsDifferencesAndRestarts) {
  StartWithARefusedRoute();
  RestartTheStack();
  const std::string text = Text();
  EXPECT_THAT(text, HasSubstr("differences     1 row (`requests vrf all` lists them)\n"));
  EXPECT_THAT(text, HasSubstr("restarted 1 time\n"));
}

TEST_F(Status, TellsOfOldRoutesThatAreKept) {
  const auto via = [](const std::string& gateway) {
    return R"("b": {"vid": 20}, "a": {"vid": 10, "STATIC_ROUTES": {"r": {"network": "10.9.0.0",
      "netmask": "255.255.0.0", "gateway": ")" +
           gateway + "\"}}}";
  };
  StartWith(via("10.1.2.1"));
  EXPECT_EQ(Object()["kept"], 0);
  EXPECT_TRUE(Object()["kept_seconds"].isNull());
  EXPECT_THAT(Text(), Not(HasSubstr("kept ")));
  WriteVlans(via("10.7.7.7"));
  Reload();
  ASSERT_TRUE(SettleAll());
  EXPECT_THAT(Text(), HasSubstr("\nkept            1 old route until another one can replace it, "
                                "for 60 s at most\n"));
  EXPECT_LE(LongestLine(Text()), 80u);
  EXPECT_EQ(Object()["kept"], 1);
  EXPECT_EQ(Object()["kept_seconds"], 60);
  EXPECT_EQ(Read(Ask().Requests({}, Format::TEXT)),
            "Nothing waits\nKept: 1 old route until another one can replace it, "
            "for 60 s at most\n");
  EXPECT_EQ(Read(Ask().Requests(20, Format::TEXT)), "Nothing waits\n");
  EXPECT_EQ(ReadJson(Ask().Requests(10, Format::JSON))["kept"], 1);
  loop.AdvanceMilliseconds(20000);
  EXPECT_EQ(ReadJson(Ask().Requests(10, Format::JSON))["kept_seconds"], 40);
}

// Whoever asked has gone before the folder has been looked at.
TEST_F(Status, MayBeForgotten) {
  StartWith(WITH_ROUTE);
  {
    const views::AnyView view = Ask().Status(Format::TEXT);
    view->CallWhenMore([] { ADD_FAILURE() << "nobody is there"; });
    std::string text;
    EXPECT_EQ(view->Next(text), views::View::Rest::LATER);
  }
  for (int i = 0; i < 100 || m_turns.Get()->active_reqs.count != 0; ++i) {
    TurnOnly();
  }
}

class StatusWithoutRevisions : public views_test::StateFixture {};

TEST_F(StatusWithoutRevisions, SaysWhy) {
  StartWith(WITH_ROUTE);
  EXPECT_THAT(Read(Ask().Status(Format::TEXT)),
              HasSubstr("revision        none is kept\n                this test keeps none\n"));
  EXPECT_TRUE(ReadJson(Ask().Status(Format::JSON))["revision"].isNull());
}

TEST_F(StatusWithoutRevisions, IsAsFarAsItIsKnown) {
  EXPECT_THAT(Read(Ask().Status(Format::TEXT)), HasSubstr("revision        none is kept\n"));
}

TEST_F(StatusWithoutRevisions, AreOfAVersion) {
  EXPECT_THAT(Read(Ask().Version(Format::TEXT)),
              MatchesRegex("vantacore [0-9]+\\.[0-9]+\\.[0-9]+\n"
                           "library interface  [0-9]+\nconsole protocol   2\n"));
  const Json::Value version = ReadJson(Ask().Version(Format::JSON));
  EXPECT_EQ(version["view"], "version");
  EXPECT_EQ(version["abi"], std::stoi(version["version"].asString()));
  EXPECT_EQ(version["console_protocol"], 2);
}

}  // namespace
