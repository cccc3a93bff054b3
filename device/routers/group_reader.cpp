#include "group_reader.h"

#include <strings.h>

#include "tarsel/text.h"
#include "tarsel/trace.h"
#include "vantacore/dcl_config_object.h"

namespace routers {

using documents::Member;
using Tarsel::DclConfigObject;
using Tarsel::OptionsNode;
using Tarsel::ReadDCLMibIpAddress;
using Tarsel::ReadDCLMibValue;
using Tarsel::strcasestrstart;
using Tarsel::string;
using Tarsel::TRACE;

namespace {

constexpr int FIELD_VLAN = 1;
constexpr int ID_FIELDS = 3;  // protocol, VLAN, id

int CountFields(const char* name) {
  int fields = 1;
  for (; *name != '\0'; ++name) {
    fields += *name == '_' ? 1 : 0;
  }
  return fields;
}

}  // namespace

string Printable(const unsigned char* text, std::size_t length) {
  string printable;
  for (std::size_t i = 0; i < length; ++i) {
    const bool hasSecondByte = text[i] == 0xC2 && i + 1 < length && (text[i + 1] & 0xE0) == 0x80;
    const bool isControl = text[i] < ' ' || text[i] == 0x7F || hasSecondByte;
    printable += isControl ? '?' : static_cast<char>(text[i]);
    i += hasSecondByte ? 1 : 0;
  }
  return printable;
}

GroupReader::GroupReader(const OptionsNode& node, const string& source, const string& router)
    : m_node(node), m_source(source), m_router(router), m_good(true) {}

bool GroupReader::ReadName(const Member& member, unsigned short vlan) {
  m_node.GetAsString(m_name, member.name);
  const char* const name = m_name.c_str();
  const char* const protocol = member.row->prefix;
  if (!strcasestrstart(protocol, name) || CountFields(name) < ID_FIELDS ||
      DclConfigObject::ParseKeyFromName(name, FIELD_VLAN) != vlan) {
    string expected;
    expected.Format("%s_%u_<number>", *protocol != '\0' ? protocol : "<protocol>",
                    static_cast<unsigned int>(vlan));
    Reject(member, expected.c_str());
  }
  return m_good;
}

void GroupReader::ReadFlag(const Member& member, bool& value) {
  if (!m_node.AsVal(value, member.name) && IsThere()) {
    Reject(member, "true or false");
  }
}

void GroupReader::ReadNumber(const Member& member, unsigned int& value) {
  unsigned int number = value;
  int length = 0;
  if (ReadDCLMibValue(m_node, member.name, number, length)
          ? number < member.low || number > member.high
          : IsThere()) {
    string expected;
    expected.Format("a number of %u to %u", member.low, member.high);
    Reject(member, expected.c_str());
    return;
  }
  value = number;
}

void GroupReader::ReadWord(const Member& member, unsigned int& value) {
  if (m_node.GetChildNode(member.name).IsNull()) {
    return;
  }
  string text;  // stays empty for an object or an array
  m_node.GetAsString(text, member.name);
  string expected;
  for (unsigned int i = 0; member.words[i] != nullptr; ++i) {
    if (strcasecmp(text.c_str(), member.words[i]) == 0) {
      value = i;
      return;
    }
    const bool isLast = member.words[i + 1] == nullptr;
    expected.AppendFmt("%s%s", i == 0 ? "" : isLast ? " or " : ", ", member.words[i]);
  }
  Reject(member, expected.c_str());
}

void GroupReader::ReadDotted(const Member& member, unsigned char (&bytes)[4]) {
  unsigned int length = 0;
  if (!ReadDCLMibIpAddress(m_node, member.name, bytes, length) &&
      !m_node.GetChildNode(member.name).IsNull()) {
    Reject(member, "four numbers with dots between them");
  }
}

// After a typed read that failed: an absent member leaves an error text, a wrong one does not.
bool GroupReader::IsThere() const { return m_node.GetErrorText()[0] == '\0'; }

void GroupReader::Reject(const Member& member, const char* expected) {
  if (m_good) {
    const auto* const name = reinterpret_cast<const unsigned char*>(m_name.c_str());
    TRACE("%s: %s: \"%s\" of \"%s\" must be %s\n", m_source.c_str(), m_router.c_str(), member.name,
          Printable(name, m_name.get_length()).c_str(), expected);
  }
  m_good = false;
}

}  // namespace routers
