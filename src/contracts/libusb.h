#pragma once

#include <cstddef>
#include <cstdint>
#include <sys/time.h>
#include <sys/types.h>

// The part of libusb 1.0 that speaks to the timing-controller board, from its documented ABI.
namespace brisk::libusb {

struct Context;
struct Device;  // an entry of the list
struct Handle;  // of an open device

struct DeviceDescriptor {  // as on the wire, 16-bit fields in host order
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
static_assert(sizeof(DeviceDescriptor) == 18);

struct IsoPacket {
  unsigned length;
  unsigned actualLength;
  int status;
};

enum TransferStatus : int {
  kCompleted = 0,
  kError = 1,
  kTimedOut = 2,
  kCancelled = 3,
  kStalled = 4,
  kNoDevice = 5,
  kOverflow = 6,
};

enum TransferType : unsigned char { kControl = 0, kIsochronous = 1 };

struct Transfer {
  Handle* handle;
  uint8_t flags;
  unsigned char endpoint;
  unsigned char type;  // as the endpoint descriptor's attributes
  unsigned timeOut;    // milliseconds, 0 = none
  int status;
  int length;
  int actualLength;
  void (*callback)(Transfer* transfer);
  void* userData;
  unsigned char* buffer;
  int isoPackets;
  IsoPacket iso[1];  // as many as the transfer was allocated with
};
static_assert(offsetof(Transfer, iso) == offsetof(Transfer, isoPackets) + sizeof(int));
static_assert(sizeof(void*) != 8 || offsetof(Transfer, callback) == 32);

enum Speed : int { kSpeedHigh = 3 };  // slower ones below, faster ones above

// The functions: "libusb_" and the name, the result, the parameters.
#define BRISK_LIBUSB_FUNCTIONS(ROW)                                  \
  ROW(init, int, Context**)                                          \
  ROW(exit, void, Context*)                                          \
  ROW(get_device_list, ssize_t, Context*, Device***)                 \
  ROW(free_device_list, void, Device**, int /* unreference */)       \
  ROW(get_device_descriptor, int, Device*, DeviceDescriptor*)        \
  ROW(get_bus_number, uint8_t, Device*)                              \
  ROW(get_device_address, uint8_t, Device*)                          \
  ROW(get_device_speed, int, Device*)                                \
  ROW(open, int, Device*, Handle**)                                  \
  ROW(close, void, Handle*)                                          \
  ROW(reset_device, int, Handle*)                                    \
  ROW(claim_interface, int, Handle*, int)                            \
  ROW(release_interface, int, Handle*, int)                          \
  ROW(set_auto_detach_kernel_driver, int, Handle*, int /* enable */) \
  ROW(alloc_transfer, Transfer*, int /* iso packets */)              \
  ROW(free_transfer, void, Transfer*)                                \
  ROW(submit_transfer, int, Transfer*)                               \
  ROW(cancel_transfer, int, Transfer*)                               \
  ROW(handle_events_timeout_completed, int, Context*, timeval*, int* /* done */)

struct Functions {
#define BRISK_ROW(name, result, ...) result (*name)(__VA_ARGS__) = nullptr;
  BRISK_LIBUSB_FUNCTIONS(BRISK_ROW)
#undef BRISK_ROW
};

}  // namespace brisk::libusb
