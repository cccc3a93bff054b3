// Writes counters in Prometheus' text format, version 0.0.4.
#ifndef DEVICE_VIEWS_EXPOSITION_H
#define DEVICE_VIEWS_EXPOSITION_H

#include <cstdint>
#include <string>
#include <utility>

namespace views {

/// The media type of such a text, for HTTP.
extern const char* const EXPOSITION_TYPE;

/// Families with their samples, one after the other. Names, labels and helps are constants of the
/// program or plain words: nothing in them has to be escaped.
class Exposition {
 public:
  /// The next samples belong to this family. A counter's name ends with _total.
  void Counter(const char* name, const char* help) { Begin(name, help, "counter"); }
  void Gauge(const char* name, const char* help) { Begin(name, help, "gauge"); }

  /// `label` is for example `state="up"`; null for none.
  void Sample(std::uint64_t value, const char* label = nullptr);
  /// A span of time, which the text has in seconds.
  void Microseconds(std::uint64_t microseconds, const char* label = nullptr);

  std::string Take() { return std::move(m_text); }

 private:
  void Begin(const char* name, const char* help, const char* type);
  void BeginSample(const char* label);

  const char* m_name = "";
  std::string m_text;
};

}  // namespace views

#endif
