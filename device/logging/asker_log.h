// Passes the log to those who asked for a reload and do not see it.
#ifndef DEVICE_LOGGING_ASKER_LOG_H
#define DEVICE_LOGGING_ASKER_LOG_H

#include <functional>
#include <vector>

#include "device/program/report.h"

namespace logging {

/// Carries out `work`. Meanwhile the askers get each line that is logged without a level, with its
/// end; the log gets it too. An exception of an asker is caught, because the library may be the one
/// that logs.
void HearWhile(const std::vector<program::Report>& askers, const std::function<void()>& work);

}  // namespace logging

#endif
