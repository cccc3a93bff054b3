// What a RouteKeeper consists of, for the files that implement it.
#ifndef DEVICE_ROUTES_ROUTE_KEEPER_STATE_H
#define DEVICE_ROUTES_ROUTE_KEEPER_STATE_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "asked_route.h"
#include "device/loop/loop_handles.h"
#include "route_book.h"
#include "route_feeder.h"
#include "route_handover.h"
#include "route_judge.h"
#include "route_keeper.h"
#include "route_pass.h"
#include "tarsel/timer.h"

namespace routes {

struct RouteKeeper::Plan {
  RouteBook::Plan book;
  unsigned int edition = 0;
  intent::SharedUnresolved unresolved = nullptr;
};

// What changes while a plan is made would be lost with it, so that waits until the plan is over.
struct RouteKeeper::State {
  State(uv_loop_s* loop, const rows::StackPort& stackPort, rows::Differences& itsDifferences,
        RouteHandover::Options options);

  void Wake();
  void Turn();
  void EndPlan();
  void TakeNews();
  void TakeNews(RouteRequest& request);
  RouteBook::Place PlaceOf(const RouteRequest& request) const;
  void NoteAnswer(const RouteBook::Place& place, unsigned int status);
  void Conclude(RouteRequest& request, bool isDone);
  void GiveUp(const RouteBook::Place& place, const rows::RouteRow& row, RouteLane& lane,
              unsigned int status);
  void Heal();
  void Settle(const RouteBook::Place& place, const rows::RouteRow& row, RouteLane& lane);
  void Ask(RouteBook::Place place, const rows::RouteRow& row, RouteLane& lane, bool isRepeat,
           std::uint64_t now);
  void AskAgain(const rows::RouteRow& row);
  void ForgetVlan(unsigned short vlan, bool hasGone);
  void Watch(unsigned int, void*);

  std::uint32_t MetricOf(const RouteBook::Place& place) const;

  const rows::StackPort& port;
  rows::Differences& differences;
  loop::Task turn;
  Tarsel::OneShotTimer watch;
  RouteBook book;
  RouteRequests requests;
  RouteFeeder feeder;
  RouteJudge judge;
  RoutePass pass;
  RouteHandover handover;

  intent::SharedUnresolved unresolved = std::make_shared<const intent::UnresolvedRoutes>();
  unsigned int revision = 0;
  bool isPlanning = false;
  std::vector<rows::RouteRow> again;         // to be asked for again after the plan
  std::map<unsigned short, bool> lostVlans;  // to be forgotten after the plan; true: have gone
  std::uint64_t planned = 0;                 // when the last plan was carried out
  std::uint64_t progress = 0;
  std::uint64_t concluded = 0;
  std::size_t retried = 0;
  std::size_t repeats = 0;  // that are under way
};

}  // namespace routes

#endif
