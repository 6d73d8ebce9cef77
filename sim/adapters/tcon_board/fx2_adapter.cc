#include "sim/adapters/tcon_board/fx2_adapter.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace brisk::sim {
namespace {

constexpr const char* kPath =
    R"(\\?\usb#vid_04b4&pid_8613#sim0001#{ae18aa60-7f6a-11d4-97dd-00010229b959})";
constexpr Guid kClass = {0x60, 0xAA, 0x18, 0xAE, 0x6A, 0x7F, 0xD4, 0x11,
                         0x97, 0xDD, 0x00, 0x01, 0x02, 0x29, 0xB9, 0x59};

constexpr uint32_t kSuccess = 0;
constexpr uint32_t kStatusUnsuccessful = 0xC0000001;
constexpr uint32_t kUsbdStallPid = 0xC0000004;
constexpr uint32_t kUsbdCanceled = 0xC0010000;

// The driver's request record, field by field; everything is little-endian.
constexpr size_t kHeader = 38;
constexpr size_t kNtStatusAt = 14;
constexpr size_t kUsbdStatusAt = 18;

unsigned Get(const uint8_t* bytes, size_t at, size_t size) {
  unsigned value = 0;
  for (size_t i = size; i-- > 0;) value = value << 8 | bytes[at + i];
  return value;
}

void Put32(uint8_t* bytes, size_t at, uint32_t value) {
  for (size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

struct Buffers {
  uint8_t* in;
  uint32_t inSize;
  uint8_t* out;
  uint32_t outSize;
};

// Whether the driver completes a request, and how.
struct Outcome {
  bool completes = true;
  bool success = true;
  uint32_t bytes = 0;
};

class Fx2Driver {
 public:
  Fx2Driver(Bench& bench, Fx2Board& board) : bench_(bench), board_(board) {}

  Outcome Run(uint32_t code, const Buffers& b);
  Bench& bench() { return bench_; }

 private:
  Outcome Fixed(const Buffers& b, const void* bytes, size_t size);
  Outcome Control(const Buffers& b);
  Outcome Data(const Buffers& b, bool direct);
  Outcome Answer(UsbAnswer answer, uint8_t* record, uint32_t bytes);

  Bench& bench_;
  Fx2Board& board_;
};

Outcome Fx2Driver::Fixed(const Buffers& b, const void* bytes, size_t size) {
  if (b.outSize < size) return {true, false, 0};
  std::memcpy(b.out, bytes, size);
  return {true, true, static_cast<uint32_t>(size)};
}

Outcome Fx2Driver::Answer(UsbAnswer answer, uint8_t* record, uint32_t bytes) {
  if (answer == UsbAnswer::kSilent) return {false, false, 0};
  if (answer == UsbAnswer::kGone) return {true, false, 0};
  const bool stalled = answer == UsbAnswer::kStall;
  uint32_t usbd = stalled ? kUsbdStallPid : kSuccess;
  if (bench_.faults().Strikes(FaultKind::kUsbStatus)) usbd = kUsbdCanceled;
  Put32(record, kNtStatusAt, stalled ? kStatusUnsuccessful : kSuccess);
  Put32(record, kUsbdStatusAt, usbd);
  return {true, true, stalled ? static_cast<uint32_t>(kHeader) : bytes};
}

Outcome Fx2Driver::Control(const Buffers& b) {
  if (b.inSize < kHeader || b.outSize < kHeader) return {true, false, 0};
  const UsbSetup setup{b.in[0], b.in[1], static_cast<uint16_t>(Get(b.in, 2, 2)),
                       static_cast<uint16_t>(Get(b.in, 4, 2)),
                       static_cast<uint16_t>(Get(b.in, 6, 2))};
  const size_t offset = Get(b.in, 30, 4);
  const size_t length = Get(b.in, 34, 4);
  if (offset < kHeader || length != setup.length || offset + length > b.outSize ||
      b.inSize != b.outSize) {
    return {true, false, 0};
  }
  std::vector<uint8_t> data;
  if (!setup.in()) data.assign(b.in + offset, b.in + offset + length);
  const UsbAnswer answer = board_.Control(setup, &data);
  if (setup.in() && answer == UsbAnswer::kDone) {
    std::copy(data.begin(), data.end(), b.out + offset);
  }
  return Answer(answer, b.out, static_cast<uint32_t>(offset + data.size()));
}

Outcome Fx2Driver::Data(const Buffers& b, bool direct) {
  if (b.inSize < kHeader) return {true, false, 0};
  const auto endpoint = static_cast<uint8_t>(Get(b.in, 13, 1));
  const size_t offset = direct ? 0 : Get(b.in, 30, 4);
  const size_t length = direct ? b.outSize : Get(b.in, 34, 4);
  if (offset + length > b.outSize) return {true, false, 0};
  uint8_t* place = b.out + offset;
  if ((endpoint & 0x80) == 0) {
    const UsbAnswer answer = board_.Write(endpoint, {place, place + length});
    return Answer(answer, b.in, static_cast<uint32_t>(offset + length));
  }
  std::vector<uint8_t> bytes;
  const UsbAnswer answer = board_.Read(endpoint, length, &bytes);
  std::copy(bytes.begin(), bytes.end(), place);
  return Answer(answer, b.in, static_cast<uint32_t>(offset + bytes.size()));
}

Outcome Fx2Driver::Run(uint32_t code, const Buffers& b) {
  constexpr uint32_t kVersion = 0x01050600;
  constexpr uint32_t kSecondVersion = 0x0410;
  constexpr uint32_t kHighSpeed = 2;
  constexpr uint8_t kFirst = 1;  // address on the bus
  constexpr uint8_t kNoAlternate = 0;
  char name[256] = "Simulated timing-controller board";
  if (!board_.Present()) return {true, false, 0};
  switch (code) {
    case 0x220000:
      return Fixed(b, &kVersion, sizeof kVersion);
    case 0x220004:
      return Fixed(b, &kSecondVersion, sizeof kSecondVersion);
    case 0x220008:
      return Fixed(b, &kNoAlternate, sizeof kNoAlternate);
    case 0x220010:
      return Fixed(b, &kFirst, sizeof kFirst);
    case 0x220020:
      return Control(b);
    case 0x220024:
      return Data(b, false);
    case 0x220030:
      board_.ResetPort();
      return {};
    case 0x22003C:
    case 0x220040:
      return Fixed(b, name, sizeof name);
    case 0x22004B:
      return Data(b, true);
    case 0x22004C:
      return Fixed(b, &kHighSpeed, sizeof kHighSpeed);
    default:
      return {true, false, 0};
  }
}

// A request that the device leaves open until it is cancelled.
struct OpenRequest {
  uint8_t endpoint = 0;
  bool cancelled = false;
};

class Fx2Request final : public PendingRequest {
 public:
  Fx2Request(Fx2Driver& driver, Outcome outcome, std::shared_ptr<OpenRequest> open)
      : driver_(driver), outcome_(outcome), open_(std::move(open)) {}

  uint32_t StartError() const override { return kErrorIoPending; }
  bool Wait(uint32_t milliseconds) override {
    if (outcome_.completes || open_->cancelled) return true;
    driver_.bench().clock().Sleep(milliseconds);
    return false;
  }
  // A request that nobody cancelled would be waited for without end; a simulated one gives in.
  void Wait() override { open_->cancelled = true; }
  bool Result(uint32_t* bytesReturned) override {
    *bytesReturned = outcome_.bytes;
    return outcome_.completes && outcome_.success;
  }

 private:
  Fx2Driver& driver_;
  const Outcome outcome_;
  const std::shared_ptr<OpenRequest> open_;
};

class Fx2Device final : public Device {
 public:
  Fx2Device(Bench& bench, Fx2Board& board) : driver_(bench, board) {}

  bool Control(uint32_t code, const void* in, uint32_t inSize, void* out, uint32_t outSize,
               uint32_t* bytesReturned) override {
    *bytesReturned = 0;
    if (code == 0x220044) return Cancel(in, inSize);
    const Outcome outcome = Run(code, in, inSize, out, outSize);
    *bytesReturned = outcome.bytes;
    return outcome.completes && outcome.success;
  }
  std::unique_ptr<PendingRequest> Begin(uint32_t code, const void* in, uint32_t inSize, void* out,
                                        uint32_t outSize) override {
    open_ = std::make_shared<OpenRequest>();
    if (inSize > 13) open_->endpoint = static_cast<const uint8_t*>(in)[13];
    return std::make_unique<Fx2Request>(driver_, Run(code, in, inSize, out, outSize), open_);
  }
  bool Close() override { return true; }
  void* Handle() const override { return nullptr; }

 private:
  // The driver writes its status into the caller's record, also where that is the input.
  Outcome Run(uint32_t code, const void* in, uint32_t inSize, void* out, uint32_t outSize) {
    return driver_.Run(code, {const_cast<uint8_t*>(static_cast<const uint8_t*>(in)), inSize,
                              static_cast<uint8_t*>(out), outSize});
  }
  bool Cancel(const void* in, uint32_t inSize) {
    if (inSize != 1 || open_ == nullptr) return false;
    if (open_->endpoint == *static_cast<const uint8_t*>(in)) open_->cancelled = true;
    return true;
  }

  Fx2Driver driver_;
  std::shared_ptr<OpenRequest> open_;
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

class Notification final : public DeviceNotification {
 public:
  explicit Notification(int& count) : count_(count) { ++count_; }
  bool Close() override {
    --count_;
    return true;
  }

 private:
  int& count_;
};

}  // namespace

Fx2Adapter::Fx2Adapter(Bench& bench) : bench_(bench), board_(bench) {
  bench.deviceInterfaces().Connect(this);
  bench.devices().Add(kPath, [this](const DeviceOpenMode&) -> std::unique_ptr<Device> {
    if (!board_.Present()) return nullptr;
    return std::make_unique<Fx2Device>(bench_, board_);
  });
}

Fx2Adapter::~Fx2Adapter() {
  bench_.deviceInterfaces().Connect(nullptr);
  bench_.devices().Remove(kPath);
}

std::unique_ptr<DeviceInterfaceSet> Fx2Adapter::Present(const Guid& interfaceClass) {
  return std::make_unique<OneDevice>(interfaceClass == kClass && board_.Present());
}

std::unique_ptr<DeviceNotification> Fx2Adapter::NotifyOfClass(void* /*window*/,
                                                              const Guid& /*interfaceClass*/) {
  return std::make_unique<Notification>(notifications);
}

std::unique_ptr<DeviceNotification> Fx2Adapter::NotifyOfHandle(void* /*window*/, void* /*device*/) {
  return std::make_unique<Notification>(notifications);
}

std::unique_ptr<Adapter> MakeFx2(Bench& bench, std::string* /*whyNot*/) {
  return std::make_unique<Fx2Adapter>(bench);
}

}  // namespace brisk::sim
