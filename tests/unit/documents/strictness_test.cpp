// The reader's verdict on texts, beside that of jsoncpp's strict reader.
#include <gtest/gtest.h>
#include <json/reader.h>

#include <algorithm>

#include "device/documents/json_events.h"
#include "device/documents/json_tree.h"
#include "tests/models/random_run.h"
#include "tests/support/json_text.h"

namespace {

using test_models::Random;

// A text that is JSON: the names of an object may stand twice.
class Generator {
 public:
  explicit Generator(Random& random) : m_random(random) {}

  std::string Draw() { return Space() + Value(0) + Space(); }

 private:
  std::string Space() {
    static const char* const SPACES[] = {"", "", "", " ", "\n", "\t", "\r\n"};
    return SPACES[m_random.Below(7)];
  }
  std::string Text() {
    static const char* const PIECES[] = {"a",
                                         "b",
                                         "\\n",
                                         "\\\"",
                                         "\\\\",
                                         "\\/",
                                         "\\u00e4",
                                         "\\u0000",
                                         "\\ud83d\\ude00",
                                         "\xC3\xA4",
                                         "\xE2\x82\xAC",
                                         "\xF0\x9F\x98\x80",
                                         "/",
                                         "//",
                                         "\x7F"};
    std::string text = "\"";
    for (unsigned int i = m_random.Below(5); i > 0; --i) {
      text += PIECES[m_random.Below(15)];
    }
    return text + "\"";
  }
  std::string Number() {
    static const char* const NUMBERS[] = {"0",    "-0",     "1",          "-1",
                                          "10",   "0.5",    "-0.0",       "1e2",
                                          "1E+2", "2.5e-3", "4294967295", "18446744073709551616",
                                          "1e300"};
    return NUMBERS[m_random.Below(13)];
  }
  std::string Value(unsigned int depth) {
    switch (m_random.Below(depth < 4 ? 8 : 5)) {
      case 0:
        return Text();
      case 1:
        return Number();
      case 2:
        return "true";
      case 3:
        return "false";
      case 4:
        return "null";
      case 5:
        return Text();
      case 6:
        return Members('[', ']', depth);
      default:
        return Members('{', '}', depth);
    }
  }
  std::string Members(char begin, char end, unsigned int depth) {
    std::string text = begin + Space();
    for (unsigned int i = m_random.Below(4), first = i; i > 0; --i) {
      text += (i == first ? "" : ",") + Space();
      text += begin == '{' ? Text() + Space() + ":" + Space() : "";
      text += Value(depth + 1) + Space();
    }
    return text + end;
  }

  Random& m_random;
};

std::string Mutated(std::string text, Random& random) {
  static constexpr char ASCII[] = "{}[],:\"\\/'u-+.eE0123456789 \t\n\r\0\x01\x1F tfn*#ad";
  static const std::string BYTES =
      std::string(ASCII, sizeof ASCII - 1) + "\x80\xA0\xC0\xC3\xE2\xED\xEF\xF0\xF4\xFF\xBB\xBF\xB0";
  for (unsigned int i = 1 + random.Below(3); i > 0; --i) {
    const char byte = BYTES[random.Below(static_cast<unsigned int>(BYTES.size()))];
    const std::size_t at = random.Below(static_cast<unsigned int>(text.size()) + 1);
    switch (random.Below(5)) {
      case 0:
        text.insert(at, 1, byte);
        break;
      case 1:
        text.erase(at, 1);
        break;
      case 2:
        text.resize(at);
        break;
      case 3:
        text.insert(at, random.Percent(50) ? "\\ud83d" : "\\ude00");
        break;
      default:
        text.replace(at, 1, 1, byte);
    }
  }
  return text;
}

bool IsUtf8(const std::string& text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = [&](std::size_t at) {
      return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
    };
    const unsigned int first = byte(i);
    const std::size_t size = first < 0x80   ? 1
                             : first < 0xC2 ? 0
                             : first < 0xE0 ? 2
                             : first < 0xF0 ? 3
                             : first < 0xF5 ? 4
                                            : 0;
    if (size == 0) {
      return false;
    }
    for (std::size_t j = 1; j < size; ++j) {
      if ((byte(i + j) & 0xC0) != 0x80) {
        return false;
      }
    }
    const unsigned int second = byte(i + 1);
    if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0) ||
        (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90)) {
      return false;
    }
    i += size;
  }
  return true;
}

bool HasControl(const std::string& text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < 0x20) {
      return true;
    }
  }
  return false;
}

bool HasSurrogate(const std::string& text) {
  for (std::size_t at = text.find("\\u"); at != std::string::npos; at = text.find("\\u", at + 1)) {
    if (at + 3 < text.size() && (text[at + 2] | 0x20) == 'd' && text[at + 3] >= '8') {
      return true;
    }
  }
  return false;
}

// Digits after which a number must not end, or with which it must not begin.
bool HasOddNumber(const std::string& text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto isDigit = [&](std::size_t at) {
      return at < text.size() && text[at] >= '0' && text[at] <= '9';
    };
    const bool isFirst = i == 0 || (!isDigit(i - 1) && text[i - 1] != '.' && text[i - 1] != '+');
    if ((text[i] == '0' && isFirst && isDigit(i + 1)) || (text[i] == '-' && !isDigit(i + 1)) ||
        ((text[i] == '.' || (text[i] | 0x20) == 'e' || text[i] == '+') && !isDigit(i + 1)) ||
        (text[i] == '.' && (i == 0 || !isDigit(i - 1))) ||
        (text[i] == '+' && (i == 0 || (text[i - 1] | 0x20) != 'e'))) {
      return true;
    }
  }
  return false;
}

// An exponent of three digits: jsoncpp refuses what no double can hold, JSON knows no such limit.
bool HasHugeNumber(const std::string& text) {
  for (std::size_t at = text.find_first_of("eE"); at != std::string::npos;
       at = text.find_first_of("eE", at + 1)) {
    const std::size_t digits = text[at + 1] == '+' ? at + 2 : at + 1;
    if (std::min(text.find_first_not_of("0123456789", digits), text.size()) >= digits + 3) {
      return true;
    }
  }
  return false;
}

// What jsoncpp takes and JSON does not; null if the text has none of it.
const char* LeniencyOf(const std::string& text) {
  if (!IsUtf8(text)) {
    return "bytes that are not UTF-8";
  }
  if (HasControl(text)) {
    return "control characters in texts, a NUL after the document";
  }
  if (HasSurrogate(text)) {
    return "half a surrogate pair";
  }
  return HasOddNumber(text) ? "a plus, leading zeros, a minus, a dot or an exponent without digits"
                            : nullptr;
}

// jsoncpp's verdict, except for names that stand twice, which are findings of whoever hears of them,
// and for the root, which may be anything here.
bool IsForJsoncpp(const std::string& text) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["rejectDupKeys"] = false;
  builder["strictRoot"] = false;
  Json::Value value;
  std::string problem;
  return test_support::ReadJson(builder, text, value, problem);
}

bool IsForUs(const std::string& text) {
  documents::JsonTree tree;
  return !documents::ReadJson(text, tree).has_value();
}

TEST(Strictness, TakesWhatIsJson) {
  Random random;
  Generator generator(random);
  for (unsigned int i = 0; i < test_models::Scaled(5000); ++i) {
    const std::string text = generator.Draw();
    ASSERT_TRUE(IsForUs(text)) << text;
    ASSERT_TRUE(IsForJsoncpp(text)) << text;
  }
}

TEST(Strictness, IsThatOfJsoncppOrGreater) {
  Random random;
  Generator generator(random);
  test_models::Occurrences count;
  for (unsigned int i = 0; i < test_models::Scaled(40000); ++i) {
    const std::string text = Mutated(generator.Draw(), random);
    const bool isForUs = IsForUs(text);
    const bool isForJsoncpp = IsForJsoncpp(text);
    if (isForUs == isForJsoncpp) {
      count(isForUs ? "taken by both" : "refused by both");
      continue;
    }
    if (isForUs) {
      ASSERT_TRUE(HasHugeNumber(text)) << "refused by jsoncpp: " << text;
      continue;
    }
    const char* const leniency = LeniencyOf(text);
    ASSERT_NE(leniency, nullptr) << "taken by jsoncpp: " << text;
    count(leniency);
  }
  count.ExpectAtLeast(1000, "taken by both");
  count.ExpectAtLeast(10000, "refused by both");
  count.ExpectAtLeast(200, "bytes that are not UTF-8");
  count.ExpectAtLeast(200, "control characters in texts, a NUL after the document");
  count.ExpectAtLeast(30, "half a surrogate pair");
  count.ExpectAtLeast(20, "a plus, leading zeros, a minus, a dot or an exponent without digits");
}

// What nobody has declared is handed on as jsoncpp's tree of it.
TEST(JsonTree, IsJsoncppsTree) {
  Random random;
  Generator generator(random);
  for (unsigned int i = 0; i < test_models::Scaled(5000); ++i) {
    const std::string text = generator.Draw();
    documents::JsonTree tree;
    ASSERT_FALSE(documents::ReadJson(text, tree));
    const Json::Value root = tree.TakeRoot();
    ASSERT_EQ(root, test_support::ParsedJson(text)) << text << root.toStyledString();
  }
}

}  // namespace
