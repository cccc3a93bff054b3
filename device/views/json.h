// Writes JSON in pieces.
#ifndef DEVICE_VIEWS_JSON_H
#define DEVICE_VIEWS_JSON_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace views {

/// Writes one JSON document after another. What has been written is taken away piece by piece, so a
/// document may be far larger than memory. The caller nests objects and arrays properly: that is
/// asserted, not mended.
class Json {
 public:
  Json();
  Json(const Json&) = delete;
  Json& operator=(const Json&) = delete;
  ~Json();

  /// Everything returns the writer, so that calls can be chained.
  Json& BeginObject();
  Json& EndObject();
  Json& BeginArray();
  Json& EndArray();
  /// Names the next value of an object. Not copied through PrintableLines: names are constants.
  Json& Key(std::string_view name);
  /// Characters that a terminal would obey, that change the direction of text, or that are not
  /// UTF-8 become \xNN (program::PrintableLines), so a document is valid whatever it quotes.
  Json& Text(std::string_view value);
  Json& Number(std::int64_t value);
  Json& Number(std::uint64_t value);
  Json& Number(std::uint32_t value) { return Number(static_cast<std::uint64_t>(value)); }
  Json& Number(int value) { return Number(static_cast<std::int64_t>(value)); }
  Json& Bool(bool value);
  Json& Null();
  /// Null for an empty text.
  Json& TextOrNull(std::string_view value) { return value.empty() ? Null() : Text(value); }
  /// Null for 0.
  Json& NumberOrNull(std::uint64_t value) { return value == 0 ? Null() : Number(value); }

  /// The document is complete: a line feed, and another one may begin.
  void EndDocument();
  /// Appends what has been written to `text`, and forgets it.
  void Take(std::string& text);

 private:
  struct Writer;
  std::unique_ptr<Writer> m_writer;
};

}  // namespace views

#endif
