#include "device/device_types.h"

#include <array>

namespace brisk {
namespace {

constexpr Cell O = kOwn;
constexpr Cell N = kNone;
constexpr bool yes = true;
constexpr bool no = false;

// clang-format off
constexpr std::array<DeviceType, kDeviceTypes> kTypes = {{
  //               pic- word lines divi- gene- bus bits str- str- read  write head regis- blocks clock flash flash chan- ans- always null null
  //               ture            ders  rator          ing  ingEx String String    ters                     Id   nels  wers sent   Rx   Input
  {"lpt",          O,   O,   O,    O,    0,    O,  O,   O,   O,   O,    1,    O,   O,     O,     O,    O,    O,   O,    no,  no,    1,   1},
  {"u2c",          O,   O,   O,    O,    O,    O,  0,   O,   O,   O,    1,    O,   O,     O,     O,    O,    O,   O,    no,  no,    1,   1},
  {"debug-board",  1,   O,   O,    1,    O,    O,  1,   1,   1,   1,    1,    1,   O,     O,     N,    O,    O,   O,    yes, yes,   0,   0},
  {"uart",         1,   N,   1,    1,    0,    O,  1,   1,   1,   O,    O,    1,   O,     O,     N,    0,    0,   O,    no,  no,    1,   1},
  {"tcon-usb",     0,   N,   0,    0,    0,    0,  0,   1,  -2,   1,    1,    0,   O,     O,     O,    0,    0,   O,    no,  no,    1,   1},
  {"lpt-b",        O,   O,   O,    O,    0,    O,  O,   O,   O,   O,    1,    O,   O,     O,     O,    O,    O,   O,    no,  no,    1,   1},
  {"",             0,   N,   0,    0,    0,    0,  0,   0,   0,   0,    0,    0,   0,     0,     N,    0,    0,   0,    no,  no,    0,   0},
  {"text-bridge",  0,   N,   0,    0,    0,    O,  0,   1,  -2,   1,    1,    0,   0,     O,     N,    0,    1,   O,    no,  no,    1,   1},
  {"ftdi",         1,   N,   1,    1,    0,    0,  0,   0,   0,   0,    0,    0,   0,     O,     O,    O,    O,   1,    no,  no,    1,   1},
  {"lpt-c",        O,   O,   O,    O,    0,    O,  O,   O,   O,   O,    1,    O,   O,     O,     O,    O,    O,   O,    no,  no,    1,   1},
}};
// clang-format on

constexpr DeviceType kNoType = kTypes[6];

}  // namespace

const DeviceType& TypeOf(uint8_t deviceType) {
  return deviceType < kDeviceTypes ? kTypes[deviceType] : kNoType;
}

}  // namespace brisk
