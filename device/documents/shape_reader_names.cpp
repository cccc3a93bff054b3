// The part of ShapeReader that names of members concern.
#include <algorithm>

#include "device/program/printable.h"
#include "nearest_name.h"
#include "shape_reader.h"

namespace documents {

using program::Quote;

namespace {

const char DOUBLED[] = "a member that stands twice, expected one, found another ";

bool IsForOthers(std::string_view name) { return name.substr(0, 2) == "x-"; }

// What stands between the quotes of a name, as it is written.
std::string NameAt(std::string_view text, std::size_t offset) {
  std::size_t end = offset + 1;
  while (end < text.size() && text[end] != '"') {
    end += text[end] == '\\' ? 2 : 1;
  }
  return std::string(text.substr(offset + 1, std::min(end, text.size()) - offset - 1));
}

std::vector<std::string> KnownNames(const Object& object) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < object.count; ++i) {
    if (object.members[i].kind != Kind::ELSEWHERE) {
      names.push_back(object.members[i].name);
    }
  }
  return names;
}

}  // namespace

void ShapeReader::Name(std::string_view name, std::size_t offset) {
  if (m_skipped != 0) {
    return;
  }
  if (m_any != nullptr) {
    m_any->Name(name, offset);
  }
  Frame& frame = Top();
  frame.name = name;
  frame.nameOffset = offset;
  if (name.find('\0') != std::string_view::npos && m_findings.Wants(Severity::ERROR, offset)) {
    Tell(Severity::ERROR, offset,
         "a NUL in the name, expected a name without one, found " + Quote(frame.name));
  }
  if (frame.type == Type::OBJECT) {
    FindMember(frame, name);
  } else {
    frame.names.Add(name, offset);
  }
}

void ShapeReader::FindMember(Frame& frame, std::string_view name) {
  const Object& object = *frame.object;
  const Member* const end = object.members + object.count;
  frame.child = std::find_if(object.members, end,
                             [name](const Member& member) { return name == member.name; });
  if (frame.child == end) {
    frame.child = nullptr;
    if (IsForOthers(name) || (&object == &m_root && name == "$schema")) {
      frame.names.Add(name, frame.nameOffset);
      return;
    }
    frame.hasUnknown = true;
    SkipNamed([&] {
      return "unknown member, expected " + Quote(NearestName(name, KnownNames(object))) +
             " or another known name, found ";
    });
    return;
  }
  const std::uint64_t bit = std::uint64_t{1} << (frame.child - object.members);
  if (frame.child->kind == Kind::ELSEWHERE) {
    SkipNamed([&] {
      return "a member that does not belong here, expected none (" +
             std::string(frame.child->meaning) + "), found ";
    });
  } else if ((frame.outcome.seen & bit) != 0) {
    SkipNamed([] { return std::string(DOUBLED); });
  }
  frame.outcome.seen |= bit;
}

// The member whose name has been read cannot be used, and its value is passed over.
template <class Problem>
void ShapeReader::SkipNamed(Problem problem) {
  const Frame& frame = Top();
  m_skipsNext = true;
  if (m_findings.Wants(Severity::ERROR, frame.nameOffset)) {
    Tell(Severity::ERROR, frame.nameOffset, problem() + Quote(frame.name));
  }
}

// The names that an object has twice are found when all are known.
void ShapeReader::TellDoubled(Frame& frame) {
  for (const std::size_t offset : frame.names.FindDoubled()) {
    if (m_findings.Wants(Severity::ERROR, offset)) {
      frame.name = NameAt(m_text, offset);
      Tell(Severity::ERROR, offset, DOUBLED + Quote(frame.name));
    }
  }
}

}  // namespace documents
