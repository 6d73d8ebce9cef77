#include <string>

#include "platform/platform.h"
#include "port_driver/driver.h"

namespace brisk {
namespace {

constexpr uint32_t kDone = 0;
constexpr uint32_t kFailed = 1;
constexpr uint32_t kCannotOpen = 2;

}  // namespace

uint32_t Driver::Drv_Remove(const char* serviceName) {
  auto manager = platform().services.Connect();
  if (!manager) return kFailed;
  const auto service = manager->Open(serviceName);
  manager.reset();
  if (!service) return kCannotOpen;
  const uint32_t stopped = service->Stop();
  if (stopped != 0 && stopped != kServiceNotActive) return kFailed;
  return service->Delete() == 0 ? kDone : kFailed;
}

uint32_t Driver::Drv_Install(const char* serviceName, const char* fileName, bool demandStart) {
  Drv_Remove(serviceName);  // a stale registration may name another image
  auto manager = platform().services.Connect();
  if (!manager) return kFailed;
  const std::string path = platform().system.SystemDirectory() + "\\Drivers\\" + fileName;
  manager->CreateDriver(serviceName, path.c_str(), demandStart);  // fails when it exists: harmless
  const auto service = manager->Open(serviceName);
  manager.reset();
  if (!service) return kCannotOpen;
  const uint32_t started = service->Start();
  return started == 0 || started == kServiceAlreadyRunning ? kDone : kFailed;
}

}  // namespace brisk
