#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sys/time.h>
#include <sys/types.h>

#include "platform/libraries.h"

namespace brisk::linux_system {

// The part of libusb 1.0's interface that the transport uses, declared from its documented ABI and
// bound when a board is looked for, so that neither headers nor the library are needed otherwise.
struct UsbContext;
struct UsbListedDevice;
struct UsbHandle;

struct UsbDeviceDescriptor {  // as on the wire, 16-bit fields in host order
  uint8_t length;
  uint8_t type;
  uint16_t usbVersion;
  uint8_t deviceClass;
  uint8_t subClass;
  uint8_t protocol;
  uint8_t maxPacketSize;
  uint16_t vendorId;
  uint16_t productId;
  uint16_t release;
  uint8_t manufacturer;
  uint8_t product;
  uint8_t serialNumber;
  uint8_t configurations;
};
static_assert(sizeof(UsbDeviceDescriptor) == 18);

struct UsbIsoPacket {
  unsigned length;
  unsigned actualLength;
  int status;
};

enum UsbTransferStatus : int {
  kUsbCompleted = 0,
  kUsbError = 1,
  kUsbTimedOut = 2,
  kUsbCancelled = 3,
  kUsbStalled = 4,
  kUsbNoDevice = 5,
  kUsbOverflow = 6,
};

struct UsbTransfer {
  UsbHandle* handle;
  uint8_t flags;
  unsigned char endpoint;
  unsigned char type;  // as the endpoint descriptor's attributes
  unsigned timeOut;    // milliseconds, 0 = none
  int status;
  int length;
  int actualLength;
  void (*callback)(UsbTransfer* transfer);
  void* userData;
  unsigned char* buffer;
  int isoPackets;
  UsbIsoPacket iso[1];  // as many as the transfer was allocated with
};
static_assert(offsetof(UsbTransfer, iso) == offsetof(UsbTransfer, isoPackets) + sizeof(int));
static_assert(sizeof(void*) != 8 || offsetof(UsbTransfer, callback) == 32);

enum UsbSpeed : int { kUsbSpeedHigh = 3 };  // slower ones below, faster ones above

// A loaded libusb with a context of its own. Shared by everything that uses it, and gone with the
// last of that.
class UsbLibrary {
 public:
  // The one in use, or a new one; null when libusb is not there or refuses to start.
  static std::shared_ptr<UsbLibrary> Get();

  explicit UsbLibrary(std::unique_ptr<DynamicLibrary> library) : library_(std::move(library)) {}
  UsbLibrary(const UsbLibrary&) = delete;
  UsbLibrary& operator=(const UsbLibrary&) = delete;
  ~UsbLibrary();

  bool Start();
  UsbContext* context() const { return context_; }

  ssize_t (*getDeviceList)(UsbContext* context, UsbListedDevice*** list) = nullptr;
  void (*freeDeviceList)(UsbListedDevice** list, int unreference) = nullptr;
  int (*getDeviceDescriptor)(UsbListedDevice* device, UsbDeviceDescriptor* descriptor) = nullptr;
  uint8_t (*getBusNumber)(UsbListedDevice* device) = nullptr;
  uint8_t (*getDeviceAddress)(UsbListedDevice* device) = nullptr;
  int (*getDeviceSpeed)(UsbListedDevice* device) = nullptr;
  int (*open)(UsbListedDevice* device, UsbHandle** handle) = nullptr;
  void (*close)(UsbHandle* handle) = nullptr;
  int (*resetDevice)(UsbHandle* handle) = nullptr;
  int (*claimInterface)(UsbHandle* handle, int number) = nullptr;
  int (*releaseInterface)(UsbHandle* handle, int number) = nullptr;
  int (*setAutoDetach)(UsbHandle* handle, int enable) = nullptr;
  UsbTransfer* (*allocTransfer)(int isoPackets) = nullptr;
  void (*freeTransfer)(UsbTransfer* transfer) = nullptr;
  int (*submitTransfer)(UsbTransfer* transfer) = nullptr;
  int (*cancelTransfer)(UsbTransfer* transfer) = nullptr;
  int (*handleEvents)(UsbContext* context, timeval* timeOut, int* completed) = nullptr;

 private:
  bool Bind();

  std::unique_ptr<DynamicLibrary> library_;
  UsbContext* context_ = nullptr;
  int (*init_)(UsbContext** context) = nullptr;
  void (*exit_)(UsbContext* context) = nullptr;
};

}  // namespace brisk::linux_system
