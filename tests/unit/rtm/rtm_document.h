// VLAN entries of a configuration document, for the tests of the RTM settings.
#ifndef TESTS_UNIT_RTM_RTM_DOCUMENT_H
#define TESTS_UNIT_RTM_RTM_DOCUMENT_H

#include <json/reader.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "tarsel/options.h"

/// The document of a JSON text; the text must be right.
inline Tarsel::Options MakeDocument(const std::string& json) {
  Json::Value value;
  std::string errors;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  if (!reader->parse(json.data(), json.data() + json.size(), &value, &errors)) {
    throw std::invalid_argument(errors);
  }
  return Tarsel::Options(value);
}

#endif
