#include "asker_log.h"

#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "device/base/trace_control.h"
#include "tarsel/trace.h"

namespace logging {

namespace {

/// While it lives, the askers hear.
class Hearing {
 public:
  explicit Hearing(const std::vector<program::Report>& askers)
      : m_log(Tarsel::SetTraceSink([this, &askers](int level, const std::string& line) {
          Log(level, line);
          if (level == Tarsel::TRACE_NO_LEVEL) {
            Tell(askers, line);
          }
        })) {}
  Hearing(const Hearing&) = delete;
  Hearing& operator=(const Hearing&) = delete;
  ~Hearing() { Tarsel::SetTraceSink(std::move(m_log)); }

 private:
  void Log(int level, const std::string& line) const {
    if (m_log) {
      m_log(level, line);
    } else {
      std::fwrite(line.data(), 1, line.size(), stderr);
    }
  }

  static void Tell(const std::vector<program::Report>& askers, const std::string& line) {
    for (const program::Report& asker : askers) {
      try {
        asker(line);
      } catch (const std::exception&) {
      }
    }
  }

  Tarsel::TraceSink m_log;  // empty: standard error
};

}  // namespace

void HearWhile(const std::vector<program::Report>& askers, const std::function<void()>& work) {
  if (askers.empty()) {
    work();
    return;
  }
  const Hearing hearing(askers);
  work();
}

}  // namespace logging
