// The file is opened where it can be checked: in a folder of the user's own, without following links.
#include "line_history.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <sstream>
#include <thread>
#include <utility>

#include "device/program/owned_descriptor.h"
#include "device/program/printable.h"

namespace editor {

namespace {

using program::OwnedDescriptor;

constexpr const char* FILE_NAME = "history";
constexpr mode_t FOLDER_MODE = 0700;
constexpr mode_t FILE_MODE = 0600;

constexpr int LOCK_ATTEMPTS = 50;
constexpr std::chrono::milliseconds LOCK_PAUSE(10);

// A relative path counts as none, as the rules for such variables say.
std::string AbsolutePath(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && value[0] == '/' ? value : "";
}

void MakeFolders(const std::string& path) {
  for (std::size_t end = 0; end != std::string::npos;) {
    end = path.find('/', end + 1);
    mkdir(path.substr(0, end).c_str(), FOLDER_MODE);
  }
}

// Closes what is not the user's own, and returns -1 then.
template <class Condition>
int KeepIf(Condition isGood, int fd) {
  struct stat found {};
  if (fd >= 0 && (fstat(fd, &found) != 0 || found.st_uid != geteuid() || !isGood(found))) {
    close(fd);
    return -1;
  }
  return fd;
}

// A FIFO of the file's name keeps nobody waiting.
int OpenFile(const std::string& path, int flags) {
  const OwnedDescriptor folder(
      KeepIf([](const struct stat& found) { return (found.st_mode & S_IWOTH) == 0; },
             open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)));
  if (folder.Get() < 0) {
    return -1;
  }
  return KeepIf(
      [](const struct stat& found) { return S_ISREG(found.st_mode) && found.st_nlink == 1; },
      openat(folder.Get(), FILE_NAME, flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
             FILE_MODE));
}

bool IsEnterable(const std::string& line) {
  return !line.empty() && line.size() <= LineHistory::MOST_BYTES &&
         line.find('\0') == std::string::npos && program::PrintableLines(line) == line;
}

void KeepLast(std::vector<std::string>& lines) {
  if (lines.size() > LineHistory::MOST_LINES) {
    lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(LineHistory::MOST_LINES));
  }
}

// Reads no more of a file than its last lines can have.
std::vector<std::string> ReadLines(int file) {
  constexpr off_t MOST = LineHistory::MOST_LINES * (LineHistory::MOST_BYTES + 1);
  const off_t end = std::max<off_t>(lseek(file, 0, SEEK_END), 0);
  std::string text(static_cast<std::size_t>(std::min(end, MOST)), '\0');
  const ssize_t size = pread(file, &text[0], text.size(), end - std::min(end, MOST));
  text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) {
    if (IsEnterable(line)) {
      lines.push_back(line);
    }
  }
  KeepLast(lines);
  return lines;
}

// Lines that come between the reading and the writing would be lost. Somebody who keeps the lock
// for long must not keep the operator, so it is no condition.
void Lock(int file) {
  for (int i = 0; i < LOCK_ATTEMPTS && flock(file, LOCK_EX | LOCK_NB) != 0; ++i) {
    std::this_thread::sleep_for(LOCK_PAUSE);
  }
}

}  // namespace

std::string LineHistory::FindFolder() {
  const std::string state = AbsolutePath("XDG_STATE_HOME");
  if (!state.empty()) {
    return state + "/vantacore";
  }
  const std::string home = AbsolutePath("HOME");
  return home.empty() ? "" : home + "/.local/state/vantacore";
}

std::vector<std::string> LineHistory::Load() const {
  const OwnedDescriptor file(OpenFile(m_folder, O_RDONLY));
  return file.Get() < 0 ? std::vector<std::string>() : ReadLines(file.Get());
}

void LineHistory::Add(const std::string& line) {
  if (IsEnterable(line) && (m_added.empty() || m_added.back() != line)) {
    m_added.push_back(line);
  }
}

// The file is written whole each time: what is damaged in it goes.
void LineHistory::Save() {
  const std::vector<std::string> added = std::exchange(m_added, {});
  if (added.empty() || m_folder.empty()) {
    return;
  }
  MakeFolders(m_folder);
  const OwnedDescriptor file(OpenFile(m_folder, O_RDWR | O_CREAT));
  if (file.Get() < 0) {
    return;
  }
  fchmod(file.Get(), FILE_MODE);
  Lock(file.Get());
  std::vector<std::string> lines = ReadLines(file.Get());
  lines.insert(lines.end(), added.begin(), added.end());
  KeepLast(lines);
  std::string text;
  for (const std::string& line : lines) {
    text += line + "\n";
  }
  const ssize_t size = pwrite(file.Get(), text.data(), text.size(), 0);
  if (size >= 0 && ftruncate(file.Get(), size) != 0) {
    return;  // what stays behind the end are older lines
  }
}

}  // namespace editor
