// The shared text class: a thin wrapper of std::string whose layout stays private to this library.
#include "tarsel/string.h"

#include <cstdarg>
#include <cstring>
#include <utility>

#include "format.h"

namespace Tarsel {

namespace {

const char* OrEmpty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

string::string() = default;
string::string(const char* text) : m_text(OrEmpty(text)) {}
string::string(const char* text, std::size_t length)
    : m_text(OrEmpty(text), text != nullptr ? length : 0) {}
string::string(const string& other) = default;
string::string(string&& other) noexcept = default;
string::~string() = default;

string& string::operator=(const string& other) = default;
string& string::operator=(string&& other) noexcept = default;
string& string::operator=(const char* text) {
  m_text = OrEmpty(text);
  return *this;
}

string& string::operator+=(const string& other) {
  m_text += other.m_text;
  return *this;
}
string& string::operator+=(const char* text) {
  m_text += OrEmpty(text);
  return *this;
}
string& string::operator+=(char c) {
  m_text += c;
  return *this;
}

// Arguments of Format and AppendFmt may point into this very text, so nothing is changed before the
// result is complete.
string& string::Format(const char* format, ...) {
  std::string result;
  std::va_list arguments;
  va_start(arguments, format);
  AppendFormatted(result, format, arguments);
  va_end(arguments);
  m_text = std::move(result);
  return *this;
}

string& string::AppendFmt(const char* format, ...) {
  std::string result;
  std::va_list arguments;
  va_start(arguments, format);
  AppendFormatted(result, format, arguments);
  va_end(arguments);
  m_text += result;
  return *this;
}

std::size_t string::get_length() const { return m_text.size(); }
bool string::empty() const { return m_text.empty(); }
void string::clear() { m_text.clear(); }
const char* string::c_str() const { return m_text.c_str(); }

namespace {

// Byte-wise over the whole texts; embedded NULs count like any other byte.
int Compare(const char* a, std::size_t aLength, const char* b, std::size_t bLength) {
  const int order = std::memcmp(a, b, aLength < bLength ? aLength : bLength);
  if (order != 0) {
    return order;
  }
  return aLength < bLength ? -1 : aLength > bLength;
}

}  // namespace

bool operator==(const string& a, const string& b) {
  return Compare(a.c_str(), a.get_length(), b.c_str(), b.get_length()) == 0;
}
bool operator==(const string& a, const char* b) {
  return Compare(a.c_str(), a.get_length(), OrEmpty(b), std::strlen(OrEmpty(b))) == 0;
}
bool operator!=(const string& a, const string& b) { return !(a == b); }
bool operator!=(const string& a, const char* b) { return !(a == b); }
bool operator<(const string& a, const string& b) {
  return Compare(a.c_str(), a.get_length(), b.c_str(), b.get_length()) < 0;
}

}  // namespace Tarsel
