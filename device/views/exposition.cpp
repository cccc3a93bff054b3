#include "exposition.h"

#include <cstdio>

namespace views {

const char* const EXPOSITION_TYPE = "text/plain; version=0.0.4; charset=utf-8";

void Exposition::Begin(const char* name, const char* help, const char* type) {
  m_name = name;
  m_text.append("# HELP ").append(name).append(" ").append(help).append("\n# TYPE ");
  m_text.append(name).append(" ").append(type).append("\n");
}

void Exposition::BeginSample(const char* label) {
  m_text += m_name;
  if (label != nullptr) {
    m_text.append("{").append(label).append("}");
  }
  m_text += ' ';
}

void Exposition::Sample(std::uint64_t value, const char* label) {
  BeginSample(label);
  m_text.append(std::to_string(value)).append("\n");
}

void Exposition::Microseconds(std::uint64_t microseconds, const char* label) {
  char text[32];
  std::snprintf(text, sizeof text, "%llu.%06llu\n",
                static_cast<unsigned long long>(microseconds / 1000000),
                static_cast<unsigned long long>(microseconds % 1000000));
  BeginSample(label);
  m_text += text;
}

}  // namespace views
