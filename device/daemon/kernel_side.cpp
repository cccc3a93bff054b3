#include "kernel_side.h"

#include <memory>
#include <utility>

#include "device/kernel/netlink_socket.h"

namespace vantacored {

namespace {

std::unique_ptr<kernel::Channel> OpenKernel(kernel::Subscription subscription) {
  return std::make_unique<kernel::NetlinkSocket>(subscription);
}

}  // namespace

KernelSide::KernelSide(uv_loop_s* loop, keepers::Interfaces& interfaces, SoftwareStackPort& port,
                       const routing_stack::Facts& facts, unsigned int sweepAfterSeconds,
                       const Hooks& hooks)
    : m_interfaces(interfaces),
      m_links(loop, interfaces, {OpenKernel, hooks.log, hooks.complain, hooks.interfacesChanged}),
      m_routes(loop, port, facts, sweepAfterSeconds,
               {OpenKernel, hooks.log, hooks.now, hooks.isStackSettled}),
      m_switches(loop) {}

void KernelSide::Start(const documents::Device& device) {
  m_links.Start(device);
  m_routes.Apply(device);
}

void KernelSide::Apply(const documents::Device& device) {
  m_links.Apply(device);
  m_routes.Apply(device);
}

const char* KernelSide::FindUnsettled() const {
  if (!m_links.IsSettled()) {
    return "links of the kernel are being taken";
  }
  return m_routes.IsSettled() ? nullptr : "routes are on their way to the kernel";
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
  }
  return state;
}

std::function<std::vector<std::string>()> KernelSide::MakeObstacleCheck() const {
  auto check = MakeSwitchCheck(m_interfaces, m_routes);
  return [check = std::move(check)] { return check ? check().lines : std::vector<std::string>(); };
}

void KernelSide::VerifyRoutes(std::size_t mostLines,
                              std::function<void(std::vector<rows::Verdict>)> done) {
  using Verdict = std::optional<rows::Verdict>;
  m_routes.Verify(mostLines, [this, mostLines, done = std::move(done)](Verdict routes) {
    m_switches.Verify(MakeSwitchCheck(m_interfaces, m_routes), mostLines,
                      [routes = std::move(routes), done](Verdict switches) mutable {
                        std::vector<rows::Verdict> verdicts;
                        for (Verdict* verdict : {&routes, &switches}) {
                          if (*verdict) {
                            verdicts.push_back(std::move(**verdict));
                          }
                        }
                        done(std::move(verdicts));
                      });
  });
}

}  // namespace vantacored
