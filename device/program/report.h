// How readers of input complain.
#ifndef DEVICE_PROGRAM_REPORT_H
#define DEVICE_PROGRAM_REPORT_H

#include <functional>
#include <string>

namespace program {

/// Takes one line, without its end, about input that cannot be used: where it stands, what was
/// expected there and what was found. Readers report and go on with the rest.
using Report = std::function<void(const std::string& line)>;

}  // namespace program

#endif
