#include "json_members.h"

#include <cstring>

#include "device/program/printable.h"

namespace documents {

std::string Describe(const Json::Value& value) {
  switch (value.type()) {
    case Json::nullValue:
      return "null";
    case Json::stringValue:
      return program::Quote(value.asString());
    case Json::arrayValue:
      return "an array";
    case Json::objectValue:
      return "an object";
    default:
      return value.asString();
  }
}

JsonMembers::JsonMembers(const Json::Value& object, const Place& place,
                         const program::Report& report)
    : m_object(object), m_place(place), m_report(report) {}

void JsonMembers::Complain(const char* key, const std::string& problem) const {
  m_report(PlaceOf(key).Text() + ": " + problem);
}

const Json::Value* JsonMembers::Find(const char* key, Need need, const std::string& expected,
                                     bool (*matches)(const Json::Value&)) {
  m_asked.insert(key);
  const Json::Value* value = m_object.find(key, key + std::strlen(key));
  if (!value || value->isNull()) {
    if (need == REQUIRED) {
      Complain(key, "expected " + expected + ", found nothing");
    }
    return nullptr;
  }
  if (!matches(*value)) {
    Complain(key, "expected " + expected + ", found " + Describe(*value));
    return nullptr;
  }
  return value;
}

bool JsonMembers::Text(const char* key, std::string& value, Need need) {
  const Json::Value* found =
      Find(key, need, "a text", [](const Json::Value& v) { return v.isString(); });
  if (found) {
    value = found->asString();
  }
  return found != nullptr;
}

bool JsonMembers::Number(const char* key, std::uint32_t low, std::uint32_t high,
                         std::uint32_t& value, Need need) {
  const std::string expected =
      "a whole number from " + std::to_string(low) + " to " + std::to_string(high);
  const Json::Value* found =
      Find(key, need, expected, [](const Json::Value& v) { return v.isUInt(); });
  if (!found) {
    return false;
  }
  const std::uint32_t number = found->asUInt();
  if (number < low || number > high) {
    Complain(key, "expected " + expected + ", found " + std::to_string(number));
    return false;
  }
  value = number;
  return true;
}

bool JsonMembers::Bool(const char* key, bool& value, Need need) {
  const Json::Value* found =
      Find(key, need, "true or false", [](const Json::Value& v) { return v.isBool(); });
  if (found) {
    value = found->asBool();
  }
  return found != nullptr;
}

const Json::Value* JsonMembers::Array(const char* key, Need need) {
  return Find(key, need, "an array", [](const Json::Value& v) { return v.isArray(); });
}

const Json::Value* JsonMembers::Object(const char* key, Need need) {
  return Find(key, need, "an object", [](const Json::Value& v) { return v.isObject(); });
}

void JsonMembers::ReportOthers() const {
  for (auto member = m_object.begin(); member != m_object.end(); ++member) {
    if (m_asked.count(member.name()) == 0) {
      m_report(m_place.Member(member.name()).Text() + ": not a known member");
    }
  }
}

}  // namespace documents
