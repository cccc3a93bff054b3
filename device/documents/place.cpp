#include "place.h"

#include <algorithm>
#include <cctype>

#include "device/program/printable.h"

namespace documents {

namespace {

constexpr std::size_t LONGEST_PLAIN = 60;

bool IsPlain(const std::string& name) {
  return !name.empty() && name.size() <= LONGEST_PLAIN &&
         std::all_of(name.begin(), name.end(), [](unsigned char c) {
           return std::isalnum(c) || c == '_' || c == '-' || c == '/' || c == '$';
         });
}

}  // namespace

std::string MemberPath(const std::string& path, const std::string& name) {
  return path + (path.empty() ? "" : ".") + (IsPlain(name) ? name : program::Quote(name));
}

std::string ElementPath(const std::string& path, std::size_t index) {
  return path + "[" + std::to_string(index) + "]";
}

std::string Place::Text() const {
  std::string text = file;
  if (position.line != 0) {
    text += ":" + std::to_string(position.line) + ":" + std::to_string(position.column);
  }
  return path.empty() ? text : text + ": " + path;
}

}  // namespace documents
