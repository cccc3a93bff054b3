// Reads the members of a JSON object that nobody vouches for.
#ifndef DEVICE_REVISIONS_MEMBER_READER_H
#define DEVICE_REVISIONS_MEMBER_READER_H

#include <json/value.h>

#include <cstdint>
#include <string>

#include "device/documents/digest.h"

namespace revisions {

/// A member that is missing, or that is not what is expected, is a problem; then the function
/// returns a value of no meaning. The first problem is kept.
class MemberReader {
 public:
  /// Borrows both. `value` should be an object; any other is a problem.
  MemberReader(const Json::Value& value, std::string& problem);

  bool Has(const char* name) const;
  /// Null if there is none.
  const Json::Value& Get(const char* name) const;
  std::uint64_t Number(const char* name, std::uint64_t low, std::uint64_t high);
  /// Seconds since the epoch, not before it.
  std::int64_t Time(const char* name);
  std::string Text(const char* name);
  documents::Digest Digest(const char* name);

  /// Notes that `what` was expected, for example "a number", as the member.
  void Expect(const std::string& what, const char* name);

 private:
  const Json::Value& m_value;
  std::string& m_problem;
};

/// The digest as MemberReader reads it: 32 hexadecimal digits.
std::string ToHex(const documents::Digest& digest);

}  // namespace revisions

#endif
