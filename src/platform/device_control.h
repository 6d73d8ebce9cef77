#pragma once

#include <cstdint>
#include <memory>

namespace brisk {

// System error codes that the library tells apart.
inline constexpr uint32_t kErrorNone = 0;
inline constexpr uint32_t kErrorGeneralFailure = 31;
inline constexpr uint32_t kErrorIoPending = 997;

// One overlapped request under way. Input and output buffers must outlive it; the destructor
// cancels it where it still runs, and waits for its completion.
class PendingRequest {
 public:
  virtual ~PendingRequest() = default;
  // Error code at the start: kErrorNone = completed at once, kErrorIoPending = under way.
  virtual uint32_t StartError() const = 0;
  // Waits for completion at most this long; true when it has completed.
  virtual bool Wait(uint32_t milliseconds) = 0;
  virtual void Wait() = 0;  // without a limit
  // Result without waiting: true when the request has completed successfully.
  virtual bool Result(uint32_t* bytesReturned) = 0;
};

// An open device: the port-access driver, or a board behind a driver of its vendor. Closed by the
// destructor.
class OpenedDevice {
 public:
  virtual ~OpenedDevice() = default;
  // A synchronous device-control request; blocks until the driver answers, false when it refuses.
  // `in` and `out` may be the same buffer.
  virtual bool Control(uint32_t code, const void* in, uint32_t inSize, void* out, uint32_t outSize,
                       uint32_t* bytesReturned) = 0;
  // Starts a request and returns at once, never null: a request that could not be started tells so.
  virtual std::unique_ptr<PendingRequest> Begin(uint32_t code, const void* in, uint32_t inSize,
                                                void* out, uint32_t outSize) = 0;
  // False when the system refuses; the device counts as closed either way.
  virtual bool Close() = 0;
  // The system's handle value, for the shared section and for notifications.
  virtual void* Handle() const = 0;
};

struct DeviceOpenMode {
  bool write = true;
  bool shareRead = false;
  bool shareWrite = false;
  bool deleteOnClose = false;
  bool overlapped = false;
};

class Devices {
 public:
  virtual ~Devices() = default;
  // Opens an existing device for reading (and writing) by its path: the driver's at attach, a
  // board's when it is looked for. Null on failure.
  virtual std::unique_ptr<OpenedDevice> Open(const char* path, const DeviceOpenMode& mode) = 0;
};

}  // namespace brisk
