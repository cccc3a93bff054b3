// Captures the log and the assertion reports for a test.
#ifndef TESTS_SUPPORT_TRACE_CAPTURE_H
#define TESTS_SUPPORT_TRACE_CAPTURE_H

#include <string>
#include <vector>

namespace test_support {

/// While it lives, every message of every level and every assertion comes here instead of standard
/// error. One capture at a time; its end brings back the default sinks and the level before.
class TraceCapture {
 public:
  TraceCapture();
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;
  ~TraceCapture();

  /// The messages in order, each with its level in front: "10:Creating VLAN 10\n"; a message
  /// without a level begins with "-:".
  const std::vector<std::string>& Lines() const { return m_lines; }
  /// The messages so far, which are then forgotten.
  std::vector<std::string> Take();
  /// The messages of one level without its number; TRACE_NO_LEVEL for those without a level.
  std::vector<std::string> AtLevel(int level) const;
  /// Whether a message (with its level in front) contains `text`.
  bool Contains(const std::string& text) const;
  /// Number of messages that are exactly `line` (with the level in front).
  std::size_t CountOf(const std::string& line) const;

  /// The reports in order, as "expression|source|line".
  const std::vector<std::string>& Assertions() const { return m_assertions; }
  std::vector<std::string> TakeAssertions();

 private:
  int m_levelBefore;
  std::vector<std::string> m_lines;
  std::vector<std::string> m_assertions;
};

}  // namespace test_support

#endif
