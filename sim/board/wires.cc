#include "sim/board/wires.h"

#include "sim/board/trace.h"

namespace brisk::sim {

I2cWires::Driver I2cWires::AddDriver() { return 1U << drivers_++; }

void I2cWires::AddDevice(I2cDevice& device) { devices_.push_back(&device); }

void I2cWires::Drive(Driver driver, bool scl, bool sda) {
  sclPulled_ = scl ? sclPulled_ & ~driver : sclPulled_ | driver;
  sdaPulled_ = sda ? sdaPulled_ & ~driver : sdaPulled_ | driver;
  if (resolving_) {
    again_ = true;
  } else {
    Resolve();
  }
}

// A device that changes a line while it is being told of an edge is heard after every device has
// been told of that edge, so that all of them see the same sequence of levels.
void I2cWires::Resolve() {
  resolving_ = true;
  do {
    again_ = false;
    const bool scl = sclPulled_ == 0;
    const bool sda = sdaPulled_ == 0;
    if (scl == scl_ && sda == sda_) continue;
    scl_ = scl;
    sda_ = sda;
    trace_.Set(Trace::kScl, scl);
    trace_.Set(Trace::kSda, sda);
    for (I2cDevice* device : devices_) device->LinesChanged(scl, sda);
  } while (again_);
  resolving_ = false;
}

void SpiWires::Drive(bool cs, bool sck, bool mosi) {
  if (cs == cs_ && sck == sck_ && mosi == mosi_) return;
  cs_ = cs;
  sck_ = sck;
  mosi_ = mosi;
  if (device_ != nullptr) {
    device_->LinesChanged(cs, sck, mosi);
    miso_ = cs || device_->Miso();
  }
  if (!trace_.enabled()) return;
  trace_.Set(Trace::kCs, cs);
  trace_.Set(Trace::kSck, sck);
  trace_.Set(Trace::kMosi, mosi);
  trace_.Set(Trace::kMiso, miso_);
}

void PictureWires::Drive(bool one, bool zero) {
  if (one == one_ && zero == zero_) return;
  one_ = one;
  zero_ = zero;
  trace_.Set(Trace::kOne, one);
  trace_.Set(Trace::kZero, zero);
  if (device_ != nullptr) device_->LinesChanged(one, zero);
}

}  // namespace brisk::sim
