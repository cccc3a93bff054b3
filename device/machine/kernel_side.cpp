#include "kernel_side.h"

#include <memory>
#include <utility>

#include "kernel_flush.h"

namespace machine {

KernelSide::KernelSide(uv_loop_s* loop, keepers::Interfaces& interfaces,
                       ports::SoftwareStackPort& port, const routing_stack::Facts& facts,
                       unsigned int sweepAfterSeconds, const Hooks& hooks)
    : m_interfaces(interfaces),
      m_hooks(hooks),
      m_links(loop, interfaces,
              {hooks.open, hooks.log, hooks.complain,
               [this, changed = hooks.interfacesChanged] {
                 m_rules.Refresh();
                 changed();
               },
               [this] { VrfsChanged(); }}),
      m_vrfs(m_links, interfaces, {hooks.log, hooks.complain}),
      m_routes(
          loop, port, facts, sweepAfterSeconds,
          {hooks.open, hooks.log, hooks.now,
           [this, isSettled = hooks.isStackSettled] { return m_vrfs.AreKnown() && isSettled(); },
           [this] { m_rules.Compare(); }}),
      m_rules(loop, interfaces, {hooks.open, hooks.log, hooks.now}),
      m_switches(loop) {}

void KernelSide::Start(const documents::Device& device) {
  m_links.Start(device);
  m_vrfs.Apply(device);
  m_routes.Apply(device, m_vrfs.GetTables());
}

// Routes of a VLAN have to know its table before its interfaces come.
void KernelSide::VrfsChanged() {
  m_vrfs.Look();
  m_routes.Move(m_vrfs.GetTables());
  m_rules.Move(m_vrfs.GetTables());
}

void KernelSide::Started(const documents::Device& device) {
  m_links.TellProblems();
  m_rules.Apply(device, m_vrfs.GetTables());
}

void KernelSide::Apply(const documents::Device& device) {
  m_links.Apply(device);
  m_vrfs.Apply(device);
  m_routes.Apply(device, m_vrfs.GetTables());
  m_rules.Apply(device, m_vrfs.GetTables());
}

const char* KernelSide::FindUnsettled() const {
  if (!m_links.IsSettled()) {
    return "links of the kernel are being taken";
  }
  if (!m_routes.IsSettled()) {
    return "routes are on their way to the kernel";
  }
  return m_rules.IsSettled() ? nullptr : "rules are on their way to the kernel";
}

views::KernelState KernelSide::Describe() const {
  views::KernelState state;
  if (const kernel::LinkWatch* const watch = m_links.GetWatch()) {
    state.overruns = watch->CountOverruns();
    state.untold = watch->CountUntold();
  }
  if (const kernel::RouteSink* const sink = m_routes.GetSink()) {
    const kernel::RouteLedger& ledger = sink->GetLedger();
    const kernel::RouteLedger::Totals& totals = ledger.GetTotals();
    state.isWritten = true;
    state.wanted = ledger.CountWanted();
    state.standing = ledger.CountStanding();
    state.refused = ledger.CountRefused();
    state.added = totals.added;
    state.deleted = totals.deleted;
    state.refusals = totals.refused;
    state.missing = totals.missing;
    state.strays = totals.strays;
    state.overruns += sink->CountOverruns();
    state.vrfs = m_vrfs.Describe();
  }
  if (const kernel::RuleKeeper* const keeper = m_rules.GetKeeper()) {
    const kernel::RuleLedger& ledger = keeper->GetLedger();
    state.rules = {true,
                   ledger.CountWanted(),
                   ledger.CountStanding(),
                   ledger.CountRefused(),
                   ledger.GetTotals().missing,
                   ledger.GetTotals().strays};
    state.overruns += keeper->CountOverruns();
  }
  return state;
}

views::KernelRefusal KernelSide::Describe(const kernel::RouteKey& key,
                                          const kernel::Refusal& refusal) const {
  const std::uint64_t now = m_hooks.now();
  const std::uint64_t left = refusal.nextAt > now ? refusal.nextAt - now : 0;
  return {kernel::DescribeKey(key), kernel::DescribeRefusal(refusal), (left + 999) / 1000,
          refusal.isOfDeletion};
}

// Asked for each row that is shown, and mostly nothing is refused.
std::optional<views::KernelRefusal> KernelSide::FindRefusal(unsigned short vlan,
                                                            const views::Prefix& prefix) const {
  const kernel::RouteSink* const sink = m_routes.GetSink();
  if (sink == nullptr || sink->GetLedger().CountRefused() == 0) {
    return std::nullopt;
  }
  const auto key = m_routes.FindKey(vlan, prefix.address.ip6, prefix.address.bytes, prefix.length);
  const kernel::Refusal* const refusal = key ? sink->GetLedger().FindRefusal(*key) : nullptr;
  return refusal != nullptr ? std::optional(Describe(*key, *refusal)) : std::nullopt;
}

std::vector<views::KernelRefusal> KernelSide::ListRefusals(std::size_t most) const {
  std::vector<views::KernelRefusal> refusals;
  if (const kernel::RouteSink* const sink = m_routes.GetSink()) {
    sink->GetLedger().TellRefusals(
        most, [&](const kernel::RouteKey& key, const kernel::Refusal& refusal) {
          refusals.push_back(Describe(key, refusal));
        });
  }
  return refusals;
}

views::KernelRetry KernelSide::Retry(const std::optional<views::Prefix>& prefix) {
  views::KernelRetry retry;
  retry.routes = m_routes.Retry([&prefix](const kernel::RouteKey& key) {
    return !prefix || (key.isIp6 == prefix->address.ip6 && key.length == prefix->length &&
                       key.destination == prefix->address.bytes);
  });
  retry.rules = prefix ? 0 : m_rules.Retry();
  return retry;
}

void KernelSide::Flush() {
  m_rules.Shut();
  if (!m_routes.Shut()) {  // without routes there are no rules
    return;
  }
  const Flushed flushed = FlushKernel(m_hooks.open);
  (flushed.isComplete ? m_hooks.log : m_hooks.complain)(flushed.line);
}

std::function<std::vector<std::string>()> KernelSide::MakeObstacleCheck() const {
  auto check = MakeSwitchCheck(m_interfaces, m_routes);
  return [check = std::move(check)] { return check ? check().lines : std::vector<std::string>(); };
}

void KernelSide::VerifyRoutes(std::size_t mostLines,
                              std::function<void(std::vector<rows::Verdict>)> done) {
  using Verdict = std::optional<rows::Verdict>;
  const auto verdicts = std::make_shared<std::vector<rows::Verdict>>();
  const auto add = [verdicts](const Verdict& verdict) {
    if (verdict) {
      verdicts->push_back(*verdict);
    }
  };
  m_routes.Verify(mostLines, [=](const Verdict& routes) {
    add(routes);
    add(m_vrfs.Verify(mostLines));
    m_rules.Verify(mostLines, [=](const Verdict& rules) {
      add(rules);
      m_switches.Verify(MakeSwitchCheck(m_interfaces, m_routes), mostLines,
                        [=](const Verdict& switches) {
                          add(switches);
                          done(std::move(*verdicts));
                        });
    });
  });
}

}  // namespace machine
