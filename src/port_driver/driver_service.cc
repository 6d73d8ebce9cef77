// The driver as a service: it starts on demand, and a registration of its name that is still there
// may name another image, so that one is removed first.

#include <string>

#include "port_driver/driver.h"

namespace brisk {

Driver::ServiceResult Driver::Drv_Remove(const char* serviceName) {
  auto manager = system_.services.Connect();
  if (!manager) return ServiceResult::kFailed;
  const auto service = manager->Open(serviceName);
  manager.reset();
  if (!service) return ServiceResult::kCannotOpen;
  const uint32_t stopped = service->Stop();
  if (stopped != 0 && stopped != kServiceNotActive) return ServiceResult::kFailed;
  return service->Delete() == 0 ? ServiceResult::kDone : ServiceResult::kFailed;
}

Driver::ServiceResult Driver::Drv_Install(const char* serviceName, const char* fileName,
                                          bool demandStart) {
  static_cast<void>(Drv_Remove(serviceName));
  auto manager = system_.services.Connect();
  if (!manager) return ServiceResult::kFailed;
  const std::string path = system_.system.SystemDirectory() + "\\Drivers\\" + fileName;
  manager->CreateDriver(serviceName, path.c_str(), demandStart);  // fails when it exists: harmless
  const auto service = manager->Open(serviceName);
  manager.reset();
  if (!service) return ServiceResult::kCannotOpen;
  const uint32_t started = service->Start();
  return started == 0 || started == kServiceAlreadyRunning ? ServiceResult::kDone
                                                           : ServiceResult::kFailed;
}

}  // namespace brisk
