// The identifier of one row of the routing stack.
#ifndef VANTACORE_MIB_OID_H
#define VANTACORE_MIB_OID_H

#include "tarsel/string.h"
#include "vantacore/export.h"

namespace Tarsel {

/// An object identifier of up to 130 sub-identifiers, held by value (524 bytes, no heap): the key
/// of the serializer's queues and of the scheduler's items.
class VANTACORE_API MibOid {
 public:
  /// The most sub-identifiers that are held.
  static constexpr unsigned int MAX_LENGTH = 130;

  /// All sub-identifiers zero, length 0.
  MibOid();
  /// Copies the first 130 of `len` sub-identifiers and clears the rest. `oid` may be null only when
  /// `len` is 0.
  MibOid(const unsigned int* oid, unsigned int len);

  /// Like the constructor, but entries beyond the new length keep their values, and a null `oid`
  /// stores `len` as it is, unclamped, and leaves the array alone.
  void SetOid(const unsigned int* oid, unsigned int len);

  /// Same length and same sub-identifiers within it.
  bool operator==(const MibOid& other) const;
  /// Another length or another sub-identifier.
  bool operator!=(const MibOid& other) const { return !(*this == other); }

  /// The sub-identifiers in decimal, joined by ":"; the empty text for the empty identifier.
  string ToString() const;

  /// MAX_LENGTH sub-identifiers; valid while the object lives.
  const unsigned int* GetSubIds() const { return m_subIds; }
  /// The stored length; above 130 only after SetOid with a null array.
  unsigned int GetLength() const { return m_length; }
  /// The number of sub-identifiers that can be read: the length, at most 130.
  unsigned int GetUsableLength() const { return m_length < MAX_LENGTH ? m_length : MAX_LENGTH; }

 private:
  unsigned int m_subIds[MAX_LENGTH];
  unsigned int m_length;
};

/// Orders identifiers by their sub-identifiers as unsigned numbers, first difference first; a
/// prefix orders before what it begins.
struct VANTACORE_API OidCompare {
  /// Whether `a` comes before `b`.
  bool operator()(const MibOid& a, const MibOid& b) const;
};

}  // namespace Tarsel

#endif
