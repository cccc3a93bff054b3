#include "json_file.h"

#include <fcntl.h>
#include <json/reader.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <memory>

#include "device/program/owned_descriptor.h"
#include "device/program/printable.h"

namespace documents {

namespace {

constexpr std::size_t MAX_MESSAGE = 160;

// The size is not trusted: a file may grow while it is read.
std::string ReadAll(int fd, std::string& text) {
  char buffer[65536];
  for (;;) {
    const ssize_t count = read(fd, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return std::string("cannot be read: ") + std::strerror(errno);
    }
    if (count == 0) {
      return {};
    }
    text.append(buffer, static_cast<std::size_t>(count));
    if (text.size() > MAX_DOCUMENT_BYTES) {
      return "is larger than " + std::to_string(MAX_DOCUMENT_BYTES >> 20) + " MiB";
    }
  }
}

std::string ReadFile(const std::string& path, std::string& text) {
  const program::OwnedDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status;
  if (file.Get() < 0 || fstat(file.Get(), &status) != 0) {
    return std::string("cannot be read: ") + std::strerror(errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return "is not a regular file";
  }
  return ReadAll(file.Get(), text);
}

std::string Position(const std::string& text, std::size_t offset) {
  std::size_t line = 1;
  std::size_t lineBegin = 0;
  for (std::size_t i = 0; i < offset; ++i) {
    if (text[i] == '\n') {
      ++line;
      lineBegin = i + 1;
    }
  }
  return std::to_string(line) + ":" + std::to_string(offset - lineBegin + 1);
}

// Where the text goes deeper than allowed, or npos. jsoncpp has a limit of its own, but it throws
// there and does not say where.
std::size_t FindTooDeep(const std::string& text) {
  unsigned depth = 0;
  bool inString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if ((c == '{' || c == '[') && ++depth > MAX_DOCUMENT_DEPTH) {
      return i;
    } else if ((c == '}' || c == ']') && depth > 0) {
      --depth;
    }
  }
  return std::string::npos;
}

// jsoncpp's errors read "* Line 3, Column 7\n  message\n", and only the first is to the point. The
// message may quote a name of the document, whatever that holds.
std::string FirstError(const std::string& errors) {
  unsigned line = 0;
  unsigned column = 0;
  if (std::sscanf(errors.c_str(), "* Line %u, Column %u", &line, &column) != 2) {
    return "1:1: not JSON";
  }
  std::string message;
  const std::size_t begin = errors.find("\n  ");
  if (begin != std::string::npos) {
    message = errors.substr(begin + 3, errors.find('\n', begin + 3) - begin - 3);
  }
  return std::to_string(line) + ":" + std::to_string(column) +
         ": not JSON: " + program::Printable(message, MAX_MESSAGE);
}

std::string ParseError(const std::string& text, Json::Value& document) {
  const std::size_t tooDeep = FindTooDeep(text);
  if (tooDeep != std::string::npos) {
    return Position(text, tooDeep) + ": nested deeper than " + std::to_string(MAX_DOCUMENT_DEPTH) +
           " levels";
  }
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value parsed;
  std::string errors;
  try {
    if (!reader->parse(text.data(), text.data() + text.size(), &parsed, &errors)) {
      return FirstError(errors);
    }
  } catch (const std::exception& problem) {
    return std::string("1:1: not JSON: ") + problem.what();
  }
  if (!parsed.isObject()) {
    return "1:1: expected an object";
  }
  document.swap(parsed);
  return {};
}

}  // namespace

bool ParseJson(const std::string& text, const std::string& name, Json::Value& document,
               const program::Report& report) {
  const std::string problem = ParseError(text, document);
  if (!problem.empty()) {
    report(name + ":" + problem);
  }
  return problem.empty();
}

bool ReadJsonFile(const std::string& path, const std::string& name, Json::Value& document,
                  const program::Report& report) {
  std::string text;
  const std::string problem = ReadFile(path, text);
  if (!problem.empty()) {
    report(name + ": " + problem);
    return false;
  }
  return ParseJson(text, name, document, report);
}

}  // namespace documents
