#include "adapters/lpt/lpt_lines.h"

namespace brisk::lpt {

Status LptLines::Output(uint8_t value) {
  if (driver_.AccessIsDirect()) {
    ports_.Port_Out(base_ + kData, value);
    bLptImage = value & 0xFC;
  } else {
    requestByte_ = value;
    driver_.SendData(&requestByte_);
  }
  return {};
}

Status LptLines::Input(uint8_t* value) {
  if (driver_.AccessIsDirect()) {
    *value = ports_.Port_In(base_ + kStatus);
  } else {
    driver_.ReadStatus(&requestByte_);
    *value = requestByte_;
  }
  return {};
}

}  // namespace brisk::lpt
