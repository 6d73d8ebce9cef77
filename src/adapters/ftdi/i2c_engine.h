#pragma once

#include <cstdint>

#include "adapters/ftdi/hi_speed_devices.h"
#include "adapters/ftdi/mpsse.h"
#include "adapters/ftdi/mpsse_line.h"
#include "base/bytes.h"

namespace brisk::ftdi {

// Turns I2C operations into MPSSE commands. One object serves every handle of its owner, and all
// handles share the pins' shadows: what the pins of the interface used last were told. Handles have
// been checked by the caller, who also holds the engine lock. A missing answer costs 5 seconds; a
// transaction that fails stops where it is, without a STOP.
class CMpsseI2c : public CMpsseHiSpeedDevices {
 public:
  using CMpsseHiSpeedDevices::CMpsseHiSpeedDevices;

  enum class WriteType : uint8_t { kNone, kByte, kPage };  // kByte: the first byte only
  enum class ReadType : uint8_t { kByte = 1, kBlock };     // kByte: one, answered with NACK

  struct Acknowledge {
    bool wanted;  // false: the ninth clock is left out
    uint32_t timeoutMs;
  };
  // Control bytes: the address byte and register or command bytes, at least one.
  struct WriteRequest {
    Bytes control;
    Acknowledge controlAck;
    bool stop;
    WriteType type;
    Bytes data;
    Acknowledge dataAck;
  };
  struct ReadRequest {
    Buffer control;  // the read flag of the first is the caller's to see afterwards
    Acknowledge controlAck;
    ReadType type;
    Buffer data;
  };

  // No handle is known any more, and the shadows are 0.
  void Reset();

  // From a handle just opened to an idle bus; about 100 ms, and up to 10 s without answers.
  StatusCode Initialise(uint32_t handle, uint32_t divisor);
  StatusCode SetClockDivisor(uint32_t handle, uint32_t divisor);
  StatusCode SetLoopback(uint32_t handle, bool on);

  StatusCode Write(uint32_t handle, const WriteRequest& request);
  StatusCode Read(uint32_t handle, const ReadRequest& request);

  void QueueReadBits(uint32_t bitCount);
  // The bytes of `bitCount` bits, waited for.
  StatusCode ReadBits(uint32_t handle, uint8_t* destination, uint32_t bitCount);

  // Pins for other uses than the bus. Pin reads give them 5 ms before.
  StatusCode SetLowPins(uint32_t handle, uint8_t mask, uint8_t levels);  // makes them outputs
  StatusCode SetHighPins(uint32_t handle, Pins pins);
  Answer<uint8_t> GetGpios(uint32_t handle);                   // GPIOH0 to GPIOH3
  StatusCode SetHiSpeedLowGpios(uint32_t handle, Pins gpioL);  // GPIOL0 to GPIOL3
  Answer<uint8_t> GetHiSpeedLowGpios(uint32_t handle);
  // GPIOH0 to GPIOH7 of an FT2232H; an FT4232H has none, which is no failure.
  StatusCode SetHiSpeedHighGpios(uint32_t handle, Pins pins);
  Answer<uint8_t> GetHiSpeedHighGpios(uint32_t handle);
  void WaitForPins();

  // For sequences that are built elsewhere: the line, the low byte's shadows, and the command that
  // sets the low byte to them, several times where the state shall last.
  using CMpsseHiSpeedDevices::line;
  Pins& low() { return low_; }
  void DriveBus() { low_.Drive(kI2cPins, kI2cOutputs); }
  void ReleaseBus() { low_.Drive(kI2cPins, kReleasedOutputs); }
  void QueuePins(unsigned times = 1);
  void QueuePinsWithOutputs(uint8_t outputs);

 private:
  unsigned HoldOf(uint32_t handle);
  unsigned StandardHoldOf(uint32_t handle) const;
  void QueueStart(uint32_t handle, bool gpioL0High);
  StatusCode SendStop(uint32_t handle);
  void QueueByte(uint32_t handle, uint8_t byte);
  StatusCode ReadAcknowledge(uint32_t handle, uint32_t timeoutMs, StatusCode late);
  StatusCode AwaitAcknowledge(uint32_t handle, uint32_t timeoutMs, StatusCode late);
  StatusCode ReadByte(uint32_t handle, uint8_t* destination);
  StatusCode ReadByteWithNack(uint32_t handle, uint8_t* destination);
  StatusCode ReadBlock(uint32_t handle, Buffer data);
  StatusCode WriteByte(uint32_t handle, uint8_t byte, Acknowledge ack, StatusCode late);
  StatusCode StartAndWriteByte(uint32_t handle, uint8_t byte, Acknowledge ack, bool gpioL0High);
  StatusCode WriteControlBytes(uint32_t handle, Bytes control, Acknowledge ack);
  StatusCode WriteData(uint32_t handle, const WriteRequest& request);
  StatusCode RequestBits(uint32_t handle, uint32_t bitCount);
  StatusCode DriveSdaAgain(uint32_t handle);
  StatusCode IdlePins(uint32_t handle, uint32_t divisor);
  Answer<uint8_t> ReadPins(uint32_t handle, MpsseCommand command);

  Pins low_;
};

}  // namespace brisk::ftdi
