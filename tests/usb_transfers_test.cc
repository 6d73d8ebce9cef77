// The transfers of the USB device class at its driver: the bytes of every request, and what it
// makes of answers.
#include "support/usb_transfers.h"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "sim/config/bench.h"
#include "support/calls.h"
#include "support/firmware_folder.h"
#include "support/usb_fake_driver.h"

namespace brisk::tcon_board {
namespace {

using Bytes = std::vector<uint8_t>;

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

// A status word of the driver fails a transfer although bytes moved; a driver that lies about
// counts and offsets harms nobody.
TEST_F(UsbDevice, AnswersOfTheDriver) {
  const struct {
    const char* name;
    Reply reply;
    size_t spoilt;  // byte of the record; 1 does not matter
    bool result;
    uint32_t length;
    bool cancelled = false;
  } kCases[] = {{"USBD status", {true, 42}, 14, false, 4},
                {"system status", {true, 42}, 18, false, 4},
                {"no answer", {.answers = false}, 1, false, 0, true},
                {"not started", {true, 42, 5}, 1, false, 4},
                {"done at once", {true, 42, kErrorNone}, 1, true, 4},
                {"count too large", {true, 0xFFFFFFFF}, 1, true, 4},
                {"offset too large", {true, 0xFFFFFFFF}, 33, true, 4},
                {"short", {true, 40}, 1, true, 2}};
  UsbBoard device;
  Bytes buffer(4, 0x11);
  uint32_t length = 0;
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.name);
    driver.transfer = [&](const Request& request, uint8_t* out) {
      if (request.outSize != 0) out[test.spoilt] = 0xFF;
      return test.reply;
    };
    driver.cancelled = false;
    length = 4;
    EXPECT_EQ(device.control()->ControlRead(buffer.data(), &length), test.result);
    EXPECT_EQ(length, test.length);
    EXPECT_EQ(device.control()->lastError, test.reply.startError);
    EXPECT_EQ(driver.cancelled, test.cancelled);
    // The abort names its endpoint.
    EXPECT_EQ(driver.requests.back().in == Bytes{0}, test.cancelled);
  }
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

// Over the simulated board and its driver.
TEST(UsbDeviceOnTheBench, Transfers) {
  ASSERT_EQ(sim::ReplaceBench("adapter=tcon-usb"), "");
  {
    const FirmwareFolder folder;
    UsbLink link;
    EXPECT_TRUE(link->Connect());  // loads the firmware
    UsbBoard device;
    ExpectEveryTransfer(device);
  }
  sim::ReplaceBench("adapter=lpt");
}

}  // namespace
}  // namespace brisk::tcon_board
