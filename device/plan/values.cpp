#include "values.h"

#include <set>

#include "device/documents/member_value.h"
#include "words.h"

namespace plan {

using documents::Kind;
using documents::Member;
using documents::Scalar;
using documents::Value;
using Tarsel::OptionsNode;

namespace {

std::string TextIn(const OptionsNode& object, const char* name) {
  Tarsel::string text;
  object.GetAsString(text, name);
  return {text.c_str(), text.get_length()};
}

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

// A value that cannot be read stands for itself.
std::string ScalarText(const Member& member, const std::string& text) {
  Value value;
  if (documents::ReadScalar(member, {Scalar::TEXT, text}, value) != nullptr) {
    return text;
  }
  switch (member.kind) {
    case Kind::DIGITS:
    case Kind::PREFIX_LENGTH:
      return std::to_string(value.number);
    case Kind::WORD:
    case Kind::ANY_CASE_WORD:
      return member.words[value.number];
    case Kind::IP4:
    case Kind::IP4_GROUP:
    case Kind::IP4_MASK:
      return AddressText(false, value.address);
    case Kind::IP6:
    case Kind::IP6_GROUP:
      return AddressText(true, value.address);
    case Kind::TEXT:
    case Kind::DESCRIPTION:
    case Kind::INTERFACE_NAME:
      return Quoted(text);
    default:
      return text;
  }
}

// Of one family or the other.
std::string AnyAddressText(const std::string& text) {
  Value value;
  if (documents::ReadIp4(text, value.address)) {
    return AddressText(false, value.address);
  }
  return documents::ReadIp6(text, value.address) ? AddressText(true, value.address) : text;
}

std::string ObjectText(const OptionsNode& node, const documents::Object& object) {
  std::string text;
  for (std::size_t i = 0; i < object.count; ++i) {
    const Member& member = object.members[i];
    const std::string value = ValueOf(node, member);
    // What only one member can be needs no name.
    text += (text.empty() ? "" : ", ") + (object.count == 1 ? "" : member.name + std::string(" ")) +
            value;
  }
  return text;
}

// Of an array's scalars routers cannot read anything.
std::string ContainerText(const OptionsNode& node) {
  std::string text;
  const auto end = node.end();
  for (auto child = node.begin(); child != end; ++child) {
    text += text.empty() ? "" : ", ";
    if (node.IsObject()) {
      const Tarsel::string name = child.GetName();
      text += name.c_str() + (" " + AnyValueOf(node, name.c_str()));
    } else {
      text += ContainerText(*child);
    }
  }
  return node.IsObject() ? "{" + text + "}" : "[" + text + "]";
}

// Routers read such lists as sets.
std::string ListText(const OptionsNode& list, const documents::Object& object) {
  std::set<std::string> elements;
  for (const OptionsNode& element : list) {
    elements.insert(ObjectText(element, object));
  }
  std::string text;
  for (const std::string& element : elements) {
    text += (text.empty() ? "" : " ") + (object.count == 1 ? element : "{" + element + "}");
  }
  return text.empty() ? "none" : text;
}

}  // namespace

std::string StandardOf(const Member& member) {
  switch (member.kind) {
    case Kind::TEXT:
    case Kind::DESCRIPTION:
    case Kind::INTERFACE_NAME:
      return Quoted("");
    case Kind::OBJECT:
      return ValueOf(OptionsNode(), member);
    case Kind::LIST:
      return "none";
    default:
      break;
  }
  if (member.standardText != nullptr) {
    return member.standardText;
  }
  switch (member.kind) {
    case Kind::FLAG:
      return member.standard != 0 ? "true" : "false";
    case Kind::WORD:
    case Kind::ANY_CASE_WORD:
      return member.words[member.standard];
    case Kind::NUMBER:
    case Kind::DIGITS:
    case Kind::PREFIX_LENGTH:
      return std::to_string(member.standard);
    default:
      return "none";
  }
}

std::string ValueOf(const OptionsNode& object, const Member& member) {
  const OptionsNode node = object.GetChildNode(member.name);
  // The members of an object that is absent have their defaults.
  if (node.IsNull() && member.kind != Kind::OBJECT) {
    return StandardOf(member);
  }
  switch (member.kind) {
    case Kind::OBJECT:
      return "{" + ObjectText(node, *member.object) + "}";
    case Kind::LIST:
      return ListText(node, *member.object);
    case Kind::IP4_OR_IP6:
      return AnyAddressText(TextIn(object, member.name));
    default:
      return ScalarText(member, TextIn(object, member.name));
  }
}

std::string AnyValueOf(const OptionsNode& object, const char* name) {
  const OptionsNode node = object.GetChildNode(name);
  return node.IsObject() || node.begin() != node.end() ? ContainerText(node) : TextIn(object, name);
}

}  // namespace plan
