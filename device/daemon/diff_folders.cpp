#include "diff_folders.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "check_folder.h"
#include "device/documents/config_folder.h"
#include "device/plan/plan.h"
#include "device/program/printable.h"

namespace vantacored {

namespace {

constexpr int SAME = 0;
constexpr int DIFFERENT = 1;
constexpr int FAILED = 2;

documents::Reading ReadTelling(const std::string& directory) {
  const documents::ConfigFolder folder(directory, {documents::DeclaredProtocols(), false});
  documents::Reading reading = folder.ReadFirst();
  for (const std::string& line : reading.findings.Lines(program::PrintableLines(directory))) {
    std::fprintf(stderr, "%s\n", line.c_str());
  }
  return reading;
}

bool Print(const std::string& line) {
  return std::fwrite(line.data(), 1, line.size(), stdout) == line.size() &&
         std::fputc('\n', stdout) != EOF;
}

}  // namespace

int DiffFolders(const std::string& directory, const std::string& other) {
  if (!CanOpenFolder(directory) || !CanOpenFolder(other)) {
    return FAILED;
  }
  documents::Reading from = ReadTelling(directory);
  documents::Reading to = ReadTelling(other);
  if (from.findings.HasErrors() || to.findings.HasErrors() || std::ferror(stderr)) {
    return FAILED;
  }
  const plan::Totals totals = plan::ListChanges(intent::Intent(std::move(from.folder)),
                                                intent::Intent(std::move(to.folder)), Print);
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
    std::fprintf(stderr, "standard output: %s\n", std::strerror(errno));
    return FAILED;
  }
  return totals.IsEmpty() ? SAME : DIFFERENT;
}

}  // namespace vantacored
