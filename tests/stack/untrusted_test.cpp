// Whatever the arguments are, the stack lives on and finds its end.

#include <random>

#include "device/stack/protocol_rows.h"
#include "stack_test.h"
#include "tests/models/random_run.h"

namespace stack_test {
namespace {

class UntrustedTest : public StackTest {
 protected:
  void SetUp() override {
    Start();
    AddInstance(10);
    AddInstance(10 | kIp6Bit);
    RunAll();
    host.Take();
  }
};

TEST_F(UntrustedTest, NullPointers) {
  smsi_init(nullptr);
  sms_act_rtm(nullptr);
  sms_update_route(1, 1, 1, 1, nullptr, 0, nullptr, 0, 0, 10, 0);
  sms_update_route(1, 6, 1, 2, nullptr, 0, nullptr, 0, 0, 10, 0);
  sms_act_interface(4, 1, 10, 3, nullptr, 0, 0, 0);
  sms_bld_amb_test_i3_ei(6, 1, 10, 3, nullptr, 0, 0, 0);
  sms_act_ipaddr(1, 10, 1, 3, nullptr, 24);
  sms_act_ipaddr(6, 10, 2, 3, nullptr, 24);
  nbb_set_ips_filter(nullptr, 0);
  EXPECT_EQ(kIdleMs, RunAll());
  EXPECT_EQ(8u, host.Take().size());  // two route answers and six completions
}

TEST_F(UntrustedTest, WithoutAStackEverythingIsANoOp) {
  {
    routing_stack::RoutingStack another([] { return std::uint64_t{0}; });
    another.MakeCurrent();
  }
  unsigned int oid[SMS_OID_MAX];
  const auto handler = [](void*, unsigned int, unsigned int, void*) -> unsigned char {
    ADD_FAILURE();
    return 0;
  };
  smsi_init(nullptr);
  EXPECT_EQ(-1, nbb_scheduler());
  InvokeCallback(0, 0);
  nbb_trips_control(1);
  EXPECT_EQ(0, nbb_get_ips_tracing());
  SendEntity(10, 1);
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1");
  sms_act_cipr_redist(1, 1, 1, 1, 10, 0);
  sms_act_protocol_row(1, 1, 1, 1, 10, nullptr, 0, nullptr);
  sms_get_next_rtm_rib(handler, nullptr);
  EXPECT_EQ(3u, sms_set_i3_ei_oid(oid, 10, 3));
  EXPECT_EQ(0, sms_get_next_protocol_row(1, 10, nullptr, 0, nullptr));
  EXPECT_EQ(0, sms_get_next_redistributed(10, 0x30000, nullptr, nullptr));
  EXPECT_THAT(host.calls, IsEmpty());
}

// Values from the edges of their types, in every combination that chance makes of them.
TEST_F(UntrustedTest, WildValues) {
  std::mt19937 random(test_models::Random().GetSeed());
  const unsigned int values[] = {0,       1,          2,          4,         6,      10,
                                 24,      32,         33,         64,        65,     128,
                                 129,     0x7FFF,     0x8000,     0x800A,    0xFFFF, 0x10000,
                                 0x1000A, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  const auto any = [&] { return values[random() % (sizeof values / sizeof *values)]; };
  const auto wild = [&] { return static_cast<int>(any()); };
  unsigned char bytes[2][16];
  const unsigned int count = test_models::Scaled(20000);
  for (unsigned int i = 0; i < count; ++i) {
    for (auto& address : bytes) {
      for (unsigned char& byte : address) {
        byte = static_cast<unsigned char>(random() % 4 == 0 ? random() : 0);
      }
    }
    switch (random() % 7) {
      case 0: {
        amb_cipr_rtm_entity entity = {};
        for (std::uint32_t& word : entity.word) {
          word = any();
        }
        sms_act_rtm(&entity);
        break;
      }
      case 1:
        sms_update_route(wild(), wild(), wild(), wild(), bytes[0], any(), bytes[1], wild(), any(),
                         static_cast<unsigned short>(any()), static_cast<unsigned short>(any()));
        break;
      case 2:
        sms_act_interface(wild(), any(), any(), any(), "name", any(), any(), any());
        break;
      case 3:
        sms_act_ipaddr(wild(), any(), wild(), any(), bytes[0], any());
        break;
      case 4:
        sms_act_cipr_redist(wild(), wild(), wild(), wild(), any(), any());
        break;
      case 5:
        sms_act_protocol_row(wild(), any(), wild(), wild(), any(), bytes[0], random() % 17, "p");
        break;
      case 6:
        InvokeCallback(wild(), wild());
        break;
    }
    if (random() % 16 == 0) {
      RunAll();
    }
  }
  EXPECT_EQ(kIdleMs, RunAll());
  EXPECT_TRUE(stack.IsIdle());
  EXPECT_EQ(0u, host.callsFromOutside);
  EXPECT_FALSE(control.Dump().empty());
}

}  // namespace
}  // namespace stack_test
