// A request to the driver carries a record whose fields say what is to move; control and buffered
// transfers have the data behind the record, in one buffer for input and output. The driver
// completes a transfer that the board refused, too: its failure then stands in the record's two
// status fields. Only a malformed record and an unplugged board fail the request itself. One that
// the board never answers stays pending until the endpoint is aborted.
#include "sim/adapters/tcon_board/fx2_adapter.h"

#include <cstring>
#include <span>
#include <utility>

#include "contracts/tcon_driver.h"
#include "sim/common/faults.h"
#include "sim/common/virtual_clock.h"

namespace brisk::sim {
namespace {

constexpr const char* kPath =
    R"(\\?\usb#vid_04b4&pid_8613#sim0001#{ae18aa60-7f6a-11d4-97dd-00010229b959})";
constexpr char kName[256] = "Simulated timing-controller board";

// What the driver writes into a request's record.
constexpr uint32_t kSuccess = 0;
constexpr uint32_t kStatusUnsuccessful = 0xC0000001;
constexpr uint32_t kUsbdStallPid = 0xC0000004;
constexpr uint32_t kUsbdCanceled = 0xC0010000;

// The requests that always have the same answer.
struct FixedAnswer {
  uint32_t code;
  uint32_t value;
  uint32_t size;
};
constexpr FixedAnswer kFixedAnswers[] = {
    {tcon_board::kGetDriverVersion, 0x01050600, 4},     {tcon_board::kGetSecondVersion, 0x0410, 4},
    {tcon_board::kGetAlternateSetting, 0, 1},           {tcon_board::kGetAddress, 1, 1},
    {tcon_board::kGetSpeed, tcon_board::kSpeedHigh, 4},
};

// How a request ends, or that it stays open until it is cancelled.
struct Outcome {
  bool completes = true;
  bool success = true;
  uint32_t bytes = 0;
  uint8_t endpoint = 0;  // that it can be cancelled by
};
constexpr Outcome kRefused = {.success = false};

class Fx2Request final : public PendingRequest {
 public:
  Fx2Request(VirtualClock& clock, std::shared_ptr<Outcome> outcome)
      : clock_(clock), outcome_(std::move(outcome)) {}

  uint32_t StartError() const override { return kErrorIoPending; }
  bool Wait(uint32_t milliseconds) override {
    if (outcome_->completes) return true;
    clock_.Sleep(milliseconds);
    return false;
  }
  // A request that nobody cancelled would be waited for without end; a simulated one gives in.
  void Wait() override { outcome_->completes = true; }
  bool Result(uint32_t* bytesReturned) override {
    *bytesReturned = outcome_->bytes;
    return outcome_->completes && outcome_->success;
  }

 private:
  VirtualClock& clock_;
  const std::shared_ptr<Outcome> outcome_;
};

class Fx2Device final : public OpenedDevice {
 public:
  Fx2Device(const Site& site, Fx2Board& board) : site_(site), board_(board) {}

  bool Control(uint32_t code, const void* in, uint32_t inSize, void* out, uint32_t outSize,
               uint32_t* bytesReturned) override {
    *bytesReturned = 0;
    if (code == tcon_board::kAbortEndpoint) return Cancel(in, inSize);
    const Outcome outcome = Run(code, in, inSize, {static_cast<uint8_t*>(out), outSize});
    *bytesReturned = outcome.bytes;
    return outcome.completes && outcome.success;
  }
  std::unique_ptr<PendingRequest> Begin(uint32_t code, const void* in, uint32_t inSize, void* out,
                                        uint32_t outSize) override {
    last_ = std::make_shared<Outcome>(Run(code, in, inSize, {static_cast<uint8_t*>(out), outSize}));
    return std::make_unique<Fx2Request>(site_.clock, last_);
  }
  bool Close() override { return true; }
  void* Handle() const override { return nullptr; }

 private:
  Outcome Run(uint32_t code, const void* in, uint32_t inSize, std::span<uint8_t> out) {
    if (!board_.Present()) return kRefused;
    for (const FixedAnswer& answer : kFixedAnswers) {
      if (answer.code == code) return Fixed(out, &answer.value, answer.size);
    }
    switch (code) {
      case tcon_board::kControlTransfer:
      case tcon_board::kBufferedTransfer:
      case tcon_board::kDirectTransfer:
        return inSize < tcon_board::kHeaderSize ? kRefused : Transfer(code, in, inSize, out);
      case tcon_board::kResetPort:
        board_.ResetPort();
        return {};
      case tcon_board::kGetDeviceName:
      case tcon_board::kGetFriendlyName:
        return Fixed(out, kName, sizeof kName);
      default:
        return kRefused;
    }
  }

  static Outcome Fixed(std::span<uint8_t> out, const void* bytes, size_t size) {
    if (out.size() < size) return kRefused;
    std::memcpy(out.data(), bytes, size);
    return {.bytes = static_cast<uint32_t>(size)};
  }

  // Direct transfers have the data alone in their output, the others record and data. The driver
  // writes its status into the caller's record, also where that is the input.
  Outcome Transfer(uint32_t code, const void* in, uint32_t inSize, std::span<uint8_t> out) {
    tcon_board::TransferHeader header;
    std::memcpy(&header, in, sizeof header);
    const bool direct = code == tcon_board::kDirectTransfer;
    const bool control = code == tcon_board::kControlTransfer;
    const size_t offset = direct ? 0 : header.dataOffset;
    const size_t length = direct ? out.size() : header.dataLength;
    if (offset + length > out.size() || (!direct && offset < sizeof header)) return kRefused;
    if (control && (inSize != out.size() || length != header.length)) return kRefused;
    const UsbSetup setup{header.requestType, header.request, header.value, header.index,
                         header.length};
    const std::span data = out.subspan(offset, length);
    const UsbResult result =
        control ? board_.Control(setup, data) : board_.Transfer(header.endpoint, data);
    if (result.answer == UsbAnswer::kGone) return kRefused;
    if (result.answer == UsbAnswer::kSilent) return {false, false, 0, header.endpoint};
    const bool stalled = result.answer == UsbAnswer::kStall;
    header.ntStatus = stalled ? kStatusUnsuccessful : kSuccess;
    header.usbdStatus = stalled ? kUsbdStallPid : kSuccess;
    if (site_.faults.Strikes(FaultKind::kUsbStatus)) header.usbdStatus = kUsbdCanceled;
    std::memcpy(direct ? const_cast<void*>(in) : out.data(), &header, sizeof header);
    return {.bytes = static_cast<uint32_t>(stalled ? sizeof header : offset + result.moved)};
  }

  bool Cancel(const void* in, uint32_t inSize) {
    if (inSize != 1 || last_ == nullptr) return false;
    if (last_->endpoint == *static_cast<const uint8_t*>(in)) last_->completes = true;
    return true;
  }

  const Site site_;
  Fx2Board& board_;
  std::shared_ptr<Outcome> last_;  // of the request begun last
};

class OneDevice final : public DeviceInterfaceSet {
 public:
  explicit OneDevice(bool present) : present_(present) {}
  uint32_t Enumerate(uint32_t index) override {
    return present_ && index == 0 ? 0 : kErrorNoMoreItems;
  }
  std::string Path(uint32_t index) override { return present_ && index == 0 ? kPath : ""; }

 private:
  const bool present_;
};

struct Notification final : DeviceNotification {
  bool Close() override { return true; }
};

}  // namespace

Fx2Adapter::Fx2Adapter(const Site& site, DeviceInterfaceSocket& interfaces, DeviceSockets& devices)
    : site_(site), interfaces_(interfaces), devices_(devices), board_(site) {
  interfaces_.Connect(this);
  devices_.Add(kPath, [this](const DeviceOpenMode&) -> std::unique_ptr<OpenedDevice> {
    if (!board_.Present()) return nullptr;
    return std::make_unique<Fx2Device>(site_, board_);
  });
}

Fx2Adapter::~Fx2Adapter() {
  interfaces_.Connect(nullptr);
  devices_.Remove(kPath);
}

std::unique_ptr<DeviceInterfaceSet> Fx2Adapter::Present(const Guid& interfaceClass) {
  return std::make_unique<OneDevice>(interfaceClass == tcon_board::kTconInterfaceClass &&
                                     board_.Present());
}

std::unique_ptr<DeviceNotification> Fx2Adapter::NotifyOfClass(void* /*window*/,
                                                              const Guid& /*interfaceClass*/) {
  return std::make_unique<Notification>();
}

std::unique_ptr<DeviceNotification> Fx2Adapter::NotifyOfHandle(void* /*window*/, void* /*device*/) {
  return std::make_unique<Notification>();
}

}  // namespace brisk::sim
