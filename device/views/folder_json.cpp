#include "folder_json.h"

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "device/rows/verify.h"
#include "json.h"
#include "kept_routes.h"
#include "moments.h"
#include "plain_view.h"
#include "revision_json.h"

namespace views {

namespace {

// In one piece.
constexpr std::size_t CHANGES_A_PIECE = 500;

const char* NameOf(FolderWord word) {
  constexpr std::array<const char*, 7> NAMES = {"check",   "diff",    "reload",  "undo",
                                                "confirm", "history", "revision"};
  return NAMES.at(static_cast<std::size_t>(word));
}

const char* NameOf(plan::Thing thing) {
  constexpr std::array<const char*, 8> NAMES = {"vlan",         "interface", "address", "protocol",
                                                "protocol_row", "route",     "rule",    "setting"};
  return NAMES.at(static_cast<std::size_t>(thing));
}

const char* NameOf(plan::How how) {
  constexpr std::array<const char*, 3> NAMES = {"added", "removed", "changed"};
  return NAMES.at(static_cast<std::size_t>(how));
}

void Texts(Json& json, const char* key, const std::vector<std::string>& texts) {
  json.Key(key).BeginArray();
  for (const std::string& text : texts) {
    json.Text(text);
  }
  json.EndArray();
}

void AddFinding(Json& json, const documents::Finding& finding) {
  const bool isError = finding.severity == documents::Severity::ERROR;
  json.BeginObject().Key("severity").Text(isError ? "error" : "warning");
  json.Key("file").TextOrNull(finding.place.file);
  json.Key("line").NumberOrNull(finding.place.position.line);
  json.Key("column").NumberOrNull(finding.place.position.column);
  json.Key("member").TextOrNull(finding.place.path);
  json.Key("problem").Text(finding.problem).EndObject();
}

void AddFindings(Json& json, const documents::Findings& findings) {
  json.Key("errors").Number(std::uint64_t{findings.CountErrors()});
  json.Key("warnings").Number(std::uint64_t{findings.CountWarnings()});
  json.Key("findings").BeginArray();
  for (const auto severity : {documents::Severity::ERROR, documents::Severity::WARNING}) {
    for (const documents::Finding& finding : findings.Get(severity)) {
      AddFinding(json, finding);
    }
  }
  json.EndArray();
}

void AddLinks(Json& json, const std::vector<apply::CheckedLink>& links) {
  json.Key("links").BeginArray();
  for (const apply::CheckedLink& link : links) {
    json.BeginObject().Key("name").Text(link.name);
    json.Key("index").Number(std::uint64_t{link.index});
    json.Key("vlan").Number(std::uint64_t{link.vlan}).Key("by").Text(link.rule);
    json.Key("problem").TextOrNull(link.problem).EndObject();
  }
  json.EndArray();
}

void AddTotals(Json& json, const plan::Totals& totals) {
  const auto add = [&json](const char* key, const plan::Count& count) {
    json.Key(key).BeginObject();
    json.Key("added").Number(std::uint64_t{count.added});
    json.Key("removed").Number(std::uint64_t{count.removed});
    json.Key("changed").Number(std::uint64_t{count.changed}).EndObject();
  };
  json.Key("totals").BeginObject();
  add("vlans", totals.vlans);
  add("interfaces", totals.interfaces);
  add("addresses", totals.addresses);
  add("protocols", totals.protocols);
  add("protocol_rows", totals.rows);
  add("routes", totals.routes);
  add("rules", totals.rules);
  add("settings", totals.settings);
  json.Key("requests").Number(std::uint64_t{totals.requests}).EndObject();
}

void AddUnconfirmed(Json& json, const std::optional<revisions::Unconfirmed>& open) {
  json.Key("unconfirmed");
  if (!open) {
    json.Null();
    return;
  }
  json.BeginObject();
  json.Key("revision").Number(open->revision).Key("back").Number(open->back);
  json.Key("until").Text(DescribeMoment(open->until * 1000));
  json.Key("asker").TextOrNull(open->asker);
  json.EndObject();
}

class OutcomeView : public View {
 public:
  OutcomeView(FolderWord word, apply::SharedOutcome outcome, std::optional<Effect> effect)
      : m_word(word), m_outcome(std::move(outcome)), m_effect(std::move(effect)) {}

  Rest Next(std::string& text) override {
    if (!m_hasBegun) {
      Begin();
    }
    AddChanges();
    const bool isOver = m_change == m_outcome->changes.size();
    if (isOver) {
      End();
    }
    m_json.Take(text);
    return isOver ? Rest::NONE : Rest::MORE;
  }

 private:
  bool ChangesWhatIsInForce() const {
    return m_word == FolderWord::RELOAD || m_word == FolderWord::UNDO;
  }

  void Begin() {
    m_hasBegun = true;
    m_json.BeginObject().Key("view").Text(NameOf(m_word));
    m_json.Key("passed").Bool(m_outcome->hasPassed);
    m_json.Key("refused").TextOrNull(m_outcome->refusal);
    if (m_word == FolderWord::HISTORY || m_word == FolderWord::REVISION) {
      AddRevisions();
      return;
    }
    if (m_word == FolderWord::CONFIRM) {
      return;
    }
    AddFindings(m_json, m_outcome->findings);
    if (m_word == FolderWord::CHECK) {
      AddLinks(m_json, m_outcome->links);
    } else if (m_word == FolderWord::DIFF) {
      AddWay();
      m_json.Key("changes").BeginArray();
    } else if (ChangesWhatIsInForce()) {
      AddTaken();
    }
  }

  void AddRevisions() {
    if (m_word == FolderWord::HISTORY) {
      m_json.Key("in_force").NumberOrNull(m_outcome->inForce);
      AddUnconfirmed(m_json, m_outcome->unconfirmed);
      m_json.Key("folder_differs").Bool(m_outcome->isFolderOther);
      m_json.Key("revisions").BeginArray();
      for (const revisions::Revision& revision : m_outcome->revisions) {
        AddRevision(m_json, revision);
      }
      m_json.EndArray();
      return;
    }
    m_json.Key("revision");
    m_outcome->revisions.empty() ? void(m_json.Null())
                                 : AddRevision(m_json, m_outcome->revisions.front());
    m_json.Key("in_force").NumberOrNull(m_outcome->inForce);
    m_json.Key("folder").TextOrNull(m_outcome->folder);
  }

  void AddWay() {
    AddTotals(m_json, m_outcome->totals);
    m_json.Key("seconds");
    m_outcome->seconds ? m_json.Number(*m_outcome->seconds) : m_json.Null();
    m_json.Key("prefixes_lost").Number(std::uint64_t{m_outcome->verdict.lost});
    Texts(m_json, "guard", m_outcome->verdict.reasons);
    m_json.Key("kept").Number(std::uint64_t{m_outcome->kept});
    m_json.Key("cut").Bool(m_outcome->isCut);
  }

  void AddTaken() {
    AddTotals(m_json, m_outcome->totals);
    Texts(m_json, "guard", m_outcome->verdict.reasons);
    m_json.Key("revision");
    m_outcome->revision ? AddRevision(m_json, *m_outcome->revision) : void(m_json.Null());
    m_json.Key("new").Bool(m_outcome->isNew);
    m_json.Key("not_kept").TextOrNull(m_outcome->notKept);
    m_json.Key("folder_differs").Bool(m_outcome->isFolderOther);
    AddUnconfirmed(m_json, m_outcome->unconfirmed);
    m_json.Key("released").Number(std::uint64_t{m_outcome->released});
    m_json.Key("effect");
    if (!m_effect) {
      m_json.Null();
      return;
    }
    m_json.BeginObject().Key("settled").Bool(m_effect->hasSettled);
    m_json.Key("count").Number(std::uint64_t{m_effect->count});
    Texts(m_json, "differences", m_effect->differences);
    AddKept(m_json, m_effect->kept, m_effect->keptSeconds);
    m_json.EndObject();
  }

  void AddChanges() {
    const std::vector<plan::Change>& changes = m_outcome->changes;
    const std::size_t end = std::min(changes.size(), m_change + CHANGES_A_PIECE);
    for (; m_change < end; ++m_change) {
      const plan::Change& change = changes[m_change];
      m_json.BeginObject().Key("vlan");
      change.vlan ? m_json.Number(std::uint32_t{*change.vlan}) : m_json.Null();
      m_json.Key("how").Text(NameOf(change.how)).Key("kind").Text(NameOf(change.thing));
      m_json.Key("what").Text(change.words).EndObject();
    }
  }

  void End() {
    if (m_word == FolderWord::DIFF) {
      m_json.EndArray();
    }
    m_json.EndObject().EndDocument();
  }

  const FolderWord m_word;
  const apply::SharedOutcome m_outcome;
  const std::optional<Effect> m_effect;
  Json m_json;
  bool m_hasBegun = false;
  std::size_t m_change = 0;  // that comes next
};

AnyView Whole(Json& json, bool isRefused) {
  json.EndDocument();
  std::string text;
  json.Take(text);
  return std::make_unique<PlainView>(std::move(text), isRefused);
}

}  // namespace

AnyView ShowOutcome(FolderWord word, const apply::SharedOutcome& outcome,
                    const std::optional<Effect>& effect) {
  return std::make_unique<OutcomeView>(word, outcome, effect);
}

AnyView ShowVerdicts(const std::vector<rows::Verdict>& verdicts) {
  Json json;
  json.BeginObject().Key("view").Text("verify");
  json.Key("passed").Bool(rows::HavePassed(verdicts)).Key("refused").Null();
  json.Key("kinds").BeginArray();
  for (const rows::Verdict& verdict : verdicts) {
    json.BeginObject().Key("kind").Text(verdict.kind);
    json.Key("compared").Bool(verdict.isCompared);
    json.Key("rows").Number(std::uint64_t{verdict.rows});
    json.Key("fails").Number(std::uint64_t{verdict.fails});
    Texts(json, "failed", verdict.lines);
    json.Key("kept").Number(std::uint64_t{verdict.kept});
    Texts(json, "kept_rows", verdict.keptLines);
    json.Key("note").TextOrNull(verdict.note);
    json.EndObject();
  }
  json.EndArray().EndObject();
  return Whole(json, false);
}

AnyView ShowRefusal(const std::string& word, const std::string& reason) {
  Json json;
  json.BeginObject().Key("view").Text(word).Key("passed").Bool(false);
  json.Key("refused").Text(reason.substr(0, reason.find_last_not_of('\n') + 1)).EndObject();
  return Whole(json, true);
}

}  // namespace views
