#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "adapters/tcon_board/usb_config.h"
#include "adapters/tcon_board/usb_descriptors.h"
#include "adapters/tcon_board/usb_endpoint.h"
#include "platform/device_control.h"
#include "platform/device_interfaces.h"

namespace brisk::tcon_board {

// A board behind the USB driver: finding it, opening it, its descriptors, and its endpoints.
// Opening asks the driver for all of it, whatever the caller then uses: the timing-controller board
// counts, opens, and moves data through the control endpoint. Used from one thread at a time. What
// the model has no room for is passed over: configurations beyond the second, interfaces beyond the
// eighth of one, endpoints beyond the fifteenth of one.
class CUsbDevice {
 public:
  static constexpr size_t kConfigs = 2;
  using Text = std::array<char16_t, 128>;  // not terminated when full
  using Name = std::array<char, 256>;

  // A window, where there is one, is told of boards that come and go.
  CUsbDevice(DeviceInterfaces& interfaces, Devices& devices, void* window, const Guid& classGuid,
             bool openNow);
  CUsbDevice(const CUsbDevice&) = delete;
  CUsbDevice& operator=(const CUsbDevice&) = delete;
  ~CUsbDevice();

  // The present devices of the class, 255 at most; also kept in `deviceCount`.
  uint8_t CountDevices();
  // Opens a board and reads it. False when it cannot be opened, and also when it has no interface
  // in its first configuration; it stays open then. Blocks for the driver's answers.
  bool OpenDevice(uint8_t index);
  // Throws std::runtime_error when the system refuses to give up the notification or the handle.
  void CloseDevice();
  bool IsOpen() const { return slot_.device != nullptr; }
  bool ResetPort();
  // A synchronous request; fails on a closed device.
  bool Query(uint32_t code, void* buffer, uint32_t length);
  // Makes the configuration current whose string index equals `value`, the first for 0 and when
  // none does, and the interface of it that the driver has selected.
  void SelectInterface(uint8_t value);

  uint8_t deviceCount = 0;
  uint8_t deviceIndex = 0;
  std::string path;  // at most 255 characters
  uint32_t bytesReturned = 0;

  DeviceDescriptor descriptor;  // zeros while there is none
  uint16_t languageId = 0;
  Text manufacturer{};  // empty when the device names no such string
  Text product{};
  Text serialNumber{};
  uint8_t address = 0;
  Name deviceName{};
  Name friendlyName{};
  uint32_t driverVersion = 0;
  uint32_t secondVersion = 0;
  bool highSpeed = false;
  uint32_t usbdStatus = 0;  // of the last descriptor request
  uint32_t ntStatus = 0;

  uint8_t currentConfig = 0;
  uint8_t currentInterface = 0;  // its place in the configuration, alternate settings included
  uint8_t currentAlternate = 0;

  CUsbControlEndPoint* control() const { return control_.get(); }
  const CUsbConfig* config(size_t index) const { return configs_[index].get(); }
  // The first endpoint of its kind and direction in the current interface; null when absent.
  struct EndPoints {
    CUsbEndPoint* isochronousIn = nullptr;
    CUsbEndPoint* isochronousOut = nullptr;
    CUsbEndPoint* bulkIn = nullptr;
    CUsbEndPoint* bulkOut = nullptr;
    CUsbEndPoint* interruptIn = nullptr;
    CUsbEndPoint* interruptOut = nullptr;
  };
  EndPoints endPoints;

 private:
  void Forget();
  bool OpenPath(uint8_t index);
  // What came, at most `length` bytes; empty on failure.
  std::vector<uint8_t> DescriptorRequest(uint16_t value, uint16_t index, uint16_t length);
  // The string descriptor: asked for its length, then whole. Empty on failure.
  std::vector<uint8_t> StringDescriptor(uint8_t index, uint16_t language);
  void ReadDescriptor();
  void ReadLanguage();
  void ReadText(uint8_t index, Text* text);
  void ReadDriverFacts();
  template <typename Number>
  Number QueryNumber(uint32_t code);
  void ReadConfigs();
  void MakeControl();
  void ReferEndPoints(CUsbInterface& selected);

  DeviceInterfaces& interfaces_;
  Devices& devices_;
  const Guid class_;
  void* const window_;
  std::unique_ptr<DeviceNotification> classNotification_;
  std::unique_ptr<DeviceNotification> handleNotification_;
  DeviceSlot slot_;  // outlives the endpoints below
  std::shared_ptr<CUsbControlEndPoint> control_;
  std::array<std::unique_ptr<CUsbConfig>, kConfigs> configs_;
};

}  // namespace brisk::tcon_board
