// What is logged, for those who ask for a reload and do not see the log.
#ifndef DEVICE_DAEMON_ASKER_LOG_H
#define DEVICE_DAEMON_ASKER_LOG_H

#include <functional>
#include <vector>

#include "device/program/report.h"

namespace vantacored {

/// Carries out `work`. Meanwhile the askers hear each line that is logged without a level, with its end;
/// the log has it too. What an asker throws ends with that line: the library logs from its depth.
void HearWhile(const std::vector<program::Report>& askers, const std::function<void()>& work);

}  // namespace vantacored

#endif
