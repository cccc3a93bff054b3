#include "status_view.h"

#include <unistd.h>

#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "device/apply/history.h"
#include "device/program/counted.h"
#include "device/program/options.h"
#include "device/program/printable.h"
#include "json.h"
#include "kept_routes.h"
#include "moments.h"
#include "revision_json.h"

namespace views {

namespace {

using Unsettled = apply::Reloader::Unsettled;
using program::Counted;

// For names, which may be of any length and origin.
constexpr std::size_t MOST_OF_A_NAME = 48;
constexpr std::size_t LABEL_WIDTH = 16;
constexpr std::size_t MOST_REFUSALS = 3;

void AddLine(std::string& text, std::string label, const std::string& value) {
  label.resize(LABEL_WIDTH, ' ');
  text += label + value + "\n";
}

std::string Milliseconds(std::uint64_t microseconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%llu.%llu ms",
                static_cast<unsigned long long>(microseconds / 1000),
                static_cast<unsigned long long>(microseconds / 100 % 10));
  return text;
}

std::string Megabytes(std::uint64_t bytes) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(bytes) / 1000000);
  return text;
}

KernelState FindKernel(const Host& host) {
  return host.describeKernel ? host.describeKernel() : KernelState{};
}

std::vector<LinkState> FindLinks(const Host& host) {
  return host.describeLinks ? host.describeLinks() : std::vector<LinkState>();
}

std::vector<KernelRefusal> FindRefusals(const Host& host) {
  return host.listKernelRefusals ? host.listKernelRefusals(MOST_REFUSALS)
                                 : std::vector<KernelRefusal>();
}

void AddRefusalLines(std::string& text, const Host& host, std::size_t count) {
  const std::vector<KernelRefusal> refusals = FindRefusals(host);
  for (const KernelRefusal& refusal : refusals) {
    AddLine(text, "", refusal.route + ": the kernel " + Describe(refusal));
  }
  if (count > refusals.size()) {
    AddLine(text, "",
            "and " + std::to_string(count - refusals.size()) + " more (`verify` lists them)");
  }
}

void AddRefusals(Json& json, const Host& host) {
  json.Key("refusals").BeginArray();
  for (const KernelRefusal& refusal : FindRefusals(host)) {
    json.BeginObject().Key("route").Text(refusal.route);
    json.Key("deletion").Bool(refusal.isOfDeletion).Key("reason_text").Text(refusal.reason);
    json.Key("next_try_seconds").Number(refusal.nextTry).EndObject();
  }
  json.EndArray();
}

std::string DescribeVrf(const VrfState& vrf) {
  const std::string vlan = "VLAN " + std::to_string(vrf.vlan);
  return vrf.table
             ? vlan + " in table " + std::to_string(*vrf.table) + " of the VRF device " + vrf.name
             : "no routes of " + vlan + ": " + vrf.problem;
}

void AddVrfs(Json& json, const KernelState& kernel) {
  json.Key("vrfs").BeginArray();
  for (const VrfState& vrf : kernel.vrfs) {
    json.BeginObject().Key("name").Text(vrf.name);
    json.Key("vlan").Number(std::uint64_t{vrf.vlan}).Key("table");
    vrf.table ? json.Number(std::uint64_t{*vrf.table}) : json.Null();
    json.Key("problem");
    vrf.problem.empty() ? json.Null() : json.Text(vrf.problem);
    json.EndObject();
  }
  json.EndArray();
}

// What an operator asks who wonders where an interface has come from, or where it is.
void AddLinkLines(std::string& text, const Host& host) {
  const char* label = "links";
  for (const LinkState& link : FindLinks(host)) {
    AddLine(text, label,
            link.problem.empty()
                ? link.name + " in VLAN " + std::to_string(link.vlan) + " (" + link.rule + ")"
                : link.name + " is left out: " + link.problem);
    label = "";
  }
}

void AddLinks(Json& json, const Host& host) {
  json.Key("links").BeginArray();
  for (const LinkState& link : FindLinks(host)) {
    json.BeginObject().Key("name").Text(link.name);
    json.Key("index").Number(std::uint64_t{link.index}).Key("up").Bool(link.isUp);
    json.Key("vlan").Number(std::uint64_t{link.vlan}).Key("by").Text(link.rule);
    json.Key("problem");
    link.problem.empty() ? json.Null() : json.Text(link.problem);
    json.EndObject();
  }
  json.EndArray();
}

std::string DescribeFolder(const std::optional<bool>& differs) {
  if (!differs) {
    return "cannot be compared with what is in force";
  }
  return *differs ? "differs from what is in force (`diff` tells)" : "says what is in force";
}

void AddRevisionLines(std::string& text, const Sources& sources) {
  const auto& revision = sources.reloader.GetInForce();
  if (!revision) {
    const std::string& reason = sources.reloader.WhyNoRevisions();
    AddLine(text, "revision", "none is kept");
    if (!reason.empty()) {
      AddLine(text, "", program::Printable(reason, MOST_OF_A_NAME));
    }
    return;
  }
  AddLine(text, "revision",
          std::to_string(revision->number) + " since " + apply::DescribeTime(revision->time));
  std::string origin = revisions::WordOf(revision->cause);
  origin +=
      revision->asker.empty() ? "" : " by " + program::Printable(revision->asker, MOST_OF_A_NAME);
  AddLine(text, "", origin);
}

}  // namespace

std::vector<std::string> DescribeUnsettled(const Unsettled& now) {
  std::vector<std::string> reasons;
  const auto add = [&reasons](bool is, std::string text) {
    if (is) {
      reasons.push_back(std::move(text));
    }
  };
  add(now.isHeld, "the stack is held");
  add(!now.isStackReady, "the stack is not ready");
  add(now.isBringingBack, "the stack was restarted and is told everything again");
  add(now.isApplying, "a configuration is read or applied");
  add(now.open != 0, Counted(now.open, "request for a route or a rule is open",
                             "requests for routes and rules are open"));
  add(now.isAnswering, "the stack has not answered everything");
  add(now.leavingVlans != 0,
      Counted(now.leavingVlans, "VLAN waits", "VLANs wait") + " for the answers to removals");
  add(now.isComparing, "what has changed is compared with the stack");
  add(now.isRetrying, "what was refused is asked for again");
  add(reasons.empty(), "protocol rows are to be asked for");
  return reasons;
}

StatusView::StatusView(const Sources& sources, Format format)
    : m_sources(sources), m_format(format), m_looking(sources.host.loop.Get()) {}

View::Rest StatusView::Next(std::string& text) {
  if (!std::exchange(m_hasBegun, true)) {
    struct Seen {
      bool differs = false;
      std::vector<std::string> obstacles;
    };
    const auto seen = std::make_shared<Seen>();
    const auto& makeCheck = m_sources.host.makeObstacleCheck;
    m_looking.Start(
        [look = m_sources.reloader.MakeFolderCheck(),
         check = makeCheck ? makeCheck() : std::function<std::vector<std::string>()>(), seen] {
          seen->obstacles = check ? check() : std::vector<std::string>();
          seen->differs = look();
        },
        [this, seen](const std::optional<std::string>& problem) {
          m_obstacles = std::move(seen->obstacles);
          m_differs = problem ? std::nullopt : std::optional(seen->differs);
          Wake();
        });
  }
  if (m_looking.IsUnderWay()) {
    return Rest::LATER;
  }
  text += m_format == Format::JSON ? WriteJson() : WriteText();
  return Rest::NONE;
}

std::string StatusView::WriteText() const {
  const apply::Reloader& reloader = m_sources.reloader;
  const Host& host = m_sources.host;
  std::string text;
  AddLine(text, "version", program::GetVersion());
  AddLine(text, "uptime",
          DescribeSpan(FindUptimeSeconds(host)) + ", process " + std::to_string(getpid()));
  AddRevisionLines(text, m_sources);
  AddLine(text, "folder", DescribeFolder(m_differs));
  if (const auto& trial = reloader.GetTrial()) {
    AddLine(text, "trial",
            Counted(reloader.CountSecondsOfTrial(), "second is left", "seconds are left") +
                " for `confirm " + std::to_string(trial->revision) + "`, then revision " +
                std::to_string(trial->back));
  }
  const bool isSettled = reloader.IsSettled();
  const std::vector<std::string> reasons =
      isSettled ? std::vector<std::string>{"yes"} : DescribeUnsettled(reloader.FindUnsettled());
  for (std::size_t i = 0; i < reasons.size(); ++i) {
    AddLine(text, i == 0 ? "settled" : "",
            isSettled ? reasons[i] : (i == 0 ? "no: " : "    ") + reasons[i]);
  }
  const std::size_t differences = m_sources.GetDifferences().Count();
  AddLine(text, "differences",
          differences == 0
              ? "none"
              : Counted(differences, "row", "rows") + " (`requests vrf all` lists them)");
  if (const std::size_t kept = m_sources.GetRoutes().CountKept()) {
    AddLine(text, "kept", DescribeKept(kept, m_sources.GetRoutes().CountSecondsOfKept()));
  }
  const std::size_t up = m_sources.interfaces.CountUp();
  AddLine(text, "interfaces",
          std::to_string(up) + " up, " + std::to_string(m_sources.interfaces.Get().size() - up) +
              " down");
  AddLinkLines(text, host);
  AddLine(text, "stack",
          std::string(m_sources.stack.IsReady() ? "ready" : "not ready") +
              (m_sources.stack.IsHeld() ? ", held" : "") + ", restarted " +
              Counted(m_sources.tables.CountRestarts(), "time", "times"));
  if (const KernelState kernel = FindKernel(host); kernel.isWritten) {
    AddLine(text, "kernel",
            std::to_string(kernel.standing) + " of " + Counted(kernel.wanted, "route", "routes") +
                " installed, " + std::to_string(kernel.refused) + " refused");
    AddRefusalLines(text, host, kernel.refused);
    if (kernel.rules.isWritten) {
      AddLine(text, "",
              std::to_string(kernel.rules.standing) + " of " +
                  Counted(kernel.rules.wanted, "rule", "rules") + " installed, " +
                  std::to_string(kernel.rules.refused) + " refused");
    }
    for (const VrfState& vrf : kernel.vrfs) {
      AddLine(text, "", DescribeVrf(vrf));
    }
    for (const std::string& obstacle : m_obstacles) {
      AddLine(text, "", obstacle);
    }
  }
  AddLine(text, "longest turn",
          Milliseconds(host.loop.FindLongestTurnOfLastMinute()) + " in the last minute, " +
              Milliseconds(host.loop.GetLongestTurn()) + " since the start");
  AddLine(text, "memory", Megabytes(FindResidentBytes()) + " resident");
  AddLine(text, "sessions", std::to_string(host.countSessions ? host.countSessions() : 0));
  return text;
}

std::string StatusView::WriteJson() const {
  const apply::Reloader& reloader = m_sources.reloader;
  const Host& host = m_sources.host;
  Json json;
  json.BeginObject().Key("view").Text("status");
  json.Key("version").Text(program::GetVersion());
  json.Key("process").Number(static_cast<int>(getpid()));
  json.Key("started").Text(DescribeMoment(host.started * 1000));
  json.Key("uptime_seconds").Number(FindUptimeSeconds(host));
  json.Key("revision");
  reloader.GetInForce() ? AddRevision(json, *reloader.GetInForce()) : void(json.Null());
  json.Key("folder_differs");
  m_differs ? json.Bool(*m_differs) : json.Null();
  json.Key("trial");
  if (const auto& trial = reloader.GetTrial()) {
    json.BeginObject().Key("revision").Number(trial->revision);
    json.Key("back").Number(trial->back);
    json.Key("seconds_left").Number(reloader.CountSecondsOfTrial()).EndObject();
  } else {
    json.Null();
  }
  const bool isSettled = reloader.IsSettled();
  json.Key("settled").Bool(isSettled).Key("unsettled_by").BeginArray();
  for (const std::string& reason :
       isSettled ? std::vector<std::string>() : DescribeUnsettled(reloader.FindUnsettled())) {
    json.Text(reason);
  }
  json.EndArray();
  json.Key("open_requests").Number(std::uint64_t{reloader.FindUnsettled().open});
  json.Key("differences").Number(std::uint64_t{m_sources.GetDifferences().Count()});
  AddKept(json, m_sources.GetRoutes().CountKept(), m_sources.GetRoutes().CountSecondsOfKept());
  const std::size_t up = m_sources.interfaces.CountUp();
  json.Key("interfaces").BeginObject().Key("up").Number(std::uint64_t{up});
  json.Key("down").Number(std::uint64_t{m_sources.interfaces.Get().size() - up}).EndObject();
  AddLinks(json, host);
  json.Key("stack").BeginObject().Key("ready").Bool(m_sources.stack.IsReady());
  json.Key("held").Bool(m_sources.stack.IsHeld());
  json.Key("restarts").Number(m_sources.tables.CountRestarts()).EndObject();
  const KernelState kernel = FindKernel(host);
  json.Key("kernel").BeginObject().Key("written").Bool(kernel.isWritten);
  json.Key("wanted").Number(std::uint64_t{kernel.wanted});
  json.Key("installed").Number(std::uint64_t{kernel.standing});
  json.Key("refused").Number(std::uint64_t{kernel.refused});
  AddRefusals(json, host);
  json.Key("rules").BeginObject().Key("written").Bool(kernel.rules.isWritten);
  json.Key("wanted").Number(std::uint64_t{kernel.rules.wanted});
  json.Key("installed").Number(std::uint64_t{kernel.rules.standing});
  json.Key("refused").Number(std::uint64_t{kernel.rules.refused}).EndObject();
  AddVrfs(json, kernel);
  json.Key("obstacles").BeginArray();
  for (const std::string& obstacle : m_obstacles) {
    json.Text(obstacle);
  }
  json.EndArray().EndObject();
  json.Key("longest_turn_microseconds").BeginObject();
  json.Key("last_minute").Number(host.loop.FindLongestTurnOfLastMinute());
  json.Key("since_start").Number(host.loop.GetLongestTurn()).EndObject();
  json.Key("resident_bytes").Number(FindResidentBytes());
  json.Key("sessions").Number(std::uint64_t{host.countSessions ? host.countSessions() : 0});
  json.EndObject().EndDocument();
  std::string text;
  json.Take(text);
  return text;
}

}  // namespace views
