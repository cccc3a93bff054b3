#include "version_view.h"

#include "device/program/options.h"
#include "json.h"
#include "plain_view.h"

namespace views {

AnyView ShowVersion(const Host& host, Format format) {
  std::string text;
  if (format == Format::JSON) {
    Json json;
    json.BeginObject().Key("view").Text("version");
    json.Key("version").Text(program::GetVersion());
    json.Key("abi").Number(program::GetAbiVersion());
    json.Key("console_protocol").Number(static_cast<int>(host.consoleVersion)).EndObject();
    json.EndDocument();
    json.Take(text);
  } else {
    text = std::string("vantacore ") + program::GetVersion() + "\nlibrary interface  " +
           std::to_string(program::GetAbiVersion()) + "\nconsole protocol   " +
           std::to_string(host.consoleVersion) + "\n";
  }
  return std::make_unique<PlainView>(std::move(text));
}

}  // namespace views
