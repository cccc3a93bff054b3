#include "revision_json.h"

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include <array>
#include <memory>
#include <set>
#include <utility>

#include "device/documents/config_folder.h"
#include "device/program/printable.h"
#include "document_name.h"
#include "member_reader.h"

namespace revisions {

namespace {

constexpr unsigned int FORMAT = 1;
constexpr int MAX_DEPTH = 8;
constexpr std::size_t MAX_TEXT_BYTES = 1000;  // of a text for people

struct CauseWord {
  Cause cause;
  const char* word;
};
constexpr std::array<CauseWord, 4> CAUSES = {{{Cause::START, "start"},
                                              {Cause::RELOAD, "reload"},
                                              {Cause::UNDO, "undo"},
                                              {Cause::WAY_BACK, "way back"}}};

std::string ToText(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = " ";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, value) + "\n";
}

// Null, which is not an object, if the text is not JSON.
Json::Value Parse(const std::string& text) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["stackLimit"] = MAX_DEPTH;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  try {
    if (reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) {
      return value;
    }
  } catch (const Json::Exception&) {  // it is too deep
  }
  return {};
}

// The second time it changes nothing.
std::string ForPeople(const std::string& text) { return program::Printable(text, text.size()); }

std::string Cut(const std::string& text) { return program::Printable(text, MAX_TEXT_BYTES); }

Json::Value ToJson(const Unconfirmed& unconfirmed) {
  Json::Value value;
  value["revision"] = unconfirmed.revision;
  value["back"] = unconfirmed.back;
  value["until"] = Json::Int64{unconfirmed.until};
  value["asker"] = Cut(unconfirmed.asker);
  return value;
}

Json::Value ToJson(const Document& document) {
  Json::Value value;
  value["name"] = document.name;
  value["size"] = Json::UInt64{document.size};
  value["digest"] = ToHex(document.digest);
  return value;
}

unsigned int NumberOfRevision(MemberReader& reader, const char* name, unsigned int low) {
  return static_cast<unsigned int>(reader.Number(name, low, MAX_REVISION));
}

Unconfirmed ReadUnconfirmed(MemberReader reader) {
  Unconfirmed unconfirmed;
  unconfirmed.revision = NumberOfRevision(reader, "revision", 1);
  unconfirmed.back = NumberOfRevision(reader, "back", 1);
  unconfirmed.until = reader.Time("until");
  unconfirmed.asker = ForPeople(reader.Text("asker"));
  return unconfirmed;
}

Document ReadDocument(MemberReader reader) {
  Document document;
  document.name = reader.Text("name");
  if (!IsDocumentName(document.name)) {
    reader.Expect("the name of a document", "name");
  }
  document.size = reader.Number("size", 0, documents::MAX_FILE_BYTES);
  document.digest = reader.Digest("digest");
  return document;
}

Cause ReadCause(MemberReader& reader) {
  const std::string word = reader.Text("cause");
  for (const CauseWord& one : CAUSES) {
    if (word == one.word) {
      return one.cause;
    }
  }
  reader.Expect("start, reload, undo or way back", "cause");
  return Cause::START;
}

void ReadDocuments(MemberReader& reader, std::string& problem, Documents& documents) {
  const Json::Value& list = reader.Get("documents");
  if (!list.isArray() || list.size() > documents::MAX_FOLDER_FILES) {
    reader.Expect("a list of " + std::to_string(documents::MAX_FOLDER_FILES) + " at most",
                  "documents");
    return;
  }
  std::set<std::string> names;
  for (const Json::Value& one : list) {
    documents.push_back(ReadDocument(MemberReader(one, problem)));
    if (!names.insert(documents.back().name).second) {
      reader.Expect("each name once", "documents");
    }
  }
}

}  // namespace

const char* WordOf(Cause cause) {
  for (const CauseWord& one : CAUSES) {
    if (one.cause == cause) {
      return one.word;
    }
  }
  return "";
}

std::string WriteState(const WrittenState& written) {
  const State& state = written.state;
  Json::Value value;
  value["format"] = FORMAT;
  value["last"] = written.last;
  value["in_force"] = state.inForce;
  if (state.unconfirmed) {
    value["unconfirmed"] = ToJson(*state.unconfirmed);
  }
  if (state.undone) {
    value["undone"] = ToHex(*state.undone);
  }
  return ToText(value);
}

std::string WriteRevision(const WrittenRevision& written) {
  const Revision& revision = written.revision;
  Json::Value value;
  value["format"] = FORMAT;
  value["number"] = revision.number;
  value["time"] = Json::Int64{revision.time};
  value["cause"] = WordOf(revision.cause);
  value["of"] = revision.of;
  value["asker"] = Cut(revision.asker);
  value["change"] = Cut(revision.change);
  value["digest"] = ToHex(revision.digest);
  Json::Value& documents = value["documents"] = Json::Value(Json::arrayValue);
  for (const Document& document : written.documents) {
    documents.append(ToJson(document));
  }
  return ToText(value);
}

std::string ReadState(const std::string& text, WrittenState& written) {
  const Json::Value value = Parse(text);
  std::string problem;
  MemberReader reader(value, problem);
  reader.Number("format", FORMAT, FORMAT);
  written.last = NumberOfRevision(reader, "last", 0);
  written.state.inForce = NumberOfRevision(reader, "in_force", 0);
  if (reader.Has("unconfirmed")) {
    written.state.unconfirmed = ReadUnconfirmed({reader.Get("unconfirmed"), problem});
  }
  if (reader.Has("undone")) {
    written.state.undone = reader.Digest("undone");
  }
  return problem;
}

std::string ReadRevision(const std::string& text, WrittenRevision& written) {
  const Json::Value value = Parse(text);
  std::string problem;
  MemberReader reader(value, problem);
  reader.Number("format", FORMAT, FORMAT);
  Revision& revision = written.revision;
  revision.number = NumberOfRevision(reader, "number", 1);
  revision.time = reader.Time("time");
  revision.cause = ReadCause(reader);
  revision.of = NumberOfRevision(reader, "of", 0);
  revision.asker = ForPeople(reader.Text("asker"));
  revision.change = ForPeople(reader.Text("change"));
  revision.digest = reader.Digest("digest");
  ReadDocuments(reader, problem, written.documents);
  return problem;
}

}  // namespace revisions
