// Texts of callers as printf takes them.
#ifndef VANTACORE_SRC_COMMANDS_PRINTED_TEXT_H
#define VANTACORE_SRC_COMMANDS_PRINTED_TEXT_H

namespace Tarsel {

/// `text`, or the empty text for null, which `%s` must not be given.
inline const char* PrintedText(const char* text) { return text != nullptr ? text : ""; }

}  // namespace Tarsel

#endif
