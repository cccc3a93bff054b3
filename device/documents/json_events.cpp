#include "json_events.h"

#include <rapidjson/reader.h>

#include "syntax_mistake.h"

namespace documents {

namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

// The parser's view of the text. White space is skipped here, so this knows where each token begins.
class TextStream {
 public:
  using Ch = char;

  explicit TextStream(std::string_view text)
      : m_begin(text.data()), m_next(text.data()), m_end(text.data() + text.size()) {}

  // A NUL stands for the end; of one in the text it is told apart by Tell().
  Ch Peek() const { return m_next == m_end ? '\0' : *m_next; }
  Ch Take() { return m_next == m_end ? '\0' : *m_next++; }
  std::size_t Tell() const { return static_cast<std::size_t>(m_next - m_begin); }
  bool IsAtEnd() const { return m_next == m_end; }

  void SkipSpace() {
    while (m_next != m_end &&
           (*m_next == ' ' || *m_next == '\n' || *m_next == '\r' || *m_next == '\t')) {
      ++m_next;
    }
    m_token = Tell();
  }
  std::size_t GetToken() const { return m_token; }

  // The parser writes to other streams only.
  Ch* PutBegin() { return nullptr; }
  void Put(Ch) {}
  void Flush() {}
  std::size_t PutEnd(Ch*) { return 0; }

 private:
  const char* m_begin;
  const char* m_next;
  const char* m_end;
  std::size_t m_token = 0;
};

// The parser finds this one by the stream's type, before its own.
void SkipWhitespace(TextStream& stream) { stream.SkipSpace(); }

// Passes the parser's calls on, and ends the parse at a limit.
class Handler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Handler> {
 public:
  Handler(const TextStream& stream, JsonEvents& events, bool hasEscapes)
      : m_stream(stream), m_events(events), m_hasEscapes(hasEscapes) {}

  const std::string& GetProblem() const { return m_problem; }

  bool Null() {
    m_events.Null(m_stream.GetToken());
    return Count();
  }
  bool Bool(bool value) {
    m_events.Flag(value, m_stream.GetToken());
    return Count();
  }
  bool RawNumber(const char* digits, rapidjson::SizeType length, bool) {
    m_events.Number({digits, length}, m_stream.GetToken());
    return Count();
  }
  bool String(const char* text, rapidjson::SizeType length, bool) {
    m_events.Text({text, length}, m_stream.GetToken());
    return Count() && IsWhole({text, length});
  }
  bool Key(const char* name, rapidjson::SizeType length, bool) {
    m_events.Name({name, length}, m_stream.GetToken());
    return IsWhole({name, length});
  }
  bool StartObject() {
    m_events.BeginObject(m_stream.GetToken());
    return Enter();
  }
  bool EndObject(rapidjson::SizeType) {
    m_events.EndObject();
    --m_depth;
    return true;
  }
  bool StartArray() {
    m_events.BeginArray(m_stream.GetToken());
    return Enter();
  }
  bool EndArray(rapidjson::SizeType) {
    m_events.EndArray();
    --m_depth;
    return true;
  }

 private:
  // The parser finds an escaped first half of a surrogate pair without its second one, but not the
  // second one alone. What that is decoded to begins with ED A0 to ED BF.
  bool IsWhole(std::string_view text) {
    for (std::size_t at = 0; m_hasEscapes; ++at) {
      at = text.find('\xED', at);
      if (at == std::string_view::npos) {
        break;
      }
      if (static_cast<unsigned char>(text[at + 1]) >= 0xA0) {
        m_problem =
            "not JSON: half a character in a text, expected two \\u that belong together, "
            "found one";
        return false;
      }
    }
    return true;
  }
  bool Count() {
    if (++m_values > MAX_DOCUMENT_VALUES) {
      m_problem = "too many values, expected at most " + std::to_string(MAX_DOCUMENT_VALUES) +
                  ", found more";
    }
    return m_problem.empty();
  }
  bool Enter() {
    if (++m_depth > MAX_DOCUMENT_DEPTH) {
      m_problem = "nested too deep, expected at most " + std::to_string(MAX_DOCUMENT_DEPTH) +
                  " levels, found more";
    }
    return Count() && m_problem.empty();
  }

  const TextStream& m_stream;
  JsonEvents& m_events;
  const bool m_hasEscapes;
  std::size_t m_values = 0;
  std::size_t m_depth = 0;
  std::string m_problem;
};

}  // namespace

std::optional<JsonMistake> ReadJson(std::string_view text, JsonEvents& events) {
  const std::size_t skipped =
      text.substr(0, BYTE_ORDER_MARK.size()) == BYTE_ORDER_MARK ? BYTE_ORDER_MARK.size() : 0;
  TextStream stream(text);
  for (std::size_t i = 0; i < skipped; ++i) {
    stream.Take();
  }
  Handler handler(stream, events, text.find('\\') != std::string_view::npos);
  rapidjson::Reader reader;
  constexpr unsigned int FLAGS = rapidjson::kParseIterativeFlag |
                                 rapidjson::kParseValidateEncodingFlag |
                                 rapidjson::kParseNumbersAsStringsFlag;
  const rapidjson::ParseResult result = reader.Parse<FLAGS>(stream, handler);
  if (!handler.GetProblem().empty()) {
    return JsonMistake{stream.GetToken(), handler.GetProblem()};
  }
  if (result.IsError()) {
    return SyntaxMistake(text, result.Code(), result.Offset(), stream.GetToken());
  }
  if (!stream.IsAtEnd()) {
    return SyntaxMistake(text, rapidjson::kParseErrorDocumentRootNotSingular, stream.Tell(),
                         stream.GetToken());
  }
  return std::nullopt;
}

}  // namespace documents
