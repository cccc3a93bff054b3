// The members of configuration documents, declared as plain data.
//
// Each member is declared once, by whoever reads it: what kind of value it has, its range and its
// default. From the declarations come the check of documents, the defaults of the protocol routers,
// the schemas and the tables of the reference. A library of protocol routers declares the members
// of its protocols and hands them over through DeclaredProtocols. This header needs nothing else of
// this folder, and everything in it can be a constant. examples/first-router shows how it is used.
//
// Whatever is declared, a null is a mistake, and so is a member that is not declared, unless its
// name begins with "x-".
#ifndef DEVICE_DOCUMENTS_MEMBERS_H
#define DEVICE_DOCUMENTS_MEMBERS_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tarsel/export.h"
#include "tarsel/options.h"

namespace documents {

/// What a member's value is. Numbers are whole; a text's bytes are UTF-8.
enum class Kind {
  FLAG,            // true or false
  NUMBER,          // from `low` to `high`
  DIGITS,          // the same, written as a number or as a text of digits
  PREFIX_LENGTH,   // the same, the text of at most three digits
  TEXT,            // any text of `low` to `high` bytes
  DESCRIPTION,     // the same; it must not begin with ".*"
  WORD,            // one of `words`, in exactly these letters
  ANY_CASE_WORD,   // one of `words`, in upper or lower case
  INTERFACE_NAME,  // `low` to `high` printable ASCII characters, no blanks
  ROW_NAME,        // `prefix`_VLAN_NUMBER, see Row
  IP4,             // an IPv4 address
  IP6,             // an IPv6 address
  IP4_OR_IP6,      // an IPv6 address if the same object's number "afi" is 1, else an IPv4 address
  IP4_MASK,        // an IPv4 address with leading one bits only
  IP4_GROUP,       // an IPv4 multicast address
  IP6_GROUP,       // an IPv6 multicast address
  IP4_PREFIX,      // IPv4 address/length; host bits may be set
  IP6_PREFIX,      // IPv6 address/length; host bits may be set
  OBJECT,          // an object with the members of `object`
  ANY_OBJECT,      // an object with any members
  LIST,            // an array of objects like `object`, or an object of such under free names
  ARRAY,           // an array of values like `element`
  ROUTES,          // a LIST of static routes
  VLAN_NAMES,      // an object: a VLAN from 0 to `high` as name, an interface of it as value
  VLAN_NUMBERS,    // an object: a VLAN from 0 to `high` as name, a number like `element` as value
  VLANS_BY_NAME,   // an object: a name like `element` as name, a VLAN from `low` to `high` as value
  ELSEWHERE,       // a mistake here: it counts in another document, as `meaning` says
};

/// As `high` of a text: no limit.
constexpr std::uint32_t ANY_LENGTH = 0xFFFFFFFF;

/// The largest number in the name of a row: the library keeps 16 bits.
constexpr std::uint32_t MAX_ROW_NUMBER = 65535;

/// What names of rows are like: a word, the entry's VLAN and the row's own number with '_' between
/// them, for example RIP_10_3. Numbers consist of digits and may begin with zeros. The row's number
/// and those after it are from 0 to MAX_ROW_NUMBER. They are the row's key: a list has no two rows
/// with equal numbers, where an absent number is 0.
struct Row {
  /// The word, in upper or lower case. Empty: any letters, at least one.
  const char* prefix;
  /// What may follow the prefix, in upper or lower case; null for nothing.
  const char* other = nullptr;
  /// How many numbers may follow the row's own, each after a '_'.
  unsigned int moreNumbers = 0;
  /// Whether the row's number is the index of an interface of the VLAN.
  bool isInterface = false;
  /// The name of a NUMBER of the same object that is part of the key, too; null for none.
  const char* keyMember = nullptr;
};

struct Object;

/// One member of an object, or what the elements of an array are like.
struct Member {
  const char* name;  // of an array's elements empty
  Kind kind;
  bool isRequired = false;
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  /// The value of an absent member: of a number, of a FLAG (0 or 1), of a word its index. Without
  /// meaning if `standardText` is there, and for members that are required or of another kind.
  std::uint32_t standard = 0;
  /// Of an absent member where `standard` cannot say it, for the reference; may be null.
  const char* standardText = nullptr;
  /// What the value means, for the reference: a unit or a short remark; may be null.
  const char* meaning = nullptr;
  const char* const* words = nullptr;  // ends with a null
  const Object* object = nullptr;      // of an OBJECT, a LIST or ROUTES
  const Member* element = nullptr;  // of an ARRAY or VLAN_NUMBERS; of VLANS_BY_NAME, of its names
  const Row* row = nullptr;         // of a ROW_NAME
};

/// Whether the member has this name.
constexpr bool Is(const Member& member, std::string_view name) { return name == member.name; }

/// An object whose members have fixed names.
struct Object {
  /// What one of these is called in the reference, for example "peer".
  const char* title;
  const Member* members;
  std::size_t count;  // at most 64
  /// Whether the object may be without any of these members.
  bool mayBeEmpty = true;
};

/// The protocols that a library of routers knows: each is an OBJECT member of a VLAN's entry.
struct Protocols {
  const Member* members;
  std::size_t count;  // at most 48
};

// ---- writing declarations

constexpr Member Flag(const char* name, bool standard, const char* meaning = nullptr) {
  Member member{name, Kind::FLAG};
  member.standard = standard ? 1 : 0;
  member.meaning = meaning;
  return member;
}

constexpr Member Number(const char* name, std::uint32_t low, std::uint32_t high,
                        std::uint32_t standard, const char* meaning = nullptr) {
  Member member{name, Kind::NUMBER};
  member.low = low;
  member.high = high;
  member.standard = standard;
  member.meaning = meaning;
  return member;
}

constexpr Member RequiredNumber(const char* name, std::uint32_t low, std::uint32_t high,
                                const char* meaning = nullptr) {
  Member member = Number(name, low, high, 0, meaning);
  member.isRequired = true;
  return member;
}

/// An ANY_CASE_WORD; `standard` is the index of the word that an absent member means.
constexpr Member Word(const char* name, const char* const* words, std::uint32_t standard) {
  Member member{name, Kind::ANY_CASE_WORD};
  member.words = words;
  member.standard = standard;
  return member;
}

/// A member of one of the kinds that need no more than their name.
constexpr Member Plain(const char* name, Kind kind, const char* standardText = nullptr,
                       const char* meaning = nullptr) {
  Member member{name, kind};
  member.standardText = standardText;
  member.meaning = meaning;
  return member;
}

/// The member with another text for its absence.
constexpr Member WithStandardText(Member member, const char* standardText) {
  member.standardText = standardText;
  return member;
}

constexpr Member Required(Member member) {
  member.isRequired = true;
  return member;
}

/// A TEXT, a DESCRIPTION or an INTERFACE_NAME.
constexpr Member Text(const char* name, Kind kind, std::uint32_t low, std::uint32_t high,
                      const char* standardText = nullptr) {
  Member member = Plain(name, kind, standardText);
  member.low = low;
  member.high = high;
  return member;
}

/// The member "Name" of rows: a ROW_NAME.
constexpr Member RowName(const Row& row) {
  Member member{"Name", Kind::ROW_NAME};
  member.isRequired = true;
  member.row = &row;
  return member;
}

/// An OBJECT; a protocol, for example.
constexpr Member ObjectOf(const char* name, const Object& object) {
  Member member{name, Kind::OBJECT};
  member.object = &object;
  return member;
}

/// A LIST of such objects, for example of a protocol's rows.
constexpr Member ListOf(const char* name, const Object& object, const char* standardText = "none") {
  Member member{name, Kind::LIST};
  member.object = &object;
  member.standardText = standardText;
  return member;
}

/// The object of these members, which are borrowed for ever: an array of constants.
template <std::size_t COUNT>
constexpr Object ObjectWith(const char* title, const Member (&members)[COUNT],
                            bool mayBeEmpty = true) {
  static_assert(COUNT <= 64);
  return Object{title, members, COUNT, mayBeEmpty};
}

template <std::size_t COUNT>
constexpr Protocols ProtocolsOf(const Member (&members)[COUNT]) {
  static_assert(COUNT <= 48);
  return Protocols{members, COUNT};
}

// ---- what readers share

/// Switches a protocol or a row off while its configuration stays in the document.
inline constexpr Member ENABLED = Flag("enabled", true);

/// Whether a VLAN entry's member for a protocol enables the protocol. The last two are mistakes and
/// do not enable it.
enum class Enabling { YES, NO, NOT_AN_OBJECT, NOT_A_FLAG };

/// A protocol that is named is enabled unless its ENABLED is false.
inline Enabling ReadEnabling(const Tarsel::OptionsNode& member) {
  if (!member.IsObject()) {
    return Enabling::NOT_AN_OBJECT;
  }
  bool enabled = false;
  if (member.AsVal(enabled, ENABLED.name)) {
    return enabled ? Enabling::YES : Enabling::NO;
  }
  return member.GetChildNode(ENABLED.name).IsNull() ? Enabling::YES : Enabling::NOT_A_FLAG;
}

/// Defined by the library of protocol routers; the host asks once, at start. The declarations are
/// constants of that library. One of the seven protocols that is not among them is accepted with
/// any members, since nobody looks into it before its router does.
TARSEL_API Protocols DeclaredProtocols();

}  // namespace documents

#endif
