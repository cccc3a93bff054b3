#include "report.h"

#include <algorithm>
#include <cctype>

#include "device/program/printable.h"

namespace host {

namespace {

constexpr std::size_t LONGEST_PLAIN = 60;

bool IsPlain(const std::string& name) {
  return !name.empty() && name.size() <= LONGEST_PLAIN &&
         std::all_of(name.begin(), name.end(), [](unsigned char c) {
           return std::isalnum(c) || c == '_' || c == '-' || c == '/';
         });
}

}  // namespace

Place Place::Member(const std::string& name) const {
  Place member(m_file);
  member.m_path =
      (m_path.empty() ? "" : m_path + ".") + (IsPlain(name) ? name : program::Quote(name));
  return member;
}

Place Place::Element(std::size_t index) const {
  Place element(m_file);
  element.m_path = m_path + "[" + std::to_string(index) + "]";
  return element;
}

}  // namespace host
