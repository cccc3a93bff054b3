#include "retry.h"

#include <algorithm>

#include "device/program/counted.h"
#include "names.h"

namespace views {

namespace {

rows::Differences::Retry Ask(apply::Reloader& reloader, const std::optional<Prefix>& prefix) {
  if (!prefix) {
    return reloader.RetryAll();
  }
  return reloader.RetryRoutes(TargetOf(0, *prefix));  // of all VLANs, whatever stands there
}

// Requests without an answer, of rows that do not differ: they have never been answered, so there
// is nothing to ask for again.
std::size_t CountWithoutAnswer(const keepers::Knowledge& knowledge,
                               const std::optional<Prefix>& prefix) {
  if (!prefix) {
    return knowledge.GetRoutes().CountUnderWay() + knowledge.GetRules().CountUnderWay() +
           knowledge.GetProtocolRows().CountUnderWay([](const rows::ProtocolRow&) { return true; });
  }
  const auto routes = knowledge.GetRoutes().ReadUnderWay();
  return static_cast<std::size_t>(
      std::count_if(routes.begin(), routes.end(),
                    [&](const auto& request) { return PrefixOf(request.row.target) == *prefix; }));
}

// Interfaces, addresses and routing tables are asked for as well, and only the stack knows that.
std::string DescribeWithoutAnswer(const Sources& sources, const std::optional<Prefix>& prefix) {
  const std::size_t count = CountWithoutAnswer(sources.reloader.GetKnowledge(), prefix);
  if (count != 0) {
    return program::Counted(count, "request is", "requests are") + " under way and " +
           (count == 1 ? "has" : "have") + " not been answered yet";
  }
  return !prefix && sources.stack.HasUnfinished() ? "the stack has not answered everything yet"
                                                  : "";
}

// "1 route and 2 rules".
std::string DescribeKernelRetry(const KernelRetry& retry, const std::string& of) {
  const std::string routes = program::Counted(retry.routes, "route", "routes") + of;
  const std::string rules = program::Counted(retry.rules, "rule", "rules");
  return retry.rules == 0 ? routes : retry.routes == 0 ? rules : routes + " and " + rules;
}

}  // namespace

Retried RetryNow(const Sources& sources, const std::optional<Prefix>& prefix) {
  const rows::Differences::Retry retry = Ask(sources.reloader, prefix);
  const KernelRetry kernel =
      sources.host.retryKernel ? sources.host.retryKernel(prefix) : KernelRetry{};
  const std::string of = prefix ? " of " + Describe(*prefix) : "";
  std::string text;
  if (retry.count == 0 && retry.underWay == 0) {
    text = prefix ? "No route" + of + " differs" : "Nothing differs";
    const std::string others = DescribeWithoutAnswer(sources, prefix);
    text += others.empty() ? "" : ", but " + others;
  } else {
    text = program::Counted(retry.count, "row", "rows") + of +
           (retry.count == 1 ? " is asked for again now" : " are asked for again now");
  }
  if (retry.underWay != 0) {
    text += ", " + std::to_string(retry.underWay) +
            (retry.underWay == 1 ? " is under way" : " are under way");
  }
  if (kernel.routes + kernel.rules != 0) {
    const bool isAlone = retry.count == 0 && retry.underWay == 0;
    text = (isAlone ? "" : text + "\n") + "The kernel is asked again now for " +
           DescribeKernelRetry(kernel, of);
  }
  return {retry.count + kernel.routes + kernel.rules, text + "\n"};
}

}  // namespace views
