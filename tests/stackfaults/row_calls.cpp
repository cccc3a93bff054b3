// Rows that are not answered with a status: interfaces and addresses.
//
// The stack only says when it has finished with a row; whether it holds the row afterwards, the
// library does not learn. So a refusal, a full table and a moment without time look the same:
// nothing is asked again, and the row's next request goes out as ever. Requests of a row that has
// one in the stack wait, each for the end of the one before.
//
// Asking for an interface makes two rows, one in each instance of the VLAN: the subject is the IPv4
// one. Its function for requests that had to wait is a subject of its own.

#include <cstdint>

#include "tests/stackfaults/subject.h"

namespace stackfaults {

using Tarsel::Ip4Addr;

namespace {

class RowCall : public Subject {
 protected:
  // The trace and the call of one request: 0 the subject, 1 and 2 those of ChangeTwice.
  virtual Lines Request(int which, bool waited) const = 0;
  // Two more requests for the row, which leave it as it is.
  virtual void ChangeTwice() = 0;
  virtual Oid RowOid() const = 0;
  virtual RowType Type() const = 0;
  // How many rows of the type the stack holds without the subject.
  virtual std::size_t OtherRows() const = 0;
  // Occupies the row, so that the subject has to wait. False: it does not.
  virtual bool Occupy() { return false; }
  // Lines about other rows that are asked for along with the subject.
  virtual bool IsOther(const std::string&) const { return false; }

  void Busy() override { ExpectUnnoticed(5); }
  void Refused() override { ExpectUnnoticed(3); }
  void Full() override;
  void Never() override;
  void Late() override;
  void Twice() override;
  void Synchronous() override;
  void Restarted() override;
  void VlanGone() override;

 private:
  Lines Own(const Lines& lines) const;
  void Send(const Answer& answer, unsigned int times = 1);
  void Lead(const Answer& answer, unsigned int times);
  void Go();
  void ExpectUnnoticed(unsigned int status);
  void ExpectNothingIsAskedAgain();

  bool m_waits = false;
};

Lines RowCall::Own(const Lines& lines) const {
  Lines own;
  for (const std::string& line : lines) {
    if (!IsOther(line)) {
      own.push_back(line);
    }
  }
  return own;
}

// The subject is about to be requested ...
void RowCall::Lead(const Answer& answer, unsigned int times) {
  Take();
  m_waits = Occupy();
  ScriptRow(RowOid(), answer, times);
  if (m_waits) {
    EXPECT_EQ(Own(Then(RUN_MS)).size(), 2U);
    Ask();
    EXPECT_EQ(Own(Happened()), Lines());
  }
}

// ... and is requested.
void RowCall::Go() {
  if (m_waits) {
    Complete(RowOid());
  } else {
    Ask();
  }
  EXPECT_EQ(Own(Happened()), Request(0, m_waits));
}

void RowCall::Send(const Answer& answer, unsigned int times) {
  Lead(answer, times);
  Go();
}

void RowCall::ExpectNothingIsAskedAgain() {
  EXPECT_EQ(Own(Then(LONG_MS)), Lines());
  ExpectOthersServed();
  Ask();
  EXPECT_EQ(Own(Happened()), Request(0, false));
  ExpectConverged();
}

void RowCall::ExpectUnnoticed(unsigned int status) {
  Send(Status(status));
  loop.AdvanceMilliseconds(RUN_MS);
  EXPECT_FALSE(IsThere());
  ExpectNothingIsAskedAgain();
}

void RowCall::Full() {
  Control().SetLimit(Type(), OtherRows(), 5);
  Send(Status(5), 0);
  EXPECT_EQ(Own(Then(RUN_MS)), Lines());
  EXPECT_FALSE(IsThere());
  Ask();  // there still is no room
  EXPECT_EQ(Own(Happened()), Request(0, false));
  EXPECT_EQ(Own(Then(RUN_MS)), Lines());
  EXPECT_FALSE(IsThere());
  Control().SetLimit(Type(), SIZE_MAX, 5);
  ExpectNothingIsAskedAgain();
}

void RowCall::Never() {
  Send(Kind(Answer::kNever));
  ChangeTwice();
  EXPECT_EQ(Own(Then(LONG_MS)), Lines());
  EXPECT_FALSE(IsThere());
  ExpectOthersServed();
  Complete(RowOid());
  EXPECT_EQ(Own(Happened()), Request(1, true));
  EXPECT_EQ(Own(Then(RUN_MS)), Request(2, true));
  Ask();
  ExpectConverged();
}

void RowCall::Late() {
  Send(Kind(Answer::kLate));
  const std::uint64_t sent = Now();
  ChangeTwice();
  EXPECT_EQ(Own(Then(2 * TICK_MS)), Lines());
  ExpectOthersServed();
  EXPECT_EQ(Own(ThenUntil(sent + LONG_MS)), Lines());
  EXPECT_FALSE(IsThere());
  EXPECT_EQ(Own(Then(4 * RUN_MS)), Request(1, true) + Request(2, true));
  ExpectConverged();
}

// The second end is taken for that of the request that has just gone out: two requests of the row
// are in the stack at the same time. It works them off in their order all the same.
void RowCall::Twice() {
  Send(Kind(Answer::kTwice));
  ChangeTwice();
  EXPECT_EQ(Own(Then(RUN_MS)), Request(1, true) + Request(2, true));
  EXPECT_EQ(Own(Then(LONG_MS)), Lines());
  Ask();
  EXPECT_EQ(Own(Happened()), Request(0, false));
  ExpectConverged();
}

void RowCall::Synchronous() {
  Lead(Status(1), 0);
  MakeSynchronous();
  Go();
  ChangeTwice();
  EXPECT_EQ(Own(Happened()), Request(1, false) + Request(2, false));
  EXPECT_EQ(Own(Then(LONG_MS)), Lines());
  Control().SetSynchronous(false);
  Ask();
  EXPECT_EQ(Own(Happened()), Request(0, false));
  ExpectConverged();
}

// The stack announces its readiness anew, which releases nothing that was released before. The end
// of the old request does.
void RowCall::Restarted() {
  Send(Kind(Answer::kNever));
  ChangeTwice();
  EXPECT_EQ(Own(Then(RUN_MS)), Lines());
  Control().Restart();
  EXPECT_EQ(Own(Then(LONG_MS)), Lines());
  EXPECT_EQ(Dump(), "");
  Complete(RowOid());
  EXPECT_EQ(Own(Happened()), Request(1, true));
  EXPECT_EQ(Own(Then(RUN_MS)), Request(2, true));
  Rebuild();
  Ask();
  ExpectConverged();
}

// Rows of interfaces and addresses do not depend on their VLAN.
void RowCall::VlanGone() {
  Send(Kind(Answer::kNever));
  ChangeTwice();
  EXPECT_EQ(Own(Then(RUN_MS)), Lines());
  WithdrawVlan10();
  EXPECT_EQ(Own(Then(LONG_MS)), Lines());
  ExpectOthersServed({20});
  Complete(RowOid());
  EXPECT_EQ(Own(Happened()), Request(1, true));
  EXPECT_EQ(Own(Then(RUN_MS)), Request(2, true));
  LoadVlansWithOspf({10, 20});
  Take();
  Ask();
  EXPECT_EQ(Own(Happened()), Request(0, false));
  ExpectConverged();
}

// --- interfaces ---

template <bool WAITS>
class InterfaceCall : public RowCall {
 protected:
  void Ask() override {
    registry.AddInterface(10, 5, "eth5", Tarsel::DcInterfaceMgr::INTF_TYPE_NONE, 56, 1400, 1);
  }

  void ChangeTwice() override {
    registry.SetInterfaceDown(10, 5, "eth5");
    registry.SetInterfaceUp(10, 5, "eth5");
  }

  bool Occupy() override {
    if (WAITS) {
      ScriptRow(RowOid(), Kind(Answer::kNever));
      registry.SetInterfaceUp(10, 5, "eth5");
    }
    return WAITS;
  }

  std::string RowText() const override { return "interface 10/5 "; }
  RowType Type() const override { return RowType::kInterface; }
  std::size_t OtherRows() const override { return 6; }

  bool IsOther(const std::string& line) const override {
    return line.find("32778") != std::string::npos;
  }

  Oid RowOid() const override {
    Oid oid(SMS_OID_MAX);
    oid.resize(sms_set_i3_ei_oid(oid.data(), 10, 5));
    return oid;
  }

  Lines Request(int which, bool waited) const override {
    static const char* const STATUS[] = {"row_status = 4 oper_status = 1",
                                         "row_status = 1 oper_status = 2",
                                         "row_status = 1 oper_status = 1"};
    static const char* const ARGUMENTS[] = {"(4, 1, 10, 5, \"eth5\", 0, 56, 1400)",
                                            "(1, 2, 10, 5, \"eth5\", 0, 0, 0)",
                                            "(1, 1, 10, 5, \"eth5\", 0, 0, 0)"};
    return {std::string("5 InterfaceAction: shared_context = ") + (waited ? "1 " : "0 ") +
                STATUS[which] + " vlan = 10 if_index = 5 if_name = eth5",
            std::string(waited ? "> sms_bld_amb_test_i3_ei" : "> sms_act_interface") +
                ARGUMENTS[which]};
  }
};

// --- addresses ---

class Ip4AddressCall : public RowCall {
 protected:
  void Ask() override { registry.AddIpAddress(10, 6, ADDRESS, MASK); }

  void ChangeTwice() override {
    registry.DeleteIpAddress(10, 6, ADDRESS, MASK);
    registry.AddIpAddress(10, 6, ADDRESS, MASK);
  }

  std::string RowText() const override { return "address 10/6 10.1.7.7/"; }
  RowType Type() const override { return RowType::kAddress; }
  std::size_t OtherRows() const override { return 3; }

  Oid RowOid() const override {
    static const unsigned char BYTES[4] = {10, 1, 7, 7};
    Oid oid(SMS_OID_MAX);
    oid.resize(sms_set_i3_ea_oid(oid.data(), 10, 6, BYTES, 1));
    return oid;
  }

  Lines Request(int which, bool waited) const override {
    const std::string rowStatus = which == 1 ? "6" : "1";
    return {std::string("5 AddressAction: shared_context = ") + (waited ? "1" : "0") +
                " row_status = " + rowStatus + " vlan = 10 if_index = 6 address = 10.1.7.7",
            "> sms_act_ipaddr(" + rowStatus + ", 10, 1, 6, 10.1.7.7, 24)"};
  }

 private:
  const Ip4Addr ADDRESS{10, 1, 7, 7};
  const Ip4Addr MASK{255, 255, 255, 0};
};

class Ip6AddressCall : public RowCall {
 protected:
  void Ask() override { registry.AddIpAddress(10, 6, Address6("2001:db8:7::7"), 64); }

  void ChangeTwice() override {
    registry.DeleteIpAddress(10, 6, Address6("2001:db8:7::7"), 64);
    registry.AddIpAddress(10, 6, Address6("2001:db8:7::7"), 64);
  }

  std::string RowText() const override { return "address 32778/6 2001:db8:7::7/"; }
  RowType Type() const override { return RowType::kAddress; }
  std::size_t OtherRows() const override { return 3; }

  Oid RowOid() const override {
    static const unsigned char BYTES[16] = {0x20, 1, 0xd, 0xb8, 0, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7};
    Oid oid(SMS_OID_MAX);
    oid.resize(sms_set_i3_ea_oid(oid.data(), 0x800A, 6, BYTES, 2));
    return oid;
  }

  Lines Request(int which, bool) const override {
    return {std::string("> sms_act_ipaddr(") + (which == 1 ? "6" : "1") +
            ", 32778, 2, 6, 2001:db8:7::7, 64)"};
  }
};

}  // namespace

testing::Test* Interface(Fault fault) { return new Trial<InterfaceCall<false>>(fault); }
testing::Test* WaitingInterface(Fault fault) { return new Trial<InterfaceCall<true>>(fault); }
testing::Test* Ip4Address(Fault fault) { return new Trial<Ip4AddressCall>(fault); }
testing::Test* Ip6Address(Fault fault) { return new Trial<Ip6AddressCall>(fault); }

}  // namespace stackfaults
