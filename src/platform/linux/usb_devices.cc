#include "platform/linux/usb_devices.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "contracts/tcon_driver.h"
#include "platform/linux/usb_library.h"
#include "platform/linux/usb_request.h"

namespace brisk::os {
namespace {

constexpr size_t kNameSize = 256;
constexpr int kInterface = 0;

// A board of the list, while the list holds its reference.
struct Listed {
  libusb::Device* device;
  libusb::DeviceDescriptor descriptor;
  std::string path;
};

// The boards on the bus, with the references that keep them.
class Boards {
 public:
  explicit Boards(UsbLibrary& library) : library_(library) {
    const ssize_t count = library_.get_device_list(library_.context(), &list_);
    for (ssize_t i = 0; i < count; ++i) {
      libusb::DeviceDescriptor descriptor{};
      if (library_.get_device_descriptor(list_[i], &descriptor) != 0) continue;
      if (descriptor.vendorId != tcon_board::kTconVendorId) continue;
      char path[32];
      std::snprintf(path, sizeof path, "usb:%03u:%03u", library_.get_bus_number(list_[i]),
                    library_.get_device_address(list_[i]));
      boards_.push_back({list_[i], descriptor, path});
    }
    if (count < 0) list_ = nullptr;
  }
  Boards(const Boards&) = delete;
  Boards& operator=(const Boards&) = delete;
  ~Boards() {
    if (list_ != nullptr) library_.free_device_list(list_, 1);
  }

  const std::vector<Listed>& all() const { return boards_; }

 private:
  UsbLibrary& library_;
  libusb::Device** list_ = nullptr;
  std::vector<Listed> boards_;
};

// The paths of the boards that were there, for opening one later.
class UsbDeviceSet final : public DeviceInterfaceSet {
 public:
  explicit UsbDeviceSet(const Boards& boards) {
    for (const Listed& board : boards.all()) paths_.push_back(board.path);
  }
  uint32_t Enumerate(uint32_t index) override {
    return index < paths_.size() ? kErrorNone : kErrorNoMoreItems;
  }
  std::string Path(uint32_t index) override {
    return index < paths_.size() ? paths_[index] : std::string();
  }

 private:
  std::vector<std::string> paths_;
};

// An open board, answering the Windows driver's requests: facts at once, transfers by a UsbRequest.
// The interface is claimed for the first data transfer; control transfers do not need it.
class UsbBoard final : public OpenedDevice {
 public:
  UsbBoard(std::shared_ptr<UsbLibrary> library, libusb::Handle* handle, const Listed& listed)
      : library_(std::move(library)),
        handle_(handle),
        address_(library_->get_device_address(listed.device)),
        highSpeed_(library_->get_device_speed(listed.device) >= libusb::kSpeedHigh) {
    std::snprintf(name_.data(), name_.size(), "USB device %04x:%04x at %s",
                  listed.descriptor.vendorId, listed.descriptor.productId, listed.path.c_str());
  }
  UsbBoard(const UsbBoard&) = delete;
  UsbBoard& operator=(const UsbBoard&) = delete;
  ~UsbBoard() override { Close(); }

  bool Control(uint32_t code, const void* in, uint32_t inSize, void* out, uint32_t outSize,
               uint32_t* bytesReturned) override;
  std::unique_ptr<PendingRequest> Begin(uint32_t code, const void* in, uint32_t inSize, void* out,
                                        uint32_t outSize) override;
  bool Close() override;
  void* Handle() const override { return handle_; }

 private:
  struct EndPoint {
    uint8_t address;
    uint8_t type;
    uint32_t packetSize;
  };

  bool Answer(const void* bytes, size_t size, void* out, uint32_t outSize, uint32_t* returned);
  bool Abort(const void* in, uint32_t inSize);
  void StartData(UsbRequest& request, uint8_t endpoint);
  bool Claim();
  void ReadEndPoints();

  std::shared_ptr<UsbLibrary> library_;
  libusb::Handle* handle_;
  const uint8_t address_;
  const bool highSpeed_;
  std::array<char, kNameSize> name_{};
  bool claimed_ = false;
  std::vector<EndPoint> endPoints_;
  const UsbRequest::Last last_ = std::make_shared<UsbRequest*>(nullptr);
};

bool UsbBoard::Close() {
  if (handle_ == nullptr) return true;
  if (claimed_) library_->release_interface(handle_, kInterface);
  library_->close(handle_);
  handle_ = nullptr;
  return true;
}

// A whole answer or none.
bool UsbBoard::Answer(const void* bytes, size_t size, void* out, uint32_t outSize,
                      uint32_t* returned) {
  if (out == nullptr || outSize < size) return false;
  std::memcpy(out, bytes, size);
  *returned = static_cast<uint32_t>(size);
  return true;
}

bool UsbBoard::Control(uint32_t code, const void* in, uint32_t inSize, void* out, uint32_t outSize,
                       uint32_t* bytesReturned) {
  constexpr uint32_t kZero = 0;
  const uint32_t speed = highSpeed_ ? tcon_board::kSpeedHigh : tcon_board::kSpeedFull;
  *bytesReturned = 0;
  if (handle_ == nullptr) return false;
  switch (code) {
    case tcon_board::kGetDriverVersion:
      return Answer(&tcon_board::kDirectTransferVersion, sizeof tcon_board::kDirectTransferVersion,
                    out, outSize, bytesReturned);
    case tcon_board::kGetSecondVersion:
      return Answer(&kZero, sizeof kZero, out, outSize, bytesReturned);
    case tcon_board::kGetAlternateSetting:  // the one that every interface starts with; nothing
                                            // here changes it
      return Answer(&kZero, 1, out, outSize, bytesReturned);
    case tcon_board::kGetAddress:
      return Answer(&address_, sizeof address_, out, outSize, bytesReturned);
    case tcon_board::kGetDeviceName:
    case tcon_board::kGetFriendlyName:
      return Answer(name_.data(), name_.size(), out, outSize, bytesReturned);
    case tcon_board::kGetSpeed:
      return Answer(&speed, sizeof speed, out, outSize, bytesReturned);
    case tcon_board::kResetPort:
      return library_->reset_device(handle_) == 0;
    case tcon_board::kAbortEndpoint:
      return Abort(in, inSize);
    case tcon_board::kControlTransfer:
    case tcon_board::kBufferedTransfer:
    case tcon_board::kDirectTransfer: {
      const auto request = Begin(code, in, inSize, out, outSize);
      request->Wait();
      return request->Result(bytesReturned);
    }
    default:
      return false;
  }
}

// One byte, the endpoint. Cancels the request that was started last, when it is on that one.
bool UsbBoard::Abort(const void* in, uint32_t inSize) {
  if (in == nullptr || inSize != 1) return false;
  const uint8_t endpoint = *static_cast<const uint8_t*>(in);
  if (*last_ != nullptr && (*last_)->endpoint() == endpoint) (*last_)->Cancel();
  return true;
}

std::unique_ptr<PendingRequest> UsbBoard::Begin(uint32_t code, const void* in, uint32_t inSize,
                                                void* out, uint32_t outSize) {
  // Results travel in the caller's record, which for direct transfers is the input.
  const UsbRecord record(const_cast<void*>(in), inSize);  // NOLINT(*-const-cast)
  const bool direct = code == tcon_board::kDirectTransfer;
  const bool known =
      direct || code == tcon_board::kControlTransfer || code == tcon_board::kBufferedTransfer;
  const bool usable = known && handle_ != nullptr && record.valid() && (direct || out == in);
  std::span<uint8_t> data;
  if (usable) data = direct ? std::span(static_cast<uint8_t*>(out), outSize) : record.data();
  auto request = std::make_unique<UsbRequest>(
      library_, record, data, direct || !usable ? 0 : record.header().dataOffset, last_);
  if (!usable) {
    request->Fail();
  } else if (code == tcon_board::kControlTransfer) {
    request->StartControl(handle_);
  } else {
    StartData(*request, record.header().endpoint);
  }
  return request;
}

void UsbBoard::StartData(UsbRequest& request, uint8_t endpoint) {
  if (endPoints_.empty()) {
    ReadEndPoints();
    *last_ = &request;  // again: reading them took a request of its own
  }
  const auto found = std::find_if(endPoints_.begin(), endPoints_.end(),
                                  [&](const EndPoint& each) { return each.address == endpoint; });
  if (found == endPoints_.end() || !Claim()) {
    request.Fail();
    return;
  }
  request.StartData(handle_, endpoint, found->type, found->packetSize);
}

bool UsbBoard::Claim() {
  if (claimed_) return true;
  library_->set_auto_detach_kernel_driver(handle_, 1);
  claimed_ = library_->claim_interface(handle_, kInterface) == 0;
  return claimed_;
}

// libusb wants to know an endpoint's type, which the request does not say: the device does.
void UsbBoard::ReadEndPoints() {
  constexpr uint16_t kMost = 1024;
  tcon_board::TransferHeader header;
  header.requestType = 0x80;
  header.request = 6;      // GET_DESCRIPTOR
  header.value = 2U << 8;  // the first configuration
  header.length = kMost;
  header.timeOut = 5;
  header.dataOffset = tcon_board::kHeaderSize;
  header.dataLength = kMost;
  std::vector<uint8_t> record(tcon_board::kHeaderSize + kMost);
  std::memcpy(record.data(), &header, sizeof header);
  uint32_t returned = 0;
  const auto size = static_cast<uint32_t>(record.size());
  if (!Control(tcon_board::kControlTransfer, record.data(), size, record.data(), size, &returned))
    return;
  std::span<const uint8_t> rest(record.data(), std::min<size_t>(returned, record.size()));
  if (rest.size() < tcon_board::kHeaderSize) return;
  rest = rest.subspan(tcon_board::kHeaderSize);
  while (rest.size() >= 2 && rest[0] >= 2 && rest[0] <= rest.size()) {
    if (rest[1] == 5 && rest[0] >= 7) {
      const unsigned size16 = rest[4] | rest[5] << 8;
      endPoints_.push_back({rest[2], static_cast<uint8_t>(rest[3] & 3),
                            (size16 & 0x7FF) * ((size16 >> 11 & 3) + 1)});
    }
    rest = rest.subspan(rest[0]);
  }
}

}  // namespace

std::unique_ptr<DeviceInterfaceSet> PresentUsbDevices(const Guid& interfaceClass) {
  if (interfaceClass != tcon_board::kTconInterfaceClass) return nullptr;
  const std::shared_ptr<UsbLibrary> library = UsbLibrary::Get();
  if (library == nullptr) return nullptr;
  return std::make_unique<UsbDeviceSet>(Boards(*library));
}

std::unique_ptr<OpenedDevice> OpenUsbDevice(std::string_view path) {
  const std::shared_ptr<UsbLibrary> library = UsbLibrary::Get();
  if (library == nullptr) return nullptr;
  const Boards boards(*library);
  for (const Listed& board : boards.all()) {
    if (board.path != path) continue;
    libusb::Handle* handle = nullptr;
    if (library->open(board.device, &handle) != 0) return nullptr;
    return std::make_unique<UsbBoard>(library, handle, board);
  }
  return nullptr;
}

}  // namespace brisk::os
