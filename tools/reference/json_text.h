// JSON whose members stay in the order in which they were written.
#ifndef TOOLS_REFERENCE_JSON_TEXT_H
#define TOOLS_REFERENCE_JSON_TEXT_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace reference {

/// A value of a JSON document that is being written. Texts are ASCII.
class Json {
 public:
  /// An object without members.
  Json() = default;
  static Json Text(const std::string& text);
  static Json Number(std::uint32_t number);
  static Json Flag(bool flag);
  static Json Array(std::vector<Json> elements);

  /// Appends a member to an object and returns the object.
  Json& Add(const std::string& name, Json value);
  /// Appends all members of another object.
  Json& AddAll(Json other);

  /// The value as a text of several lines, each after the first one indented.
  std::string Print(unsigned int depth = 0) const;

 private:
  bool m_isArray = false;
  std::string m_scalar;  // as JSON writes it; of an object or an array empty
  std::vector<std::pair<std::string, Json>> m_members;  // an array's have no names
};

}  // namespace reference

#endif
