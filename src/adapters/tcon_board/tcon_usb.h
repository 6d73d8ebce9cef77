#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>

#include "adapters/tcon_board/intel_hex.h"
#include "adapters/tcon_board/usb_device.h"
#include "api/back_end.h"

namespace brisk::usb {

// Device type 4: the timing-controller board, an EZ-USB FX2 controller whose firmware is loaded
// into its RAM from "firmware.hex" of the process's current directory at every connect.
//
// Selecting the device type connects; so does the first operation that finds the board not
// connected, except the bus-speed requests, which do nothing while there is no board. Once a board
// has been found and loaded, later connect steps report success whatever they find. A firmware file
// that cannot be opened is reported on the debug log; the board then counts as connected all the
// same. A malformed record is reported with its line and left out.
//
// A null pointer that should hold or receive bytes fails before anything is sent. Outputs of failed
// reads are left alone, except by I2cReadByte and I2cReadData, which clear them first. A block read
// of no bytes ends with the result of its write phase.
//
// Selecting a device type runs without the global lock, so every operation holds the lock of this
// object for its whole length: a connect waits for the operation under way. Where both are held,
// the global lock was taken first.
class TconUsbBackEnd : public BackEnd {
 public:
  uint8_t Select() override;  // the connect step: 1 = connected

  uint32_t I2cWriteByte(uint8_t device, uint8_t subAddress, uint8_t data) override;
  uint32_t I2cReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) override;
  uint32_t I2cWriteData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                        const uint8_t* data, uint32_t dataLength) override;
  uint32_t I2cReadData(uint8_t device, const uint8_t* command, uint32_t commandLength,
                       uint8_t* data, uint32_t dataLength) override;
  void I2cSetClockRate(uint32_t kHz) override;
  uint32_t SetPortVal(uint8_t port, uint8_t value) override;
  uint32_t GetPortVal(uint8_t port, uint8_t* value) override;

  // These switch the bus speed by their channel and move no data; the result is 0.
  uint8_t I2cLib_Write(uint8_t channel, uint16_t address, const uint8_t* first,
                       uint32_t firstLength, const uint8_t* second, uint32_t secondLength) override;
  uint8_t I2cLib_Read(uint8_t channel, uint16_t address, uint8_t* data, uint32_t length) override;
  uint8_t I2cLib_WriteRead(uint8_t channel, uint16_t address, const uint8_t* write,
                           uint32_t writeLength, uint8_t* read, uint32_t readLength) override;

  // Fixed results: these touch no hardware.
  int32_t I2c_ReadStringEx(const char* /*command*/) override { return -2; }
  uint32_t I2c_String(const char* /*command*/) override { return 1; }
  uint32_t I2c_ReadString(char* /*result*/, const char* /*command*/) override { return 1; }
  uint32_t I2c_WriteString(char* /*count*/, const char* /*text*/) override { return 1; }

  // Loads the file's records into the chosen RAM; internal RAM with the CPU held in reset
  // meanwhile. False when the file cannot be opened, and then nothing was sent.
  bool DownloadFirmware(const char* path, RamKind kind);

 private:
  CUsbControlEndPoint* Control();  // with the time-out set
  void ConnectWhenNeeded();
  void FindBoard();
  void HoldCpu(bool hold);
  bool Write(uint8_t request, uint16_t value, uint16_t index, std::span<const uint8_t> bytes);
  bool Read(uint8_t request, uint16_t value, uint16_t index, std::span<uint8_t> bytes);
  void SetSpeed(uint8_t request);
  void SwitchChannel(uint8_t channel);

  std::recursive_mutex mutex_;  // an operation connects, and connecting downloads
  std::unique_ptr<CUsbDevice> board_;
  bool connected_ = false;
  bool firmwareLoaded_ = false;  // never cleared
  uint8_t channel_ = 2;          // of the last speed switch
};

}  // namespace brisk::usb
