// MibOid: construction, assignment, order and text, against std::vector.
//
// The order must be that of the vectors, and the text must name the same identifier again.
#include <algorithm>
#include <cstdlib>

#include "fuzz/support/bytes.h"
#include "fuzz/support/check.h"
#include "vantacore/mib_oid.h"

namespace {

using fuzz::Check;
using Tarsel::MibOid;
using Numbers = std::vector<unsigned int>;

Numbers MakeNumbers(fuzz::Bytes& bytes, const Numbers& other) {
  Numbers numbers;
  if (bytes.Flag()) numbers = other;  // the order shows in what begins alike
  const unsigned int added = bytes.Choice(160);
  for (unsigned int i = 0; i < added; ++i) {
    numbers.push_back(bytes.IsEmpty() ? i : bytes.Number());
  }
  return numbers;
}

Numbers Usable(const Numbers& numbers) {
  const std::size_t count = std::min<std::size_t>(numbers.size(), MibOid::MAX_LENGTH);
  return {numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(count)};
}

Numbers FromText(const std::string& text) {
  Numbers numbers;
  if (text.empty()) return numbers;
  for (const std::string& piece : fuzz::Split(text, ':')) {
    numbers.push_back(static_cast<unsigned int>(std::strtoul(piece.c_str(), nullptr, 10)));
  }
  return numbers;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Bytes bytes(data, size);
  const Numbers first = MakeNumbers(bytes, {});
  const Numbers second = MakeNumbers(bytes, first);
  const MibOid a(first.data(), static_cast<unsigned int>(first.size()));
  MibOid b;
  b.SetOid(first.data(),
           static_cast<unsigned int>(first.size()));  // what stays behind must not count
  b.SetOid(second.data(), static_cast<unsigned int>(second.size()));

  const Numbers usableA = Usable(first);
  const Numbers usableB = Usable(second);
  const Tarsel::OidCompare less;
  Check(a.GetLength() == usableA.size() && b.GetLength() == usableB.size(), "a wrong length");
  if (!second.empty()) {  // a null array would be another call
    Check((a == b) == (usableA == usableB) && (a != b) == (usableA != usableB), "wrong equality");
    Check(less(a, b) == (usableA < usableB), "a wrong order");
    Check(less(b, a) == (usableB < usableA), "a wrong order the other way round");
  }
  Check(FromText(a.ToString().c_str()) == usableA, "a text of another identifier");

  // A length without an array is stored as it is; the readable part stays within the array.
  const unsigned int length = bytes.Number();
  b.SetOid(nullptr, length);
  Check(b.GetLength() == length, "a length that was not stored");
  Check(b.GetUsableLength() <= MibOid::MAX_LENGTH && b.GetUsableLength() <= length,
        "more is usable than there is");
  Check(!less(b, b) && b == b, "an identifier that is not itself");
  Check(FromText(b.ToString().c_str()).size() == b.GetUsableLength(), "a text of wrong length");
  return 0;
}
