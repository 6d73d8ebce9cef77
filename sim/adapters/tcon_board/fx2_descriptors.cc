#include "sim/adapters/tcon_board/fx2_descriptors.h"

#include <string_view>

namespace brisk::sim {
namespace {

void Append(std::vector<uint8_t>* to, std::initializer_list<int> bytes) {
  for (const int byte : bytes) to->push_back(static_cast<uint8_t>(byte));
}

}  // namespace

std::vector<uint8_t> Fx2DeviceDescriptor() {
  std::vector<uint8_t> bytes;
  Append(&bytes, {18, 1,                 // length, type
                  0x00, 0x02,            // USB 2.0
                  0xFF, 0xFF, 0xFF, 64,  // vendor class, packets of 64 on endpoint 0
                  0xB4, 0x04,            // Cypress
                  0x13, 0x86,            // EZ-USB FX2 without its own descriptors
                  0x01, 0xA0,            // release
                  1, 2, 3, 1});          // manufacturer, product, serial number; configurations
  return bytes;
}

std::vector<uint8_t> Fx2ConfigDescriptor() {
  std::vector<uint8_t> bytes;
  Append(&bytes, {9, 2, 0, 0, 1, 1, 0, 0x80, 50});
  Append(&bytes, {9, 4, 0, 0, 6, 0xFF, 0xFF, 0xFF, 0});
  Append(&bytes, {7, 5, 0x02, 2, 0x00, 0x02, 0});  // bulk out, 512
  Append(&bytes, {7, 5, 0x86, 2, 0x00, 0x02, 0});  // bulk in, 512
  Append(&bytes, {7, 5, 0x01, 3, 64, 0, 1});       // interrupt out
  Append(&bytes, {7, 5, 0x81, 3, 64, 0, 1});       // interrupt in
  Append(&bytes, {7, 5, 0x04, 1, 0x00, 0x14, 1});  // isochronous out, 3 x 1024
  Append(&bytes, {7, 5, 0x88, 1, 0x00, 0x04, 1});  // isochronous in, 1024
  Append(&bytes, {9, 4, 0, 1, 0, 0xFF, 0xFF, 0xFF, 0});
  bytes[2] = static_cast<uint8_t>(bytes.size());
  return bytes;
}

std::vector<uint8_t> Fx2StringDescriptor(uint8_t index) {
  constexpr std::string_view kTexts[] = {"Simulated bench", "Timing controller board", "SIM0001"};
  std::vector<uint8_t> bytes = {0, 3};
  if (index == 0) {
    Append(&bytes, {0x07, 0x04, 0x09, 0x04});  // German, American English
  } else if (index <= std::size(kTexts)) {
    for (const char letter : kTexts[index - 1]) Append(&bytes, {letter, 0});
  } else {
    return {};
  }
  bytes[0] = static_cast<uint8_t>(bytes.size());
  return bytes;
}

}  // namespace brisk::sim
