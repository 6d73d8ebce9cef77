#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"
#include "platform/win32/module.h"

namespace brisk::os {
namespace {

// DeviceIoControl takes its input through a pointer to non-const.
void* Input(const void* bytes) { return const_cast<void*>(bytes); }

// A request on an overlapped handle: DeviceIoControl comes back with kErrorIoPending while the
// driver works, and the event is signalled when it is done.
class OverlappedRequest final : public PendingRequest {
 public:
  explicit OverlappedRequest(HANDLE device)
      : device_(device), event_(CreateEventA(nullptr, FALSE, FALSE, nullptr)) {
    overlapped_.hEvent = event_.get();
  }
  OverlappedRequest(const OverlappedRequest&) = delete;
  OverlappedRequest& operator=(const OverlappedRequest&) = delete;
  // The driver writes into the record and the buffers until it has completed the request.
  ~OverlappedRequest() override {
    if (pending_) CancelIo(device_);  // of this thread, which began it
    Wait();
  }

  void Start(uint32_t code, const void* in, uint32_t inSize, void* out, uint32_t outSize) {
    DWORD returned = 0;
    if (event_.get() == nullptr) {
      startError_ = ERROR_NOT_ENOUGH_MEMORY;  // without an event the end could not be awaited
      return;
    }
    const BOOL done =
        DeviceIoControl(device_, code, Input(in), inSize, out, outSize, &returned, &overlapped_);
    startError_ = done != 0 ? kErrorNone : GetLastError();
    pending_ = startError_ == kErrorIoPending;
  }

  uint32_t StartError() const override { return startError_; }
  bool Wait(uint32_t milliseconds) override {
    if (!pending_) return startError_ == kErrorNone;
    if (WaitForSingleObject(event_.get(), milliseconds) != WAIT_OBJECT_0) return false;
    pending_ = false;
    return true;
  }
  void Wait() override {
    if (pending_) WaitForSingleObject(event_.get(), INFINITE);
    pending_ = false;
  }
  bool Result(uint32_t* bytesReturned) override {
    if (startError_ != kErrorNone && startError_ != kErrorIoPending) return false;
    DWORD returned = 0;
    const bool good = GetOverlappedResult(device_, &overlapped_, &returned, FALSE) != 0;
    if (bytesReturned != nullptr) *bytesReturned = returned;
    return good;
  }

 private:
  HANDLE device_;
  UniqueHandle event_;  // auto-reset: a completed wait is remembered in pending_
  OVERLAPPED overlapped_ = {};
  uint32_t startError_ = kErrorNone;
  bool pending_ = false;
};

// A device file. Drivers that answer at once are opened without overlapping, boards with it.
class OpenDevice final : public OpenedDevice {
 public:
  OpenDevice(HANDLE handle, bool overlapped) : handle_(handle), overlapped_(overlapped) {}

  bool Control(uint32_t code, const void* in, uint32_t inSize, void* out, uint32_t outSize,
               uint32_t* bytesReturned) override {
    // On an overlapped handle a request without a record may report completion too early.
    if (overlapped_) {
      OverlappedRequest request(handle_.get());
      request.Start(code, in, inSize, out, outSize);
      request.Wait();
      return request.Result(bytesReturned);
    }
    DWORD returned = 0;
    const BOOL done =
        DeviceIoControl(handle_.get(), code, Input(in), inSize, out, outSize, &returned, nullptr);
    if (bytesReturned != nullptr) *bytesReturned = returned;
    return done != 0;
  }
  std::unique_ptr<PendingRequest> Begin(uint32_t code, const void* in, uint32_t inSize, void* out,
                                        uint32_t outSize) override {
    auto request = std::make_unique<OverlappedRequest>(handle_.get());
    request->Start(code, in, inSize, out, outSize);
    return request;
  }
  bool Close() override { return handle_.Close(); }
  void* Handle() const override { return handle_.get(); }

 private:
  UniqueHandle handle_;
  bool overlapped_;
};

// A device is never created, and one that another program has open without sharing is refused.
class WindowsDevices final : public Devices {
 public:
  std::unique_ptr<OpenedDevice> Open(const char* path, const DeviceOpenMode& mode) override {
    const DWORD access = GENERIC_READ | (mode.write ? GENERIC_WRITE : 0);
    const DWORD share =
        (mode.shareRead ? FILE_SHARE_READ : 0) | (mode.shareWrite ? FILE_SHARE_WRITE : 0);
    DWORD flags = FILE_ATTRIBUTE_NORMAL;
    if (mode.deleteOnClose) flags |= FILE_FLAG_DELETE_ON_CLOSE;
    if (mode.overlapped) flags |= FILE_FLAG_OVERLAPPED;
    HANDLE handle = CreateFileA(path, access, share, nullptr, OPEN_EXISTING, flags, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return nullptr;
    return std::make_unique<OpenDevice>(handle, mode.overlapped);
  }
};

}  // namespace

Devices& TheDevices() { return Permanent<WindowsDevices>(); }

}  // namespace brisk::os
