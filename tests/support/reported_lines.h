// What a reader complained about.
#ifndef TESTS_SUPPORT_REPORTED_LINES_H
#define TESTS_SUPPORT_REPORTED_LINES_H

#include <string>
#include <vector>

#include "device/program/report.h"

namespace test_support {

/// Keeps the complaints in their order; must outlive the reader that has the report.
struct ReportedLines {
  std::vector<std::string> lines;
  program::Report report = [this](const std::string& line) { lines.push_back(line); };
};

/// Whether the line is the one with which a start, a reload or a way back tells what it changes.
inline bool IsHeadline(const std::string& line) {
  for (const char* begin : {"Start:", "Reload:", "Reload by ", "Undo ", "Way back ", "Revision "}) {
    if (line.rfind(begin, 0) == 0) return true;
  }
  return false;
}

}  // namespace test_support

#endif
