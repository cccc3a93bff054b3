// The string class that every library of the device shares.
#ifndef TARSEL_STRING_H
#define TARSEL_STRING_H

#include <cstddef>
#include <string>

#include "tarsel/export.h"

namespace Tarsel {

/// A text value: owned, copied by value, NUL-terminated, growing geometrically on append.
/// A null `const char*` is taken as the empty text everywhere.
class TARSEL_API string {
 public:
  string();
  string(const char* text);  // NOLINT(google-explicit-constructor): texts convert freely
  string(const char* text, std::size_t length);
  string(const string& other);
  string(string&& other) noexcept;
  ~string();

  string& operator=(const string& other);
  string& operator=(string&& other) noexcept;
  string& operator=(const char* text);

  string& operator+=(const string& other);
  string& operator+=(const char* text);
  string& operator+=(char c);

  /// Replaces the text by a printf-style result of any length.
  string& Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
  /// Appends a printf-style result of any length.
  string& AppendFmt(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// Number of characters, the terminator not counted.
  std::size_t get_length() const;
  bool empty() const;
  void clear();

  /// The characters with a terminating NUL; never null. Valid until the next change of this object.
  const char* c_str() const;

 private:
  std::string m_text;
};

// Comparisons are byte-wise; a text orders before every longer text that it begins.
TARSEL_API bool operator==(const string& a, const string& b);
TARSEL_API bool operator==(const string& a, const char* b);
TARSEL_API bool operator!=(const string& a, const string& b);
TARSEL_API bool operator!=(const string& a, const char* b);
TARSEL_API bool operator<(const string& a, const string& b);

}  // namespace Tarsel

#endif
