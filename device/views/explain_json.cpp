// What `explain` tells, for machines.

#include "device/rows/row.h"
#include "explain_model.h"
#include "json.h"
#include "moments.h"
#include "names.h"
#include "route_reasons.h"

namespace views {

namespace {

void WritePrefix(const char* key, const std::optional<Prefix>& prefix, Json& json) {
  json.Key(key);
  prefix ? json.Text(Describe(*prefix)) : json.Null();
}

void WriteNextHop(const documents::RouteTarget& target, const std::string& interface, Json& json) {
  if (!IsZero(target.gateway)) {
    std::string gateway;
    AppendAddress(target.ip6, target.gateway, gateway);
    json.Key("next_hop").Text(gateway);
  }
  if (!interface.empty()) {
    json.Key("interface").Text(interface);
  }
}

void WritePlace(const documents::Place& place, Json& json) {
  json.BeginObject().Key("file").Text(place.file);
  json.Key("line").Number(place.position.line).Key("column").Number(place.position.column);
  json.Key("member").Text(place.path).EndObject();
}

void WriteMoment(const char* key, std::int64_t seconds, std::uint64_t ago, Json& json) {
  json.Key(key).BeginObject().Key("time").Text(DescribeMoment(seconds * 1000));
  json.Key("age_seconds").Number(ago).EndObject();
}

void WriteRoute(const ExplainedRoute& route, Json& json) {
  json.BeginObject().Key("wanted").Bool(route.isWanted);
  WriteNextHop(route.item.target, route.interface, json);
  json.Key("metric").Number(route.metric);
  json.Key("origins").BeginArray();
  for (const documents::Place& place : route.origins) {
    WritePlace(place, json);
  }
  json.EndArray();
  if (route.revision != 0) {
    json.Key("revision").Number(route.revision);
  }
  json.Key("asked_count").Number(route.count);
  if (route.count != 0) {
    WriteMoment("asked", route.askedAt, route.askedAgo, json);
  }
  if (route.status != 0) {
    WriteMoment("answered", route.answeredAt, route.answeredAgo, json);
    json.Key("status").Number(route.status);
    json.Key("status_text").Text(rows::DescribeStatus(route.status));
  }
  json.Key("in_stack").Bool(route.item.isInStack);
  if (route.item.reason != Reason::NONE) {
    json.Key("reason").Text(WordOf(route.item.reason)).Key("reason_text").Text(route.reason);
  }
  if (route.item.note != Note::NONE) {
    json.Key("note").Text(WordOf(route.item.note)).Key("note_text").Text(DescribeNote(route.item));
  }
  if (route.item.nextTry) {
    json.Key("next_try_seconds").Number(*route.item.nextTry);
  }
  if (route.item.leavesIn) {
    json.Key("leaves_in_seconds").Number(*route.item.leavesIn);
  }
  json.EndObject();
}

void WriteCandidate(const ExplainedCandidate& candidate, Json& json) {
  const RouteItem& item = candidate.item;
  json.BeginObject().Key("protocol").Text(NameOf(item.protocol));
  json.Key("distance").Number(item.distance).Key("metric").Number(item.metric);
  WriteNextHop(item.target, candidate.interface, json);
  json.Key("age_seconds").Number(item.ageSeconds);
  json.Key("installed").Bool(item.isInstalled);
  json.Key("verdict").Text(candidate.verdict).EndObject();
}

}  // namespace

std::string DescribeAsJson(const Explanation& explanation) {
  Json json;
  json.BeginObject().Key("view").Text("explain");
  json.Key("vlan").Number(static_cast<int>(explanation.vlan));
  if (explanation.address) {
    json.Key("address").Text(Describe(*explanation.address));
  }
  WritePrefix("prefix", explanation.prefix, json);
  WritePrefix("forwarded_by", explanation.forwards, json);
  if (explanation.longer) {
    WritePrefix("longer_not_in_use", explanation.longer, json);
  }
  if (explanation.placesOf != 0) {
    json.Key("places_of_revision").Number(explanation.placesOf);
  }
  json.Key("routes").BeginArray();
  for (const ExplainedRoute& route : explanation.routes) {
    WriteRoute(route, json);
  }
  json.EndArray().Key("route_count").Number(std::uint64_t{explanation.routeCount});
  json.Key("addresses").BeginArray();
  for (const ExplainedAddress& address : explanation.addresses) {
    json.BeginObject().Key("interface").Text(address.interface);
    if (!address.origin.file.empty()) {
      json.Key("origin");
      WritePlace(address.origin, json);
    }
    if (!address.trouble.empty()) {
      json.Key("trouble_text").Text(address.trouble);
    }
    json.EndObject();
  }
  json.EndArray().Key("candidates").BeginArray();
  for (const ExplainedCandidate& candidate : explanation.candidates) {
    WriteCandidate(candidate, json);
  }
  json.EndArray().Key("candidate_count").Number(std::uint64_t{explanation.candidateCount});
  json.Key("handed_on").BeginArray();
  for (const std::string& name : explanation.handedOn) {
    json.Text(name);
  }
  json.EndArray();
  if (explanation.kernel) {
    json.Key("kernel_refusal").BeginObject().Key("deletion").Bool(explanation.kernel->isOfDeletion);
    json.Key("reason_text").Text(explanation.kernel->reason);
    json.Key("next_try_seconds").Number(explanation.kernel->nextTry).EndObject();
  }
  json.EndObject().EndDocument();
  std::string text;
  json.Take(text);
  return text;
}

}  // namespace views
