// Reads JSON as a sequence of events, without building a tree of it.
#ifndef DEVICE_DOCUMENTS_JSON_EVENTS_H
#define DEVICE_DOCUMENTS_JSON_EVENTS_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace documents {

constexpr std::size_t MAX_DOCUMENT_DEPTH = 100;
constexpr std::size_t MAX_DOCUMENT_VALUES = 8000000;

/// Hears of a document's parts in the order of its text. `offset` is where the value or the name
/// begins, in bytes. Texts and names are decoded; they are valid during the call only. The end of an
/// object or an array tells where that begins, too.
class JsonEvents {
 public:
  virtual ~JsonEvents() = default;
  virtual void Name(std::string_view name, std::size_t offset) = 0;
  virtual void Text(std::string_view text, std::size_t offset) = 0;
  /// A number as it is written.
  virtual void Number(std::string_view digits, std::size_t offset) = 0;
  virtual void Flag(bool value, std::size_t offset) = 0;
  virtual void Null(std::size_t offset) = 0;
  virtual void BeginObject(std::size_t offset) = 0;
  virtual void EndObject() = 0;
  virtual void BeginArray(std::size_t offset) = 0;
  virtual void EndArray() = 0;
};

/// Why a text cannot be read, and where in it.
struct JsonMistake {
  std::size_t offset = 0;
  std::string problem;
};

/// Reads strict JSON in UTF-8; a byte-order mark at the beginning is passed over. Returns the first
/// mistake, if there is one; the events before it have been told. A document that is nested deeper
/// than MAX_DOCUMENT_DEPTH or has more than MAX_DOCUMENT_VALUES values is a mistake. Names that an
/// object has twice are not: the events do not look back.
std::optional<JsonMistake> ReadJson(std::string_view text, JsonEvents& events);

}  // namespace documents

#endif
