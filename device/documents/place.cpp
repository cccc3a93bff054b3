#include "place.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "device/program/printable.h"

namespace documents {

namespace {

constexpr std::size_t LONGEST_PLAIN = 60;

bool IsPlain(const std::string& name) {
  return !name.empty() && name.size() <= LONGEST_PLAIN &&
         std::all_of(name.begin(), name.end(), [](unsigned char c) {
           return std::isalnum(c) || c == '_' || c == '-' || c == '/';
         });
}

}  // namespace

Place::Place(std::string file) : m_file(std::make_shared<const std::string>(std::move(file))) {}

Place::Place(std::shared_ptr<const std::string> file, std::string path)
    : m_file(std::move(file)), m_path(std::move(path)) {}

Place Place::Member(const std::string& name) const {
  const bool isFirst = m_path.empty() || m_path.back() == ' ';
  return {m_file, m_path + (isFirst ? "" : ".") + (IsPlain(name) ? name : program::Quote(name))};
}

Place Place::Element(std::size_t index) const {
  return {m_file, m_path + "[" + std::to_string(index) + "]"};
}

Place Place::Vlan(unsigned short vlan) const {
  return {m_file, "VLAN " + std::to_string(vlan) + ": "};
}

}  // namespace documents
