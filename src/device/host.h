#pragma once

#include "base/debug.h"
#include "base/progress.h"
#include "platform/platform.h"

namespace brisk {

// What a device is made with besides its own hardware's place: the services of the system that it
// may use, the log, and who is told of progress. All of them outlive the device.
struct Host {
  Platform& system;
  CDebug& log;
  ProgressReporter& progress;
};

}  // namespace brisk
