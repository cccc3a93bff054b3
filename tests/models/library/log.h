// What one side of a run shows to the outside: stack calls, messages and console output, in order.
#ifndef TESTS_MODELS_LIBRARY_LOG_H
#define TESTS_MODELS_LIBRARY_LOG_H

#include <map>
#include <string>
#include <vector>

namespace library_model {

class Log {
 public:
  void Add(const char* format, ...) __attribute__((format(printf, 2, 3)));
  /// A message of the device's log, in the form that both sides write.
  void Trace(int level, const std::string& message);
  void Assertion(const char* expression, const char* source, int line);
  /// Output of a console; how it was cut into pieces is not shown.
  void Console(int console, const char* stream, const std::string& text);

  std::vector<std::string> lines;
};

/// printf into a std::string.
std::string Text(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// How often the hard cases came about.
using Counts = std::map<std::string, unsigned long>;

}  // namespace library_model

#endif
