#pragma once

#include <cstdint>
#include <vector>

namespace brisk::sim {

class Trace;

// A device on the I2C lines. It is told of every change of the resolved levels and may answer by
// changing what it drives; it never sees calls, only edges.
class I2cDevice {
 public:
  virtual ~I2cDevice() = default;
  virtual void LinesChanged(bool scl, bool sda) = 0;
};

// The two open-drain I2C lines: a line is high when no driver pulls it low. Adapters (masters) and
// devices each take a driver and change only their own. There is room for 32 drivers.
class I2cWires {
 public:
  using Driver = uint32_t;  // one bit, in the masks of those that pull a line low

  explicit I2cWires(Trace& trace) : trace_(trace) {}
  I2cWires(const I2cWires&) = delete;
  I2cWires& operator=(const I2cWires&) = delete;

  Driver AddDriver();
  void AddDevice(I2cDevice& device);  // the device must outlive the wires' use
  // `true` releases a line, `false` pulls it low. Both lines change at the same instant.
  void Drive(Driver driver, bool scl, bool sda);
  bool scl() const { return scl_; }
  bool sda() const { return sda_; }

 private:
  void Resolve();

  Trace& trace_;
  std::vector<I2cDevice*> devices_;
  unsigned drivers_ = 0;
  uint32_t sclPulled_ = 0;
  uint32_t sdaPulled_ = 0;
  bool scl_ = true;
  bool sda_ = true;
  bool resolving_ = false;
  bool again_ = false;
};

// The flash on the SPI lines, mode 0: it samples MOSI on the rising edge of SCK and changes MISO on
// the falling one.
class SpiDevice {
 public:
  virtual ~SpiDevice() = default;
  virtual void LinesChanged(bool cs, bool sck, bool mosi) = 0;
  virtual bool Miso() const = 0;
};

// SPI: chip select (active low), clock and data out are driven by one adapter, data in by the
// device. Without a device, or while it is not selected, MISO is pulled high.
class SpiWires {
 public:
  explicit SpiWires(Trace& trace) : trace_(trace) {}
  SpiWires(const SpiWires&) = delete;
  SpiWires& operator=(const SpiWires&) = delete;

  void SetDevice(SpiDevice* device) { device_ = device; }  // null = none
  // All three change at the same instant.
  void Drive(bool cs, bool sck, bool mosi);
  bool miso() const { return miso_; }

 private:
  Trace& trace_;
  SpiDevice* device_ = nullptr;
  bool cs_ = true;
  bool sck_ = false;
  bool mosi_ = false;
  bool miso_ = true;
};

// The two lines of the controller's picture port; both high is idle.
class PictureDevice {
 public:
  virtual ~PictureDevice() = default;
  virtual void LinesChanged(bool one, bool zero) = 0;
};

// Driven by one adapter, as SPI is; nothing comes back.
class PictureWires {
 public:
  explicit PictureWires(Trace& trace) : trace_(trace) {}
  PictureWires(const PictureWires&) = delete;
  PictureWires& operator=(const PictureWires&) = delete;

  void SetDevice(PictureDevice* device) { device_ = device; }  // null = none
  void Drive(bool one, bool zero);

 private:
  Trace& trace_;
  PictureDevice* device_ = nullptr;
  bool one_ = true;
  bool zero_ = true;
};

}  // namespace brisk::sim
