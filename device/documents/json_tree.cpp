#include "json_tree.h"

#include <json/reader.h>

#include <memory>
#include <utility>

#include "device/program/decimal.h"

namespace documents {

namespace {

// Of a 64-bit machine: a value in its parent's map with a name, and the map of an object of its own.
constexpr std::size_t VALUE_BYTES = 112;
constexpr std::size_t MAP_BYTES = 64;

// A reader takes microseconds to make, and there can be millions of numbers.
Json::Value NumberOf(std::string_view digits) {
  if (const auto number = program::ReadDecimal(digits, 0, 0x7FFFFFFF)) {
    return Json::Value(static_cast<Json::Int>(*number));
  }
  Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  reader->parse(digits.data(), digits.data() + digits.size(), &value, nullptr);
  return value;
}

}  // namespace

Json::Value JsonTree::TakeRoot() {
  m_bytes = 0;
  return std::move(m_root);
}

bool JsonTree::HasRoom(std::size_t textBytes) {
  m_bytes += VALUE_BYTES + textBytes + (m_nodes.empty() ? 0 : m_nodes.back().name.size());
  return m_bytes <= m_mostBytes;
}

void JsonTree::Put(Json::Value value) {
  if (m_nodes.empty()) {
    m_root = std::move(value);
  } else if (m_nodes.back().value.isArray()) {
    m_nodes.back().value.append(std::move(value));
  } else {
    m_nodes.back().value[m_nodes.back().name] = std::move(value);
  }
}

void JsonTree::Name(std::string_view name, std::size_t) { m_nodes.back().name = name; }

void JsonTree::Text(std::string_view text, std::size_t) {
  if (HasRoom(text.size())) {
    Put(Json::Value(text.data(), text.data() + text.size()));
  }
}

void JsonTree::Number(std::string_view digits, std::size_t) {
  if (HasRoom(0)) {
    Put(NumberOf(digits));
  }
}

void JsonTree::Flag(bool value, std::size_t) {
  if (HasRoom(0)) {
    Put(Json::Value(value));
  }
}

void JsonTree::Null(std::size_t) {
  if (HasRoom(0)) {
    Put(Json::Value());
  }
}

void JsonTree::BeginObject(std::size_t) { m_nodes.push_back({Json::objectValue, {}}); }
void JsonTree::BeginArray(std::size_t) { m_nodes.push_back({Json::arrayValue, {}}); }
void JsonTree::EndObject() { End(); }
void JsonTree::EndArray() { End(); }

void JsonTree::End() {
  Json::Value value = std::move(m_nodes.back().value);
  m_nodes.pop_back();
  const bool hasRoom = HasRoom(MAP_BYTES);
  if (hasRoom || m_nodes.empty()) {  // a member stays an object, empty at least
    Put(std::move(value));
  }
}

}  // namespace documents
