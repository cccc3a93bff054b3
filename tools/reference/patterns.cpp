#include "patterns.h"

#include <cctype>

namespace reference {

namespace {

constexpr const char* IP6_CHARACTERS = "[0-9A-Fa-f:.]*:[0-9A-Fa-f:.]*";

std::string Digit(char low, char high) {
  return low == high ? std::string(1, low) : std::string("[") + low + '-' + high + ']';
}

std::string Repeated(std::size_t count) {
  return count == 0 ? "" : count == 1 ? "[0-9]" : "[0-9]{" + std::to_string(count) + "}";
}

void Append(std::string& alternatives, const std::string& alternative) {
  alternatives += (alternatives.empty() ? "" : "|") + alternative;
}

bool IsAll(const std::string& text, char c) {
  return text.find_first_not_of(c) == std::string::npos;
}

/// The alternatives for the numbers of `low.size()` digits from `low` to `high`, each after
/// `before`: those with the first digit of `low`, those between, and those with that of `high`.
void AppendSameLength(std::string& alternatives, const std::string& before, const std::string& low,
                      const std::string& high) {
  const std::size_t rest = low.size() - 1;
  if (rest == 0 || (IsAll(low.substr(1), '0') && IsAll(high.substr(1), '9'))) {
    Append(alternatives, before + Digit(low[0], high[0]) + Repeated(rest));
    return;
  }
  if (low[0] == high[0]) {
    AppendSameLength(alternatives, before + low[0], low.substr(1), high.substr(1));
    return;
  }
  char first = low[0];
  char last = high[0];
  if (!IsAll(low.substr(1), '0')) {
    AppendSameLength(alternatives, before + first, low.substr(1), std::string(rest, '9'));
    ++first;
  }
  const bool isCut = !IsAll(high.substr(1), '9');
  last = static_cast<char>(last - (isCut ? 1 : 0));
  if (first <= last) {
    Append(alternatives, before + Digit(first, last) + Repeated(rest));
  }
  if (isCut) {
    AppendSameLength(alternatives, before + high[0], std::string(rest, '0'), high.substr(1));
  }
}

std::string AnyCase(const char* word) {
  std::string expression;
  for (; *word != '\0'; ++word) {
    const auto c = static_cast<unsigned char>(*word);
    expression += std::isalpha(c) != 0 ? std::string("[") + static_cast<char>(std::toupper(c)) +
                                             static_cast<char>(std::tolower(c)) + ']'
                                       : std::string(1, *word);
  }
  return expression;
}

std::string Byte() { return '(' + DecimalRange(0, 255) + ')'; }

std::string WithLeadingZeros(std::uint32_t low, std::uint32_t high) {
  return "0*(" + DecimalRange(low, high) + ')';
}

// Of at most three digits.
std::string Length(std::uint32_t low, std::uint32_t high) {
  return "(?![0-9]{4})" + WithLeadingZeros(low, high);
}

std::string Ip4() { return Byte() + "(\\." + Byte() + "){3}"; }

}  // namespace

std::string DecimalRange(std::uint32_t low, std::uint32_t high) {
  const std::string last = std::to_string(high);
  std::string alternatives;
  std::string from = std::to_string(low);
  while (from.size() < last.size()) {
    AppendSameLength(alternatives, "", from, std::string(from.size(), '9'));
    from = '1' + std::string(from.size(), '0');
  }
  AppendSameLength(alternatives, "", from, last);
  return alternatives;
}

std::string Whole(const std::string& expression) { return '^' + expression + "$(?!\n)"; }

std::string Digits(std::uint32_t low, std::uint32_t high) {
  return Whole(WithLeadingZeros(low, high));
}

std::string PrefixLength(std::uint32_t low, std::uint32_t high) { return Whole(Length(low, high)); }

std::string AnyCase(const char* const* words) {
  std::string alternatives;
  for (; *words != nullptr; ++words) {
    Append(alternatives, AnyCase(*words));
  }
  return Whole('(' + alternatives + ')');
}

std::string RowName(const documents::Row& row, std::uint32_t maxVlan) {
  const std::string number = '_' + WithLeadingZeros(0, documents::MAX_ROW_NUMBER);
  std::string expression = *row.prefix == '\0' ? "[A-Za-z]+" : AnyCase(row.prefix);
  if (row.other != nullptr) {
    expression += '(' + AnyCase(row.other) + ")?";
  }
  expression += '_' + WithLeadingZeros(0, maxVlan) + number;
  if (row.moreNumbers != 0) {
    expression += '(' + number + "){0," + std::to_string(row.moreNumbers) + '}';
  }
  return Whole(expression);
}

std::string Ip4Address() { return Whole(Ip4()); }

std::string Ip4Mask() {
  const std::string byte = "(0|128|192|224|240|248|252|254|255)";
  std::string alternatives;
  std::string ones;
  for (const char* zeros : {"\\.0\\.0\\.0", "\\.0\\.0", "\\.0", ""}) {
    Append(alternatives, ones + byte + zeros);
    ones += "255\\.";
  }
  return Whole('(' + alternatives + ')');
}

std::string Ip4Group() { return Whole('(' + DecimalRange(224, 239) + ")(\\." + Byte() + "){3}"); }

std::string Ip4Prefix() { return Whole(Ip4() + '/' + Length(0, 32)); }
std::string Ip6Address() { return Whole(IP6_CHARACTERS); }
std::string Ip6Group() { return Whole("[fF][fF][0-9A-Fa-f]{2}:[0-9A-Fa-f:.]*"); }
std::string Ip6Prefix() { return Whole(std::string(IP6_CHARACTERS) + '/' + Length(0, 128)); }
std::string Graphic() { return Whole("[!-~]*"); }

}  // namespace reference
