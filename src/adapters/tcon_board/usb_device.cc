#include "adapters/tcon_board/usb_device.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "platform/platform.h"

namespace brisk::usb {
namespace {

constexpr size_t kMaxPath = 255;

}  // namespace

CUsbDevice::CUsbDevice(void* window, const Guid& interfaceClass_, bool openNow)
    : class_(interfaceClass_), window_(window) {
  if (window_ != nullptr) {
    classNotification_ = platform().deviceInterfaces.NotifyOfClass(window_, class_);
  }
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
  const std::unique_ptr<DeviceInterfaceSet> set = platform().deviceInterfaces.Present(class_);
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

bool CUsbDevice::OpenPath(uint8_t index) {
  if (CountDevices() == 0 || index > deviceCount - 1) return false;
  const std::unique_ptr<DeviceInterfaceSet> set = platform().deviceInterfaces.Present(class_);
  if (set == nullptr || set->Enumerate(index) != kErrorNone) return false;
  path = set->Path(index);
  if (path.empty() || path.size() > kMaxPath) return false;
  constexpr DeviceOpenMode kMode{.write = true,
                                 .shareRead = true,
                                 .shareWrite = true,
                                 .deleteOnClose = false,
                                 .overlapped = true};
  slot_.device = platform().devices.Open(path.c_str(), kMode);
  return IsOpen();
}

// Whatever was learned of the device that was open before.
void CUsbDevice::Forget() {
  endPoints = {};
  control_.reset();
  for (size_t i = 0; i < kConfigs; ++i) {
    configs_[i].reset();
    configBytes_[i].clear();
  }
  descriptor.fill(0);
  ReadDeviceDescriptor();
  deviceCount = interfaceCount = interfaceObjects = 0;
}

bool CUsbDevice::OpenDevice(uint8_t index) {
  if (IsOpen()) CloseDevice();
  Forget();
  if (!OpenPath(index)) {
    deviceIndex = 0;
    return false;
  }
  deviceIndex = index;
  std::vector<uint8_t> bytes;
  if (DescriptorRequest(kDeviceDescriptor << 8, 0, kDeviceDescriptorSize, &bytes) &&
      bytes.size() == descriptor.size()) {
    std::copy(bytes.begin(), bytes.end(), descriptor.begin());
  }
  ReadDeviceDescriptor();
  ReadLanguage();
  ReadText(descriptor[14], &manufacturer);
  ReadText(descriptor[15], &product);
  ReadText(descriptor[16], &serialNumber);
  ReadDriverFacts();
  ReadConfigs();
  MakeControl();
  if (configs_[0] == nullptr || configs_[0]->interfaces().empty()) return false;
  SelectInterface(0);
  if (classNotification_ != nullptr) {
    handleNotification_ =
        platform().deviceInterfaces.NotifyOfHandle(window_, slot_.device->Handle());
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
  const std::unique_ptr<Device> device = std::move(slot_.device);
  if (!device->Close()) throw std::runtime_error("Failed to close handle to driver.");
}

bool CUsbDevice::Query(uint32_t code, void* buffer, uint32_t length) {
  if (!IsOpen()) return false;
  bytesReturned = 0;
  return slot_.device->Control(code, buffer, length, buffer, length, &bytesReturned);
}

bool CUsbDevice::ResetPort() { return Query(kResetPort, nullptr, 0); }

void CUsbDevice::SelectInterface(uint8_t value) {
  currentConfig = 0;
  for (uint8_t i = 0; value != 0 && i < kConfigs; ++i) {
    if (configs_[i] == nullptr || configs_[i]->stringIndex != value) continue;
    currentConfig = i;
    break;
  }
  const CUsbConfig* config = configs_[currentConfig].get();
  if (config == nullptr) return;
  configValue = config->value;
  configAttributes = config->attributes;
  configMaxPower = config->maxPower;
  interfaceCount = config->interfaceCount;
  interfaceObjects = static_cast<uint8_t>(config->interfaces().size());
  if (config->interfaces().empty()) return;
  interfaceNumber = config->interfaces().front()->number;

  uint8_t alternate = 0;
  currentAlternate = Query(kGetAlternateSetting, &alternate, 1) ? alternate : 0xFF;
  for (uint8_t i = 0; i < interfaceObjects; ++i) {
    const CUsbInterface& candidate = *config->interfaces()[i];
    if (candidate.alternateSetting != currentAlternate) continue;
    currentInterface = i;
    interfaceClass = candidate.interfaceClass;
    interfaceSubClass = candidate.subClass;
    interfaceProtocol = candidate.protocol;
    break;
  }
  // The index may be one of the configuration that was current before.
  if (currentInterface >= interfaceObjects) currentInterface = 0;
  ReferEndPoints(*config->interfaces()[currentInterface]);
}

void CUsbDevice::ReferEndPoints(CUsbInterface& selected) {
  endPoints = {};
  selected.SetControl(control_.get());
  for (size_t i = 1; i <= selected.endPointCount; ++i) {
    CUsbEndPoint* endPoint = selected.endPoint(i);
    if (endPoint == nullptr) continue;
    CUsbEndPoint** reference = nullptr;
    switch (static_cast<EndpointKind>(endPoint->attributes)) {
      case EndpointKind::kControl:
        continue;
      case EndpointKind::kIsochronous:
        reference = endPoint->in ? &endPoints.isochronousIn : &endPoints.isochronousOut;
        break;
      case EndpointKind::kBulk:
        reference = endPoint->in ? &endPoints.bulkIn : &endPoints.bulkOut;
        break;
      case EndpointKind::kInterrupt:
        reference = endPoint->in ? &endPoints.interruptIn : &endPoints.interruptOut;
        break;
    }
    if (*reference == nullptr) *reference = endPoint;
    if (driverVersion < kDirectTransferVersion) endPoint->mode = TransferMode::kBuffered;
  }
}

}  // namespace brisk::usb
