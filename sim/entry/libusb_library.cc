// The FX2 board behind the functions of libusb 1.0, on a bench of its own: the real Linux library
// finds it by loading this one in libusb's place. Waiting is real time; the board's own work is the
// bench's.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <thread>
#include <vector>

#include "contracts/libusb.h"
#include "sim/adapters/tcon_board/fx2_adapter.h"
#include "sim/adapters/vendor_function.h"

struct brisk::libusb::Context {};
struct brisk::libusb::Device {
  int references;
};
struct brisk::libusb::Handle {
  bool claimed;
};

namespace {

using namespace brisk::libusb;
using brisk::sim::Fx2Board;
using brisk::sim::UsbAnswer;
using brisk::sim::UsbResult;
using brisk::sim::UsbSetup;
using std::chrono::steady_clock;

enum { kSuccess = 0, kErrorIo = -1, kErrorNoDevice = -4, kErrorNotFound = -5, kErrorBusy = -6 };

struct Pending {
  Transfer* transfer;
  bool done;  // its status is set and its callback due
  steady_clock::time_point deadline;
};

// Submitted and not yet handed back. Not locked: transfers come one at a time.
std::vector<Pending> pending;
Device onlyDevice;

Fx2Board* Board() {
  const auto adapter = brisk::sim::Plugged<brisk::sim::Fx2Adapter>::Last();
  return adapter == nullptr ? nullptr : &adapter->board();
}

// The buffer of a control transfer begins with its setup packet.
UsbResult Run(Fx2Board& board, const Transfer& transfer) {
  const std::span buffer(transfer.buffer, static_cast<size_t>(transfer.length));
  if (transfer.type != kControl) {
    if (!transfer.handle->claimed) return {UsbAnswer::kStall};
    return board.Transfer(transfer.endpoint, buffer);
  }
  UsbSetup setup;
  std::memcpy(&setup, buffer.data(), sizeof setup);
  if (buffer.size() < sizeof setup + setup.length) return {UsbAnswer::kStall};
  return board.Control(setup, buffer.subspan(sizeof setup, setup.length));
}

// Isochronous packets report each their own length; the whole stays 0.
void SharePackets(Transfer& transfer) {
  auto rest = static_cast<unsigned>(transfer.actualLength);
  for (int i = 0; i < transfer.isoPackets; ++i) {
    IsoPacket& packet = transfer.iso[i];
    packet.actualLength = std::min(rest, packet.length);
    packet.status = kCompleted;
    rest -= packet.actualLength;
  }
  transfer.actualLength = 0;
}

}  // namespace

BRISK_VENDOR_FUNCTION int libusb_init(Context** context) {
  if (Board() == nullptr) return kErrorIo;
  *context = new Context{};
  return kSuccess;
}

BRISK_VENDOR_FUNCTION void libusb_exit(Context* context) { delete context; }

BRISK_VENDOR_FUNCTION ssize_t libusb_get_device_list(Context* /*context*/, Device*** list) {
  const bool present = Board()->Present();
  *list = new Device* [2] { present ? &onlyDevice : nullptr, nullptr };
  if (present) ++onlyDevice.references;
  return present ? 1 : 0;
}

BRISK_VENDOR_FUNCTION void libusb_free_device_list(Device** list, int unreference) {
  if (unreference != 0 && list[0] != nullptr) --list[0]->references;
  delete[] list;
}

BRISK_VENDOR_FUNCTION int libusb_get_device_descriptor(Device* /*device*/,
                                                       DeviceDescriptor* descriptor) {
  const std::vector<uint8_t> bytes = brisk::sim::Fx2Descriptor(0x0100);
  std::memcpy(descriptor, bytes.data(), bytes.size());
  return kSuccess;
}

BRISK_VENDOR_FUNCTION uint8_t libusb_get_bus_number(Device* /*device*/) { return 1; }
BRISK_VENDOR_FUNCTION uint8_t libusb_get_device_address(Device* /*device*/) { return 7; }
BRISK_VENDOR_FUNCTION int libusb_get_device_speed(Device* /*device*/) { return kSpeedHigh; }

BRISK_VENDOR_FUNCTION int libusb_open(Device* device, Handle** handle) {
  if (!Board()->Present()) return kErrorNoDevice;
  ++device->references;
  *handle = new Handle{false};
  return kSuccess;
}

BRISK_VENDOR_FUNCTION void libusb_close(Handle* handle) {
  --onlyDevice.references;
  delete handle;
}

BRISK_VENDOR_FUNCTION int libusb_reset_device(Handle* /*handle*/) {
  Board()->ResetPort();
  return kSuccess;
}

BRISK_VENDOR_FUNCTION int libusb_set_auto_detach_kernel_driver(Handle* /*handle*/, int /*enable*/) {
  return kSuccess;
}

BRISK_VENDOR_FUNCTION int libusb_claim_interface(Handle* handle, int number) {
  if (number != 0) return kErrorNotFound;
  if (handle->claimed) return kErrorBusy;
  handle->claimed = true;
  return kSuccess;
}

BRISK_VENDOR_FUNCTION int libusb_release_interface(Handle* handle, int /*number*/) {
  handle->claimed = false;
  return kSuccess;
}

BRISK_VENDOR_FUNCTION Transfer* libusb_alloc_transfer(int isoPackets) {
  const size_t size = sizeof(Transfer) + static_cast<size_t>(isoPackets) * sizeof(IsoPacket);
  return static_cast<Transfer*>(std::calloc(1, size));
}

BRISK_VENDOR_FUNCTION void libusb_free_transfer(Transfer* transfer) { std::free(transfer); }

BRISK_VENDOR_FUNCTION int libusb_submit_transfer(Transfer* transfer) {
  const UsbResult result = Run(*Board(), *transfer);
  if (result.answer == UsbAnswer::kGone) return kErrorNoDevice;
  transfer->status = result.answer == UsbAnswer::kStall ? kStalled : kCompleted;
  transfer->actualLength = static_cast<int>(result.moved);
  if (transfer->type == kIsochronous) SharePackets(*transfer);
  const auto wait = transfer->timeOut == 0 ? std::chrono::hours(24)
                                           : std::chrono::milliseconds(transfer->timeOut);
  pending.push_back({transfer, result.answer != UsbAnswer::kSilent, steady_clock::now() + wait});
  return kSuccess;
}

BRISK_VENDOR_FUNCTION int libusb_cancel_transfer(Transfer* transfer) {
  for (Pending& each : pending) {
    if (each.transfer != transfer) continue;
    if (!each.done) transfer->status = kCancelled;
    each.done = true;
    return kSuccess;
  }
  return kErrorNotFound;
}

// Hands back one transfer, or waits. A transfer is forgotten before its callback, which may submit
// it again.
BRISK_VENDOR_FUNCTION int libusb_handle_events_timeout_completed(Context* /*context*/,
                                                                 timeval* timeOut, int* completed) {
  const auto now = steady_clock::now();
  auto end =
      now + std::chrono::seconds(timeOut->tv_sec) + std::chrono::microseconds(timeOut->tv_usec);
  for (auto each = pending.begin(); each != pending.end(); ++each) {
    Transfer* const transfer = each->transfer;
    if (!each->done && each->deadline > now) {
      end = std::min(end, each->deadline);
      continue;
    }
    if (!each->done) transfer->status = kTimedOut;
    pending.erase(each);
    transfer->callback(transfer);
    return kSuccess;
  }
  if (completed == nullptr || *completed == 0) std::this_thread::sleep_until(end);
  return kSuccess;
}
