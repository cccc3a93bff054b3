#include "shape_reader.h"

#include <cstring>

#include "device/program/decimal.h"
#include "device/program/printable.h"

namespace documents {

using program::Quote;

namespace {

constexpr std::size_t NO_INDEX = static_cast<std::size_t>(-1);
constexpr std::uint32_t FAMILY_IP6 = 1;

// What a value of VLANS_BY_NAME is like.
Member VlanOf(const Member& member) { return documents::Number("", member.low, member.high, 0); }

bool IsList(const Member& member) {
  return member.kind == Kind::LIST || member.kind == Kind::ROUTES;
}

bool IsOfVlans(const Member& member) {
  return member.kind == Kind::VLAN_NAMES || member.kind == Kind::VLAN_NUMBERS;
}

/// What a VLAN's value is to be.
std::string ExpectedOfVlan(const Member& member) {
  return member.element != nullptr ? Expected(*member.element) : "the name of an interface";
}

}  // namespace

ShapeReader::ShapeReader(std::string_view text, const Object& root, ShapeVisitor& visitor,
                         DocumentFindings& findings)
    : m_text(text), m_root(root), m_visitor(visitor), m_findings(findings) {}

// ---- findings

std::string ShapeReader::PathTo(std::size_t depth) const {
  std::string path;
  for (std::size_t i = 0; i < depth; ++i) {
    const Frame& frame = m_frames[i];
    path = frame.IsObject() ? MemberPath(path, frame.name) : ElementPath(path, frame.index);
  }
  return path;
}

void ShapeReader::Tell(Severity severity, std::size_t offset, const std::string& problem) {
  m_findings.Add(severity, offset, PathTo(m_depth), problem);
}

// The present value cannot be used. Returns whether that has to be told: there can be millions of such
// values, and what nobody will see is counted only.
bool ShapeReader::MustTell(const Member& member, std::size_t offset) {
  Frame& frame = Top();
  frame.outcome.isFaultless = false;
  frame.outcome.isComplete = frame.outcome.isComplete && !member.isRequired;
  return m_findings.Wants(Severity::ERROR, offset);
}

void ShapeReader::Refuse(const Member& member, const char* problem, const Scalar& scalar,
                         std::size_t offset) {
  if (MustTell(member, offset)) {
    Tell(Severity::ERROR, offset,
         std::string(problem) + ", expected " + Expected(member) + ", found " + Describe(scalar));
  }
}

void ShapeReader::Refuse(const Member& member, const char* problem, const std::string& expected,
                         const std::string& found, std::size_t offset) {
  if (MustTell(member, offset)) {
    Tell(Severity::ERROR, offset,
         std::string(problem) + ", expected " + expected + ", found " + found);
  }
}

// ---- values

bool ShapeReader::SkipsValue() {
  const bool skips = m_skipsNext || m_skipped != 0;
  m_skipsNext = false;
  return skips;
}

// The member that a value which begins now belongs to; null if nobody reads it. `isListed` says that
// the value is an object of the member's list, not the list itself.
const Member* ShapeReader::NextMember(bool& isListed) {
  Frame& frame = Top();
  ++frame.index;
  isListed = false;
  switch (frame.type) {
    case Type::OBJECT:
      return frame.child;
    case Type::NAMED:
      isListed = true;
      return frame.member;
    case Type::INDEXED:
      isListed = IsList(*frame.member);
      return isListed ? frame.member : frame.member->element;
    case Type::VLANS:
    case Type::VLANS_BY_NAME:
      return frame.member;
    default:
      return nullptr;
  }
}

void ShapeReader::Text(std::string_view text, std::size_t offset) {
  TakeScalar({Scalar::TEXT, text}, offset);
}

void ShapeReader::Number(std::string_view digits, std::size_t offset) {
  TakeScalar({Scalar::NUMBER, digits}, offset);
}

void ShapeReader::Flag(bool value, std::size_t offset) {
  TakeScalar({Scalar::FLAG, {}, value}, offset);
}

void ShapeReader::TakeScalar(const Scalar& scalar, std::size_t offset) {
  if (SkipsValue()) {
    return;
  }
  if (m_depth == 0) {
    m_findings.Add(Severity::ERROR, offset, {},
                   "wrong kind of value, expected an object, found " + Describe(scalar));
    return;
  }
  bool isListed = false;
  const Member* const member = NextMember(isListed);
  if (member == nullptr) {
    if (m_any != nullptr && scalar.type == Scalar::TEXT) {
      m_any->Text(scalar.text, offset);
    } else if (m_any != nullptr && scalar.type == Scalar::NUMBER) {
      m_any->Number(scalar.text, offset);
    } else if (m_any != nullptr) {
      m_any->Flag(scalar.flag, offset);
    }
  } else if (isListed) {
    if (MustTell(*member, offset)) {
      Tell(Severity::ERROR, offset,
           "wrong kind of value, expected an object, found " + Describe(scalar));
    }
  } else if (Top().type == Type::VLANS) {
    TakeOfVlan(*member, scalar, offset);
  } else if (Top().type == Type::VLANS_BY_NAME) {
    TakeVlanByName(*member, scalar, offset);
  } else {
    TakeMember(*member, scalar, offset);
  }
}

void ShapeReader::TakeMember(const Member& member, const Scalar& scalar, std::size_t offset) {
  Frame& frame = Top();
  if (member.kind == Kind::IP4_OR_IP6 && scalar.type == Scalar::TEXT) {
    frame.addressMember = &member;
    frame.address = scalar.text;
    frame.addressOffset = offset;
    return;
  }
  Value value;
  if (const char* const problem = ReadScalar(member, scalar, value)) {
    Refuse(member, problem, scalar, offset);
    return;
  }
  if (member.kind == Kind::NUMBER && std::strcmp(member.name, "afi") == 0) {
    frame.family = value.number;
  }
  m_visitor.Take(member, scalar, value, offset);
}

void ShapeReader::TakeOfVlan(const Member& member, const Scalar& scalar, std::size_t offset) {
  const Frame& frame = Top();
  Value value;
  const auto vlan = program::ReadDecimal(frame.name, member.low, member.high);
  const std::string range = std::to_string(member.low) + " to " + std::to_string(member.high);
  if (!vlan) {
    Refuse(member, "not a VLAN", "a VLAN from " + range + " as the name", Quote(frame.name),
           frame.nameOffset);
  } else if (member.element != nullptr) {
    if (const char* const problem = ReadScalar(*member.element, scalar, value)) {
      Refuse(*member.element, problem, scalar, offset);
      return;
    }
    value.row.vlan = *vlan;
    m_visitor.Take(member, scalar, value, offset);
  } else if (scalar.type != Scalar::TEXT) {
    Refuse(member, "wrong kind of value", ExpectedOfVlan(member), Describe(scalar), offset);
  } else {
    value.number = *vlan;
    m_visitor.Take(member, scalar, value, offset);
  }
}

void ShapeReader::TakeVlanByName(const Member& member, const Scalar& scalar, std::size_t offset) {
  const Frame& frame = Top();
  const Member vlan = VlanOf(member);
  Value value;
  if (const char* const problem = ReadScalar(*member.element, {Scalar::TEXT, frame.name}, value)) {
    Refuse(member, problem, Expected(*member.element) + " as the name", Quote(frame.name),
           frame.nameOffset);
  } else if (const char* const wrong = ReadScalar(vlan, scalar, value)) {
    Refuse(vlan, wrong, scalar, offset);
  } else {
    m_visitor.Take(member, scalar, value, offset);
  }
}

// What the value of a member should have been.
std::string ShapeReader::ExpectedIn(const Frame& frame, const Member& member) {
  return frame.type == Type::VLANS           ? ExpectedOfVlan(member)
         : frame.type == Type::VLANS_BY_NAME ? Expected(VlanOf(member))
                                             : Expected(member);
}

void ShapeReader::Null(std::size_t offset) {
  if (SkipsValue()) {
    return;
  }
  if (m_depth == 0) {
    m_findings.Add(Severity::ERROR, offset, {}, "no value, expected an object, found null");
    return;
  }
  bool isListed = false;
  const Member* const member = NextMember(isListed);
  if (member != nullptr) {
    Refuse(*member, "no value", isListed ? "an object" : ExpectedIn(Top(), *member), "null",
           offset);
    return;
  }
  if (m_any != nullptr) {
    m_any->Null(offset);
  }
  if (m_findings.Wants(Severity::ERROR, offset)) {
    Tell(Severity::ERROR, offset, "no value, expected one, found null");
  }
}

// ---- objects and arrays

void ShapeReader::BeginObject(std::size_t offset) { Begin(false, offset); }
void ShapeReader::BeginArray(std::size_t offset) { Begin(true, offset); }
void ShapeReader::EndObject() { End(); }
void ShapeReader::EndArray() { End(); }

void ShapeReader::Push(Type type, const Member* member, std::size_t offset) {
  if (m_frames.size() == m_depth) {
    m_frames.emplace_back();
  }
  Frame& frame = m_frames[m_depth++];
  frame.type = type;
  frame.member = member;
  frame.object = nullptr;
  frame.offset = offset;
  frame.outcome = {true, true, false, offset, 0};
  frame.hasUnknown = false;
  frame.index = NO_INDEX;
  frame.child = nullptr;
  frame.names.Clear();
  frame.addressMember = nullptr;
  frame.family = 0;
}

void ShapeReader::PushObject(const Member& member, std::size_t offset) {
  Push(Type::OBJECT, &member, offset);
  Top().object = member.object;
  const Frame& parent = m_frames[m_depth - 2];
  m_visitor.BeginObject(member, parent.IsObject() ? std::string_view(parent.name) : "", offset);
}

void ShapeReader::PushList(const Member& member, bool isArray, std::size_t offset) {
  Push(isArray ? Type::INDEXED : Type::NAMED, &member, offset);
  m_visitor.BeginList(member, isArray, offset);
}

void ShapeReader::PushAny(const Member& member, std::size_t offset) {
  Tell(Severity::WARNING, offset,
       "nobody has looked deeper, expected a protocol whose members are declared, found one "
       "without");
  m_any = &m_visitor.BeginAny(member);
  m_any->BeginObject(offset);
  Push(Type::FREE_OBJECT, &member, offset);
}

void ShapeReader::PushFree(bool isArray, std::size_t offset) {
  if (m_any != nullptr && isArray) {
    m_any->BeginArray(offset);
  } else if (m_any != nullptr) {
    m_any->BeginObject(offset);
  }
  Push(isArray ? Type::FREE_ARRAY : Type::FREE_OBJECT, nullptr, offset);
}

void ShapeReader::Begin(bool isArray, std::size_t offset) {
  if (SkipsValue()) {
    ++m_skipped;
    return;
  }
  if (m_depth == 0) {
    if (isArray) {
      m_findings.Add(Severity::ERROR, offset, {},
                     "wrong kind of value, expected an object, found an array");
      m_skipped = 1;
      return;
    }
    m_isUsable = true;
    Push(Type::OBJECT, nullptr, offset);
    Top().object = &m_root;
    return;
  }
  bool isListed = false;
  const Member* const member = NextMember(isListed);
  if (member == nullptr) {
    PushFree(isArray, offset);
  } else if (!isListed) {
    BeginMember(*member, isArray, offset);
  } else if (isArray) {
    Refuse(*member, "wrong kind of value", "an object", "an array", offset);
    m_skipped = 1;
  } else {
    PushObject(*member, offset);
  }
}

void ShapeReader::BeginMember(const Member& member, bool isArray, std::size_t offset) {
  // The values of these are scalars.
  const bool isInNames = Top().type == Type::VLANS || Top().type == Type::VLANS_BY_NAME;
  if (IsList(member) || (member.kind == Kind::ARRAY && isArray)) {
    PushList(member, isArray, offset);
  } else if (member.kind == Kind::OBJECT && !isArray) {
    PushObject(member, offset);
  } else if (member.kind == Kind::ANY_OBJECT && !isArray) {
    PushAny(member, offset);
  } else if (IsOfVlans(member) && !isArray && !isInNames) {
    Push(Type::VLANS, &member, offset);
  } else if (member.kind == Kind::VLANS_BY_NAME && !isArray && !isInNames) {
    Push(Type::VLANS_BY_NAME, &member, offset);
  } else {
    Refuse(member, "wrong kind of value", ExpectedIn(Top(), member),
           isArray ? "an array" : "an object", offset);
    m_skipped = 1;
  }
}

void ShapeReader::End() {
  if (m_skipped != 0) {
    --m_skipped;
    return;
  }
  Frame& frame = Top();
  TellDoubled(frame);
  switch (frame.type) {
    case Type::OBJECT:
      EndShape(frame);
      break;
    case Type::NAMED:
    case Type::INDEXED:
      m_visitor.EndList(*frame.member);
      break;
    case Type::FREE_OBJECT:
    case Type::FREE_ARRAY:
      if (m_any != nullptr && frame.type == Type::FREE_ARRAY) {
        m_any->EndArray();
      } else if (m_any != nullptr) {
        m_any->EndObject();
      }
      if (frame.member != nullptr) {  // the ANY_OBJECT itself has ended
        m_any = nullptr;
      }
      break;
    case Type::VLANS:
    case Type::VLANS_BY_NAME:
      break;
  }
  --m_depth;
}

void ShapeReader::EndShape(Frame& frame) {
  JudgeAddress(frame);
  TellMissing(frame);
  TellEmpty(frame);
  if (frame.member != nullptr) {
    m_visitor.EndObject(*frame.member, frame.outcome);
  }
}

void ShapeReader::TellEmpty(Frame& frame) {
  if (frame.object->mayBeEmpty || frame.outcome.seen != 0 || !frame.outcome.isComplete) {
    return;
  }
  frame.outcome.isFaultless = false;
  frame.outcome.isEmpty = true;
  if (!frame.hasUnknown && m_findings.Wants(Severity::ERROR, frame.offset)) {
    m_findings.Add(Severity::ERROR, frame.offset, Path(),
                   "an empty object, expected one with members, found none");
  }
}

void ShapeReader::TellMissing(Frame& frame) {
  for (std::size_t i = 0; i < frame.object->count; ++i) {
    const Member& member = frame.object->members[i];
    if (member.isRequired && (frame.outcome.seen & std::uint64_t{1} << i) == 0) {
      frame.outcome.isComplete = false;
      frame.outcome.isFaultless = false;
      if (m_findings.Wants(Severity::ERROR, frame.offset)) {
        m_findings.Add(Severity::ERROR, frame.offset, MemberPath(Path(), member.name),
                       "a missing member, expected " + Expected(member) + ", found nothing");
      }
    }
  }
}

// Which family the address has to be of is known only now: the members may come in any order.
void ShapeReader::JudgeAddress(Frame& frame) {
  if (frame.addressMember == nullptr) {
    return;
  }
  Member member = *frame.addressMember;
  member.kind = frame.family == FAMILY_IP6 ? Kind::IP6 : Kind::IP4;
  frame.name = member.name;  // for the path
  const Scalar scalar{Scalar::TEXT, frame.address};
  Value value;
  if (const char* const problem = ReadScalar(member, scalar, value)) {
    Refuse(member, problem, scalar, frame.addressOffset);
  } else {
    m_visitor.Take(*frame.addressMember, scalar, value, frame.addressOffset);
  }
}

}  // namespace documents
