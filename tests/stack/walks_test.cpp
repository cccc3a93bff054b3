// Walks: rows in order, one end, and nothing after a handler has said no.

#include "stack_test.h"

namespace stack_test {
namespace {

/// A command as the library has them: it lives until its handler answers 0.
struct Command {
  std::vector<unsigned int> results;
  std::vector<unsigned int> contexts;
  Lines rows;
  unsigned int stopAfter = 1000000;  // rows
  std::function<void()> onRow;
  bool ended = false;
};

std::string TextOf(const amb_stubs_i3_ei& row) {
  return std::to_string(row.instance) + "/" + std::to_string(row.if_index) + " " + row.name;
}
std::string TextOf(const amb_stubs_i3_ea& row) {
  return std::to_string(row.instance) + "/" + std::to_string(row.if_index) + " " +
         std::to_string(row.address[3]) + "/" + std::to_string(row.prefix_length);
}
std::string TextOf(const amb_cipr_rtm_rib& row) { return RowText(row); }
std::string TextOf(const amb_cipr_rtm_route& row) { return RowText(row); }

template <typename Row>
unsigned char Handle(void* context, unsigned int walk, unsigned int result, void* row) {
  Command& command = *static_cast<Command*>(context);
  EXPECT_FALSE(command.ended);
  command.results.push_back(result);
  command.contexts.push_back(walk);
  if (result != 1) {
    EXPECT_EQ(nullptr, row);
    command.ended = true;
    return 0;
  }
  command.rows.push_back(TextOf(*static_cast<Row*>(row)));
  if (command.onRow) {
    command.onRow();
  }
  command.ended = command.rows.size() >= command.stopAfter;
  return command.ended ? 0 : 1;
}

class WalksTest : public StackTest {
 protected:
  void SetUp() override { Start(); }
};

TEST_F(WalksTest, NothingIsHandedOutInsideTheCall) {
  AddInterface(10, 3);
  RunAll();
  Command command;
  sms_get_next_i3_ei(10, &Handle<amb_stubs_i3_ei>, &command);
  EXPECT_THAT(command.results, IsEmpty());
  EXPECT_FALSE(stack.IsIdle());
  RunAll();
  EXPECT_THAT(command.results, ElementsAre(1, 7));
  EXPECT_TRUE(stack.IsIdle());
}

TEST_F(WalksTest, AnEmptyTableIsAnsweredWithItsEnd) {
  Command interfaces;
  Command addresses;
  Command routes;
  Command rib;
  sms_get_next_i3_ei(10, &Handle<amb_stubs_i3_ei>, &interfaces);
  sms_get_next_i3_ea(10, &Handle<amb_stubs_i3_ea>, &addresses);
  sms_get_next_rtm_route(&Handle<amb_cipr_rtm_route>, &routes);
  sms_get_next_rtm_rib(&Handle<amb_cipr_rtm_rib>, &rib);
  RunAll();
  for (const Command* command : {&interfaces, &addresses, &routes, &rib}) {
    EXPECT_THAT(command->results, ElementsAre(7));
  }
}

TEST_F(WalksTest, InterfaceWalksStartAtTheInstanceAndGoOnBehindIt) {
  AddInterface(11, 1);
  AddInterface(9, 1);
  AddInterface(10, 20);
  AddInterface(10, 3);
  AddInterface(10 | kIp6Bit, 3);
  RunAll();
  Command command;
  sms_get_next_i3_ei(10, &Handle<amb_stubs_i3_ei>, &command);
  RunAll();
  EXPECT_THAT(command.rows, ElementsAre("10/3 eth3", "10/20 eth20", "11/1 eth1", "32778/3 eth3"));
  EXPECT_EQ(7u, command.results.back());
}

TEST_F(WalksTest, AddressWalksStartAtTheInstanceAndGoOnBehindIt) {
  AddAddress(9, 3, "10.1.2.1/24");
  AddAddress(10, 4, "10.1.2.9/24");
  AddAddress(10, 3, "10.1.2.2/24");
  AddAddress(10, 3, "10.1.2.1/24");
  AddAddress(11, 3, "10.1.2.1/24");
  RunAll();
  Command command;
  sms_get_next_i3_ea(10, &Handle<amb_stubs_i3_ea>, &command);
  RunAll();
  EXPECT_THAT(command.rows, ElementsAre("10/3 1/24", "10/3 2/24", "10/4 9/24", "11/3 1/24"));
}

TEST_F(WalksTest, RouteAndRibWalksRunOverAllInstances) {
  for (const unsigned int instance : {10u, 11u, 12u}) {
    AddInstance(instance);
  }
  for (const unsigned int instance : {12u, 10u}) {
    AddInterface(instance, 3);
    AddAddress(instance, 3, "10.1.2.3/24");
    AddRoute(instance, "10.9.0.0/16", "10.1.2.2", 0, 2);
    AddRoute(instance, "10.9.0.0/16", "10.1.2.1", 0, 2);
    AddRoute(instance, "9.0.0.0/8", "172.16.0.1");
  }
  RunAll();
  Command rib;
  Command routes;
  sms_get_next_rtm_rib(&Handle<amb_cipr_rtm_rib>, &rib);
  sms_get_next_rtm_route(&Handle<amb_cipr_rtm_route>, &routes);
  RunAll();
  EXPECT_THAT(rib.rows, ElementsAre("  10 9.0.0.0/8 proto 3 via 172.16.0.1 if TBD metric 1",
                                    "> 10 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0",
                                    "> 10 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 2",
                                    "  10 10.9.0.0/16 proto 3 via 10.1.2.2 if 3 metric 2",
                                    "  12 9.0.0.0/8 proto 3 via 172.16.0.1 if TBD metric 1",
                                    "> 12 10.1.2.0/24 proto 2 via 0.0.0.0 if 3 metric 0",
                                    "> 12 10.9.0.0/16 proto 3 via 10.1.2.1 if 3 metric 2",
                                    "  12 10.9.0.0/16 proto 3 via 10.1.2.2 if 3 metric 2"));
  EXPECT_EQ(rib.rows, Rib());
  EXPECT_EQ(routes.rows, Routes());
  EXPECT_EQ(4u, routes.rows.size());
}

TEST_F(WalksTest, ZeroEndsTheWalkForGood) {
  for (unsigned int i = 1; i <= 5; ++i) {
    AddInterface(10, i);
  }
  RunAll();
  Command command;
  command.stopAfter = 2;
  sms_get_next_i3_ei(10, &Handle<amb_stubs_i3_ei>, &command);
  RunAll();
  EXPECT_THAT(command.results, ElementsAre(1, 1));
  EXPECT_TRUE(stack.IsIdle());
}

// A sanitizer build sees any touch of a command that is gone.
TEST_F(WalksTest, ACommandMayDeleteItselfInItsLastAnswer) {
  AddInterface(10, 1);
  AddInterface(10, 2);
  RunAll();
  static int s_answers;
  s_answers = 0;
  const auto handler = [](void* context, unsigned int, unsigned int result,
                          void*) -> unsigned char {
    ++s_answers;
    if (result == 1 && s_answers < 2) {
      return 1;
    }
    delete static_cast<Command*>(context);
    return 0;
  };
  sms_get_next_i3_ei(10, handler, new Command);
  sms_get_next_i3_ei(11, handler, new Command);
  RunAll();
  EXPECT_EQ(3, s_answers);
}

TEST_F(WalksTest, AnErrorOrTheEndIsTheLastAnswerWhateverIsReturned) {
  static int s_answers;
  s_answers = 0;
  const auto handler = [](void*, unsigned int, unsigned int, void*) -> unsigned char {
    ++s_answers;
    return 1;
  };
  sms_get_next_i3_ei(10, handler, nullptr);
  RunAll();
  EXPECT_EQ(1, s_answers);
}

TEST_F(WalksTest, ASecondWalkWithTheSameContextIsAnother) {
  AddInterface(10, 1);
  AddInterface(10, 2);
  AddAddress(10, 1, "10.1.2.3/24");
  RunAll();
  Command command;
  command.onRow = [&] {
    if (command.rows.size() == 1) {
      sms_get_next_i3_ea(10, &Handle<amb_stubs_i3_ea>, &command);
    }
  };
  // Ends its first walk and goes on with the second, as the interface table does.
  const auto first = [](void* context, unsigned int walk, unsigned int result,
                        void* row) -> unsigned char {
    Handle<amb_stubs_i3_ei>(context, walk, result, row);
    return 0;
  };
  sms_get_next_i3_ei(10, first, &command);
  RunAll();
  EXPECT_THAT(command.rows, ElementsAre("10/1 eth1", "10/1 3/24"));
  EXPECT_THAT(command.results, ElementsAre(1, 1, 7));
  EXPECT_EQ(command.contexts[1], command.contexts[2]);
  EXPECT_NE(command.contexts[0], command.contexts[1]);
}

TEST_F(WalksTest, TwoWalksOfOneCommandAtATimeDoNotDisturbEachOther) {
  for (unsigned int i = 1; i <= 3; ++i) {
    AddInterface(10, i);
  }
  RunAll();
  Command first;
  Command second;
  sms_get_next_i3_ei(10, &Handle<amb_stubs_i3_ei>, &first);
  sms_get_next_i3_ei(10, &Handle<amb_stubs_i3_ei>, &second);
  second.stopAfter = 1;
  RunAll();
  EXPECT_THAT(first.results, ElementsAre(1, 1, 1, 7));
  EXPECT_THAT(second.results, ElementsAre(1));
}

TEST_F(WalksTest, WalksStartedFromHandlersMayComeInNumbers) {
  for (unsigned int i = 1; i <= 3; ++i) {
    AddInterface(10, i);
  }
  RunAll();
  std::vector<Command> others(300);
  Command command;
  std::size_t started = 0;
  command.onRow = [&] {
    for (int i = 0; i < 100; ++i) {
      sms_get_next_i3_ei(10, &Handle<amb_stubs_i3_ei>, &others[started++]);
    }
  };
  sms_get_next_i3_ei(10, &Handle<amb_stubs_i3_ei>, &command);
  RunAll();
  EXPECT_THAT(command.results, ElementsAre(1, 1, 1, 7));
  for (const Command& other : others) {
    EXPECT_THAT(other.results, ElementsAre(1, 1, 1, 7));
  }
}

TEST_F(WalksTest, AWalkIsSliced) {
  for (unsigned int i = 1; i <= 10; ++i) {
    AddInterface(10, i);
  }
  RunAll();
  control.SetSliceEvents(4);
  Command command;
  sms_get_next_i3_ei(10, &Handle<amb_stubs_i3_ei>, &command);
  EXPECT_EQ(0, RunOnce());
  EXPECT_EQ(4u, command.rows.size());
  EXPECT_EQ(0, RunOnce());
  EXPECT_EQ(8u, command.rows.size());
  EXPECT_EQ(kIdleMs, RunOnce());
  EXPECT_THAT(command.results, ElementsAre(1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 7));
}

TEST_F(WalksTest, RowsMayComeAndGoBetweenAnswers) {
  for (const unsigned int i : {2u, 4u, 6u, 8u}) {
    AddInterface(10, i);
  }
  RunAll();
  control.SetSliceEvents(1);
  Command command;
  sms_get_next_i3_ei(10, &Handle<amb_stubs_i3_ei>, &command);
  RunOnce();
  RunOnce();
  ASSERT_EQ(2u, command.rows.size());  // stands on 4
  RemoveInterface(10, 4);
  RemoveInterface(10, 6);
  AddInterface(10, 3);
  AddInterface(10, 7);
  RunAll();
  // The walk takes turns with the requests, so 6 is handed out before it is removed.
  EXPECT_THAT(command.rows,
              ElementsAre("10/2 eth2", "10/4 eth4", "10/6 eth6", "10/7 eth7", "10/8 eth8"));
}

TEST_F(WalksTest, ARibWalkSurvivesTheLossOfItsPlaceAndOfItsInstance) {
  AddInstance(10);
  AddInstance(11);
  for (int i = 1; i <= 4; ++i) {
    AddRoute(10, "10." + std::to_string(i) + ".0.0/16", "172.16.0.1");
    AddRoute(11, "10." + std::to_string(i) + ".0.0/16", "172.16.0.1");
  }
  RunAll();
  Command command;
  command.onRow = [&] {
    if (command.rows.size() == 1) {
      Route(6, 2, 10, "10.1.0.0/16", "172.16.0.1", 0, 0);
      Route(6, 2, 10, "10.2.0.0/16", "172.16.0.1", 0, 0);
    } else if (command.rows.size() == 3) {
      DropInstance(10);
    }
  };
  sms_get_next_rtm_rib(&Handle<amb_cipr_rtm_rib>, &command);
  RunAll();
  EXPECT_THAT(command.rows, ElementsAre("  10 10.1.0.0/16 proto 3 via 172.16.0.1 if TBD metric 1",
                                        "  10 10.3.0.0/16 proto 3 via 172.16.0.1 if TBD metric 1",
                                        "  10 10.4.0.0/16 proto 3 via 172.16.0.1 if TBD metric 1",
                                        "  11 10.1.0.0/16 proto 3 via 172.16.0.1 if TBD metric 1",
                                        "  11 10.2.0.0/16 proto 3 via 172.16.0.1 if TBD metric 1",
                                        "  11 10.3.0.0/16 proto 3 via 172.16.0.1 if TBD metric 1",
                                        "  11 10.4.0.0/16 proto 3 via 172.16.0.1 if TBD metric 1"));
  EXPECT_EQ(7u, command.results.back());
}

TEST_F(WalksTest, TheRowIsACopyThatTheHandlerMaySpoil) {
  AddInterface(10, 3);
  RunAll();
  const auto handler = [](void*, unsigned int, unsigned int result, void* row) -> unsigned char {
    if (result == 1) {
      static_cast<amb_stubs_i3_ei*>(row)->name[0] = 'X';
    }
    return 1;
  };
  sms_get_next_i3_ei(10, handler, nullptr);
  RunAll();
  EXPECT_STREQ("eth3", control.Interfaces()[0].name);
}

TEST_F(WalksTest, AWalkWithoutAHandlerIsNone) {
  sms_get_next_i3_ei(10, nullptr, nullptr);
  sms_get_next_i3_ea(10, nullptr, nullptr);
  sms_get_next_rtm_route(nullptr, nullptr);
  sms_get_next_rtm_rib(nullptr, nullptr);
  EXPECT_TRUE(stack.IsIdle());
}

TEST_F(WalksTest, TheWorstInstanceNumberFindsTheEnd) {
  AddInterface(10, 3);
  RunAll();
  Command command;
  sms_get_next_i3_ei(0xFFFFFFFF, &Handle<amb_stubs_i3_ei>, &command);
  RunAll();
  EXPECT_THAT(command.results, ElementsAre(7));
}

TEST_F(WalksTest, AgesCountSecondsOfTheRowAndOfTheInstallation) {
  AddInstance(10);
  AddInterface(10, 3);
  AddAddress(10, 3, "10.1.2.3/24");
  AddRoute(10, "10.9.0.0/16", "10.1.2.1", 0, 5);
  RunAll();
  now += 2999;
  AddRoute(10, "10.9.0.0/16", "10.1.2.2", 0, 4);  // takes over
  RunAll();
  now += 1000;
  const auto rib = control.Rib();
  EXPECT_EQ(3u, rib[1].age);
  EXPECT_EQ(1u, rib[2].age);
  const auto routes = control.Routes();
  EXPECT_EQ(3u, routes[0].age);
  EXPECT_EQ(1u, routes[1].age);

  // Overwriting a row makes it neither younger nor newly installed.
  AddRoute(10, "10.9.0.0/16", "10.1.2.2", 0, 3);
  RunAll();
  now += 1000;
  EXPECT_EQ(2u, control.Rib()[2].age);
  EXPECT_EQ(2u, control.Routes()[1].age);

  // A candidate that returns to the forwarding table is newly installed.
  Route(6, 2, 10, "10.9.0.0/16", "10.1.2.2", 0, 0);
  RunAll();
  EXPECT_EQ(4u, control.Rib()[1].age);
  EXPECT_EQ(0u, control.Routes()[1].age);
}

}  // namespace
}  // namespace stack_test
