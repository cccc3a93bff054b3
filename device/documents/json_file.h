// Reads JSON documents from files of any content.
#ifndef DEVICE_DOCUMENTS_JSON_FILE_H
#define DEVICE_DOCUMENTS_JSON_FILE_H

#include <json/value.h>

#include <cstddef>
#include <string>

#include "device/program/report.h"

namespace documents {

constexpr std::size_t MAX_DOCUMENT_BYTES = 32u << 20;
constexpr unsigned MAX_DOCUMENT_DEPTH = 100;

/// Parses strict JSON whose root is an object. If that fails, it reports one line, which begins
/// with "NAME:LINE:COLUMN: ", leaves `document` untouched and returns false.
bool ParseJson(const std::string& text, const std::string& name, Json::Value& document,
               const program::Report& report);

/// The same from the file at `path`; files that cannot be read are reported as "NAME: ...".
bool ReadJsonFile(const std::string& path, const std::string& name, Json::Value& document,
                  const program::Report& report);

}  // namespace documents

#endif
