#include "revision_json.h"

#include "moments.h"

namespace views {

void AddRevision(Json& json, const revisions::Revision& revision) {
  json.BeginObject();
  json.Key("number").NumberOrNull(revision.number);
  json.Key("time").Text(DescribeMoment(revision.time * 1000));
  json.Key("cause").Text(revisions::WordOf(revision.cause));
  json.Key("of").NumberOrNull(revision.of);
  json.Key("asker").TextOrNull(revision.asker);
  json.Key("change").Text(revision.change).EndObject();
}

}  // namespace views
