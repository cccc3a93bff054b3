#include "lost_lines.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace logging {

void LostLines::Add(std::string_view text, int problem) {
  const auto ends = std::count(text.begin(), text.end(), '\n');
  const auto lines = static_cast<std::uint64_t>(std::max<std::ptrdiff_t>(ends, 1));
  m_count += lines;
  m_all += lines;
  m_problem = problem;
}

std::string_view LostLines::Format(bool isMidLine, const char* prefix) {
  const bool hasStopped = m_problem == EAGAIN || m_problem == EPIPE;
  const int size =
      std::snprintf(m_text.data(), m_text.size(), "%s%s%llu lines of the log were lost: %s\n",
                    isMidLine ? "\n" : "", prefix, static_cast<unsigned long long>(m_count),
                    hasStopped ? "their reader had stopped" : strerror(m_problem));
  return {m_text.data(), std::min(static_cast<std::size_t>(size), m_text.size() - 1)};
}

}  // namespace logging
