#include "reloader.h"

#include <utility>

namespace apply {

Reloader::Reloader(uv_loop_s* loop, const Source& source, Interfaces& interfaces, StackPort& stack,
                   ProtocolRowsPort& protocolRows, ReloadHooks hooks)
    : m_folder(std::make_shared<const documents::ConfigFolder>(source.directory, source.options)),
      m_isPartial(source.options.isPartial),
      m_hooks(std::move(hooks)),
      m_intent(std::make_shared<const intent::Intent>()),
      m_reading(loop),
      m_disposal(loop),
      m_stack(stack),
      m_knowledge(loop, interfaces, stack, protocolRows, m_hooks.log),
      m_applier(
          loop, interfaces, m_knowledge, m_disposal,
          {[this](const std::function<void()>& work) { m_hooks.overheard(m_listeners, work); },
           m_hooks.library}),
      m_bringBack(loop) {
  m_stack.SetListener(this);
}

Reloader::~Reloader() { m_stack.SetListener(nullptr); }

void Reloader::Start(std::function<void(bool)> judged, std::function<void()> applied) {
  m_judged = std::move(judged);
  m_applied = std::move(applied);
  Ask(Kind::START, {});
}

void Reloader::Reload(Asker asker) { Ask(Kind::RELOAD, std::move(asker)); }

void Reloader::Check(Asker asker, bool isStrict) {
  Ask(isStrict ? Kind::STRICT_CHECK : Kind::CHECK, std::move(asker));
}

void Reloader::Ask(Kind kind, Asker asker) {
  const bool isJoining =
      kind == Kind::RELOAD && !m_waiting.empty() && m_waiting.back().kind == kind;
  if (!isJoining) {
    m_waiting.push_back({kind, {}});
  }
  m_waiting.back().askers.Add(std::move(asker));
  BeginNext();
}

// Whoever was told of the end of a job may have asked for the next one, which has begun then.
void Reloader::BeginNext() {
  if (m_job || m_waiting.empty()) {
    return;
  }
  m_job = std::move(m_waiting.front());
  m_waiting.pop_front();
  const auto result = std::make_shared<Result>();
  m_reading.Start(
      [result, folder = m_folder, inForce = m_intent, isFirst = m_job->kind == Kind::START] {
        result->reading = isFirst ? folder->ReadFirst() : folder->ReadAgain(inForce->GetFolder());
        result->intent = std::make_shared<const intent::Intent>(result->reading.folder);
        if (!result->reading.isUnchanged) {
          loop::GiveBackFreeMemory();  // what reading needed besides
        }
      },
      [this, result](const std::optional<std::string>& problem) {
        if (problem) {
          result->reading.findings.Add({documents::Severity::ERROR, {".", {}, {}}, *problem});
        }
        Judge(std::move(*result));
      });
}

void Reloader::Judge(Result result) {
  const documents::Findings& findings = result.reading.findings;
  const bool isCheck = m_job->kind == Kind::CHECK || m_job->kind == Kind::STRICT_CHECK;
  for (const std::string& line : findings.Lines()) {
    if (!isCheck) {
      m_hooks.log(line);
    }
    m_job->askers.Tell(line + "\n");
  }
  const bool isRead = result.intent != nullptr;
  const bool isTaken = !isCheck && isRead && (m_isPartial || !findings.HasErrors());
  m_job->askers.End(!findings.HasErrors() &&
                    (m_job->kind != Kind::STRICT_CHECK || findings.CountWarnings() == 0));
  if (isTaken) {
    m_intent = result.intent;
  }
  if (m_job->kind == Kind::START) {
    std::exchange(m_judged, nullptr)(isTaken);
  }
  if (isTaken) {
    m_listeners = m_job->askers.GetReports();
    m_applier.Apply(m_intent, result.reading.isUnchanged, [this] { EndJob(true); });
    return;
  }
  if (!result.reading.isUnchanged) {
    m_disposal.Free(std::make_shared<const Result>(std::move(result)));
  }
  EndJob(false);
}

void Reloader::EndJob(bool isTaken) {
  m_listeners.clear();
  const Kind kind = m_job->kind;
  m_job.reset();
  if (kind == Kind::START && !isTaken) {
    m_waiting.clear();
    return;
  }
  if (kind == Kind::START) {
    std::exchange(m_applied, nullptr)();
  } else if (kind == Kind::RELOAD) {
    m_hooks.over();
  }
  BeginNext();
}

bool Reloader::IsSettled() const {
  return !IsBusy() && !m_isToBringBack && m_applier.GetLeavingVlans().empty() &&
         m_knowledge.IsSettled();
}

void Reloader::Answered(const Row& row, unsigned int status) { m_knowledge.Heard(row, status); }

// Before the folder has been judged there is nothing to bring back.
void Reloader::Restarted() {
  if (!m_judged) {
    m_isToBringBack = true;
    m_bringBack.Post([this] { BringBack(); });
  }
}

// What waited in the library for the end of requests that the old stack had is issued and freed
// first.
void Reloader::BringBack() {
  m_isToBringBack = false;
  m_hooks.restarted();
  m_stack.EndLostRequests();
  m_applier.BringBack();
}

}  // namespace apply
