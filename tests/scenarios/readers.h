// Documents that the library does not read by itself: a host reads them with the library's readers.
#ifndef TESTS_SCENARIOS_READERS_H
#define TESTS_SCENARIOS_READERS_H

#include <ostream>
#include <string>

namespace test_support {
class Device;
}

namespace scenarios {

/// Whether the name is that of such a kind (README.md has the kinds).
bool IsReadByOtherMeans(const std::string& name);
/// Reads such a document and writes down what was read from it, a line each. False for every other name;
/// the document is not read then.
bool ReadDocument(test_support::Device& device, const std::string& name, const std::string& text,
                  std::ostream& out);

}  // namespace scenarios

#endif
