// The walks of the console's commands.
//
// A command prints rows as they come, or, for the interface table, when it has them all. It ends,
// and takes its console with it, with the walk's last answer: the end of the table or an error. A
// walk that is never answered keeps both.
//
// The interface table makes two walks, of the interfaces and of the addresses; each is a subject.

#include <memory>
#include <regex>

#include "tests/stackfaults/interception.h"
#include "tests/stackfaults/subject.h"
#include "tests/support/recording_console.h"
#include "vantacore/dc_interface_console_command.h"
#include "vantacore/rtm_commands.h"

namespace stackfaults {

using Tarsel::Ip4Addr;
using test_support::RecordingConsole;

namespace {

typedef std::shared_ptr<test_support::ConsoleLog> Log;

enum Result { ROW = 1, END = 7 };
constexpr unsigned int USUAL_SLICE = 2000;

class WalkCall : public Subject {
 protected:
  // Starts a command for VLAN 10.
  virtual void Parse(const Log& log) = 0;
  virtual const char* Function() const = 0;
  virtual routing_stack::Call Counter() const = 0;
  // Hands rows of the stack's table to the command until it wants no more, each row so many times;
  // or the first one only.
  virtual void HandOut(unsigned int times) = 0;
  virtual void HandOutOne() = 0;
  // What is shown of a walk without fault, of one that fails after its first row, of one that hands
  // out everything twice, and of one whose VLAN goes after its first row.
  virtual std::string Usual() const = 0;
  virtual std::string OneRow() const { return {}; }
  virtual std::string Doubled() const { return Usual(); }
  virtual std::string Cut() const { return Usual(); }

  void Establish() override;

  void Busy() override { ExpectFailure(9, "Incomplete\n"); }
  void Full() override { ExpectFailure(5, "Resource Failure\n"); }
  void Refused() override;
  void Never() override;
  void Late() override;
  void Twice() override;
  void Synchronous() override;
  void Restarted() override;
  void VlanGone() override;

  // Answers the walk that was held back.
  unsigned char Respond(unsigned int result, void* row) {
    return m_held.response(m_held.command, 1, result, row);
  }
  template <class Row>
  void HandOutRows(std::vector<Row> rows, unsigned int times);

 private:
  void FurnishMore();
  Log Begin();
  // The command's walk is held back, and is in the test's hands.
  Log BeginHeldBack();
  // The stack works off one event a run, and has handed out the first row.
  Log BeginSlowly();
  void ExpectEnded(const Log& log, const std::string& shown);
  void ExpectFailure(unsigned int result, const std::string& message);
  void ExpectUsualWalk();

  CallInTransit m_held;
};

// The ages, which depend on the moment, made 0.
std::string Shown(const Log& log) {
  return std::regex_replace(log->all, std::regex(" *[0-9]+ (connnected|static)"), " 0 $1");
}

template <class Row>
void WalkCall::HandOutRows(std::vector<Row> rows, unsigned int times) {
  for (Row& row : rows) {
    for (unsigned int i = 0; i < times; ++i) {
      if (Respond(ROW, &row) == 0) {
        return;
      }
    }
  }
  EXPECT_EQ(Respond(END, nullptr), 0);
}

// Two addresses and a route of VLAN 10.
void WalkCall::FurnishMore() {
  registry.AddIpAddress(10, 6, Ip4Addr(10, 1, 9, 9), Ip4Addr(255, 255, 0, 0));
  registry.AddIpAddress(10, 6, Ip4Addr(10, 1, 9, 10), Ip4Addr(255, 255, 0, 0));
  Tarsel::AddRoute(10, Ip4Addr(10, 9, 0, 0), Ip4Addr(255, 255, 0, 0), Ip4Addr(10, 1, 2, 1), 3, 5,
                   Tarsel::PATH_TYPE_STATIC, 1);
  Quiet();
}

void WalkCall::Establish() {
  Subject::Establish();
  FurnishMore();
}

Log WalkCall::Begin() {
  const Log log = test_support::NewConsoleLog(10);
  Parse(log);
  return log;
}

Log WalkCall::BeginHeldBack() {
  m_held = {};
  Intercept(Function(), [this](const CallInTransit& call) {
    m_held = call;
    EndInterception(Function());
    return 0;
  });
  const Log log = Begin();
  for (int i = 0; i < 10 && m_held.response == nullptr; ++i) {
    loop.AdvanceMilliseconds(RUN_MS);
  }
  EXPECT_NE(m_held.response, nullptr);
  return log;
}

void WalkCall::ExpectEnded(const Log& log, const std::string& shown) {
  EXPECT_EQ(Shown(log), shown);
  EXPECT_EQ(log->ends, 1);
  EXPECT_TRUE(log->destroyed);
}

void WalkCall::ExpectUsualWalk() {
  const Log log = Begin();
  EXPECT_TRUE(Settle());
  ExpectEnded(log, Usual());
}

void WalkCall::ExpectFailure(unsigned int result, const std::string& message) {
  const Log first = BeginHeldBack();
  EXPECT_EQ(Respond(result, nullptr), 0);
  ExpectEnded(first, message);
  const Log second = BeginHeldBack();
  HandOutOne();
  EXPECT_EQ(Respond(result, nullptr), 0);
  ExpectEnded(second, OneRow() + message);
  ExpectUsualWalk();
  ExpectConverged();
}

void WalkCall::Refused() {
  ExpectFailure(2, "Gen Error\n");
  ExpectFailure(3, "Wrong Value\n");
  ExpectFailure(4, "Inconsistent Value\n");
  ExpectFailure(6, "Family is not found\n");
  ExpectFailure(8, "Agent Error\n");
  ExpectFailure(10, "Partial Family ok\n");
  for (const unsigned int unknown : {0u, 11u, 0xFFFFFFFFu}) {
    ExpectFailure(unknown, "");
  }
}

// The command waits, and only it. The stack's last word ends it at any time.
void WalkCall::Never() {
  const Log log = BeginHeldBack();
  Take();
  ExpectSilence();
  ExpectUsualWalk();
  ExpectOthersServed();
  EXPECT_EQ(log->all, "");
  EXPECT_EQ(log->ends, 0);
  EXPECT_FALSE(log->destroyed);
  EXPECT_EQ(Respond(8, nullptr), 0);
  ExpectEnded(log, "Agent Error\n");
  ExpectConverged();
}

void WalkCall::Late() {
  const Log log = BeginHeldBack();
  loop.AdvanceMilliseconds(LONG_MS);
  ExpectUsualWalk();
  EXPECT_FALSE(log->destroyed);
  m_held.forward();
  EXPECT_TRUE(Settle());
  ExpectEnded(log, Usual());
  ExpectConverged();
}

// Rows are repeated; the end is not, for the command has gone with it.
void WalkCall::Twice() {
  const Log once = BeginHeldBack();
  HandOut(1);
  EXPECT_TRUE(Settle());
  ExpectEnded(once, Usual());
  const Log log = BeginHeldBack();
  HandOut(2);
  EXPECT_TRUE(Settle());
  ExpectEnded(log, Doubled());
  ExpectUsualWalk();
  ExpectConverged();
}

void WalkCall::Synchronous() {
  MakeSynchronous();
  const Log log = Begin();
  ExpectEnded(log, Usual());
  FlapInterface();
  WalkInterfaces();
  MakeVlan40({10, 20});
  Control().SetSynchronous(false);
  ExpectUsualWalk();
  ExpectConverged();
}

Log WalkCall::BeginSlowly() {
  Control().SetSliceEvents(1);
  Control().ResetCounts();
  const Log log = Begin();
  for (int i = 0; i < 100 && Control().CountOf(Counter()) == 0; ++i) {
    loop.AdvanceMilliseconds(1);
  }
  Control().ResetCounts();
  for (int i = 0; i < 100 && Control().CountOf(routing_stack::Call::kNbbScheduler) == 0; ++i) {
    loop.AdvanceMilliseconds(1);
  }
  EXPECT_EQ(Shown(log), OneRow());
  Control().SetSliceEvents(USUAL_SLICE);
  return log;
}

void WalkCall::Restarted() {
  const Log log = BeginSlowly();
  Control().Restart();
  EXPECT_TRUE(Settle());
  ExpectEnded(log, OneRow() + "Agent Error\n");
  Rebuild();
  FurnishMore();
  ExpectUsualWalk();
  ExpectConverged();
}

void WalkCall::VlanGone() {
  const Log log = BeginSlowly();
  LoadVlansWithOspf({20});
  EXPECT_TRUE(Settle());
  ExpectEnded(log, Cut());
  LoadVlansWithOspf({10, 20});
  FurnishMore();
  ExpectUsualWalk();
  ExpectConverged();
}

// --- the routing table ---

const char* const HEADER =
    "\n VLAN              PREFIX          NEXTHOP      IFACE        AGE      PROTO\n";
const char* const END_OF_TABLE = "End of table\n";

class RtmWalkCall : public WalkCall {
 protected:
  // The lines of VLAN 10, in their order.
  virtual Lines Rows() const = 0;

  std::string Usual() const override { return Table(3, 1); }
  std::string OneRow() const override { return HEADER + Rows()[0]; }
  std::string Doubled() const override { return Table(3, 2); }
  // The walk has handed out a second row when the VLAN's removal has its turn.
  std::string Cut() const override { return Table(2, 1); }

 private:
  std::string Table(std::size_t rows, unsigned int times) const {
    std::string text = HEADER;
    for (std::size_t i = 0; i < rows; ++i) {
      for (unsigned int n = 0; n < times; ++n) {
        text += Rows()[i];
      }
    }
    return text + END_OF_TABLE;
  }
};

class RouteWalk : public RtmWalkCall {
 protected:
  void Parse(const Log& log) override {
    EXPECT_TRUE((new Tarsel::RtmRouteCommand(new RecordingConsole(log), 0))->Parse(0, nullptr));
  }
  const char* Function() const override { return "sms_get_next_rtm_route"; }
  routing_stack::Call Counter() const override { return routing_stack::Call::kSmsGetNextRtmRoute; }
  void HandOut(unsigned int times) override { HandOutRows(Control().Routes(), times); }
  void HandOutOne() override {
    amb_cipr_rtm_route row = Control().Routes().front();
    EXPECT_EQ(Respond(ROW, &row), 1);
  }
  Lines Rows() const override {
    return {"   10         10.1.0.0/16          0.0.0.0       eth6 0 connnected\n",
            "   10         10.1.2.0/24          0.0.0.0       eth0 0 connnected\n",
            "   10         10.9.0.0/16         10.1.2.1       eth0 0 static    \n"};
  }
};

class RibWalk : public RtmWalkCall {
 protected:
  void Parse(const Log& log) override {
    EXPECT_TRUE((new Tarsel::RtmRibCommand(new RecordingConsole(log), 0))->Parse(0, nullptr));
  }
  const char* Function() const override { return "sms_get_next_rtm_rib"; }
  routing_stack::Call Counter() const override { return routing_stack::Call::kSmsGetNextRtmRib; }
  void HandOut(unsigned int times) override { HandOutRows(Control().Rib(), times); }
  void HandOutOne() override {
    amb_cipr_rtm_rib row = Control().Rib().front();
    EXPECT_EQ(Respond(ROW, &row), 1);
  }
  Lines Rows() const override {
    return {">  10         10.1.0.0/16          0.0.0.0       eth6 0 connnected\n",
            ">  10         10.1.2.0/24          0.0.0.0       eth0 0 connnected\n",
            ">  10         10.9.0.0/16         10.1.2.1       eth0 0 static    \n"};
  }
};

// --- the interface table, which does not depend on the VLAN and is printed in the end ---

const char* const FLAGS_AND_HEADER =
    "\n"
    "Flags:\n"
    "B-Broadcast M-Multicast L-Loopback\n"
    "T-MPLS Tunnel P-Point2Point U-Unnumbered\n"
    "VLAN    IfIndex     IfName Status    MTU  Flags IPAddress\n";
class InterfaceTableCall : public WalkCall {
 protected:
  void Parse(const Log& log) override {
    auto* const command =
        new Tarsel::DcInterfaceConsoleCommand(new RecordingConsole(log), 10, false);
    EXPECT_TRUE(command->Parse(0, nullptr));
  }
  std::string Usual() const override {
    return std::string(FLAGS_AND_HEADER) +
           "  10          3       eth0     UP   1500     BM 10.1.2.3/24\n"
           "  10          6       eth6     UP   1500     BM 10.1.9.9/16\n"
           "                                                10.1.9.10/16\n"
           "End of Table\n";
  }
};

class InterfaceWalk : public InterfaceTableCall {
 protected:
  const char* Function() const override { return "sms_get_next_i3_ei"; }
  routing_stack::Call Counter() const override { return routing_stack::Call::kSmsGetNextEi; }
  void HandOut(unsigned int times) override { HandOutRows(Control().Interfaces(), times); }
  void HandOutOne() override {
    amb_stubs_i3_ei row = Control().Interfaces().front();
    EXPECT_EQ(Respond(ROW, &row), 1);
  }
};

// Addresses are not looked for among those that the command has already.
class AddressWalk : public InterfaceTableCall {
 protected:
  const char* Function() const override { return "sms_get_next_i3_ea"; }
  routing_stack::Call Counter() const override { return routing_stack::Call::kSmsGetNextEa; }
  void HandOut(unsigned int times) override { HandOutRows(Control().Addresses(), times); }
  void HandOutOne() override {
    amb_stubs_i3_ea row = Control().Addresses().front();
    EXPECT_EQ(Respond(ROW, &row), 1);
  }
  std::string Doubled() const override {
    return std::string(FLAGS_AND_HEADER) +
           "  10          3       eth0     UP   1500     BM 10.1.2.3/24\n"
           "                                                10.1.2.3/24\n"
           "  10          6       eth6     UP   1500     BM 10.1.9.9/16\n"
           "                                                10.1.9.9/16\n"
           "                                                10.1.9.10/16\n"
           "                                                10.1.9.10/16\n"
           "End of Table\n";
  }
};

}  // namespace

testing::Test* InterfaceTable(Fault fault) { return new Trial<InterfaceWalk>(fault); }
testing::Test* AddressTable(Fault fault) { return new Trial<AddressWalk>(fault); }
testing::Test* RouteTable(Fault fault) { return new Trial<RouteWalk>(fault); }
testing::Test* Rib(Fault fault) { return new Trial<RibWalk>(fault); }

}  // namespace stackfaults
