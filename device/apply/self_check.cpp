#include "self_check.h"

#include <algorithm>

#include "device/documents/digest.h"
#include "device/intent/vlan_forecast.h"
#include "device/plan/plan.h"
#include "device/program/counted.h"

namespace apply {

using program::Counted;

namespace {

std::string DescribeRevision(const InForce& inForce) {
  return inForce.revision == 0 ? "" : ", revision " + std::to_string(inForce.revision);
}

std::string DescribeTrial(const InForce& inForce) {
  return inForce.trial == 0
             ? ""
             : "; revision " + std::to_string(inForce.trial) + " waits for its confirmation, " +
                   std::to_string(inForce.secondsOfTrial) + " s are left";
}

std::size_t CountChanges(const plan::Totals& totals) {
  std::size_t changes = 0;
  for (const plan::Count* count :
       {&totals.vlans, &totals.interfaces, &totals.addresses, &totals.protocols, &totals.rows,
        &totals.routes, &totals.rules, &totals.settings}) {
    changes += count->added + count->removed + count->changed;
  }
  return changes;
}

void Fail(rows::Verdict& verdict, const std::string& reason) {
  ++verdict.fails;
  verdict.note = "not as it should be";
  verdict.lines.push_back(verdict.kind + ": " + reason);
}

// Tells how many of `all` are not among `others`, both in the order of `comesBefore`.
template <class All, class Less>
std::size_t CountLacking(const All& all, const All& others, Less comesBefore) {
  std::size_t count = 0;
  auto other = others.begin();
  for (const auto& one : all) {
    while (other != others.end() && comesBefore(*other, one)) {
      ++other;
    }
    count += other == others.end() || comesBefore(one, *other) || !(*other == one) ? 1 : 0;
  }
  return count;
}

// What is wanted and what is asked for, both in their order.
template <class All, class Less>
void Compare(const All& wanted, const All& asked, Less comesBefore, const char* one,
             const char* many, rows::Verdict& verdict) {
  if (const std::size_t lacking = CountLacking(wanted, asked, comesBefore)) {
    Fail(verdict,
         Counted(lacking, one, many) + " of the documents in force, not asked for as they say");
  }
  if (const std::size_t strays = CountLacking(asked, wanted, comesBefore)) {
    Fail(verdict, Counted(strays, one, many) + " asked for, not as the documents in force say");
  }
}

documents::VlanIds FindVlansOf(const documents::ConfigFiles& files) {
  documents::VlanIds vlans;
  for (const auto& file : files) {
    if (file->type == Tarsel::DclConfigObject::VLAN_OPTIONS) {
      vlans.insert(file->vlans.begin(), file->vlans.end());
    }
  }
  return vlans;
}

}  // namespace

rows::Verdict VerifyFolder(const std::string& directory,
                           const documents::ConfigFolder::Options& howToRead,
                           const InForce& inForce) {
  rows::Verdict verdict;
  verdict.kind = "folder";
  verdict.note = "says what is in force" + DescribeRevision(inForce) + DescribeTrial(inForce);
  const documents::ConfigFolder folder(directory,
                                       {howToRead.protocols, howToRead.isPartial, false});
  const documents::Reading reading = folder.ReadAgain(inForce.intent->GetFolder());
  if (reading.findings.HasErrors() && !howToRead.isPartial) {
    Fail(verdict, "it cannot be applied, " +
                      Counted(reading.findings.CountErrors(), "error", "errors") +
                      " (`check` lists all): " + reading.findings.Lines().front());
    return verdict;
  }
  if (reading.isUnchanged) {
    return verdict;
  }
  if (inForce.undone && inForce.undone == documents::DigestOf(reading.folder)) {
    verdict.note = "says what was undone, so what is in force" + DescribeRevision(inForce) +
                   ", differs from it" + DescribeTrial(inForce);
    return verdict;
  }
  const plan::Plan plan = plan::MakePlan(*inForce.intent, intent::Intent(reading.folder));
  if (const std::size_t changes = CountChanges(plan.totals)) {
    Fail(verdict, Counted(changes, "change", "changes") + " not applied since what is in force" +
                      DescribeRevision(inForce) + " (`diff` lists them)" + DescribeTrial(inForce));
  }
  return verdict;
}

rows::Verdict VerifyAsked(const intent::Intent& intent, const Asked& asked) {
  rows::Verdict verdict;
  verdict.kind = "wanted and asked";
  verdict.note = "the same";
  if (asked.isBeingTold) {
    Fail(verdict, "the documents in force are being applied");
    return verdict;
  }
  const documents::ConfigFiles& documents = intent.GetDocuments();
  Compare(FindVlansOf(documents), asked.vlans, std::less<>(), "VLAN", "VLANs", verdict);
  intent::RouteContext context{asked.vlans, asked.interfaces};
  for (const unsigned short vlan : asked.leaving) {
    context.vlans.erase(vlan);
  }
  intent::UnresolvedRoutes waiting;
  Compare(
      intent::ResolveRoutes(documents, context, &waiting), *asked.routes,
      [](const intent::ResolvedRoute& a, const intent::ResolvedRoute& b) {
        return a.ComesBefore(b);
      },
      "route", "routes", verdict);
  Compare(
      intent::PlanRules(intent.GetProfiles(), asked.running), *asked.rules,
      [](const auto& a, const auto& b) { return a.first < b.first; },
      "destination of redistribution", "destinations of redistribution", verdict);
  if (asked.toAsk != 0) {
    Fail(verdict, Counted(asked.toAsk, "route is", "routes are") + " still to be asked for");
  }
  if (!waiting.empty()) {
    verdict.note += ", and " + Counted(waiting.size(), "route waits", "routes wait") +
                    " for an interface or a VLAN that is not there";
  }
  return verdict;
}

}  // namespace apply
