// The FX2 board behind the functions of libusb 1.0, on a bench of its own: the real Linux library
// finds it by loading this one in libusb's place. Structures as libusb's documentation lays them
// out. Waiting is real time; the board's own work is the bench's.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/time.h>
#include <sys/types.h>
#include <thread>
#include <vector>

#include "sim/adapters/tcon_board/fx2_adapter.h"
#include "sim/adapters/tcon_board/fx2_descriptors.h"
#include "sim/entry/stand_in.h"

using brisk::sim::Fx2Board;
using brisk::sim::UsbAnswer;
using brisk::sim::UsbSetup;
using std::chrono::steady_clock;

struct libusb_context {
  int unused;
};
struct libusb_device {
  int references;
};
struct libusb_device_handle {
  bool claimed;
};

struct libusb_iso_packet_descriptor {
  unsigned int length;
  unsigned int actual_length;
  int status;
};

struct libusb_transfer {
  libusb_device_handle* dev_handle;
  uint8_t flags;
  unsigned char endpoint;
  unsigned char type;
  unsigned int timeout;
  int status;
  int length;
  int actual_length;
  void (*callback)(libusb_transfer*);
  void* user_data;
  unsigned char* buffer;
  int num_iso_packets;
  libusb_iso_packet_descriptor iso_packet_desc[1];
};

namespace {

enum { kCompleted, kError, kTimedOut, kCancelled, kStall, kNoDevice };
enum { kSuccess = 0, kErrorIo = -1, kErrorNoDevice = -4, kErrorNotFound = -5, kErrorBusy = -6 };
enum { kTypeControl, kTypeIsochronous, kTypeBulk, kTypeInterrupt };
constexpr int kSpeedHigh = 3;
constexpr size_t kSetupSize = 8;

struct Pending {
  libusb_transfer* transfer;
  bool done;  // its status is set and its callback due
  steady_clock::time_point deadline;
};

std::vector<Pending> pending;
libusb_device onlyDevice;

Fx2Board* Board() {
  brisk::sim::UseStandInBench("tcon-usb");
  auto* adapter = brisk::sim::bench().adapter("tcon-usb");
  return adapter == nullptr ? nullptr : &static_cast<brisk::sim::Fx2Adapter*>(adapter)->board();
}

UsbAnswer RunControl(Fx2Board& board, libusb_transfer& transfer) {
  const unsigned char* s = transfer.buffer;
  const auto word = [&](size_t at) { return static_cast<uint16_t>(s[at] | s[at + 1] << 8); };
  const UsbSetup setup{s[0], s[1], word(2), word(4), word(6)};
  if (static_cast<size_t>(transfer.length) < kSetupSize + setup.length) return UsbAnswer::kStall;
  unsigned char* stage = transfer.buffer + kSetupSize;
  std::vector<uint8_t> data;
  if (!setup.in()) data.assign(stage, stage + setup.length);
  const UsbAnswer answer = board.Control(setup, &data);
  if (answer != UsbAnswer::kDone) return answer;
  if (setup.in()) std::copy(data.begin(), data.end(), stage);
  transfer.actual_length = static_cast<int>(data.size());
  return answer;
}

UsbAnswer RunData(Fx2Board& board, libusb_transfer& transfer) {
  const auto length = static_cast<size_t>(transfer.length);
  if (!transfer.dev_handle->claimed) return UsbAnswer::kStall;
  std::vector<uint8_t> bytes;
  if ((transfer.endpoint & 0x80) == 0) {
    bytes.assign(transfer.buffer, transfer.buffer + length);
    const UsbAnswer answer = board.Write(transfer.endpoint, bytes);
    if (answer == UsbAnswer::kDone) transfer.actual_length = transfer.length;
    return answer;
  }
  const UsbAnswer answer = board.Read(transfer.endpoint, length, &bytes);
  std::copy(bytes.begin(), bytes.end(), transfer.buffer);
  transfer.actual_length = static_cast<int>(bytes.size());
  return answer;
}

// Isochronous packets report each their own length; the whole stays 0.
void SharePackets(libusb_transfer& transfer) {
  auto rest = static_cast<unsigned>(transfer.actual_length);
  for (int i = 0; i < transfer.num_iso_packets; ++i) {
    libusb_iso_packet_descriptor& packet = transfer.iso_packet_desc[i];
    packet.actual_length = std::min(rest, packet.length);
    packet.status = kCompleted;
    rest -= packet.actual_length;
  }
  transfer.actual_length = 0;
}

void Complete(libusb_transfer* transfer) {
  const auto found = std::find_if(pending.begin(), pending.end(),
                                  [&](const Pending& each) { return each.transfer == transfer; });
  if (found == pending.end()) return;
  pending.erase(found);
  transfer->callback(transfer);
}

}  // namespace

BRISK_STAND_IN int libusb_init(libusb_context** context) {
  if (Board() == nullptr) return kErrorIo;
  *context = new libusb_context{};
  return kSuccess;
}

BRISK_STAND_IN void libusb_exit(libusb_context* context) { delete context; }

BRISK_STAND_IN ssize_t libusb_get_device_list(libusb_context* /*context*/, libusb_device*** list) {
  const bool present = Board()->Present();
  *list = new libusb_device* [2] { present ? &onlyDevice : nullptr, nullptr };
  if (present) ++onlyDevice.references;
  return present ? 1 : 0;
}

BRISK_STAND_IN void libusb_free_device_list(libusb_device** list, int unreference) {
  if (unreference != 0 && list[0] != nullptr) --list[0]->references;
  delete[] list;
}

BRISK_STAND_IN int libusb_get_device_descriptor(libusb_device* /*device*/, void* descriptor) {
  const std::vector<uint8_t> bytes = brisk::sim::Fx2DeviceDescriptor();
  std::memcpy(descriptor, bytes.data(), bytes.size());
  return kSuccess;
}

BRISK_STAND_IN uint8_t libusb_get_bus_number(libusb_device* /*device*/) { return 1; }
BRISK_STAND_IN uint8_t libusb_get_device_address(libusb_device* /*device*/) { return 7; }
BRISK_STAND_IN int libusb_get_device_speed(libusb_device* /*device*/) { return kSpeedHigh; }

BRISK_STAND_IN int libusb_open(libusb_device* device, libusb_device_handle** handle) {
  if (!Board()->Present()) return kErrorNoDevice;
  ++device->references;
  *handle = new libusb_device_handle{false};
  return kSuccess;
}

BRISK_STAND_IN void libusb_close(libusb_device_handle* handle) {
  --onlyDevice.references;
  delete handle;
}

BRISK_STAND_IN int libusb_reset_device(libusb_device_handle* /*handle*/) {
  Board()->ResetPort();
  return kSuccess;
}

BRISK_STAND_IN int libusb_set_auto_detach_kernel_driver(libusb_device_handle* /*handle*/,
                                                        int /*enable*/) {
  return kSuccess;
}

BRISK_STAND_IN int libusb_claim_interface(libusb_device_handle* handle, int number) {
  if (number != 0) return kErrorNotFound;
  if (handle->claimed) return kErrorBusy;
  handle->claimed = true;
  return kSuccess;
}

BRISK_STAND_IN int libusb_release_interface(libusb_device_handle* handle, int /*number*/) {
  handle->claimed = false;
  return kSuccess;
}

BRISK_STAND_IN libusb_transfer* libusb_alloc_transfer(int isoPackets) {
  const size_t size = sizeof(libusb_transfer) +
                      static_cast<size_t>(isoPackets) * sizeof(libusb_iso_packet_descriptor);
  return static_cast<libusb_transfer*>(std::calloc(1, size));
}

BRISK_STAND_IN void libusb_free_transfer(libusb_transfer* transfer) { std::free(transfer); }

BRISK_STAND_IN int libusb_submit_transfer(libusb_transfer* transfer) {
  Fx2Board& board = *Board();
  transfer->actual_length = 0;
  const UsbAnswer answer =
      transfer->type == kTypeControl ? RunControl(board, *transfer) : RunData(board, *transfer);
  if (answer == UsbAnswer::kGone) return kErrorNoDevice;
  transfer->status = answer == UsbAnswer::kStall ? kStall : kCompleted;
  if (transfer->type == kTypeIsochronous) SharePackets(*transfer);
  const auto wait = transfer->timeout == 0 ? std::chrono::hours(24)
                                           : std::chrono::milliseconds(transfer->timeout);
  pending.push_back({transfer, answer != UsbAnswer::kSilent, steady_clock::now() + wait});
  return kSuccess;
}

BRISK_STAND_IN int libusb_cancel_transfer(libusb_transfer* transfer) {
  for (Pending& each : pending) {
    if (each.transfer != transfer) continue;
    if (!each.done) transfer->status = kCancelled;
    each.done = true;
    return kSuccess;
  }
  return kErrorNotFound;
}

BRISK_STAND_IN int libusb_handle_events_timeout_completed(libusb_context* /*context*/,
                                                          timeval* timeOut, int* completed) {
  const auto now = steady_clock::now();
  auto end =
      now + std::chrono::seconds(timeOut->tv_sec) + std::chrono::microseconds(timeOut->tv_usec);
  for (Pending& each : pending) {
    if (!each.done && each.deadline <= now) {
      each.transfer->status = kTimedOut;
      each.done = true;
    }
    if (each.done) {
      Complete(each.transfer);
      return kSuccess;
    }
    end = std::min(end, each.deadline);
  }
  if (completed == nullptr || *completed == 0) std::this_thread::sleep_until(end);
  return kSuccess;
}
