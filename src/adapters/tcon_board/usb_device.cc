#include "adapters/tcon_board/usb_device.h"

#include <algorithm>
#include <stdexcept>

namespace brisk::tcon_board {
namespace {

constexpr size_t kMaxPath = 255;

constexpr uint8_t kGetDescriptor = 6;
constexpr uint8_t kFromDevice = 0x80;       // standard request, recipient device
constexpr uint32_t kDescriptorTimeOut = 5;  // seconds
constexpr uint16_t kEnglishUs = 0x0409;

// Where the first endpoint of a kind is remembered, by direction.
using EndPoints = CUsbDevice::EndPoints;
struct Reference {
  EndpointKind kind;
  CUsbEndPoint* EndPoints::*in;
  CUsbEndPoint* EndPoints::*out;
};
constexpr Reference kReferences[] = {
    {EndpointKind::kIsochronous, &EndPoints::isochronousIn, &EndPoints::isochronousOut},
    {EndpointKind::kBulk, &EndPoints::bulkIn, &EndPoints::bulkOut},
    {EndpointKind::kInterrupt, &EndPoints::interruptIn, &EndPoints::interruptOut},
};

uint16_t Word(Bytes bytes, size_t at) {
  return static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8);
}

}  // namespace

CUsbDevice::CUsbDevice(DeviceInterfaces& interfaces, Devices& devices, void* window,
                       const Guid& classGuid, bool openNow)
    : interfaces_(interfaces), devices_(devices), class_(classGuid), window_(window) {
  if (window_ != nullptr) classNotification_ = interfaces_.NotifyOfClass(window_, class_);
  if (openNow) OpenDevice(0);
}

CUsbDevice::~CUsbDevice() {
  try {
    CloseDevice();
  } catch (const std::runtime_error&) {
    // The handle is given up either way; a destructor has nobody to tell.
    slot_.device.reset();
  }
}

uint8_t CUsbDevice::CountDevices() {
  deviceCount = 0;
  const std::unique_ptr<DeviceInterfaceSet> set = interfaces_.Present(class_);
  if (set == nullptr) return 0;
  for (uint32_t index = 0; deviceCount != UINT8_MAX; ++index) {
    const uint32_t error = set->Enumerate(index);
    if (error == kErrorNoMoreItems) break;
    if (error == kErrorNone) ++deviceCount;
    // A set that never ends (an error for every index) is given up.
    if (index == UINT16_MAX) break;
  }
  return deviceCount;
}

// Devices may have come and gone since they were counted last.
bool CUsbDevice::OpenPath(uint8_t index) {
  if (CountDevices() == 0 || index > deviceCount - 1) return false;
  const std::unique_ptr<DeviceInterfaceSet> set = interfaces_.Present(class_);
  if (set == nullptr || set->Enumerate(index) != kErrorNone) return false;
  path = set->Path(index);
  if (path.empty() || path.size() > kMaxPath) return false;
  constexpr DeviceOpenMode kMode{.write = true,
                                 .shareRead = true,
                                 .shareWrite = true,
                                 .deleteOnClose = false,
                                 .overlapped = true};
  slot_.device = devices_.Open(path.c_str(), kMode);
  return IsOpen();
}

// Whatever was learned of the device that was open before.
void CUsbDevice::Forget() {
  endPoints = {};
  control_.reset();
  configs_ = {};
  descriptor = {};
  deviceCount = 0;
}

// What opening learns of a device: descriptors, texts, and what the driver knows. Descriptors are
// asked for with a control request like any other (USB 2.0, chapter 9.4.3), but synchronously;
// those of unknown length twice, first for as much as tells the length.
std::vector<uint8_t> CUsbDevice::DescriptorRequest(uint16_t value, uint16_t index,
                                                   uint16_t length) {
  std::vector<uint8_t> record = RecordOf({.requestType = kFromDevice,
                                          .request = kGetDescriptor,
                                          .value = value,
                                          .index = index,
                                          .length = length,
                                          .timeOut = kDescriptorTimeOut},
                                         0, std::vector<uint8_t>(length));
  const bool answered =
      Query(kControlTransfer, record.data(), static_cast<uint32_t>(record.size()));
  const auto header = ReadAs<TransferHeader>(record);
  usbdStatus = header.usbdStatus;
  ntStatus = header.ntStatus;
  if (!answered || usbdStatus != 0 || ntStatus != 0 || bytesReturned < kHeaderSize) return {};
  const size_t count = std::min<size_t>(bytesReturned, record.size());
  return {record.begin() + kHeaderSize, record.begin() + static_cast<ptrdiff_t>(count)};
}

void CUsbDevice::ReadDescriptor() {
  const auto bytes = DescriptorRequest(kDeviceDescriptor << 8, 0, sizeof descriptor);
  if (bytes.size() == sizeof descriptor) descriptor = ReadAs<DeviceDescriptor>(bytes);
}

std::vector<uint8_t> CUsbDevice::StringDescriptor(uint8_t index, uint16_t language) {
  const auto value = static_cast<uint16_t>(kStringDescriptor << 8 | index);
  std::vector<uint8_t> bytes = DescriptorRequest(value, language, 2);
  if (bytes.empty()) return {};
  bytes = DescriptorRequest(value, language, bytes[0]);
  // The device may send less than it announced, or announce more than it sends.
  if (bytes.size() < 2 || bytes[0] <= 2 || bytes[1] != kStringDescriptor) return {};
  bytes.resize(std::min<size_t>(bytes.size(), bytes[0]));
  return bytes;
}

// United States English where the device offers it, else the first language.
void CUsbDevice::ReadLanguage() {
  languageId = 0;
  const std::vector<uint8_t> list = StringDescriptor(0, 0);
  for (size_t at = 2; at + 1 < list.size(); at += 2) {
    const uint16_t language = Word(list, at);
    if (at == 2 || language == kEnglishUs) languageId = language;
  }
}

void CUsbDevice::ReadText(uint8_t index, Text* text) {
  text->fill(0);
  if (index == 0) return;  // the device has no such string
  const std::vector<uint8_t> bytes = StringDescriptor(index, languageId);
  for (size_t at = 2; at + 1 < bytes.size(); at += 2) (*text)[at / 2 - 1] = Word(bytes, at);
}

// 0 for what the driver does not know.
template <typename Number>
Number CUsbDevice::QueryNumber(uint32_t code) {
  Number number = 0;
  return Query(code, &number, sizeof number) && bytesReturned != 0 ? number : 0;
}

void CUsbDevice::ReadDriverFacts() {
  address = QueryNumber<uint8_t>(kGetAddress);
  deviceName.fill(0);
  Query(kGetDeviceName, deviceName.data(), deviceName.size());
  friendlyName.fill(0);
  Query(kGetFriendlyName, friendlyName.data(), friendlyName.size());
  driverVersion = QueryNumber<uint32_t>(kGetDriverVersion);
  secondVersion = QueryNumber<uint32_t>(kGetSecondVersion);
  uint32_t speed = 0;
  highSpeed = Query(kGetSpeed, &speed, sizeof speed) && speed == kSpeedHigh;
}

void CUsbDevice::ReadConfigs() {
  for (uint8_t i = 0; i < std::min<size_t>(descriptor.configCount, kConfigs); ++i) {
    const auto value = static_cast<uint16_t>(kConfigDescriptor << 8 | i);
    std::vector<uint8_t> bytes = DescriptorRequest(value, 0, sizeof(ConfigDescriptor));
    if (bytes.size() < sizeof(ConfigDescriptor)) continue;
    bytes = DescriptorRequest(value, 0, ReadAs<ConfigDescriptor>(bytes).totalLength);
    if (!bytes.empty()) configs_[i] = std::make_unique<CUsbConfig>(slot_, bytes);
  }
}

// Endpoint 0 has no descriptor of its own.
void CUsbDevice::MakeControl() {
  control_ = std::make_shared<CUsbControlEndPoint>(
      slot_, EndpointDescriptor{.descriptorLength = sizeof(EndpointDescriptor),
                                .descriptorType = kEndpointDescriptor,
                                .packet = descriptor.maxPacketSize});
}

// Each of these asks the driver, in this order, whether or not the ones before it succeeded.
bool CUsbDevice::OpenDevice(uint8_t index) {
  if (IsOpen()) CloseDevice();
  Forget();
  if (!OpenPath(index)) {
    deviceIndex = 0;
    return false;
  }
  deviceIndex = index;
  ReadDescriptor();
  ReadLanguage();
  ReadText(descriptor.manufacturer, &manufacturer);
  ReadText(descriptor.product, &product);
  ReadText(descriptor.serialNumber, &serialNumber);
  ReadDriverFacts();
  ReadConfigs();
  MakeControl();
  if (configs_[0] == nullptr || configs_[0]->interfaces().empty()) return false;
  SelectInterface(0);
  if (classNotification_ != nullptr) {
    handleNotification_ = interfaces_.NotifyOfHandle(window_, slot_.device->Handle());
  }
  return true;
}

void CUsbDevice::CloseDevice() {
  if (!IsOpen()) return;
  if (handleNotification_ != nullptr) {
    if (!handleNotification_->Close()) {
      throw std::runtime_error("Failed to close the handle notification handle.");
    }
    handleNotification_.reset();
  }
  const std::unique_ptr<OpenedDevice> device = std::move(slot_.device);
  if (!device->Close()) throw std::runtime_error("Failed to close handle to driver.");
}

bool CUsbDevice::Query(uint32_t code, void* buffer, uint32_t length) {
  if (!IsOpen()) return false;
  bytesReturned = 0;
  return slot_.device->Control(code, buffer, length, buffer, length, &bytesReturned);
}

bool CUsbDevice::ResetPort() { return Query(kResetPort, nullptr, 0); }

// Where the driver reports a setting that no interface has, the current one stays.
void CUsbDevice::SelectInterface(uint8_t value) {
  currentConfig = 0;
  for (uint8_t i = 0; value != 0 && i < kConfigs; ++i) {
    if (configs_[i] == nullptr || configs_[i]->stringIndex != value) continue;
    currentConfig = i;
    break;
  }
  const CUsbConfig* config = configs_[currentConfig].get();
  if (config == nullptr || config->interfaces().empty()) return;
  const auto& interfaces = config->interfaces();
  uint8_t alternate = 0;
  currentAlternate = Query(kGetAlternateSetting, &alternate, 1) ? alternate : 0xFF;
  const auto selected = std::find_if(interfaces.begin(), interfaces.end(), [&](const auto& each) {
    return each->alternateSetting == currentAlternate;
  });
  if (selected != interfaces.end()) {
    currentInterface = static_cast<uint8_t>(selected - interfaces.begin());
  }
  // The index may be one of the configuration that was current before.
  if (currentInterface >= interfaces.size()) currentInterface = 0;
  ReferEndPoints(*interfaces[currentInterface]);
}

void CUsbDevice::ReferEndPoints(CUsbInterface& selected) {
  endPoints = {};
  selected.SetControl(control_);
  for (size_t i = 1; i <= selected.endPointCount; ++i) {
    CUsbEndPoint* endPoint = selected.endPoint(i);
    if (endPoint == nullptr) continue;
    for (const Reference& reference : kReferences) {
      if (!endPoint->Is(reference.kind)) continue;
      CUsbEndPoint*& first = endPoints.*(endPoint->in ? reference.in : reference.out);
      if (first == nullptr) first = endPoint;
      if (driverVersion < kDirectTransferVersion) endPoint->mode = TransferMode::kBuffered;
    }
  }
}

}  // namespace brisk::tcon_board
