#include "json_text.h"

namespace reference {

namespace {

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '\n') {
      quoted += "\\n";
      continue;
    }
    if (c == '"' || c == '\\') {
      quoted += '\\';
    }
    quoted += c;
  }
  return quoted + '"';
}

}  // namespace

Json Json::Text(const std::string& text) {
  Json value;
  value.m_scalar = Quoted(text);
  return value;
}

Json Json::Number(std::uint32_t number) {
  Json value;
  value.m_scalar = std::to_string(number);
  return value;
}

Json Json::Flag(bool flag) {
  Json value;
  value.m_scalar = flag ? "true" : "false";
  return value;
}

Json Json::Array(std::vector<Json> elements) {
  Json value;
  value.m_isArray = true;
  for (Json& element : elements) {
    value.m_members.emplace_back("", std::move(element));
  }
  return value;
}

Json& Json::Add(const std::string& name, Json value) {
  m_members.emplace_back(name, std::move(value));
  return *this;
}

Json& Json::AddAll(Json other) {
  for (auto& [name, value] : other.m_members) {
    Add(name, std::move(value));
  }
  return *this;
}

std::string Json::Print(unsigned int depth) const {
  if (!m_scalar.empty()) {
    return m_scalar;
  }
  if (m_members.empty()) {
    return m_isArray ? "[]" : "{}";
  }
  const std::string indent(2 * (depth + 1), ' ');
  std::string text(1, m_isArray ? '[' : '{');
  const char* separator = "\n";
  for (const auto& [name, value] : m_members) {
    text += separator + indent + (m_isArray ? "" : Quoted(name) + ": ") + value.Print(depth + 1);
    separator = ",\n";
  }
  return text + '\n' + std::string(2 * depth, ' ') + (m_isArray ? ']' : '}');
}

}  // namespace reference
