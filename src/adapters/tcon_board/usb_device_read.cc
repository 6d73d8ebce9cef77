// What opening a device learns of it: descriptors, texts, and what the driver knows.

#include <algorithm>
#include <cstring>

#include "adapters/tcon_board/usb_device.h"

namespace brisk::usb {
namespace {

constexpr uint8_t kGetDescriptor = 6;
constexpr uint8_t kFromDevice = 0x80;       // standard request, recipient device
constexpr uint32_t kDescriptorTimeOut = 5;  // seconds
constexpr uint16_t kEnglishUs = 0x0409;

uint16_t Word(std::span<const uint8_t> bytes, size_t at) {
  return static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8);
}

}  // namespace

bool CUsbDevice::DescriptorRequest(uint16_t value, uint16_t index, uint16_t length,
                                   std::vector<uint8_t>* data) {
  TransferHeader header;
  header.requestType = kFromDevice;
  header.request = kGetDescriptor;
  header.value = value;
  header.index = index;
  header.length = length;
  header.timeOut = kDescriptorTimeOut;
  header.dataOffset = kHeaderSize;
  header.dataLength = length;
  std::vector<uint8_t> record(kHeaderSize + length);
  std::memcpy(record.data(), &header, sizeof header);
  const bool answered =
      Query(kControlTransfer, record.data(), static_cast<uint32_t>(record.size()));
  std::memcpy(&header, record.data(), sizeof header);
  usbdStatus = header.usbdStatus;
  ntStatus = header.ntStatus;
  if (!answered || usbdStatus != 0 || ntStatus != 0 || bytesReturned < kHeaderSize) return false;
  const size_t count = std::min<size_t>(bytesReturned, record.size());
  data->assign(record.begin() + kHeaderSize, record.begin() + static_cast<ptrdiff_t>(count));
  return true;
}

void CUsbDevice::ReadDeviceDescriptor() {
  usbVersion = Word(descriptor, 2);
  deviceClass = descriptor[4];
  subClass = descriptor[5];
  protocol = descriptor[6];
  maxPacketSize = descriptor[7];
  vendorId = Word(descriptor, 8);
  productId = Word(descriptor, 10);
  release = Word(descriptor, 12);
  configCount = descriptor[17];
}

std::vector<uint8_t> CUsbDevice::StringDescriptor(uint8_t index, uint16_t language) {
  const auto value = static_cast<uint16_t>(kStringDescriptor << 8 | index);
  std::vector<uint8_t> bytes;
  if (!DescriptorRequest(value, language, 2, &bytes) || bytes.empty()) return {};
  const uint8_t length = bytes[0];
  if (!DescriptorRequest(value, language, length, &bytes)) return {};
  // The device may send less than it announced, or announce more than it sends.
  if (bytes.size() < 2 || bytes[0] <= 2 || bytes[1] != kStringDescriptor) return {};
  bytes.resize(std::min<size_t>(bytes.size(), bytes[0]));
  return bytes;
}

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

uint32_t CUsbDevice::QueryWord(uint32_t code) {
  uint32_t word = 0;
  return Query(code, &word, sizeof word) && bytesReturned != 0 ? word : 0;
}

void CUsbDevice::ReadDriverFacts() {
  uint8_t byte = 0;
  address = Query(kGetAddress, &byte, sizeof byte) && bytesReturned != 0 ? byte : 0;
  deviceName.fill(0);
  Query(kGetDeviceName, deviceName.data(), deviceName.size());
  friendlyName.fill(0);
  Query(kGetFriendlyName, friendlyName.data(), friendlyName.size());
  driverVersion = QueryWord(kGetDriverVersion);
  secondVersion = QueryWord(kGetSecondVersion);
  uint32_t speed = 0;
  highSpeed = Query(kGetSpeed, &speed, sizeof speed) && speed == kSpeedHigh;
}

void CUsbDevice::ReadConfigs() {
  for (uint8_t i = 0; i < std::min<size_t>(configCount, kConfigs); ++i) {
    const auto value = static_cast<uint16_t>(kConfigDescriptor << 8 | i);
    std::vector<uint8_t> bytes;
    if (!DescriptorRequest(value, 0, kConfigDescriptorSize, &bytes) ||
        bytes.size() < kConfigDescriptorSize) {
      continue;
    }
    if (!DescriptorRequest(value, 0, Word(bytes, 2), &configBytes_[i])) continue;
    configs_[i] = std::make_unique<CUsbConfig>(slot_, configBytes_[i]);
  }
}

void CUsbDevice::MakeControl() {
  const std::array<uint8_t, kEndpointDescriptorSize> endpointZero = {
      kEndpointDescriptorSize, kEndpointDescriptor, 0, 0, maxPacketSize, 0, 0};
  control_ = std::make_unique<CUsbControlEndPoint>(slot_, endpointZero);
}

}  // namespace brisk::usb
