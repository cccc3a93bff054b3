#include "reloader.h"

#include <utility>

#include "device/documents/digest.h"
#include "diff_lines.h"
#include "tarsel/trace.h"

namespace apply {

using revisions::Revision;

namespace {

// Between two attempts at a way back.
constexpr unsigned int PAUSE_SECONDS = 60;

// What has errors is no way to go, unless the rest is wanted all the same.
bool IsUsable(const documents::Reading& reading,
              const documents::ConfigFolder::Options& howToRead) {
  return !reading.findings.HasErrors() || howToRead.isPartial;
}

std::string RevisionText(unsigned int number) { return "Revision " + std::to_string(number); }

}  // namespace

Reloader::Reloader(uv_loop_s* loop, const Source& source, keepers::Interfaces& interfaces,
                   rows::StackPort& stack, rows::ProtocolRowsPort& protocolRows, ReloadHooks hooks,
                   History::Place history, const ReloaderOptions& options)
    : m_history(std::make_shared<History>(std::move(history))),
      m_folder(std::make_shared<const documents::ConfigFolder>(
          source.directory,
          documents::ConfigFolder::Options{source.options.protocols, source.options.isPartial,
                                           m_history->IsKept()})),
      m_directory(source.directory),
      m_howToRead(source.options),
      m_options(options),
      m_hooks(std::move(hooks)),
      m_interfaces(interfaces),
      m_intent(std::make_shared<const intent::Intent>()),
      m_reading(loop),
      m_disposal(loop),
      m_stack(stack),
      m_knowledge(
          loop, interfaces, stack, protocolRows,
          [this](const std::string& line) { Complain(documents::Severity::WARNING, line); },
          options.keepOldSeconds * 1000ull),
      m_applier(
          loop, interfaces, m_knowledge, m_disposal,
          {[this](const std::function<void()>& work) { m_hooks.overheard(m_listeners, work); },
           m_hooks.library}),
      m_guard(loop, stack, options.guardPercent,
              [this](unsigned short vlan) { return KnowsWhatIsInstalled(vlan); }),
      m_telling(loop),
      m_confirmation(stack,
                     [this] {
                       Ask({Job::WAY_BACK, {}, {}, false, 0, m_history->GetTrial()}, {});
                     }),
      m_bringBack(loop) {
  m_stack.SetListener(this);
}

Reloader::~Reloader() { m_stack.SetListener(nullptr); }

void Reloader::Start(std::function<void(bool)> judged, std::function<void()> applied) {
  m_judged = std::move(judged);
  m_applied = std::move(applied);
  m_knowledge.StartSlowPass();
  if (m_history->IsMissed()) {
    Complain(documents::Severity::WARNING,
             "warning: no revisions are kept: " + m_history->GetReason());
  }
  Ask({Job::START}, {});
}

void Reloader::Ask(Job job, Asker asker) {
  if (m_waiting.empty() || !m_waiting.back().IsSameReload(job)) {
    m_waiting.push_back(std::move(job));
  }
  m_waiting.back().askers.Add(std::move(asker));
  BeginNext();
}

// Whoever was told of the end of a job may have asked for the next one, which has begun then.
void Reloader::BeginNext() {
  if (!m_job && !m_waiting.empty()) {
    m_job = std::move(m_waiting.front());
    m_waiting.pop_front();
    Begin();
  }
}

// What was asked for during a trial is about that trial.
void Reloader::Begin() {
  if (m_hooks.begins && m_job->kind != Job::START && m_job->ChangesWhatIsInForce()) {
    m_hooks.begins();
  }
  if (m_job->trial != 0 && m_job->trial != m_history->GetTrial()) {
    Announce(RevisionText(m_job->trial) + " is not on trial any more");
    EndAskers(true);
    EndJob(false);
    return;
  }
  const std::string refusal = FindRefusal(*m_job, *m_history, m_confirmation);
  if (!refusal.empty()) {
    Refuse(refusal);
    return;
  }
  const auto& open = m_history->GetUnconfirmed();
  switch (m_job->kind) {
    case Job::DIFF:
      if (m_job->number != 0) {
        ReadRevision(m_history->Find(m_job->number));
        return;
      }
      break;
    case Job::UNDO:
      ReadRevision(open ? m_history->Find(open->back) : m_history->FindBefore(m_job->number));
      return;
    case Job::WAY_BACK:
      m_hooks.log(RevisionText(open->revision) + " was not confirmed in time");
      ReadRevision(m_history->Find(open->back));
      return;
    case Job::CONFIRM:
      ConfirmInPool();
      return;
    case Job::HISTORY:
      LookAtFolder();
      return;
    case Job::REVISION:
      TellRevisions();
      return;
    default:
      break;
  }
  ReadFolder();
}

// What is in force, and what has happened to interfaces since: a reload restores what documents say
// of them, so this is where its way begins. Links are in both ends of the way.
std::shared_ptr<const intent::Intent> Reloader::FindPresent() const {
  return m_interfaces.HasEvents() || !m_interfaces.GetLinks().empty()
             ? std::make_shared<const intent::Intent>(m_intent->WithInterfaces(m_interfaces.Get()))
             : m_intent;
}

void Reloader::Read(std::function<void(Result&)> read) {
  const auto result = std::make_shared<Result>();
  const bool isDiff = m_job->kind == Job::DIFF;
  const bool isCheck = m_job->kind == Job::CHECK;
  const bool hasEvents = m_interfaces.HasEvents();
  m_reading.Start(
      [result, read = std::move(read), inForce = m_intent, present = FindPresent(),
       links = m_interfaces.GetLinks(), defaultVlan = m_interfaces.GetDefaultVlan(),
       outcome = m_job->outcome, howToRead = m_howToRead, isDiff, isCheck, hasEvents] {
        read(*result);
        result->intent = std::make_shared<const intent::Intent>(result->reading.folder);
        const bool isUsable = IsUsable(result->reading, howToRead);
        const auto wanted = links.empty() ? result->intent
                                          : std::make_shared<const intent::Intent>(
                                                result->intent->WithLinks(links, defaultVlan));
        if ((!result->reading.isUnchanged || hasEvents) && !isCheck && isUsable) {
          result->plan = plan::MakePlan(*present, *wanted);
          result->changesWhatIsInForce =
              !(hasEvents ? plan::MakePlan(*inForce, *result->intent) : result->plan)
                   .totals.IsEmpty();
        }
        outcome->totals = result->plan.totals;
        if (isCheck && isUsable) {
          outcome->links = CheckLinks(result->reading.folder.GetDevice(), defaultVlan, links);
        }
        if (isDiff && isUsable) {
          CollectChanges(*present, *wanted, *outcome);
          result->lines = DescribeChanges(*outcome);
        }
        if (!result->reading.isUnchanged) {
          loop::GiveBackFreeMemory();  // what reading needed besides
        }
      },
      [this, result](const std::optional<std::string>& problem) {
        if (problem) {
          result->reading.findings.Add({documents::Severity::ERROR, {".", {}, {}}, *problem});
          result->choice.why = Choice::Why::NOTHING;
        }
        Judge(result);
      });
}

void Reloader::ReadFolder() {
  if (m_job->kind == Job::START) {
    Read([folder = m_folder, history = m_history, howToRead = m_howToRead,
          isFresh = m_options.isFresh](Result& result) {
      result.choice = ReadForStart(*folder, howToRead, *history, isFresh, result.reading);
    });
    return;
  }
  Read([folder = m_folder, inForce = m_intent](Result& result) {
    result.reading = folder->ReadAgain(inForce->GetFolder());
  });
}

void Reloader::ReadRevision(const Revision* revision) {
  Read([history = m_history, howToRead = m_howToRead, revision = *revision,
        inForce = m_intent](Result& result) {
    result.reading = apply::ReadRevision(*history, revision, howToRead, inForce->GetFolder());
  });
}

void Reloader::Judge(const SharedResult& result) {
  const documents::Findings& findings = result->reading.findings;
  if (m_job->kind == Job::CHECK) {
    TellFindings(findings);
    for (const std::string& line : DescribeLinks(m_job->outcome->links)) {
      Tell(line);
    }
    EndAskers(!findings.HasErrors() && (!m_job->isStrict || findings.CountWarnings() == 0));
    Forgo(result);
    return;
  }
  const bool isUsable = IsUsable(result->reading, m_howToRead);
  if (m_job->kind == Job::DIFF && isUsable) {
    m_job->outcome->findings.Add(findings);  // of a way the warnings are counted only
  } else if (!m_job->request.isByChange) {   // of which nothing is told before it has passed
    TellFindings(result->choice.findings);
    TellFindings(findings);
  }
  const std::string choice = DescribeChoice(result->choice);
  if (!choice.empty()) {
    m_hooks.log(choice);
  }
  if (!isUsable || result->choice.why == Choice::Why::NOTHING) {
    if (m_job->trial != 0) {
      TryAgain();
    }
    TellErrors(findings);
    EndAskers(false);
    Forgo(result);
    return;
  }
  if ((m_job->request.isBySignal || m_job->request.isByChange) &&
      m_history->GetUndone() == documents::DigestOf(result->reading.folder)) {
    Refuse("the folder says what was undone; `reload` applies it again", result);
    return;
  }
  const bool isJudged =
      m_job->kind == Job::DIFF || (m_job->kind == Job::RELOAD && !m_job->request.isForced);
  if (!isJudged) {
    Keep(result);
    return;
  }
  m_guard.Judge(std::shared_ptr<const plan::Plan>(result, &result->plan),
                [this, result](const Guard::Verdict& verdict) { Guarded(result, verdict); });
}

// The errors have been told, and the outcome has them. A start and a way back have lines of their
// own, and nobody asks for them.
void Reloader::TellErrors(const documents::Findings& findings) {
  if (m_job->kind == Job::RELOAD || m_job->kind == Job::UNDO) {
    const std::size_t count = findings.CountErrors();
    TellRefusal(std::to_string(count) +
                (count == 1 ? " error; nothing was changed" : " errors; nothing was changed") +
                (m_job->request.isByChange ? ": " + findings.Lines().front() : ""));
  }
}

void Reloader::Guarded(const SharedResult& result, const Guard::Verdict& verdict) {
  m_job->outcome->verdict = verdict;
  if (m_job->kind == Job::DIFF) {
    TellDiff(result);
    return;
  }
  if (!verdict.reasons.empty()) {
    RefuseByGuard(result, verdict.reasons);
    return;
  }
  if (m_job->request.isByChange) {
    TellFindings(result->reading.findings);
  }
  Keep(result);
}

void Reloader::RefuseByGuard(const SharedResult& result, const std::vector<std::string>& reasons) {
  std::string all;
  for (const std::string& reason : reasons) {
    if (m_job->request.isByChange) {
      all += reason + "; ";
    } else {
      Complain(documents::Severity::WARNING, reason);
      Tell(reason);
    }
  }
  Refuse(all + "that is more than the guard lets pass; `reload force` applies it", result);
}

// What changes nothing makes no revision.
History::Next Reloader::Prepare(const Result& result) const {
  const Choice& choice = result.choice;
  const bool isStart = m_job->kind == Job::START;
  if (isStart && choice.why != Choice::Why::FOLDER && choice.why != Choice::Why::UNCONFIRMED) {
    return m_history->PrepareToGoOn(result.reading, choice.why == Choice::Why::SAME);
  }
  const History::Cause cause = CauseOf(*m_job, choice.revision, result.plan.totals, *m_history);
  return isStart || m_history->GetUnconfirmed() || result.changesWhatIsInForce ||
                 (m_history->IsKept() && m_history->GetInForce() == 0)
             ? m_history->Prepare(cause, result.reading)
             : m_history->PrepareNone(cause, result.reading);
}

void Reloader::Keep(const SharedResult& result) {
  const auto next = std::make_shared<const History::Next>(Prepare(*result));
  if (!m_history->IsToBeKept(*next)) {
    Kept(result, *next, {});
    return;
  }
  const auto problem = std::make_shared<std::string>();
  m_reading.Start([history = m_history, next, problem] { *problem = history->Keep(*next); },
                  [this, result, next, problem](const std::optional<std::string>& failure) {
                    Kept(result, *next, failure.value_or(*problem));
                  });
}

void Reloader::Kept(const SharedResult& result, const History::Next& next,
                    const std::string& problem) {
  const bool isKept = m_history->IsKept() && problem.empty();
  const bool isOpen = next.state.unconfirmed.has_value();
  if (isOpen && !isKept) {
    Refuse("the way back cannot be written: " + problem, result);
    return;
  }
  m_history->Take(next, isKept);
  const Revision* const revision = m_history->Find(m_history->GetInForce());
  m_inForce = revision != nullptr ? std::optional(*revision) : std::nullopt;
  TellRevision(next, isKept, problem);
  if (isOpen) {
    Arm();
  } else {
    m_confirmation.Stop();
  }
  TellWhatIsNoMore(isOpen);
  Take(result);
}

// The askers hear of the end before anything is applied: what follows, they wait for.
void Reloader::Take(const SharedResult& result) {
  m_intent = result->intent;
  if (m_job->kind == Job::START) {
    std::exchange(m_judged, nullptr)(true);
  }
  m_listeners = m_job->askers.GetReports();
  EndAskers(!result->reading.findings.HasErrors());
  m_knowledge.GetRoutes().SetRevision(m_history->GetInForce());
  m_applier.Apply(m_intent, result->reading.isUnchanged, [this] { EndJob(true); });
}

void Reloader::Forgo(const SharedResult& result) {
  if (!result->reading.isUnchanged) {
    m_disposal.Free(std::make_shared<const Result>(std::move(*result)));
  }
  EndJob(false);
}

void Reloader::EndJob(bool isTaken) {
  m_listeners.clear();
  const Job::Kind kind = m_job->kind;
  if (kind == Job::DIFF) {  // it may be long
    m_disposal.Free(std::move(m_job->outcome));
  }
  m_job.reset();
  if (kind == Job::START && !isTaken) {
    m_waiting.clear();
    std::exchange(m_judged, nullptr)(false);
    return;
  }
  if (kind == Job::START) {
    std::exchange(m_applied, nullptr)();
  } else if (kind == Job::RELOAD || kind == Job::UNDO || kind == Job::WAY_BACK) {
    ++(isTaken ? m_reloads.applied : m_reloads.refused);
    m_hooks.over();
  }
  BeginNext();
}

void Reloader::ConfirmInPool() {
  const auto state = std::make_shared<const revisions::State>(m_history->Confirmed());
  const auto problem = std::make_shared<std::string>();
  m_reading.Start([history = m_history, state, problem] { *problem = history->Set(*state); },
                  [this, state, problem](const std::optional<std::string>& failure) {
                    Confirmed(*state, failure.value_or(*problem));
                  });
}

void Reloader::Confirmed(const revisions::State& state, const std::string& problem) {
  if (!problem.empty()) {
    Refuse("the confirmation cannot be written: " + problem);
    return;
  }
  m_confirmation.Stop();
  m_history->TakeState(state);
  const std::string names = m_job->askers.GetNames();
  Announce(RevisionText(m_job->number) +
           (names.empty() ? " is confirmed" : " is confirmed by " + names));
  if (const std::size_t kept = m_knowledge.GetRoutes().CountKept()) {
    Announce(DescribeKept(kept));
  }
  EndAskers(true);
  EndJob(false);
}

// A way back that cannot be read may be later; until then the operator can only confirm.
void Reloader::TryAgain() {
  const revisions::Unconfirmed& open = *m_history->GetUnconfirmed();
  m_confirmation.Start(PAUSE_SECONDS);
  Announce("revision " + std::to_string(open.back) + " cannot come back, the next try is in " +
           std::to_string(PAUSE_SECONDS) + " s");
}

void Reloader::Arm() {
  const revisions::Unconfirmed& open = *m_history->GetUnconfirmed();
  const std::string seconds = std::to_string(m_job->request.confirmSeconds);
  m_job->outcome->unconfirmed = open;
  m_confirmation.Start(m_job->request.confirmSeconds);
  Announce("`confirm " + std::to_string(open.revision) + "` within " + seconds +
           " s keeps it; otherwise revision " + std::to_string(open.back) + " comes back");
}

bool Reloader::KnowsWhatIsInstalled(unsigned short vlan) const {
  return !m_isToBringBack && !m_applier.IsBusy() && m_stack.IsReady() &&
         m_knowledge.GetRoutes().CountOpen(vlan) == 0;
}

void Reloader::InterfacesChanged() { m_applier.ResolveAgain(); }

void Reloader::Answered(const rows::Row& row, unsigned int status) {
  m_knowledge.Heard(row, status);
}

// Before something has been chosen there is nothing to bring back.
void Reloader::Restarted() {
  if (!m_judged) {
    m_isToBringBack = true;
    m_bringBack.Post([this] { BringBack(); });
  }
}

// What waited in the library for the end of requests that the old stack had is issued and freed
// first. What still waits is not freed when the library's queues are reset.
void Reloader::BringBack() {
  m_isToBringBack = false;
  m_guard.BeginAgain();
  m_hooks.restarted();
  if (!m_stack.EndLostRequests()) {
    ++m_losses;
    Tarsel::TRACE(1,
                  "Requests are unanswered while the stack is brought back; what waits for them is "
                  "lost memory (restarts with such a loss: %u)\n",
                  m_losses);
  }
  m_applier.BringBack();
}

}  // namespace apply
