#include "call.h"

#include "device/views/folder_json.h"
#include "tarsel/trace.h"

namespace console {

void Call::Refuse(const std::string& why) {
  if (GetFormat() == views::Format::JSON) {
    reply.view = views::ShowRefusal(GetWords()[0], why);
    goesOn = true;
  } else {
    command->Write(why + "\n");
    command->Refuse();
  }
}

void Call::LogIt() const {
  Tarsel::TRACE("%s: %s\n", command->GetOperator().name.c_str(), Joined(GetWords()).c_str());
}

}  // namespace console
