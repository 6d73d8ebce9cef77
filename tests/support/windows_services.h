#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/services.h"
#include "sim/config/bench.h"

namespace brisk {

// A Windows service manager and the port-access driver's device, plugged into a bench. The device
// exists while the service runs (on the 9x family: while its file is there) and answers as the
// driver does, moving the bench's ports. One bench may serve several objects of the library, which
// are then several processes of one PC.
class WindowsServices final : public Services {
 public:
  struct Registration {
    std::string imagePath;
    bool demandStart = false;
    bool running = false;
  };
  struct Request {
    uint32_t code;
    uint32_t inSize;
    uint32_t outSize;
    uint8_t byte0;
    bool operator==(const Request&) const = default;
  };

  explicit WindowsServices(sim::Bench& bench);
  WindowsServices(const WindowsServices&) = delete;
  WindowsServices& operator=(const WindowsServices&) = delete;
  ~WindowsServices() override;

  std::unique_ptr<ServiceManager> Connect() override;

  // What goes wrong.
  bool administrator = true;        // else nobody may connect to the service manager
  bool mayOpenService = true;       // else a service cannot be opened
  bool stopRefused = false;         // with an error of its own
  bool deviceMissing = false;       // the service runs, but no device appears
  std::set<uint32_t> refusedCodes;  // requests that the device fails
  uint32_t acknowledgement = 0x19;

  // What the driver was given and holds.
  const std::vector<Request>& requests() const { return requests_; }
  unsigned openHandles() const { return openHandles_; }
  unsigned directAccess() const { return directAccess_; }  // handles with direct access on
  std::map<std::string, Registration>& services() { return services_; }

 private:
  class Manager;
  class OpenedService;
  class DriverDevice;

  std::unique_ptr<OpenedDevice> OpenDevice(bool nt);
  uint32_t Start(const std::string& name);
  uint32_t Stop(const std::string& name);

  sim::Bench& bench_;
  std::map<std::string, Registration> services_;
  std::vector<Request> requests_;
  unsigned openHandles_ = 0;
  unsigned directAccess_ = 0;
  uint16_t portBase_ = 0;
};

}  // namespace brisk
