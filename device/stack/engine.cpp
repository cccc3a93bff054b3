#include "engine.h"

#include <algorithm>
#include <climits>
#include <utility>

#include "vantacore/dcrouter_api.h"

namespace routing_stack {

namespace {

constexpr unsigned int kDefaultSliceEvents = 2000;
constexpr std::uint64_t kLongestRunMs = 4;
constexpr unsigned int kUnitsBetweenClockReadings = 32;
constexpr int kIdleMs = 1000;

Engine* g_current = nullptr;

bool IsDestroy(const RtmRequest& request) { return request.rowStatus == kDestroy; }

}  // namespace

Engine::Engine(Clock clock)
    : m_clock(std::move(clock)),
      m_tables(m_clock, m_forwardingListener),
      m_control(*this),
      m_upkeep(*this),
      m_facts(*this),
      m_sliceEvents(kDefaultSliceEvents) {}

Engine::~Engine() {
  if (g_current == this) {
    g_current = nullptr;
  }
}

Engine* Engine::Current() { return g_current; }
void Engine::MakeCurrent() { g_current = this; }

void Engine::AskForRun() {
  if (cIsNBaseRescheduled() == 0) {
    cRescheduleNBase();
  }
}

void Engine::Start() {
  if (m_started) {
    return;
  }
  m_started = true;
  m_queue.PushFront(ReadyEvent{});
  AskForRun();
  Drain();
}

void Engine::SubmitNow(Event event) {
  m_queue.Push(std::move(event));
  AskForRun();
  Drain();
}

void Engine::CountDestroy(const RtmRequest& request) {
  if (IsDestroy(request)) {
    ++m_waitingDestroys[request.instance];
  }
}

// For what the stack does of its own accord. The host hears of it only when the stack is started.
void Engine::SubmitOwn(Event event) {
  m_queue.Push(std::move(event));
  if (m_started) {
    AskForRun();
    Drain();
  }
}

void Engine::StartWalk(WalkTable table, std::uint32_t instance, sms_response handler,
                       void* command) {
  if (handler == nullptr) {
    return;
  }
  Walk& walk = m_walks.Begin();
  walk.table = table;
  walk.handler = handler;
  walk.command = command;
  walk.instance = instance;
  if (m_served != nullptr) {
    walk.first = m_served->first;
  }
  QueueTurn(walk);
  AskForRun();
  Drain();
}

void Engine::QueueTurn(Walk& walk) {
  walk.hasTurn = true;
  m_queue.Push(WalkTurn{&walk});
}

void Engine::HoldWalk(unsigned int number) {
  Walk* const walk = m_walks.Find(number);
  if (walk == nullptr || walk->isEnding) {
    return;
  }
  walk->isHeld = true;
  if (walk->hasTurn) {
    walk->hasTurn = false;
    m_queue.RemoveTurn(*walk);
  }
}

void Engine::GoOnWithWalk(unsigned int number) {
  Walk* const walk = m_walks.Find(number);
  if (walk != nullptr && walk->isHeld) {
    Resume(*walk);
  }
}

void Engine::EndWalk(unsigned int number) {
  Walk* const walk = m_walks.Find(number);
  if (walk != nullptr) {
    walk->isEnding = true;
    Resume(*walk);
  }
}

// One that is being served gets its turn after that.
void Engine::Resume(Walk& walk) {
  walk.isHeld = false;
  if (!walk.hasTurn && !walk.isServed) {
    QueueTurn(walk);
    AskForRun();
    Drain();
  }
}

void Engine::DescriptorReady(int fd, int events) {
  m_descriptors.Ready(fd, events);
  if (!m_queue.IsEmpty() || m_tables.HasWork()) {
    AskForRun();
    Drain();
  }
}

bool Engine::IsIdle() const {
  return m_queue.IsEmpty() && !m_queue.HasLater() && !m_tables.HasWork();
}

bool Engine::HasWork() const {
  return m_started && !m_held &&
         (!m_queue.IsEmpty() || m_tables.HasWork() ||
          (m_queue.HasLater() && m_queue.FirstDue() <= m_clock()));
}

int Engine::Run() {
  if (m_running || !m_started || m_held) {
    return NextRun();
  }
  m_running = true;
  const std::uint64_t begin = m_clock();
  m_queue.TakeDue(begin);
  unsigned int units = 0;
  while (units < m_sliceEvents && WorkOne()) {
    ++units;
    if (units % kUnitsBetweenClockReadings == 0 && m_clock() - begin >= kLongestRunMs) {
      break;
    }
  }
  m_running = false;
  return NextRun();
}

// In synchronous mode, works everything off before the call returns, however deep inside callbacks
// the call was made.
void Engine::Drain() {
  if (!m_synchronous || !m_started) {
    return;
  }
  m_queue.TakeDue(m_clock());
  while (WorkOne()) {
  }
}

int Engine::NextRun() const {
  if (!m_started || m_held) {
    return kIdleMs;
  }
  if (!m_queue.IsEmpty() || m_tables.HasWork()) {
    return 0;
  }
  if (!m_queue.HasLater()) {
    return kIdleMs;
  }
  const std::uint64_t now = m_clock();
  const std::uint64_t due = m_queue.FirstDue();
  const std::uint64_t wait = due > now ? due - now : 0;
  return static_cast<int>(std::min<std::uint64_t>(wait, INT_MAX));
}

bool Engine::WorkOne() {
  if (m_held) {
    return false;
  }
  if (m_tables.HasWork()) {
    m_tables.Work();
    return true;
  }
  if (m_queue.IsEmpty()) {
    return false;
  }
  Event event = m_queue.Pop();
  std::visit([this](auto& one) { Serve(one); }, event);
  return true;
}

void Engine::Serve(ReadyEvent&) {
  m_ready = true;
  cI3Ready();
}

void Engine::Serve(RtmRequest& request) {
  const std::uint32_t instance = request.instance;
  const auto destroys = m_waitingDestroys.find(instance);
  if (!IsDestroy(request)) {
    // An instance that is to go again is not reported ready in between.
    if (destroys == m_waitingDestroys.end()) {
      Judge(request);
    }
    return;
  }
  if (!request.judged && destroys != m_waitingDestroys.end() && --destroys->second == 0) {
    m_waitingDestroys.erase(destroys);
  }
  m_queue.RemoveLater([instance](const Event& event) {
    const RtmRequest* const late = std::get_if<RtmRequest>(&event);
    return late != nullptr && late->instance == instance && !IsDestroy(*late);
  });
  Judge(request);
}

void Engine::Serve(WalkTurn& turn) {
  Walk& walk = *turn.walk;
  Walk* const outer = m_served;
  m_served = &walk;
  walk.hasTurn = false;
  walk.isServed = true;
  const bool goesOn = walk.Step(m_tables, m_clock());
  walk.isServed = false;
  m_served = outer;
  if (!goesOn) {
    m_walks.Remove(walk);
  } else if (!walk.isHeld) {
    QueueTurn(walk);
  }
}

void Engine::Serve(DescriptorEvent& event) {
  switch (event.kind) {
    case DescriptorEvent::kRegister:
      cRegisterWorkWithEventloop(event.fd, event.id, event.mask);
      break;
    case DescriptorEvent::kChange:
      cChangeMask(event.fd, event.mask);
      break;
    case DescriptorEvent::kUnregister:
      cUnregisterWorkWithEventloop(event.fd, event.id);
      break;
  }
}

template <typename AnyRequest>
void Engine::Judge(AnyRequest& request) {
  const Oid oid = request.GetOid();
  m_tables.SetCause(AnyRequest::kType);
  Answer answer;
  if (request.judged || !m_scripts.Concerns(AnyRequest::kType) ||
      !m_scripts.Take(AnyRequest::kType, oid, &answer)) {
    const unsigned int status = request.Apply(m_tables);
    Report(request, oid, status);
    return;
  }
  switch (answer.kind) {
    case Answer::kNever:
      RememberLost(request, oid);
      break;
    case Answer::kStatus:
      Report(request, oid, answer.status);
      break;
    case Answer::kTwice: {
      const unsigned int status = request.Apply(m_tables);
      Report(request, oid, status);
      Report(request, oid, status);
      break;
    }
    case Answer::kLate:
      request.judged = true;
      m_queue.PushLater(m_clock() + answer.delayMs, std::move(request));
      break;
  }
}

template <typename AnyRequest>
void Engine::Report(const AnyRequest& request, const Oid& oid, unsigned int status) {
  if (!m_lost.empty()) {
    m_lost.erase(WordsOf(oid));  // the end of this one is the end of the row's
  }
  if (m_listener != nullptr) {
    m_listener->Answered(request.GetName(), static_cast<int>(request.rowStatus), status);
  }
  request.Answer(status);
  if (AnyRequest::kIsCompleted) {
    Oid key = oid;  // the callback takes a pointer to what it might change
    cRunPendingAction(key.words, key.length);
  }
}

template <typename AnyRequest>
void Engine::RememberLost(const AnyRequest& request, const Oid& oid) {
  m_lost.try_emplace(WordsOf(oid),
                     Lost{request.GetName(), static_cast<int>(request.rowStatus), request.since});
}

// The library hears of no end of an instance's request.
bool Engine::EndLostRequests() {
  std::map<OidWords, Lost> lost;
  lost.swap(m_lost);
  for (const auto& [words, request] : lost) {
    if (m_listener != nullptr) {
      m_listener->Answered(request.row, request.rowStatus, 0);
    }
    if (request.row.type != RowType::kRtm) {
      OidWords key = words;  // the callback may change it
      cRunPendingAction(key.data(), static_cast<unsigned int>(key.size()));
    }
  }
  return !lost.empty();
}

std::optional<std::uint64_t> Engine::UnfinishedSince(const Oid& row) const {
  const std::optional<std::uint64_t> waiting = m_queue.WaitingSince(row);
  const auto lost = m_lost.empty() ? m_lost.end() : m_lost.find(WordsOf(row));
  if (lost == m_lost.end()) {
    return waiting;
  }
  return waiting ? std::min(*waiting, lost->second.since) : lost->second.since;
}

void Engine::SetMostNextHops(std::uint32_t vlan, std::size_t most) {
  m_tables.SetMostNextHops(vlan, most);
  if (m_started && m_tables.HasWork()) {
    AskForRun();
    Drain();
  }
}

// A new listener begins with the tables as they are, without what is still leaving them.
void Engine::SetListener(Listener* listener) {
  m_listener = listener;
  m_forwardingListener = listener != nullptr && listener->WantsForwarding() ? listener : nullptr;
  m_tables.MuteRemoved();
}

// What becomes of an event that waits when the stack restarts: a walk is ended, a request stays
// without an answer.
void Engine::Outlive(WalkTurn& turn) { m_queue.Push(turn); }

template <typename Other>
void Engine::Outlive(const Other& event) {
  if constexpr (std::is_base_of_v<Request, Other>) {
    RememberLost(event, event.GetOid());
  }
}

void Engine::Restart() {
  ++m_restarts;
  m_ready = false;
  std::deque<Event> forgotten = m_queue.TakeAll();
  m_tables.Clear();
  m_descriptors.Clear();
  m_waitingDestroys.clear();
  trace = {};
  m_queue.Push(ReadyEvent{});
  for (Event& event : forgotten) {
    std::visit([this](auto& one) { Outlive(one); }, event);
  }
  for (Walk* const walk : m_walks.All()) {
    walk->isEnding = true;
    walk->isHeld = false;
    if (!walk->hasTurn && !walk->isServed) {
      QueueTurn(*walk);
    }
  }
  if (m_listener != nullptr) {
    m_listener->Restarted();
  }
  if (m_started) {
    AskForRun();
    Drain();
  }
}

}  // namespace routing_stack
