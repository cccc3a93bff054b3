#include "member_reader.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace revisions {

namespace {

constexpr std::size_t HALF = 16;  // digits of 64 bits
// Far beyond any clock, and far from where an addition would overflow.
constexpr std::uint64_t LATEST = 99999999999;

std::uint64_t FromHex(const std::string& digits) {
  return std::strtoull(digits.c_str(), nullptr, 16);
}

}  // namespace

std::string ToHex(const documents::Digest& digest) {
  std::array<char, 2 * HALF + 1> text{};
  std::snprintf(text.data(), text.size(), "%016llx%016llx",
                static_cast<unsigned long long>(digest[1]),
                static_cast<unsigned long long>(digest[0]));
  return text.data();
}

MemberReader::MemberReader(const Json::Value& value, std::string& problem)
    : m_value(value), m_problem(problem) {
  if (!value.isObject() && problem.empty()) {
    problem = "expected an object";
  }
}

const Json::Value& MemberReader::Get(const char* name) const {
  return m_value.isObject() ? m_value[name] : Json::Value::nullSingleton();
}

bool MemberReader::Has(const char* name) const {
  return m_value.isObject() && m_value.isMember(name);
}

void MemberReader::Expect(const std::string& what, const char* name) {
  if (m_problem.empty()) {
    m_problem = "expected " + what + " as \"" + name + "\"";
  }
}

std::uint64_t MemberReader::Number(const char* name, std::uint64_t low, std::uint64_t high) {
  const Json::Value& value = Get(name);
  if (!value.isUInt64() || value.asUInt64() < low || value.asUInt64() > high) {
    Expect("a number from " + std::to_string(low) + " to " + std::to_string(high), name);
    return low;
  }
  return value.asUInt64();
}

std::int64_t MemberReader::Time(const char* name) {
  return static_cast<std::int64_t>(Number(name, 0, LATEST));
}

std::string MemberReader::Text(const char* name) {
  const Json::Value& value = Get(name);
  if (!value.isString()) {
    Expect("a text", name);
    return {};
  }
  return value.asString();
}

documents::Digest MemberReader::Digest(const char* name) {
  const std::string text = Text(name);
  if (text.size() != 2 * HALF || text.find_first_not_of("0123456789abcdef") != std::string::npos) {
    Expect("32 hexadecimal digits", name);
    return {};
  }
  return {FromHex(text.substr(HALF)), FromHex(text.substr(0, HALF))};
}

}  // namespace revisions
