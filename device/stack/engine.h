// The engine of the software routing stack.
//
// Data: the tables (tables.h), a queue of events (event_queue.h), and what the control header sets:
// scripts, limits, holds. Two engines share nothing.
//
// A call of the C interface only copies its arguments into an event and, if the host has no run
// scheduled, asks for one. All answers come from Run(), which does one unit of work after the
// other: first the tables' own work, which earlier changes have left, then the next event. Each
// event therefore finds the consequences of all earlier ones. A run ends after a slice of units, or
// when it has taken a few milliseconds.
//
// Life: a new engine is stopped; it queues requests but does not work on them. Start() queues the
// announcement of readiness before everything else. From then on the engine runs, unless it is
// held. Restart() is a crash and a new start in one: only scripts, limits, the numbers of next hops,
// the synchronous mode, counters and the listener stay.
//
// A walk lives until its last answer. In the queue there is only its turn, and none of one that the
// host holds.
//
// Events are taken out of the queue before anything is called, since every callback may queue more,
// restart the engine, or, in synchronous mode, work on the queue from inside.
#ifndef DEVICE_STACK_ENGINE_H
#define DEVICE_STACK_ENGINE_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "call_log.h"
#include "descriptor_handlers.h"
#include "event_queue.h"
#include "scripts.h"
#include "upkeep.h"

namespace routing_stack {

class Engine {
 public:
  explicit Engine(Clock clock);
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
  ~Engine();

  /// The engine that the C functions forward to, or null.
  static Engine* Current();
  void MakeCurrent();

  void Start();
  /// Does a slice of work. Returns the milliseconds until the next run: 0 while there is work, a
  /// second while there is nothing to do. Never negative, which the library would take for a tenth
  /// of a second: whatever gives the engine something to do asks for a run.
  int Run();
  template <typename AnyRequest>
  void Submit(AnyRequest request) {
    request.since = m_clock();
    CountDestroy(request);
    SubmitNow(std::move(request));
  }
  void StartWalk(WalkTable table, std::uint32_t instance, sms_response handler, void* command);
  void DescriptorReady(int fd, int events);

  void HoldWalk(unsigned int number);
  void GoOnWithWalk(unsigned int number);
  void EndWalk(unsigned int number);
  bool EndLostRequests();
  void SetMostNextHops(std::uint32_t vlan, std::size_t most);
  void SetListener(Listener* listener);

  bool IsIdle() const;
  bool HasWork() const;
  bool IsHeld() const { return m_held; }
  bool IsReady() const { return m_ready; }
  unsigned int CountRestarts() const { return m_restarts; }
  bool HasUnfinished() const { return m_queue.HasRequests() || !m_lost.empty(); }
  std::optional<std::uint64_t> UnfinishedSince(const Oid& row) const;
  const Walks& GetWalks() const { return m_walks; }

  Upkeep& GetUpkeep() { return m_upkeep; }
  Control& GetControl() { return m_control; }
  const Facts& GetFacts() const { return m_facts; }
  CallLog& Calls() { return m_calls; }
  const CallLog& Calls() const { return m_calls; }
  const Tables& GetTables() const { return m_tables; }
  std::uint64_t Now() const { return m_clock(); }

  /// The stack's own trace: on or off, and a filter text for each of its codes.
  struct Trace {
    bool on = false;
    std::map<unsigned short, std::string> filters;
  } trace;

 private:
  friend class Control;

  void Serve(ReadyEvent& event);
  void Serve(RtmRequest& request);
  void Serve(WalkTurn& turn);
  void Serve(DescriptorEvent& event);
  template <typename AnyRequest>
  void Serve(AnyRequest& request) {
    Judge(request);
  }
  template <typename AnyRequest>
  void Judge(AnyRequest& request);
  template <typename AnyRequest>
  void Report(const AnyRequest& request, const Oid& oid, unsigned int status);

  bool WorkOne();
  void Drain();
  int NextRun() const;
  static void AskForRun();

  void SubmitNow(Event event);
  void SubmitOwn(Event event);
  void CountDestroy(const RtmRequest& request);
  template <typename Other>
  void CountDestroy(const Other&) {}

  void QueueTurn(Walk& walk);
  void Resume(Walk& walk);

  void Restart();
  void Outlive(WalkTurn& turn);
  template <typename Other>
  void Outlive(const Other& event);
  template <typename AnyRequest>
  void RememberLost(const AnyRequest& request, const Oid& oid);

  /// A request that was never answered.
  struct Lost {
    RowName row;
    int rowStatus;
    std::uint64_t since;
  };

  const Clock m_clock;
  Listener* m_listener = nullptr;
  Listener* m_forwardingListener = nullptr;  // the same if it wants the forwarding table
  Tables m_tables;
  EventQueue m_queue;
  Scripts m_scripts;
  CallLog m_calls;
  DescriptorHandlers m_descriptors;
  Walks m_walks;
  Walk* m_served = nullptr;  // whose handler is being called, the innermost one
  Control m_control;
  Upkeep m_upkeep;
  const Facts m_facts;

  bool m_started = false;
  bool m_running = false;
  bool m_held = false;
  bool m_synchronous = false;
  unsigned int m_sliceEvents;
  bool m_ready = false;  // has been announced
  unsigned int m_restarts = 0;
  // Destroy requests of an instance that wait: what was asked for before them is cancelled.
  std::map<std::uint32_t, unsigned int> m_waitingDestroys;
  // Of each row the first of these.
  std::map<OidWords, Lost> m_lost;
};

}  // namespace routing_stack

#endif
