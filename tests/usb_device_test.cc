// The USB device class at its driver: finding and opening a device, and what its descriptors say.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "sim/config/bench.h"
#include "support/firmware_folder.h"
#include "support/usb_fake_driver.h"

namespace brisk::tcon_board {
namespace {

using Bytes = std::vector<uint8_t>;

class FindingTheBoard : public UsbDevice {};

// The first device is opened twice before the search begins.
TEST_F(FindingTheBoard, AmongOthers) {
  constexpr uint16_t kOurs = 0x04B4;
  constexpr uint16_t kForeign = 0x0403;
  struct Case {
    const char* name;
    uint16_t first, second;
    std::set<size_t> refused;
    std::string opened;
    uint64_t seconds;
    bool result;
  };
  driver.enumeration = {0, 0, kErrorNoMoreItems};
  for (const Case& test : {Case{"none", kForeign, kForeign, {}, "fffs", 0, false},
                           {"busy for a moment", kForeign, kOurs, {4}, "fffss", 1, true},
                           {"the first is busy", kForeign, kOurs, {1, 2, 3, 4}, "ffffs", 1, true},
                           {"both are busy", kOurs, kOurs, {1, 2, 3, 4, 5, 6}, "ffffss", 2, false},
                           {"first", kOurs, kForeign, {}, "fff", 0, true},
                           {"behind another", kForeign, kOurs, {}, "fffs", 0, true}}) {
    SCOPED_TRACE(test.name);
    vendors = {{"first", test.first}, {"second", test.second}};
    refused = test.refused;
    opened.clear();
    UsbLink fresh;  // one that has found a board never loses it
    const uint64_t before = sim::bench().clock().Now();
    EXPECT_EQ(fresh->Connect(), test.result);
    EXPECT_EQ((sim::bench().clock().Now() - before) / 1'000'000, test.seconds * 1000);
    EXPECT_EQ(opened, test.opened);
  }
}

// The driver is told 10 s while firmware is loaded and 1 s, the least it can be told, afterwards.
TEST_F(FindingTheBoard, TimeOutsInTheRequests) {
  const FirmwareFolder folder;
  UsbLink link;
  EXPECT_TRUE(link->Connect());
  driver.requests.clear();
  EXPECT_TRUE(link->DownloadFirmware("firmware.hex", RamKind::kInternal));
  for (const uint8_t request : {0xC1, 0xA4}) EXPECT_TRUE(link->Write(request, 2, 1, {}).ok());
  std::vector<std::pair<int, int>> told;
  for (const Request& request : driver.requests) {
    told.emplace_back(request.in[1], request.in[8] | request.in[9] << 8);
  }
  EXPECT_EQ(told, (std::vector<std::pair<int, int>>{
                      {0xA0, 10}, {0xA0, 10}, {0xA0, 10}, {0xC1, 1}, {0xA4, 1}}));
}

TEST_F(UsbDevice, Counting) {
  UsbBoard device(false);
  driver.enumeration = {};
  EXPECT_EQ(device.CountDevices(), 0);
  EXPECT_FALSE(device.OpenDevice(0));
  EXPECT_FALSE(device.IsOpen());
  driver.enumeration = {0, 13, 0, kErrorNoMoreItems, 0};  // other errors are passed over
  EXPECT_EQ(device.CountDevices(), 2);
  EXPECT_FALSE(device.OpenDevice(2));
  driver.enumeration.assign(100000, 5);
  EXPECT_EQ(device.CountDevices(), 0);
}

TEST_F(UsbDevice, OpeningReadsTheDevice) {
  driver.descriptors[0x0300] = {6, 3, 0x07, 0x04, 0x09, 0x04};
  driver.descriptors[0x0301] = {6, 3, 'A', 0, 'b', 0};
  driver.descriptors[0x0302] = {2, 3};
  Bytes& config = driver.descriptors[0x0200];
  config[2] += 7;
  config[13] = 5;
  for (const uint8_t each : {7, 5, 0x84, 2, 0, 2, 0}) config.push_back(each);  // bulk in again
  const std::vector<std::pair<uint32_t, Bytes>> facts = {
      {0x220010, {9}},          {0x22003C, {'N', 'a', 'm', 'e'}}, {0x220040, {'F', 'r'}},
      {0x220000, {0, 5, 5, 1}}, {0x220004, {4, 3, 2, 1}},         {0x22004C, {2, 0, 0, 0}},
      {0x220008, {0}}};
  auto fact = facts.begin();  // in this order
  driver.transfer = [&](const Request& request, uint8_t* out) {
    if (fact == facts.end() || request.code != fact->first) return Reply{false, 0};
    std::copy(fact->second.begin(), fact->second.end(), out);
    ++fact;
    return Reply{true, request.outSize};
  };
  UsbBoard device;
  EXPECT_TRUE(device.IsOpen());
  EXPECT_EQ(device.descriptor.vendorId, 0x04B4);
  EXPECT_EQ(device.descriptor.productId, 0x8613);
  EXPECT_EQ(device.descriptor.release, 0xA001);
  EXPECT_EQ(device.languageId, 0x0409);
  EXPECT_EQ(std::u16string(device.manufacturer.data()), u"Ab");
  EXPECT_EQ(device.product[0], 0);
  EXPECT_EQ(device.address, 9);
  EXPECT_TRUE(device.highSpeed);
  EXPECT_EQ(device.driverVersion, 0x01050500u);
  EXPECT_EQ(device.secondVersion, 0x01020304u);
  EXPECT_STREQ(device.deviceName.data(), "Name");
  EXPECT_STREQ(device.friendlyName.data(), "Fr");
  EXPECT_EQ(device.currentAlternate, 0);
  ASSERT_NE(device.config(0), nullptr);
  EXPECT_EQ(device.config(0)->interfaces().size(), 1u);
  EXPECT_EQ(device.current().maxPower, 50);
  EXPECT_EQ(device.interface().subClass, 1);
  ASSERT_NE(device.endPoints.isochronousIn, nullptr);
  EXPECT_EQ(device.endPoints.isochronousIn->maxPacketSize, 3072u);
  EXPECT_EQ(device.endPoints.bulkOut->mode, TransferMode::kDirect);
  EXPECT_EQ(device.endPoints.bulkIn->address, 0x86);  // the first of two
  EXPECT_EQ(device.endPoints.interruptOut, nullptr);
  EXPECT_EQ(device.control()->maxPacketSize, 64u);
  EXPECT_EQ(device.config(0)->interfaces()[0]->endPoint(0), device.control());
  EXPECT_EQ(fact, facts.end());
  // The first request, byte for byte.
  Bytes expected = {0x80, 6, 0, 1, 0, 0, 18, 0, 5};
  expected.resize(38 + 18);
  expected[30] = 38;
  expected[34] = 18;
  EXPECT_EQ(driver.requests[0].in, expected);
  EXPECT_EQ(driver.requests[0].outSize, 56u);
}

// The string index chooses, but never for 0, which is also the index of a configuration without
// one.
TEST_F(UsbDevice, SelectingAConfiguration) {
  driver.descriptors[0x0100] = DeviceBytes(0x04B4, 2);
  driver.descriptors[0x0200][6] = 4;
  driver.descriptors[0x0201] = kConfig;
  driver.descriptors[0x0201][5] = 2;
  driver.descriptors[0x0201][6] = 0;
  UsbBoard device;
  EXPECT_EQ(device.currentConfig, 0);
  EXPECT_EQ(device.current().value, 1);
  struct Case {
    uint8_t second;  // string index of the second configuration
    uint8_t value;
    uint8_t current;
  };
  for (const Case& test : {Case{0, 0, 0}, {5, 5, 1}, {5, 4, 0}, {5, 6, 0}, {4, 4, 0}}) {
    driver.descriptors[0x0201][6] = test.second;
    ASSERT_TRUE(device.OpenDevice(0));
    device.SelectInterface(test.value);
    EXPECT_EQ(device.currentConfig, test.current) << int{test.second} << ", " << int{test.value};
    EXPECT_EQ(device.current().value, test.current + 1);
  }
}

// The interface is the one whose setting the driver reports; without such a one it stays.
TEST_F(UsbDevice, AlternateSettings) {
  driver.descriptors[0x0200] = {9, 2, 27, 0, 1, 1, 0, 0x80, 50,  //
                                9, 4, 0,  0, 0, 1, 2, 3,    0,   //
                                9, 4, 0,  1, 0, 4, 5, 6,    0};
  struct Case {
    bool answers;
    uint8_t reported;
    uint8_t current;  // alternate setting
    uint8_t index;
    uint8_t subClass;
  };
  UsbBoard device(false);
  for (const Case& test : {Case{true, 0, 0, 0, 2},
                           {true, 1, 1, 1, 5},
                           {true, 7, 7, 1, 5},
                           {false, 0, 0xFF, 1, 5},
                           {true, 0, 0, 0, 2}}) {
    driver.transfer = [&](const Request& request, uint8_t* out) {
      if (request.code != 0x220008) return Reply{false, 0};
      *out = test.reported;
      return Reply{test.answers, 1};
    };
    EXPECT_TRUE(device.OpenDevice(0));
    EXPECT_EQ(device.currentAlternate, test.current);
    EXPECT_EQ(device.currentInterface, test.index);
    EXPECT_EQ(device.interface().subClass, test.subClass);
    EXPECT_EQ(device.driverVersion, 0u);
    EXPECT_EQ(device.deviceName[0], 0);
  }
}

TEST_F(UsbDevice, OldDriversGetBufferedTransfers) {
  driver.transfer = [](const Request& request, uint8_t* out) {
    const uint32_t word = 0x010504FF;
    std::memcpy(out, &word, std::min<size_t>(4, request.outSize));
    return Reply{true, request.outSize};
  };
  driver.descriptors[0x0200][12] = 0xFF;  // the alternate setting that the driver then reports
  UsbBoard device;
  EXPECT_EQ(device.endPoints.bulkOut->mode, TransferMode::kBuffered);
}

TEST_F(UsbDevice, StringsThatAreNone) {
  for (const Bytes& text : {Bytes{2, 3}, Bytes{6, 4, 'a', 0, 'b', 0}, Bytes{0, 3, 'a', 0},
                            Bytes{200, 3}, Bytes{1}, Bytes{}}) {
    driver.descriptors[0x0301] = text;
    UsbBoard device;
    EXPECT_EQ(device.manufacturer[0], 0);
  }
  Bytes longest(255, 'x');
  longest[0] = 255;
  longest[1] = 3;
  driver.descriptors[0x0301] = longest;
  UsbBoard device;
  EXPECT_EQ(device.manufacturer[125], 'x' << 8 | 'x');
  EXPECT_EQ(device.manufacturer[126], 0);
}

TEST_F(UsbDevice, WithoutInterfacesItStaysOpen) {
  driver.descriptors[0x0200] = {9, 2, 9, 0, 0, 1, 0, 0x80, 50};
  UsbBoard device(false);
  EXPECT_FALSE(device.OpenDevice(0));
  EXPECT_TRUE(device.IsOpen());
  EXPECT_NE(device.control(), nullptr);
  driver.enumeration = {};
  EXPECT_FALSE(device.OpenDevice(0));
  EXPECT_FALSE(device.IsOpen());
  EXPECT_EQ(device.descriptor.vendorId, 0);
  EXPECT_EQ(device.control(), nullptr);
  EXPECT_EQ(driver.open, 0);
}

// Configurations that lie, by what is left of them.
TEST(UsbConfig, MalformedDescriptors) {
  struct Case {
    const char* name;
    Bytes bytes;
    size_t interfaces;
    size_t endPoints;  // of the first interface
  };
  const auto with = [](size_t at, uint8_t value) {
    Bytes bytes = kConfig;
    bytes[at] = value;
    return bytes;
  };
  // A configuration of as much as comes: `times` times the same, and an end.
  const auto made = [](Bytes bytes, int times, const Bytes& part, const Bytes& end = {}) {
    bytes.insert(bytes.begin(), {9, 2, 0xFF, 0xFF, 1, 1, 0, 0, 0});
    for (int i = 0; i < times; ++i) bytes.insert(bytes.end(), part.begin(), part.end());
    bytes.insert(bytes.end(), end.begin(), end.end());
    return bytes;
  };
  Bytes swallowed = kConfig;
  swallowed[2] = 46 + 9;
  swallowed[13] = 9;  // more endpoints than there are
  swallowed.insert(swallowed.end(), {9, 4, 1, 0, 0, 0, 0, 0, 0});
  const Bytes endPoint = {7, 5, 0x81, 2, 64, 0, 0};
  const Bytes one = {9, 4, 0, 0, 1, 0, 0, 0, 0};
  for (const Case& test : {
           Case{"well formed", kConfig, 1, 4},
           {"nothing", {}, 0, 0},
           {"cut configuration", Bytes(kConfig.begin(), kConfig.begin() + 8), 0, 0},
           {"length 0 of the configuration", with(0, 0), 0, 0},
           {"length 0 of the interface", with(9, 0), 0, 0},
           {"short interface", with(9, 8), 0, 0},
           {"length 0 of an endpoint", with(25, 0), 1, 1},
           {"short endpoint", with(25, 6), 1, 1},
           {"endpoint behind the end", with(39, 20), 1, 3},
           {"total too small", with(2, 32), 1, 2},
           {"total too large", with(2, 0xFF), 1, 4},
           {"no kind", with(28, 5), 1, 3},
           {"interface inside another", swallowed, 2, 4},
           {"40 endpoints", made({9, 4, 0, 0, 40, 0, 0, 0, 0}, 40, endPoint), 1, 15},
           {"12 other descriptors", made(one, 12, {2, 0x21}, endPoint), 1, 0},
           {"11 other descriptors", made(one, 11, {2, 0x21}, endPoint), 1, 1},
           {"20 interfaces", made({}, 20, {9, 4, 0, 0, 0, 0, 0, 0, 0}), 8, 0},
       }) {
    SCOPED_TRACE(test.name);
    const DeviceSlot slot;
    const CUsbConfig config(slot, test.bytes);
    ASSERT_EQ(config.interfaces().size(), test.interfaces);
    if (test.interfaces == 0) continue;
    size_t endPoints = 0;
    for (size_t i = 1; i < CUsbInterface::kEndPoints; ++i) {
      if (config.interfaces()[0]->endPoint(i) != nullptr) ++endPoints;
    }
    EXPECT_EQ(endPoints, test.endPoints);
  }
}

}  // namespace
}  // namespace brisk::tcon_board
