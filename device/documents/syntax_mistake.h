// What is wrong with a text that is not JSON, for an operator.
#ifndef DEVICE_DOCUMENTS_SYNTAX_MISTAKE_H
#define DEVICE_DOCUMENTS_SYNTAX_MISTAKE_H

#include <rapidjson/error/error.h>

#include <cstddef>
#include <string_view>

#include "json_events.h"

namespace documents {

/// The parser has stopped at `offset` with this error; the value or the name that it was reading
/// begins at `token`.
JsonMistake SyntaxMistake(std::string_view text, rapidjson::ParseErrorCode error,
                          std::size_t offset, std::size_t token);

}  // namespace documents

#endif
