// As a device sends them: USB 2.0, chapter 9.6.
#include <iterator>
#include <string_view>

#include "sim/adapters/tcon_board/fx2_board.h"

namespace brisk::sim {
namespace {

constexpr uint8_t kDevice[] = {18,   1,               // length, type
                               0x00, 0x02,            // USB 2.0
                               0xFF, 0xFF, 0xFF, 64,  // vendor class, 64-byte packets on endpoint 0
                               0xB4, 0x04,            // Cypress
                               0x13, 0x86,            // EZ-USB FX2 without its own descriptors
                               0x01, 0xA0,            // release
                               1,    2,    3,         // manufacturer, product, serial number
                               1};                    // configurations

constexpr uint8_t kConfiguration[] = {
    9, 2, 69,   0, 1,    1,    0,    0x80, 50,  // the configuration, with all that follows
    9, 4, 0,    0, 6,    0xFF, 0xFF, 0xFF, 0,   // the interface, six endpoints
    7, 5, 0x02, 2, 0x00, 0x02, 0,               // bulk out, 512
    7, 5, 0x86, 2, 0x00, 0x02, 0,               // bulk in, 512
    7, 5, 0x01, 3, 64,   0,    1,               // interrupt out
    7, 5, 0x81, 3, 64,   0,    1,               // interrupt in
    7, 5, 0x04, 1, 0x00, 0x14, 1,               // isochronous out, 3 x 1024
    7, 5, 0x88, 1, 0x00, 0x04, 1,               // isochronous in, 1024
    9, 4, 0,    1, 0,    0xFF, 0xFF, 0xFF, 0};  // its alternate setting, no endpoints
static_assert(sizeof kConfiguration == 69);

constexpr std::string_view kTexts[] = {"Simulated bench", "Timing controller board", "SIM0001"};

}  // namespace

std::vector<uint8_t> Fx2Descriptor(uint16_t value) {
  const size_t index = value & 0xFF;
  if (value >> 8 == kDevice[1]) return {std::begin(kDevice), std::end(kDevice)};
  if (value == kConfiguration[1] << 8) {
    return {std::begin(kConfiguration), std::end(kConfiguration)};
  }
  if (value >> 8 != 3 || index > std::size(kTexts)) return {};
  std::vector<uint8_t> bytes = {0, 3};
  if (index == 0) {
    bytes.insert(bytes.end(), {0x07, 0x04, 0x09, 0x04});  // German, American English
  } else {
    for (const char letter : kTexts[index - 1]) {
      bytes.insert(bytes.end(), {static_cast<uint8_t>(letter), 0});
    }
  }
  bytes[0] = static_cast<uint8_t>(bytes.size());
  return bytes;
}

}  // namespace brisk::sim
