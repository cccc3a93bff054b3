#include <gtest/gtest.h>

#include "device/program/options.h"
#include "tests/support/exposition_reader.h"
#include "tests/unit/views/state_fixture.h"

namespace {

using routing_stack::Answer;
using routing_stack::RowType;

class Metrics : public views_test::StateFixture {
 protected:
  std::map<std::string, double> Samples() {
    const test_support::ReadExposition read = test_support::ReadMetrics(Read(Ask().Metrics()));
    EXPECT_EQ(read.problem, "");
    return read.samples;
  }
  double Sample(const std::string& name) {
    const std::map<std::string, double> samples = Samples();
    EXPECT_EQ(samples.count(name), 1u) << name;
    return samples.count(name) != 0 ? samples.at(name) : -1;
  }
};

TEST_F(Metrics, TellOfTheProcess) {
  m_lost = 17;
  StartWith(WITH_ROUTE);
  EXPECT_EQ(Sample("process_start_time_seconds"), STARTED);
  EXPECT_EQ(Sample(std::string("vantacore_build_info{version=\"") + program::GetVersion() + "\"}"),
            1);
  EXPECT_GT(Sample("process_resident_memory_bytes"), 1000000);
  EXPECT_EQ(Sample("vantacore_console_sessions"), 3);
  EXPECT_EQ(Sample("vantacore_log_lines_lost_total"), 17);
  EXPECT_GT(Sample(R"(vantacore_loop_longest_turn_seconds{period="since_start"})"), 0);
  EXPECT_LE(Sample(R"(vantacore_loop_longest_turn_seconds{period="last_minute"})"),
            Sample(R"(vantacore_loop_longest_turn_seconds{period="since_start"})"));
}

TEST_F(Metrics, CountWhatBecomesOfRoutesInTheKernel) {
  EXPECT_EQ(Sample("vantacore_kernel_routes_wanted"), 0);
  m_kernel = {true, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, {true, 10, 11, 12, 13, 14}, {}};
  const std::map<std::string, double> samples = Samples();
  EXPECT_EQ(samples.at("vantacore_kernel_routes_wanted"), 1);
  EXPECT_EQ(samples.at("vantacore_kernel_routes_installed"), 2);
  EXPECT_EQ(samples.at("vantacore_kernel_routes_refused"), 3);
  EXPECT_EQ(samples.at(R"(vantacore_kernel_requests_total{result="added"})"), 4);
  EXPECT_EQ(samples.at(R"(vantacore_kernel_requests_total{result="deleted"})"), 5);
  EXPECT_EQ(samples.at(R"(vantacore_kernel_requests_total{result="refused"})"), 6);
  EXPECT_EQ(samples.at(R"(vantacore_kernel_routes_repaired_total{found="missing"})"), 7);
  EXPECT_EQ(samples.at(R"(vantacore_kernel_routes_repaired_total{found="stray"})"), 8);
  EXPECT_EQ(samples.at("vantacore_kernel_overruns_total"), 9);
  EXPECT_EQ(samples.at("vantacore_kernel_rules_wanted"), 10);
  EXPECT_EQ(samples.at("vantacore_kernel_rules_installed"), 11);
  EXPECT_EQ(samples.at("vantacore_kernel_rules_refused"), 12);
  EXPECT_EQ(samples.at(R"(vantacore_kernel_rules_repaired_total{found="missing"})"), 13);
  EXPECT_EQ(samples.at(R"(vantacore_kernel_rules_repaired_total{found="stray"})"), 14);
}

// Nothing has been started, and nothing is there.
TEST_F(Metrics, AreAsFarAsTheyAreKnown) {
  const std::map<std::string, double> samples = Samples();
  EXPECT_EQ(samples.at("vantacore_vlans"), 0);
  EXPECT_EQ(samples.at("vantacore_revision"), 0);
  EXPECT_EQ(samples.at(R"(vantacore_rows_wanted{kind="static_routes"})"), 0);
}

TEST_F(Metrics, CountRoutesRowsAndInterfaces) {
  StartWith(WITH_ROUTE);
  const std::map<std::string, double> samples = Samples();
  EXPECT_EQ(samples.at("vantacore_vlans"), 1);
  EXPECT_EQ(samples.at(R"(vantacore_interfaces{state="up"})"), 1);
  EXPECT_EQ(samples.at(R"(vantacore_interfaces{state="down"})"), 0);
  EXPECT_EQ(samples.at(R"(vantacore_route_candidates{protocol="static"})"), 1);
  EXPECT_EQ(samples.at(R"(vantacore_routes_installed{protocol="static"})"), 1);
  EXPECT_EQ(samples.at(R"(vantacore_route_candidates{protocol="connected"})"), 1);
  EXPECT_EQ(samples.at(R"(vantacore_route_candidates{protocol="bgp"})"), 0);
  EXPECT_EQ(samples.at(R"(vantacore_rows_wanted{kind="instances"})"), 2);
  EXPECT_EQ(samples.at(R"(vantacore_rows_wanted{kind="interfaces"})"), 1);
  EXPECT_EQ(samples.at(R"(vantacore_rows_wanted{kind="addresses"})"), 1);
  EXPECT_EQ(samples.at(R"(vantacore_rows_wanted{kind="static_routes"})"), 1);
  EXPECT_EQ(samples.at(R"(vantacore_rows_differing{kind="static_routes"})"), 0);
  EXPECT_EQ(samples.at("vantacore_settled"), 1);
  EXPECT_EQ(samples.at("vantacore_stack_ready"), 1);
  EXPECT_EQ(samples.at("vantacore_stack_held"), 0);
}

TEST_F(Metrics, CountRequestsAndTheirAnswers) {
  StartWithARefusedRoute();
  const std::map<std::string, double> before = Samples();
  EXPECT_EQ(before.at(R"(vantacore_rows_refused{kind="static_routes"})"), 1);
  EXPECT_EQ(before.at(R"(vantacore_rows_differing{kind="static_routes"})"), 1);
  EXPECT_GE(before.at(R"(vantacore_requests_answered_total{result="refused"})"), 1);
  EXPECT_GE(before.at(R"(vantacore_requests_answered_total{result="done"})"), 4);
  EXPECT_EQ(before.at("vantacore_requests_sent_total"),
            before.at(R"(vantacore_requests_answered_total{result="refused"})") +
                before.at(R"(vantacore_requests_answered_total{result="done"})"));
  EXPECT_EQ(before.at("vantacore_settled"), 1);  // a known difference
  Ask().Retry({});
  ASSERT_TRUE(TurnUntil([&] {
    return Sample(R"(vantacore_requests_answered_total{result="refused"})") >
           before.at(R"(vantacore_requests_answered_total{result="refused"})");
  }));
  EXPECT_EQ(Sample("vantacore_requests_retried_total"),
            before.at("vantacore_requests_retried_total") + 1);
}

TEST_F(Metrics, TellWhatWaits) {
  StartWith(WITH_ROUTE);
  Control().Hold();
  EXPECT_EQ(Sample("vantacore_stack_held"), 1);
  WriteVlans(R"("a": {"vid": 10})");
  Reload();
  ASSERT_TRUE(TurnUntil([this] { return m_reloader->GetKnowledge().CountOpen() != 0; }));
  EXPECT_EQ(Sample("vantacore_static_routes_waiting"), 1);
  EXPECT_EQ(Sample("vantacore_requests_open"), 1);
  EXPECT_EQ(Sample("vantacore_settled"), 0);
  Control().Release();
  ASSERT_TRUE(SettleAll());
  EXPECT_EQ(Sample("vantacore_static_routes_waiting"), 0);
  EXPECT_EQ(Sample("vantacore_settled"), 1);
}

TEST_F(Metrics, CountReloadsAndRestarts) {
  StartWith(WITH_ROUTE);
  EXPECT_EQ(Sample(R"(vantacore_reloads_total{result="applied"})"), 0);  // a start is none
  Reload();
  m_files.Write("vlans.json", "no document");
  Reload();
  Reload();
  m_reloader->Check({}, false);
  TurnUntilDone();
  EXPECT_EQ(Sample(R"(vantacore_reloads_total{result="applied"})"), 1);
  EXPECT_EQ(Sample(R"(vantacore_reloads_total{result="refused"})"), 2);
  EXPECT_EQ(Sample("vantacore_stack_restarts_total"), 0);
  RestartTheStack();
  EXPECT_EQ(Sample("vantacore_stack_restarts_total"), 1);
}

}  // namespace
