// Whatever the stack answers, and whatever changes meanwhile: in the end it has the wanted routes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/models/random_run.h"
#include "tests/unit/routes/route_keeper_fixture.h"
#include "vantacore/dc_rtm_mgr.h"

namespace {

using Kind = routing_stack::Answer::Kind;
using testing::IsEmpty;

const std::vector<unsigned short> ALL_VLANS = {10, 20, 30};
constexpr unsigned int NETWORKS = 12;

class RouteModel : public routes_test::RouteKeeperFixture {
 protected:
  RouteModel() : RouteKeeperFixture(ALL_VLANS) {}

  unsigned int Draw(unsigned int range) { return m_random.Below(range); }

  static intent::ResolvedRoute Via(unsigned char gateway, intent::ResolvedRoute route) {
    route.target.gateway[route.target.ip6 ? 15 : 3] = gateway;
    return route;
  }

  intent::ResolvedRoutes DrawRoutes() {
    intent::ResolvedRoutes routes;
    const unsigned int share = Draw(5);
    for (const unsigned short vlan : m_vlans) {
      for (unsigned int i = 0; i < 2 * NETWORKS; ++i) {
        for (unsigned char gateway = 1; gateway <= 3; ++gateway) {
          if (Draw(8) < share) {
            routes.push_back(Via(gateway, Route(vlan, i / 2, i % 2 != 0, 5 + Draw(2))));
          }
        }
      }
    }
    return routes;
  }

  void EndPlan() {
    if (m_plan) {
      keeper->CarryOut(*m_plan);
      m_plan = nullptr;
    }
  }

  void ChangeRoutes() {
    EndPlan();
    m_plan = keeper->BeginPlan();
    routes::RouteKeeper::MakePlan(*m_plan, Share(DrawRoutes()));
    if (Draw(2) != 0) {
      EndPlan();
    }
  }

  void ChangeVlans() {
    EndPlan();
    const unsigned short vlan = ALL_VLANS[Draw(3)];
    if (m_vlans.erase(vlan) != 0) {
      LoadVlans({m_vlans.begin(), m_vlans.end()});
      keeper->ForgetVlan(vlan);
      Want(WithoutVlan(vlan));
    } else {
      m_vlans.insert(vlan);
      LoadVlans({m_vlans.begin(), m_vlans.end()});
    }
  }
  intent::ResolvedRoutes WithoutVlan(unsigned short vlan) const {
    intent::ResolvedRoutes rest;
    for (const intent::ResolvedRoute& route : *keeper->GetWanted()) {
      if (route.target.vlan != vlan) {
        rest.push_back(route);
      }
    }
    return rest;
  }

  void DrawAnswers() {
    const auto kind = static_cast<Kind>(Draw(4));
    const unsigned int statuses[] = {3, 4, 5, 5, 5, 8};
    const routing_stack::Answer answer{kind, statuses[Draw(6)], Draw(3000)};
    Answer(answer, 1 + Draw(kind == Kind::kStatus ? 40 : 3));
  }

  // Somebody else has been at the stack.
  void Meddle() {
    const auto route = Route(ALL_VLANS[Draw(3)], Draw(NETWORKS), Draw(2) != 0, 9);
    const auto& target = route.target;
    sms_update_route(1, Draw(2) != 0 ? 1 : 6, 1, target.ip6 ? 2 : 1, target.destination.data(),
                     target.length, target.gateway.data(), 0, route.ifIndex,
                     static_cast<unsigned short>(target.vlan | (target.ip6 ? 0x8000 : 0)), 9);
  }

  void Compare() {
    for (const auto& [row, standing] : Pass(1 + Draw(50))) {
      differences.Note(row, standing);
    }
  }

  void RestartTheStack() {
    Control().Restart();
    port.EndLostRequests();
    Manager().GetSerializer().Reset();
    Manager().GetCfgSched().Reset();
    LoadVlans({});
    for (const unsigned short vlan : ALL_VLANS) {
      Tarsel::DcRtmMgr::GetInstance()->DeleteRtmConfig(vlan);
    }
    const intent::ResolvedRoutes wanted = *keeper->GetWanted();
    m_plan = nullptr;
    keeper->Forget();
    differences.Forget();
    LoadVlans({m_vlans.begin(), m_vlans.end()});
    Want(wanted);
  }

  void Step() {
    switch (Draw(14)) {
      case 0:
      case 1:
      case 2:
        ChangeRoutes();
        break;
      case 3:
        EndPlan();
        break;
      case 4:
      case 5:
        DrawAnswers();
        break;
      case 6:
        Draw(2) != 0 ? Control().Hold() : Control().Release();
        break;
      case 7:
        Compare();
        break;
      case 8:
        Meddle();
        break;
      case 9:
        Draw(3) != 0 ? ChangeVlans() : RestartTheStack();
        break;
      case 10:
        port.EndLostRequests();
        break;
      default:
        Run(Draw(Draw(4) == 0 ? 3000 : 60));
    }
    EXPECT_LE(keeper->CountRetried(), keeper->CountUnderWay());
  }

  void ComeToRest() {
    Control().Release();
    Control().ClearScripts();
    EndPlan();
    Run(4000);
    port.EndLostRequests();
    Run(2000);
    for (int i = 0; i < 3; ++i) {
      Compare();
      ASSERT_TRUE(RunUntilSettled(200000))
          << keeper->CountOpen() << " open, " << keeper->CountUnderWay() << " under way, "
          << differences.Count() << " differences, items " << testing::PrintToString(Items());
    }
    const intent::ResolvedRoutes wanted = *keeper->GetWanted();
    EXPECT_EQ(InStack(), wanted);
    EXPECT_THAT(Pass(), IsEmpty());
    EXPECT_THAT(Items(), IsEmpty());
    for (const unsigned short vlan : ALL_VLANS) {
      EXPECT_FALSE(keeper->HasLeavingRoutes(vlan));
    }
    EXPECT_EQ(keeper->CountRetried(), 0u);
  }

  test_models::Random m_random;
  std::set<unsigned short> m_vlans{ALL_VLANS.begin(), ALL_VLANS.end()};
  std::shared_ptr<routes::RouteKeeper::Plan> m_plan;
};

TEST_F(RouteModel, EndsWithTheWantedRoutes) {
  const unsigned int rounds = test_models::Scaled(60);
  for (unsigned int round = 0; round < rounds && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    for (unsigned int step = Draw(40); step != 0; --step) {
      Step();
    }
    ComeToRest();
  }
}

}  // namespace
