#pragma once

#include <cstdint>
#include <memory>

namespace brisk {

// Error codes of the service manager that the library tells apart.
inline constexpr uint32_t kServiceAlreadyRunning = 1056;
inline constexpr uint32_t kServiceNotActive = 1062;

// One registered service, open with full access; closed by the destructor. Results are the system's
// error codes, 0 for success. All of it may block for as long as the manager does.
class Service {
 public:
  virtual ~Service() = default;
  virtual uint32_t Start() = 0;
  virtual uint32_t Stop() = 0;
  virtual uint32_t Delete() = 0;
};

// A connection to the service manager with full access; closed by the destructor.
class ServiceManager {
 public:
  virtual ~ServiceManager() = default;
  // Registers a kernel driver under `name`, normal error control. False when it exists or on error.
  virtual bool CreateDriver(const char* name, const char* imagePath, bool demandStart) = 0;
  virtual std::unique_ptr<Service> Open(const char* name) = 0;  // null on failure
};

// Used at attach and detach, when the port-access driver is installed and removed.
class Services {
 public:
  virtual ~Services() = default;
  // Null without the right to manage services. May block for as long as the manager does.
  virtual std::unique_ptr<ServiceManager> Connect() = 0;
};

}  // namespace brisk
