#include "session.h"

#include <exception>
#include <new>

#include "tarsel/trace.h"

namespace console {

namespace {

constexpr unsigned SETTLE_LIMIT_MILLISECONDS = 5000;
constexpr unsigned LOOK_MILLISECONDS = 250;
constexpr std::size_t MOST_DIFFERENCES = 100;
constexpr std::string_view HELD_UP =
    "The stack is held: the answer comes when it is released (`lab stack release`)\n";

}  // namespace

Session::Session(const SessionContext& context, unsigned short vlan)
    : m_context(context), m_vlan(vlan), m_wake(context.loop), m_look(context.loop) {}

Session::~Session() {
  Detach();
  if (m_hold != 0) {
    m_context.dispatcher.EndHold(m_hold, m_isForOneLine);
  }
}

unsigned int Session::GetSigns() const {
  return (m_command ? m_command->GetSigns() : 0) | (m_hasSettled ? 0u : unsigned{UNSETTLED});
}

void Session::Detach() {
  m_view.reset();
  if (m_command) {
    m_command->Detach();
  }
  if (m_walks) {
    m_walks->End();
    m_walks.reset();
  }
  m_isHolding = false;
}

void Session::HeedWaiting(std::size_t bytes) {
  if (!m_walks) {
    return;
  }
  if (bytes > HOLD_FROM) {  // each time: a walk that was held may have begun another one before
    m_isHolding = true;
    m_walks->Hold();
    if (m_view) {
      m_view->Hold();
    }
  } else if (m_isHolding && bytes < HOLD_FROM / 2) {
    m_isHolding = false;
    m_walks->GoOn();
    if (m_view) {
      m_view->GoOn();
    }
  }
}

// A command ends deep inside the library or the stack, so the session goes on from the loop.
void Session::Execute(const std::string& line) {
  Detach();
  m_isBusy = true;
  m_isImpatient = false;
  m_hasSettled = true;
  m_reply = {};
  m_command = std::make_shared<RunningCommand>(
      m_vlan, GetOperator(), [this](std::string_view text) { Write(text); },
      [this] { m_wake.Post([this] { Over(); }); });
  m_walks.emplace(m_context.walks);
  try {
    Begin(line);
  } catch (const std::bad_alloc&) {
    throw;  // the library may have been left in the middle of a change
  } catch (const std::exception& problem) {
    m_command->Write(std::string(problem.what()) + "\n");
    m_command->Refuse();
    m_walks->Begun();
    Interrupt();
  }
}

void Session::Begin(const std::string& line) {
  m_reply = m_context.dispatcher.Execute(line, m_command);
  m_vlan = m_reply.vlan;
  m_hold = m_reply.hold != 0 ? m_reply.hold : m_hold;
  m_walks->Begun();
  if (m_reply.view) {
    ShowView(std::move(m_reply.view), [this] { m_command->End(); });
  }
  if (m_reply.isLive) {
    BecomeLive();
  }
  if (m_reply.isHeldUp) {
    m_command->Remark(HELD_UP);
    Flush();  // it may be all for a long time
  }
  if (m_reply.hasChanged) {
    m_progress = m_context.settle.GetProgress();
    m_look.Start(LOOK_MILLISECONDS, [this] { LookAtProgress(); });
  }
}

void Session::ShowView(views::AnyView view, std::function<void()> over) {
  m_view = std::make_unique<ViewRun>(
      m_context.loop, std::move(view), m_command, [this] { Flush(); }, std::move(over));
}

bool Session::Interrupt() {
  if (!m_isBusy) {
    return false;
  }
  m_isImpatient = true;
  if (!m_command->IsOver() || m_view) {
    Detach();
    m_wake.Post([this] { Over(); });
  } else {
    m_context.settle.GiveUp();
  }
  return true;
}

void Session::Over() {
  Flush();
  if (m_hasLeft) {
    return;
  }
  if (m_reply.isQuit) {
    m_command->FinishOutput();
    Leave(GetExitStatus());
  } else if (m_reply.hasChanged && !m_isImpatient && m_waitsForEffects) {
    SettleThenReady();
  } else {
    Conclude(!m_reply.hasChanged || !m_waitsForEffects);
  }
}

// A reload that has been given up goes on, and may have something to say.
void Session::BecomeReady() {
  m_look.Stop();
  if (m_command) {
    m_command->FinishOutput();
    Flush();
    m_allSigns |= GetSigns();
  }
  Detach();
  m_isBusy = false;
  Ready();
}

void Session::Leave(int status) {
  m_hasLeft = true;
  m_context.leave(status);
}

void Session::SettleThenReady() {
  m_context.settle.Wait(SETTLE_LIMIT_MILLISECONDS, [this](bool settled) {
    if (!settled && !m_isImpatient) {
      Flush();
      Tarsel::TRACE("Requests are still under way after %u s; going on\n",
                    SETTLE_LIMIT_MILLISECONDS / 1000);
    }
    Conclude(settled);
  });
}

// What is under way may still come true, so differences count when things have settled.
void Session::Conclude(bool hasSettled) {
  m_hasSettled = hasSettled;
  const bool isReload = m_reply.isReload && !m_isImpatient;
  const bool isSettled = hasSettled && m_waitsForEffects;
  views::Effect effect;
  if (isReload && isSettled && m_context.findEffect) {
    effect = m_context.findEffect(MOST_DIFFERENCES);
  }
  effect.hasSettled = isSettled;
  if (effect.count != 0) {
    m_command->Differ();
  }
  if (isReload && m_reply.document) {
    ShowView(m_reply.document(effect), [this] { m_wake.Post([this] { BecomeReady(); }); });
    return;
  }
  for (const std::string& line : views::DescribeEffect(effect)) {
    m_command->Tell(line + "\n");
  }
  BecomeReady();
}

void Session::LookAtProgress() {
  const loop::Progress progress = m_context.settle.GetProgress();
  if (progress.done != m_progress.done || progress.total != m_progress.total) {
    m_progress = progress;
    ShowProgress(progress);
  }
  m_look.Start(LOOK_MILLISECONDS, [this] { LookAtProgress(); });
}

}  // namespace console
