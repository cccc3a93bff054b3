// Members of JSON objects, read with their types checked.
#ifndef DEVICE_DOCUMENTS_JSON_MEMBERS_H
#define DEVICE_DOCUMENTS_JSON_MEMBERS_H

#include <json/value.h>

#include <cstdint>
#include <set>
#include <string>

#include "device/program/report.h"
#include "place.h"

namespace documents {

/// A value as an error line names it, for example "abc", 12, true, null, an object, an array.
std::string Describe(const Json::Value& value);

/// Reads the members of one JSON object. A member of a type other than the one asked for is
/// reported with its place, and so is a required member that is missing. Each read returns whether
/// it has found a usable value; if not, `value` is untouched.
class JsonMembers {
 public:
  enum Need { OPTIONAL, REQUIRED };

  /// `object` and `report` are borrowed; the value must be an object.
  JsonMembers(const Json::Value& object, const Place& place, const program::Report& report);

  bool Text(const char* key, std::string& value, Need need = OPTIONAL);
  bool Number(const char* key, std::uint32_t low, std::uint32_t high, std::uint32_t& value,
              Need need = OPTIONAL);
  bool Bool(const char* key, bool& value, Need need = OPTIONAL);
  /// The member if it is an array (or an object), else null. It belongs to the document.
  const Json::Value* Array(const char* key, Need need = OPTIONAL);
  const Json::Value* Object(const char* key, Need need = OPTIONAL);

  /// Reports every member that was not asked for.
  void ReportOthers() const;
  void Complain(const char* key, const std::string& problem) const;
  Place PlaceOf(const char* key) const { return m_place.Member(key); }

 private:
  const Json::Value* Find(const char* key, Need need, const std::string& expected,
                          bool (*matches)(const Json::Value&));

  const Json::Value& m_object;
  Place m_place;
  const program::Report& m_report;
  std::set<std::string> m_asked;
};

}  // namespace documents

#endif
