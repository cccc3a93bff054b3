#include "json.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cassert>

#include "device/program/printable.h"

namespace views {

struct Json::Writer {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer{buffer};
};

Json::Json() : m_writer(std::make_unique<Writer>()) {}

Json::~Json() = default;

Json& Json::BeginObject() {
  m_writer->writer.StartObject();
  return *this;
}

Json& Json::EndObject() {
  m_writer->writer.EndObject();
  return *this;
}

Json& Json::BeginArray() {
  m_writer->writer.StartArray();
  return *this;
}

Json& Json::EndArray() {
  m_writer->writer.EndArray();
  return *this;
}

Json& Json::Key(std::string_view name) {
  m_writer->writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
  return *this;
}

Json& Json::Text(std::string_view value) {
  if (!program::IsPlain(value)) {
    const std::string plain = program::PrintableLines(value);
    m_writer->writer.String(plain.data(), static_cast<rapidjson::SizeType>(plain.size()));
  } else {
    m_writer->writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
  }
  return *this;
}

Json& Json::Number(std::int64_t value) {
  m_writer->writer.Int64(value);
  return *this;
}

Json& Json::Number(std::uint64_t value) {
  m_writer->writer.Uint64(value);
  return *this;
}

Json& Json::Bool(bool value) {
  m_writer->writer.Bool(value);
  return *this;
}

Json& Json::Null() {
  m_writer->writer.Null();
  return *this;
}

// The writer forgets its levels, and the buffer keeps what has not been taken.
void Json::EndDocument() {
  assert(m_writer->writer.IsComplete());
  m_writer->buffer.Put('\n');
  m_writer->writer.Reset(m_writer->buffer);
}

void Json::Take(std::string& text) {
  text.append(m_writer->buffer.GetString(), m_writer->buffer.GetSize());
  m_writer->buffer.Clear();
}

}  // namespace views
