// The report of input that cannot be used.
#ifndef DEVICE_PROGRAM_REPORT_H
#define DEVICE_PROGRAM_REPORT_H

#include <functional>
#include <string>

namespace program {

/// Takes one line, without its end, about input that cannot be used: where it is, what was expected
/// there and what was found. A reader reports and goes on with the rest.
using Report = std::function<void(const std::string& line)>;

}  // namespace program

#endif
