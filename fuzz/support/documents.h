// Documents for the targets: out of JSON text, and out of decisions.
#ifndef FUZZ_SUPPORT_DOCUMENTS_H
#define FUZZ_SUPPORT_DOCUMENTS_H

#include <json/value.h>

#include <string>

#include "bytes.h"

namespace fuzz {

/// False if `text` is not strict JSON.
bool ReadJson(const std::string& text, Json::Value& document);

/// A document of at most a few VLANs with members of all kinds, mostly where they belong, with
/// values that are mostly of the right type.
Json::Value MakeDocument(Bytes& bytes);
/// Any value, at most `depth` deep.
Json::Value MakeValue(Bytes& bytes, unsigned int depth);

}  // namespace fuzz

#endif
