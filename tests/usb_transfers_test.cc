// The transfers of the USB device class at its driver: the bytes of every request, and what it
// makes of answers.
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "sim/config/bench.h"
#include "support/calls.h"
#include "support/files.h"
#include "support/usb_fake_driver.h"

namespace brisk::tcon_board {
namespace {

using Bytes = std::vector<uint8_t>;
using Reply = FakeDriver::Reply;
using Request = FakeDriver::Request;

struct TransferCase {
  const char* name;
  std::function<bool(CUsbDevice& device, uint8_t* buffer, uint32_t* length)> call;
  uint32_t length, code;
  const char* header;   // its beginning
  const char* offsets;  // its last eight bytes
  uint32_t extra;       // bytes behind the header
};

bool WriteControl(CUsbDevice& device, uint8_t* buffer, uint32_t* length) {
  device.control()->timeOut = 50;
  device.control()->requestCode = 0xA2;
  device.control()->value = 0x1234;
  device.control()->index = 0x5678;
  return device.control()->ControlWrite(buffer, length);
}
bool ReadControl(CUsbDevice& device, uint8_t* buffer, uint32_t* length) {
  device.control()->timeOut = 0;
  device.control()->recipient = 1;
  device.control()->requestType = 1;
  return device.control()->ControlRead(buffer, length);
}
bool SendDirectly(CUsbDevice& device, uint8_t* buffer, uint32_t* length) {
  device.endPoints.bulkOut->mode = TransferMode::kDirect;
  return device.endPoints.bulkOut->Transfer(buffer, length);
}
bool ReadBuffered(CUsbDevice& device, uint8_t* buffer, uint32_t* length) {
  device.endPoints.interruptIn->mode = TransferMode::kBuffered;
  return device.endPoints.interruptIn->Transfer(buffer, length);
}
bool ReadIsochronously(CUsbDevice& device, uint8_t* buffer, uint32_t* length) {
  return device.endPoints.isochronousIn->Transfer(buffer, length);
}

// The isochronous one has two packets, with 8 bytes each in front of the data.
const TransferCase kTransfers[] = {
    {"control write", WriteControl, 1, 0x220020, "40A234127856010001", "2600000001", 1},
    {"control read", ReadControl, 3, 0x220020, "A10000000000030000", "2600000003", 3},
    {"direct bulk", SendDirectly, 5, 0x22004B, "0000000000000000000000000002", "", 0},
    {"buffered interrupt", ReadBuffered, 5, 0x220024, "0000000000000000000000000081", "2600000005",
     5},
    {"isochronous", ReadIsochronously, 3073, 0x220024,
     "0000000000000000000000000088000000000000000026000000100000", "36000000010C", 16 + 3073},
};

TEST_F(UsbDevice, RecordsByteForByte) {
  driver.transfer = [](const Request& request, uint8_t* out) {
    out[request.outSize - 1] = 0x5A;
    return Reply{true, request.outSize};
  };
  for (const TransferCase& test : kTransfers) {
    SCOPED_TRACE(test.name);
    UsbBoard device;
    driver.requests.clear();
    Bytes buffer(4000, 0x11);
    uint32_t length = test.length;
    EXPECT_TRUE(test.call(device, buffer.data(), &length));
    ASSERT_EQ(driver.requests.size(), 1u);
    const Request& request = driver.requests[0];
    EXPECT_EQ(request.code, test.code);
    Bytes header = Unhex(test.header);
    header.resize(30);
    for (const uint8_t byte : Unhex(test.offsets)) header.push_back(byte);
    header.resize(38);
    EXPECT_EQ(Bytes(request.in.begin(), request.in.begin() + 38), header);
    EXPECT_EQ(request.in.size(), 38 + test.extra);
    EXPECT_EQ(request.outSize, test.extra == 0 ? 5 : request.in.size());
    if ((request.in[0] | request.in[13]) & 0x80) {
      EXPECT_EQ(buffer[length - 1], 0x5A);
    }
  }
}

TEST_F(UsbDevice, FailingTransfers) {
  UsbBoard device;
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
  UsbBoard device(true, &window);
  EXPECT_EQ(driver.notifications, 2);
  device.CloseDevice();
  EXPECT_EQ(driver.notifications, 1);
  EXPECT_TRUE(device.OpenDevice(0));
  for (bool* closes : {&driver.notificationCloses, &driver.closes}) {
    *closes = false;
    try {
      device.CloseDevice();
      ADD_FAILURE();
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), closes == &driver.closes
                                     ? "Failed to close handle to driver."
                                     : "Failed to close the handle notification handle.");
    }
    driver.notificationCloses = true;
  }
  EXPECT_FALSE(device.IsOpen());
}

// The whole class over the simulated board, whose bulk endpoints give back what they were sent.
TEST(UsbDeviceOnTheBench, Transfers) {
  ASSERT_EQ(sim::ReplaceBench("adapter=tcon-usb"), "");
  {
    UsbBoard device;
    uint8_t firmware = 0;
    uint32_t one = 1;
    device.control()->requestCode = 0xA0;
    EXPECT_TRUE(device.control()->ControlWrite(&firmware, &one));
    EXPECT_EQ(std::u16string(device.manufacturer.data()), u"Simulated bench");
    EXPECT_TRUE(device.highSpeed);
    for (const TransferMode mode : {TransferMode::kDirect, TransferMode::kBuffered}) {
      for (auto* endPoint : {device.endPoints.bulkOut, device.endPoints.bulkIn}) {
        endPoint->mode = mode;
        endPoint->timeOut = 100;
      }
      Bytes out = RandomBytes(1000);
      Bytes in(1200);
      uint32_t length = 1000;
      EXPECT_TRUE(device.endPoints.bulkOut->Transfer(out.data(), &length));
      length = 1200;
      EXPECT_TRUE(device.endPoints.bulkIn->Transfer(in.data(), &length));
      in.resize(length);
      EXPECT_EQ(in, out);
      const uint64_t before = sim::bench().clock().Now();
      EXPECT_FALSE(device.endPoints.bulkIn->Transfer(in.data(), &length));  // nothing comes
      EXPECT_GE(sim::bench().clock().Now() - before, 100'000'000u);
    }
    Bytes in(3000);
    uint32_t length = 3000;
    EXPECT_TRUE(device.endPoints.isochronousIn->Transfer(in.data(), &length));
    EXPECT_EQ(length, 3000u);
    EXPECT_EQ(in[300], 300 & 0xFF);
    EXPECT_TRUE(device.ResetPort());
  }
  sim::ReplaceBench("adapter=lpt");
}

}  // namespace
}  // namespace brisk::tcon_board
