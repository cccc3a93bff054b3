#include "session.h"

#include <exception>
#include <new>

#include "tarsel/trace.h"

namespace console {

namespace {

constexpr unsigned SETTLE_LIMIT_MILLISECONDS = 5000;

}  // namespace

Session::Session(const SessionContext& context, unsigned short vlan)
    : m_context(context), m_vlan(vlan), m_wake(context.loop) {}

Session::~Session() { Detach(); }

void Session::Detach() {
  if (m_command) {
    m_command->Detach();
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
      m_vlan, SeesLog(), [this](const std::string& text) { Write(text); },
      [this] { m_wake.Post([this] { Over(); }); });
  try {
    m_reply = m_context.dispatcher.Execute(line, m_command);
    m_vlan = m_reply.vlan;
  } catch (const std::bad_alloc&) {
    throw;  // the library may have been left in the middle of a change
  } catch (const std::exception& problem) {
    m_command->Write(std::string(problem.what()) + "\n");
    m_command->Refuse();
    Interrupt();
  }
}

bool Session::Interrupt() {
  if (!m_isBusy) {
    return false;
  }
  m_isImpatient = true;
  if (!m_command->IsOver()) {
    Detach();
    m_wake.Post([this] { Over(); });
  } else {
    m_context.settle.GiveUp();
  }
  return true;
}

void Session::Over() {
  Flush();
  m_hadUsage |= GetResult() == Result::USAGE;
  m_hadFaults |= GetResult() == Result::FAULTY;
  if (m_hasLeft) {
    return;
  }
  if (m_reply.isQuit) {
    Leave(GetExitStatus());
  } else if (m_reply.hasChanged && !m_isImpatient) {
    SettleThenReady();
  } else {
    m_hasSettled = !m_reply.hasChanged;
    BecomeReady();
  }
}

// A reload that has been given up goes on, and may have something to say.
void Session::BecomeReady() {
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
    m_hasSettled = settled;
    BecomeReady();
  });
}

}  // namespace console
