// The USB boards as users of the Linux library meet them: the operating system's platform, and the
// vendor libraries' stand-ins found by the dynamic loader.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "brisk/brisk.h"

#include "api/attach.h"
#include "platform/platform.h"
#include "support/calls.h"
#include "support/child_process.h"
#include "support/firmware_folder.h"
#include "support/usb_transfers.h"

namespace brisk {
namespace {

using tcon_board::CUsbDevice;
using tcon_board::UsbBoard;
using Bytes = std::vector<uint8_t>;

class ShippedLibrary : public testing::Test {
 protected:
  ShippedLibrary() { AttachLibrary(); }
  ~ShippedLibrary() override {
    BriskSetDevice(0);
    DetachLibrary();
  }

 private:
  const FirmwareFolder folder_;
};

// A process of its own has a bench of its own, with a fault. It must come before the tests that
// make this process load libusb's stand-in.
class FaultyBoard : public testing::Test {
 protected:
  template <typename Body>
  static void With(const std::string& fault, Body body) {
    SCOPED_TRACE(fault);
    Child child([&] {
      setenv("BRISK_SIM", ("adapter=tcon-usb,fault=" + fault).c_str(), 1);
      body();
      return HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.Wait(), 0);
  }
};

// A request straight to the controller's ROM, which needs no firmware.
bool SendToRom(CUsbDevice& device, uint32_t timeOut) {
  uint8_t byte = 0;
  uint32_t length = 1;
  device.control()->requestCode = 0xA0;
  device.control()->timeOut = timeOut;
  return device.control()->ControlWrite(&byte, &length);
}

TEST_F(FaultyBoard, StatusWords) {
  struct Case {
    const char* fault;
    uint32_t timeOut;  // ours; libusb is told 1 s
    uint32_t nt;
    uint32_t usbd;
  };
  for (const Case& test : {Case{"usb-stall@9", 50, 0, 0},
                           {"usb-stall", 50, 0xC0000001, 0xC0000004},
                           {"usb-time-out", 50, 0xC0000120, 0xC0010000},       // we cancel
                           {"usb-time-out", 1900, 0xC00000B5, 0xC0006000}}) {  // libusb gives up
    With(test.fault, [&] {
      UsbBoard device;
      EXPECT_EQ(SendToRom(device, test.timeOut), test.nt == 0);
      EXPECT_EQ(device.control()->ntStatus, test.nt);
      EXPECT_EQ(device.control()->usbdStatus, test.usbd);
    });
  }
}

TEST_F(FaultyBoard, ShortAnswer) {
  With("usb-short", [] {
    UsbBoard device;
    Bytes in(10, 0x77);
    uint32_t length = 10;
    device.control()->requestCode = 0xA0;
    EXPECT_TRUE(device.control()->ControlRead(in.data(), &length));
    EXPECT_EQ(length, 9u);
    EXPECT_EQ(in[8], 0);
    EXPECT_EQ(in[9], 0x77);
  });
}

TEST_F(FaultyBoard, UnpluggedWhileOpen) {
  With("usb-unplug@100", [] {
    const UsbBoard other;  // keeps the bench loaded
    UsbBoard device;
    int good = 0;
    while (good < 200 && SendToRom(device, 50)) ++good;
    EXPECT_GT(good, 0);
    EXPECT_LT(good, 100);
    EXPECT_FALSE(SendToRom(device, 50));
    EXPECT_EQ(device.CountDevices(), 0);
    EXPECT_FALSE(device.OpenDevice(0));
    EXPECT_FALSE(device.IsOpen());
  });
}

TEST_F(ShippedLibrary, FilesAreNamedWithTheirFolder) {
  EXPECT_EQ(platform().files.AbsolutePath("x"), (std::filesystem::current_path() / "x").string());
  EXPECT_EQ(platform().files.AbsolutePath("/x"), "/x");
}

TEST_F(ShippedLibrary, TimingControllerBoard) {
  ASSERT_EQ(BriskSetDevice(4), 1);
  EXPECT_EQ(Call("SetPortVal 7 5A"), "1");
  EXPECT_EQ(Call("GetPortVal 7 1"), "1 5A");
  EXPECT_EQ(Call("I2cWriteData F4 20 5A*100"), "1");
  EXPECT_EQ(Call("I2cReadData F4 20 100"), "1 " + Hex(Bytes(100, 0x5A).data(), 100));
  EXPECT_EQ(Call("I2cReadByte 20 0 1"), "0 00");  // nobody there: the board stalls
}

TEST_F(ShippedLibrary, EveryKindOfTransfer) {
  ASSERT_EQ(BriskSetDevice(4), 1);  // loads the firmware
  UsbBoard device;
  EXPECT_EQ(device.address, 7);
  ExpectEveryTransfer(device);
}

TEST_F(ShippedLibrary, AnAbortConcernsOneEndpoint) {
  ASSERT_EQ(BriskSetDevice(4), 1);
  const UsbBoard found;
  const auto device = platform().devices.Open(found.path.c_str(), {});
  const auto abort = [&](uint8_t endpoint) {
    uint32_t returned = 0;
    EXPECT_TRUE(device->Control(tcon_board::kAbortEndpoint, &endpoint, 1, nullptr, 0, &returned));
  };
  tcon_board::TransferHeader header{.endpoint = found.endPoints.bulkIn->address};
  Bytes in(10);
  const auto request =
      device->Begin(tcon_board::kDirectTransfer, &header, sizeof header, in.data(), 10);
  abort(found.endPoints.interruptIn->address);
  EXPECT_FALSE(request->Wait(20));
  abort(header.endpoint);
  EXPECT_TRUE(request->Wait(20));
}

}  // namespace
}  // namespace brisk
