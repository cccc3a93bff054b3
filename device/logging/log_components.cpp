#include "log_components.h"

#include "device/base/trace_control.h"

namespace logging {

namespace {

// The stack is two objects; this is the source of the second.
constexpr Tarsel::TraceSource ROUTERS = 3;

constexpr Component COMPONENTS[] = {Component::HOST, Component::LIBRARY, Component::STACK};

Tarsel::TraceSource SourceOf(Component component) {
  return static_cast<Tarsel::TraceSource>(component);
}

}  // namespace

const char* NameOf(Component component) {
  switch (component) {
    case Component::LIBRARY:
      return "library";
    case Component::STACK:
      return "stack";
    default:
      return "host";
  }
}

void NameLogComponents() {
  Tarsel::NameTraceSource("libvantacore.so", SourceOf(Component::LIBRARY));
  Tarsel::NameTraceSource("librouting_stack.so", SourceOf(Component::STACK));
  Tarsel::NameTraceSource("libprotocol_routers.so", ROUTERS);
}

Component GetLogComponent() {
  const Tarsel::TraceSource source = Tarsel::GetTraceSource();
  return source == ROUTERS ? Component::STACK : static_cast<Component>(source);
}

bool SetLogLevel(unsigned int level, std::string_view component) {
  bool isKnown = component.empty();
  for (const Component one : COMPONENTS) {
    if (component.empty() || component == NameOf(one)) {
      isKnown = true;
      Tarsel::SetTraceLevel(SourceOf(one), static_cast<int>(level));
      if (one == Component::STACK) {
        Tarsel::SetTraceLevel(ROUTERS, static_cast<int>(level));
      }
    }
  }
  return isKnown;
}

}  // namespace logging
