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
  /// A copy of a NUL-terminated text.
  string(const char* text);  // NOLINT(google-explicit-constructor): texts convert freely
  /// A copy of `length` characters; they may include NUL.
  string(const char* text, std::size_t length);
  /// A copy.
  string(const string& other);
  /// Takes the text over; `other` stays usable.
  string(string&& other) noexcept;
  ~string();

  /// Copies the text.
  string& operator=(const string& other);
  /// Takes the text over; `other` stays usable.
  string& operator=(string&& other) noexcept;
  /// Copies a NUL-terminated text.
  string& operator=(const char* text);

  /// Appends a text.
  string& operator+=(const string& other);
  /// Appends a NUL-terminated text.
  string& operator+=(const char* text);
  /// Appends one character.
  string& operator+=(char c);

  /// Replaces the text by a printf-style result of any length.
  string& Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
  /// Appends a printf-style result of any length.
  string& AppendFmt(const char* format, ...) __attribute__((format(printf, 2, 3)));

  /// Number of characters, the terminator not counted.
  std::size_t get_length() const;
  /// Whether there are no characters.
  bool empty() const;
  /// Leaves the empty text.
  void clear();

  /// The characters with a terminating NUL; never null. Valid until the next change of this object.
  const char* c_str() const;

 private:
  std::string m_text;
};

// Comparisons are byte-wise; a text orders before every longer text that it begins.
/// The same bytes.
TARSEL_API bool operator==(const string& a, const string& b);
/// The same bytes; null is the empty text.
TARSEL_API bool operator==(const string& a, const char* b);
/// Other bytes.
TARSEL_API bool operator!=(const string& a, const string& b);
/// Other bytes; null is the empty text.
TARSEL_API bool operator!=(const string& a, const char* b);
/// Whether `a` comes before `b`.
TARSEL_API bool operator<(const string& a, const string& b);

}  // namespace Tarsel

#endif
