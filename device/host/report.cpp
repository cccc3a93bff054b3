#include "report.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace host {

namespace {

constexpr std::size_t MAX_QUOTED = 60;

bool IsPlain(const std::string& name) {
  return !name.empty() && name.size() <= MAX_QUOTED &&
         std::all_of(name.begin(), name.end(), [](unsigned char c) {
           return std::isalnum(c) || c == '_' || c == '-' || c == '/';
         });
}

}  // namespace

std::string Printable(const std::string& text, std::size_t most) {
  std::string printable;
  for (std::size_t i = 0; i < text.size() && i < most; ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c < 0x20 || c == 0x7F) {
      char escaped[5];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
      printable += escaped;
    } else {
      printable += text[i];
    }
  }
  return printable;
}

std::string Quote(const std::string& text) {
  return "\"" + Printable(text, MAX_QUOTED) + (text.size() > MAX_QUOTED ? "...\"" : "\"");
}

Place Place::Member(const std::string& name) const {
  Place member(m_file);
  member.m_path = (m_path.empty() ? "" : m_path + ".") + (IsPlain(name) ? name : Quote(name));
  return member;
}

Place Place::Element(std::size_t index) const {
  Place element(m_file);
  element.m_path = m_path + "[" + std::to_string(index) + "]";
  return element;
}

}  // namespace host
