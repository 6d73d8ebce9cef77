// The USB device class at its driver: the bytes of every request, and what it makes of answers.
#include "adapters/tcon_board/usb_device.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "adapters/tcon_board/tcon_usb.h"
#include "sim/config/bench.h"
#include "support/files.h"
#include "support/usb_fake_driver.h"

namespace brisk::usb {
namespace {

using Bytes = std::vector<uint8_t>;
using Reply = FakeDriver::Reply;
using Request = FakeDriver::Request;

Bytes DeviceDescriptor(uint16_t vendor, uint8_t configs) {
  Bytes bytes = {18, 1, 0, 2, 0xFF, 0, 0, 64, 0, 0, 0x13, 0x86, 0x01, 0xA0, 1, 2, 0, configs};
  bytes[8] = static_cast<uint8_t>(vendor);
  bytes[9] = static_cast<uint8_t>(vendor >> 8);
  return bytes;
}

const Bytes kConfig = {9, 2, 46,   0, 1,    1,    0, 0x80, 50,  //
                       9, 4, 0,    0, 4,    0xFF, 1, 2,    0,   //
                       7, 5, 0x02, 2, 0x00, 0x02, 0,            // bulk out, 512
                       7, 5, 0x86, 2, 0x00, 0x02, 0,            // bulk in, 512
                       7, 5, 0x88, 1, 0x00, 0x14, 1,            // isochronous in, 3 x 1024
                       7, 5, 0x81, 3, 64,   0,    1};           // interrupt in

class UsbDevice : public testing::Test {
 protected:
  UsbDevice() {
    EXPECT_EQ(sim::ReplaceBench("adapter=lpt"), "");
    sim::bench().deviceInterfaces().Connect(&driver);
    for (const char* path : {"first", "second"}) {
      sim::bench().devices().Add(
          path, [this, path](const DeviceOpenMode& mode) -> std::unique_ptr<Device> {
            EXPECT_TRUE(mode.overlapped && mode.shareRead && mode.shareWrite && mode.write);
            opened += path[0];
            if (refused.contains(opened.size())) return nullptr;
            if (vendors.contains(path)) {
              driver.descriptors[0x0100] = DeviceDescriptor(vendors[path], 1);
            }
            return std::make_unique<FakeDriver::OpenDevice>(driver);
          });
    }
    driver.descriptors[0x0100] = DeviceDescriptor(0x04B4, 1);
    driver.descriptors[0x0200] = kConfig;
  }
  ~UsbDevice() override { sim::ReplaceBench("adapter=lpt"); }

  static Bytes Header(Bytes bytes, uint8_t offset, uint8_t length) {
    bytes.resize(38);
    bytes[30] = offset;
    bytes[34] = length;
    return bytes;
  }

  FakeDriver driver;
  std::map<std::string, uint16_t> vendors;  // by path, where it matters
  std::string opened;                       // first letters of the paths, refused ones included
  std::set<size_t> refused;                 // which openings, from 1
};

class FindingTheBoard : public UsbDevice {
 protected:
  TconUsbBackEnd backEnd;
};

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
    uint8_t result;
  };
  driver.enumeration = {0, 0, kErrorNoMoreItems};
  for (const Case& test : {Case{"none", kForeign, kForeign, {}, "fffs", 0, 0},
                           {"busy for a moment", kForeign, kOurs, {4}, "fffss", 1, 1},
                           {"the first is busy", kForeign, kOurs, {1, 2, 3, 4}, "ffffs", 1, 1},
                           {"both are busy", kOurs, kOurs, {1, 2, 3, 4, 5, 6}, "ffffss", 2, 0},
                           {"first", kOurs, kForeign, {}, "fff", 0, 1},
                           {"behind another", kForeign, kOurs, {}, "fffs", 0, 1}}) {
    SCOPED_TRACE(test.name);
    vendors = {{"first", test.first}, {"second", test.second}};
    refused = test.refused;
    opened.clear();
    TconUsbBackEnd fresh;  // one that has found a board never loses it
    const uint64_t before = sim::bench().clock().Now();
    EXPECT_EQ(fresh.Select(), test.result);
    EXPECT_EQ((sim::bench().clock().Now() - before) / 1'000'000, test.seconds * 1000);
    EXPECT_EQ(opened, test.opened);
  }
}

// The driver is told 10 s while firmware is loaded and 1 s, the least it can be told, afterwards.
TEST_F(FindingTheBoard, TimeOutsInTheRequests) {
  const TemporaryFolder folder;
  const std::string text = ":03000000020100FA\n:00000001FF\n";
  WriteFile(folder.File("x"), Bytes(text.begin(), text.end()));
  EXPECT_EQ(backEnd.Select(), 1);
  driver.requests.clear();
  EXPECT_TRUE(backEnd.DownloadFirmware(folder.File("x").c_str(), RamKind::kInternal));
  backEnd.SetPortVal(1, 2);
  backEnd.I2cWriteByte(0xF4, 1, 2);
  std::vector<std::pair<int, int>> told;
  for (const Request& request : driver.requests) {
    told.emplace_back(request.in[1], request.in[8] | request.in[9] << 8);
  }
  EXPECT_EQ(told, (std::vector<std::pair<int, int>>{
                      {0xA0, 10}, {0xA0, 10}, {0xA0, 10}, {0xC1, 1}, {0xA4, 1}, {0xA2, 1}}));
}

TEST_F(UsbDevice, Counting) {
  CUsbDevice device(nullptr, kTconInterfaceClass, false);
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
  const std::vector<std::pair<uint32_t, Bytes>> facts = {
      {0x220010, {9}},          {0x22003C, {'N', 'a', 'm', 'e'}}, {0x220040, {'F', 'r'}},
      {0x220000, {0, 5, 5, 1}}, {0x220004, {4, 3, 2, 1}},         {0x22004C, {2, 0, 0, 0}},
      {0x220008, {0}}};
  driver.transfer = [&](const Request& request, uint8_t* out) {
    const auto fact = std::find_if(facts.begin(), facts.end(),
                                   [&](const auto& each) { return each.first == request.code; });
    if (fact == facts.end()) return Reply{false, 0};
    std::copy(fact->second.begin(), fact->second.end(), out);
    return Reply{true, request.outSize};
  };
  CUsbDevice device(nullptr, kTconInterfaceClass, true);
  EXPECT_TRUE(device.IsOpen());
  EXPECT_EQ(device.vendorId, 0x04B4);
  EXPECT_EQ(device.productId, 0x8613);
  EXPECT_EQ(device.release, 0xA001);
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
  EXPECT_EQ(device.configMaxPower, 50);
  EXPECT_EQ(device.interfaceSubClass, 1);
  ASSERT_NE(device.endPoints.isochronousIn, nullptr);
  EXPECT_EQ(device.endPoints.isochronousIn->maxPacketSize, 3072u);
  EXPECT_EQ(device.endPoints.bulkOut->mode, TransferMode::kDirect);
  EXPECT_EQ(device.endPoints.interruptOut, nullptr);
  EXPECT_EQ(device.control()->maxPacketSize, 64u);
  EXPECT_EQ(device.config(0)->interfaces()[0]->endPoint(0), device.control());
  std::vector<uint32_t> asked;
  std::vector<uint32_t> expectedCodes;
  for (const Request& request : driver.requests) {
    if (request.code != 0x220020) asked.push_back(request.code);
  }
  for (const auto& [code, bytes] : facts) expectedCodes.push_back(code);
  EXPECT_EQ(asked, expectedCodes);
  // The first request, byte for byte.
  Bytes expected = Header({0x80, 6, 0, 1, 0, 0, 18, 0, 5}, 38, 18);
  expected.resize(38 + 18);
  EXPECT_EQ(driver.requests[0].in, expected);
  EXPECT_EQ(driver.requests[0].outSize, 56u);
}

// The string index chooses, but never for 0, which is also the index of a configuration without
// one.
TEST_F(UsbDevice, SelectingAConfiguration) {
  driver.descriptors[0x0100] = DeviceDescriptor(0x04B4, 2);
  driver.descriptors[0x0200][6] = 4;
  driver.descriptors[0x0201] = kConfig;
  driver.descriptors[0x0201][5] = 2;
  driver.descriptors[0x0201][6] = 0;
  CUsbDevice device(nullptr, kTconInterfaceClass, true);
  EXPECT_EQ(device.currentConfig, 0);
  EXPECT_EQ(device.configValue, 1);
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
    EXPECT_EQ(device.configValue, test.current + 1);
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
  CUsbDevice device(nullptr, kTconInterfaceClass, false);
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
    EXPECT_EQ(device.interfaceSubClass, test.subClass);
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
  CUsbDevice device(nullptr, kTconInterfaceClass, true);
  EXPECT_EQ(device.endPoints.bulkOut->mode, TransferMode::kBuffered);
}

TEST_F(UsbDevice, StringsThatAreNone) {
  for (const Bytes& text : {Bytes{2, 3}, Bytes{6, 4, 'a', 0, 'b', 0}, Bytes{0, 3, 'a', 0},
                            Bytes{200, 3}, Bytes{1}, Bytes{}}) {
    driver.descriptors[0x0301] = text;
    CUsbDevice device(nullptr, kTconInterfaceClass, true);
    EXPECT_EQ(device.manufacturer[0], 0);
  }
  Bytes longest(255, 'x');
  longest[0] = 255;
  longest[1] = 3;
  driver.descriptors[0x0301] = longest;
  CUsbDevice device(nullptr, kTconInterfaceClass, true);
  EXPECT_EQ(device.manufacturer[125], 'x' << 8 | 'x');
  EXPECT_EQ(device.manufacturer[126], 0);
}

TEST_F(UsbDevice, WithoutInterfacesItStaysOpen) {
  driver.descriptors[0x0200] = {9, 2, 9, 0, 0, 1, 0, 0x80, 50};
  CUsbDevice device(nullptr, kTconInterfaceClass, false);
  EXPECT_FALSE(device.OpenDevice(0));
  EXPECT_TRUE(device.IsOpen());
  EXPECT_NE(device.control(), nullptr);
  driver.enumeration = {};
  EXPECT_FALSE(device.OpenDevice(0));
  EXPECT_FALSE(device.IsOpen());
  EXPECT_EQ(device.vendorId, 0);
  EXPECT_EQ(device.control(), nullptr);
  EXPECT_EQ(driver.open, 0);
}

struct TransferCase {
  const char* name;
  std::function<bool(CUsbDevice& device, uint8_t* buffer, uint32_t* length)> call;
  uint32_t code;
  Bytes header;
  uint32_t extra;  // bytes behind the header
};

TEST_F(UsbDevice, RecordsByteForByte) {
  CUsbDevice device(nullptr, kTconInterfaceClass, true);
  const std::vector<TransferCase> cases = {
      {"control write",
       [](CUsbDevice& d, uint8_t* buffer, uint32_t* length) {
         d.control()->timeOut = 50;
         d.control()->requestCode = 0xA2;
         d.control()->value = 0x1234;
         d.control()->index = 0x5678;
         *length = 1;
         return d.control()->ControlWrite(buffer, length);
       },
       0x220020, Header({0x40, 0xA2, 0x34, 0x12, 0x78, 0x56, 1, 0, 1}, 38, 1), 1},
      {"control read",
       [](CUsbDevice& d, uint8_t* buffer, uint32_t* length) {
         d.control()->timeOut = 0;
         d.control()->recipient = 1;
         d.control()->requestType = 1;
         *length = 3;
         return d.control()->ControlRead(buffer, length);
       },
       0x220020, Header({0xA1, 0xA2, 0x34, 0x12, 0x78, 0x56, 3, 0, 0}, 38, 3), 3},
      {"direct bulk",
       [](CUsbDevice& d, uint8_t* buffer, uint32_t* length) {
         d.endPoints.bulkOut->mode = TransferMode::kDirect;
         *length = 5;
         return d.endPoints.bulkOut->Transfer(buffer, length);
       },
       0x22004B, Header({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x02}, 0, 0), 0},
      {"buffered interrupt",
       [](CUsbDevice& d, uint8_t* buffer, uint32_t* length) {
         d.endPoints.interruptIn->mode = TransferMode::kBuffered;
         *length = 5;
         return d.endPoints.interruptIn->Transfer(buffer, length);
       },
       0x220024, Header({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x81}, 38, 5), 5},
      {"isochronous",
       [](CUsbDevice& d, uint8_t* buffer, uint32_t* length) {
         *length = 3073;  // two packets
         return d.endPoints.isochronousIn->Transfer(buffer, length);
       },
       0x220024,
       [] {
         Bytes header = Header({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x88}, 38 + 16, 1);
         header[22] = 38;
         header[26] = 16;
         header[35] = 0x0C;
         return header;
       }(),
       16 + 3073},
  };
  for (const TransferCase& test : cases) {
    SCOPED_TRACE(test.name);
    driver.requests.clear();
    driver.transfer = [](const Request& request, uint8_t* out) {
      out[request.outSize - 1] = 0x5A;
      return Reply{true, request.outSize};
    };
    Bytes buffer(4000, 0x11);
    uint32_t length = 0;
    EXPECT_TRUE(test.call(device, buffer.data(), &length));
    ASSERT_EQ(driver.requests.size(), 1u);
    const Request& request = driver.requests[0];
    EXPECT_EQ(request.code, test.code);
    EXPECT_EQ(Bytes(request.in.begin(), request.in.begin() + 38), test.header);
    EXPECT_EQ(request.in.size(), 38 + test.extra);
    const bool direct = test.extra == 0;
    EXPECT_EQ(request.outSize, direct ? 5 : request.in.size());
    if ((request.in[0] | request.in[13]) & 0x80) {
      EXPECT_EQ(buffer[length - 1], 0x5A);
    }
  }
}

TEST_F(UsbDevice, FailingTransfers) {
  CUsbDevice device(nullptr, kTconInterfaceClass, true);
  Bytes buffer(4, 0x11);
  uint32_t length = 0;
  const auto read = [&] {
    driver.cancelled = false;
    length = 4;
    return device.control()->ControlRead(buffer.data(), &length);
  };
  // A status word of the driver fails the transfer although bytes moved.
  for (const size_t at : {14, 18}) {
    driver.transfer = [&](const Request& request, uint8_t* out) {
      out[at] = 1;
      return Reply{true, request.outSize};
    };
    EXPECT_FALSE(read());
    EXPECT_EQ(length, 4u);
    EXPECT_FALSE(driver.cancelled);
  }
  driver.transfer = [](const Request&, uint8_t*) { return Reply{.answers = false}; };
  EXPECT_FALSE(read());
  EXPECT_TRUE(driver.cancelled);
  EXPECT_EQ(driver.requests.back().in, Bytes{0});  // the endpoint that was cancelled
  EXPECT_EQ(length, 0u);
  driver.transfer = [](const Request&, uint8_t*) { return Reply{true, 42, 5}; };  // did not start
  EXPECT_FALSE(read());
  EXPECT_EQ(device.control()->lastError, 5u);
  driver.transfer = [](const Request& request, uint8_t*) {
    return Reply{true, request.outSize, kErrorNone};
  };
  EXPECT_TRUE(read());
  // A driver that lies about counts and offsets harms nobody.
  driver.transfer = [](const Request&, uint8_t* out) {
    out[30] = 0xFF;
    out[33] = 0xFF;
    return Reply{true, 0xFFFFFFFF};
  };
  read();
  driver.transfer = [](const Request&, uint8_t*) { return Reply{true, 0xFFFFFFFF}; };
  EXPECT_TRUE(read());
  EXPECT_EQ(length, 4u);
  driver.transfer = [](const Request&, uint8_t*) { return Reply{true, 40}; };  // short
  EXPECT_TRUE(read());
  EXPECT_EQ(length, 2u);
  const size_t sent = driver.requests.size();
  length = 65536;
  EXPECT_FALSE(device.control()->ControlWrite(buffer.data(), &length));
  length = 1;
  EXPECT_FALSE(device.control()->ControlWrite(nullptr, &length));
  device.CloseDevice();
  length = 1;
  EXPECT_FALSE(device.control()->ControlWrite(buffer.data(), &length));
  EXPECT_FALSE(device.Query(0x220010, buffer.data(), 1));
  EXPECT_FALSE(device.ResetPort());
  EXPECT_EQ(driver.requests.size(), sent);
}

TEST_F(UsbDevice, NotificationsAndTheirExceptions) {
  int window = 0;
  CUsbDevice device(&window, kTconInterfaceClass, true);
  EXPECT_EQ(driver.notifications, 2);
  device.CloseDevice();
  EXPECT_EQ(driver.notifications, 1);
  EXPECT_TRUE(device.OpenDevice(0));
  driver.notificationCloses = false;
  try {
    device.CloseDevice();
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "Failed to close the handle notification handle.");
  }
  driver.notificationCloses = true;
  driver.closes = false;
  try {
    device.CloseDevice();
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "Failed to close handle to driver.");
  }
  EXPECT_FALSE(device.IsOpen());
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
  Bytes swallowed = kConfig;
  swallowed[2] = 46 + 9;
  swallowed[13] = 9;  // more endpoints than there are
  swallowed.insert(swallowed.end(), {9, 4, 1, 0, 0, 0, 0, 0, 0});
  Bytes many = {9, 2, 0xFF, 0xFF, 1, 1, 0, 0, 0, 9, 4, 0, 0, 40, 0, 0, 0, 0};
  for (int i = 0; i < 40; ++i) many.insert(many.end(), {7, 5, 0x81, 2, 64, 0, 0});
  Bytes others = {9, 2, 0xFF, 0xFF, 1, 1, 0, 0, 0, 9, 4, 0, 0, 1, 0, 0, 0, 0};
  for (int i = 0; i < 12; ++i) others.insert(others.end(), {2, 0x21});
  others.insert(others.end(), {7, 5, 0x81, 2, 64, 0, 0});
  Bytes eleven = others;
  eleven.erase(eleven.begin() + 18, eleven.begin() + 20);
  Bytes interfaces = {9, 2, 0xFF, 0xFF, 1, 1, 0, 0, 0};
  for (uint8_t i = 0; i < 20; ++i) interfaces.insert(interfaces.end(), {9, 4, i, 0, 0, 0, 0, 0, 0});
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
           {"40 endpoints", many, 1, 15},
           {"12 other descriptors", others, 1, 0},
           {"11 other descriptors", eleven, 1, 1},
           {"20 interfaces", interfaces, 8, 0},
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

// The whole class over the simulated board, bulk and interrupt loops included.
TEST(UsbDeviceOnTheBench, Transfers) {
  ASSERT_EQ(sim::ReplaceBench("adapter=tcon-usb"), "");
  CUsbDevice device(nullptr, kTconInterfaceClass, true);
  ASSERT_TRUE(device.IsOpen());
  EXPECT_EQ(std::u16string(device.manufacturer.data()), u"Simulated bench");
  EXPECT_TRUE(device.highSpeed);
  uint8_t byte = 0;
  uint32_t length = 1;
  device.control()->requestCode = 0xA0;
  EXPECT_TRUE(device.control()->ControlWrite(&byte, &length));
  device.endPoints.bulkOut->timeOut = 100;
  device.endPoints.bulkIn->timeOut = 100;
  Bytes out(1000);
  for (size_t i = 0; i < out.size(); ++i) out[i] = static_cast<uint8_t>(i * 3);
  for (const TransferMode mode : {TransferMode::kDirect, TransferMode::kBuffered}) {
    device.endPoints.bulkOut->mode = device.endPoints.bulkIn->mode = mode;
    length = 1000;
    EXPECT_TRUE(device.endPoints.bulkOut->Transfer(out.data(), &length));
    EXPECT_EQ(length, 1000u);
    Bytes in(1200);
    length = 1200;
    EXPECT_TRUE(device.endPoints.bulkIn->Transfer(in.data(), &length));
    EXPECT_EQ(length, 1000u);
    in.resize(1000);
    EXPECT_EQ(in, out);
    length = 100;
    const uint64_t before = sim::bench().clock().Now();
    EXPECT_FALSE(device.endPoints.bulkIn->Transfer(in.data(), &length));  // nothing comes
    EXPECT_GE(sim::bench().clock().Now() - before, 100'000'000u);
  }
  Bytes in(3000);
  length = 3000;
  EXPECT_TRUE(device.endPoints.isochronousIn->Transfer(in.data(), &length));
  EXPECT_EQ(length, 3000u);
  EXPECT_EQ(in[300], 300 & 0xFF);
  EXPECT_TRUE(device.ResetPort());
  device.CloseDevice();
  sim::ReplaceBench("adapter=lpt");
}

}  // namespace
}  // namespace brisk::usb
