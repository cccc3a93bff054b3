#include "syntax_mistake.h"

#include <algorithm>
#include <string>

#include "device/program/printable.h"

namespace documents {

namespace {

constexpr std::size_t LONGEST_WORD = 20;
constexpr std::string_view SPACE = " \t\r\n";

struct Explanation {
  rapidjson::ParseErrorCode error;
  const char* text;
  bool isAtToken;  // the place to look at is where the value begins, not where it turns out wrong
};

constexpr Explanation EXPLANATIONS[] = {
    {rapidjson::kParseErrorDocumentEmpty, "an empty document, expected an object", false},
    {rapidjson::kParseErrorDocumentRootNotSingular, "more after the document, expected its end",
     false},
    {rapidjson::kParseErrorValueInvalid,
     "not a value, expected a text, a number, true, false, an object or an array", true},
    {rapidjson::kParseErrorObjectMissName, "no name of a member, expected one in double quotes",
     false},
    {rapidjson::kParseErrorObjectMissColon, "no colon after a name, expected ':'", false},
    {rapidjson::kParseErrorObjectMissCommaOrCurlyBracket, "no end of a member, expected ',' or '}'",
     false},
    {rapidjson::kParseErrorArrayMissCommaOrSquareBracket,
     "no end of an element, expected ',' or ']'", false},
    {rapidjson::kParseErrorStringUnicodeEscapeInvalidHex,
     "not a character, expected four hexadecimal digits after \\u", false},
    {rapidjson::kParseErrorStringUnicodeSurrogateInvalid,
     "half a character, expected two \\u that belong together", false},
    {rapidjson::kParseErrorStringEscapeInvalid,
     "an unknown escape, expected one of \\\" \\\\ \\/ \\b \\f \\n \\r \\t \\u", false},
    {rapidjson::kParseErrorStringMissQuotationMark, "a text without an end, expected '\"'", false},
    {rapidjson::kParseErrorStringInvalidEncoding, "not UTF-8, expected a character", false},
    {rapidjson::kParseErrorNumberMissFraction, "not a number, expected digits after '.'", true},
    {rapidjson::kParseErrorNumberMissExponent, "not a number, expected digits after 'e'", true},
    {rapidjson::kParseErrorNumberTooBig,
     "too large a number, expected one that a floating-point number can hold", true},
};

char At(std::string_view text, std::size_t offset) {
  return offset < text.size() ? text[offset] : '\0';
}

// A comma with nothing after it but the end of its object or array.
bool IsAfterComma(std::string_view text, std::size_t offset) {
  const char end = At(text, offset);
  const std::size_t before = text.substr(0, offset).find_last_not_of(SPACE);
  return (end == '}' || end == ']') && before != std::string_view::npos && text[before] == ',';
}

Explanation Explain(std::string_view text, rapidjson::ParseErrorCode error, std::size_t offset) {
  const auto isControl = static_cast<unsigned char>(At(text, offset)) < ' ';
  const bool isInText = error == rapidjson::kParseErrorStringInvalidEncoding ||
                        error == rapidjson::kParseErrorStringEscapeInvalid;
  if (isInText && isControl && offset < text.size()) {
    return {error, "a control character in a text, expected an escape for it", false};
  }
  if (error == rapidjson::kParseErrorStringMissQuotationMark) {
    return offset < text.size()
               ? Explanation{error, "a NUL in a text, expected an escape for it", false}
               : Explanation{error, "a text without an end, expected '\"'", true};
  }
  const auto* const known =
      std::find_if(std::begin(EXPLANATIONS), std::end(EXPLANATIONS),
                   [error](const Explanation& explanation) { return explanation.error == error; });
  return known == std::end(EXPLANATIONS) ? Explanation{error, "a mistake, expected JSON", false}
                                         : *known;
}

// What stands there, as far as it is one word; a text has the quotes of all words, not its own.
std::string Found(std::string_view text, std::size_t offset) {
  if (offset >= text.size()) {
    return "the end";
  }
  const std::string_view rest = text.substr(offset);
  if (rest[0] == '\0') {
    return "a NUL";
  }
  const std::size_t end = std::min(
      {rest.find_first_of(std::string(",:[]{}\" \t\r\n") + '\0', 1), rest.size(), LONGEST_WORD});
  const std::size_t begin = rest[0] == '"' ? 1 : 0;
  return program::Quote(std::string(rest.substr(begin, end - begin)));
}

}  // namespace

JsonMistake SyntaxMistake(std::string_view text, rapidjson::ParseErrorCode error,
                          std::size_t offset, std::size_t token) {
  Explanation explanation = Explain(text, error, offset);
  const std::size_t place = explanation.isAtToken ? token : offset;
  if (At(text, place) == '/') {
    explanation.text = "a comment, expected none";
  } else if (IsAfterComma(text, place)) {
    explanation.text = "a trailing comma, expected none";
  }
  return {place, std::string("not JSON: ") + explanation.text + ", found " + Found(text, place)};
}

}  // namespace documents
