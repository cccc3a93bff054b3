// The events of a scenario.
#ifndef TESTS_SCENARIOS_EVENTS_H
#define TESTS_SCENARIOS_EVENTS_H

#include <string>

namespace test_support {
class Device;
}

namespace scenarios {

/// Applies one line. Throws std::runtime_error with the line when it is none of the known events.
void ApplyEvent(test_support::Device& device, const std::string& line);

}  // namespace scenarios

#endif
