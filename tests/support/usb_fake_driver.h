#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "contracts/tcon_driver.h"
#include "platform/device_control.h"
#include "sim/config/bench.h"
#include "usb_board.h"

namespace brisk::tcon_board {

// A driver whose every answer a test gives.
struct FakeDriver final : DeviceInterfaces {
  // What a test makes of one request: whether it succeeds, and the byte count.
  struct Reply {
    bool success = true;
    uint32_t count = 0;
    uint32_t startError = kErrorIoPending;
    bool answers = true;  // else it stays pending until it is cancelled
  };

  struct Request {
    uint32_t code;
    std::vector<uint8_t> in;
    uint32_t outSize;
  };

  std::vector<std::string> paths = {"first", "second"};
  std::vector<uint32_t> enumeration = {0, kErrorNoMoreItems};
  std::map<uint16_t, std::vector<uint8_t>> descriptors;  // by value
  std::function<Reply(const Request& request, uint8_t* out)> transfer;
  std::vector<Request> requests;
  bool closes = true;
  bool notificationCloses = true;
  int open = 0;
  int notifications = 0;
  bool cancelled = false;

  struct Set final : DeviceInterfaceSet {
    explicit Set(FakeDriver& owner) : driver(owner) {}
    uint32_t Enumerate(uint32_t index) override {
      return index < driver.enumeration.size() ? driver.enumeration[index] : kErrorNoMoreItems;
    }
    std::string Path(uint32_t index) override { return driver.paths.at(index); }
    FakeDriver& driver;
  };
  struct Notice final : DeviceNotification {
    explicit Notice(FakeDriver& owner) : driver(owner) { ++driver.notifications; }
    bool Close() override {
      if (driver.notificationCloses) --driver.notifications;
      return driver.notificationCloses;
    }
    FakeDriver& driver;
  };
  std::unique_ptr<DeviceInterfaceSet> Present(const Guid& interfaceClass) override {
    EXPECT_EQ(interfaceClass, kTconInterfaceClass);
    return std::make_unique<Set>(*this);
  }
  std::unique_ptr<DeviceNotification> NotifyOfClass(void* /*window*/, const Guid&) override {
    return std::make_unique<Notice>(*this);
  }
  std::unique_ptr<DeviceNotification> NotifyOfHandle(void* /*window*/, void*) override {
    return std::make_unique<Notice>(*this);
  }

  // Descriptor requests are answered from the map, queries with zeros.
  Reply Run(uint32_t code, const void* in, uint32_t inSize, void* out, uint32_t outSize) {
    const auto* bytes = static_cast<const uint8_t*>(in);
    requests.push_back({code, std::vector<uint8_t>(bytes, bytes + inSize), outSize});
    auto* target = static_cast<uint8_t*>(out);
    const Request& request = requests.back();
    if (code == 0x220020 && request.in[0] == 0x80) {
      const auto found = descriptors.find(ReadAs<uint16_t>(Bytes(request.in).subspan(2)));
      if (found == descriptors.end()) return {false, 0};
      const size_t count = std::min<size_t>(found->second.size(), outSize - 38);
      std::copy_n(found->second.begin(), count, target + 38);
      return {true, static_cast<uint32_t>(38 + count)};
    }
    return transfer ? transfer(request, target) : Reply{true, outSize};
  }

  struct Pending final : PendingRequest {
    Pending(FakeDriver& owner, Reply given) : driver(owner), reply(given) {}
    uint32_t StartError() const override { return reply.startError; }
    bool Wait(uint32_t /*milliseconds*/) override { return reply.answers; }
    void Wait() override { EXPECT_TRUE(driver.cancelled); }
    bool Result(uint32_t* bytesReturned) override {
      *bytesReturned = reply.answers ? reply.count : 0;
      return reply.success && reply.answers;
    }
    FakeDriver& driver;
    Reply reply;
  };
  struct OpenDevice final : OpenedDevice {
    explicit OpenDevice(FakeDriver& owner) : driver(owner) { ++driver.open; }
    ~OpenDevice() override { --driver.open; }
    bool Control(uint32_t code, const void* in, uint32_t inSize, void* out, uint32_t outSize,
                 uint32_t* bytesReturned) override {
      const Reply reply = driver.Run(code, in, inSize, out, outSize);
      if (code == 0x220044) driver.cancelled = true;
      *bytesReturned = reply.count;
      return reply.success;
    }
    std::unique_ptr<PendingRequest> Begin(uint32_t code, const void* in, uint32_t inSize, void* out,
                                          uint32_t outSize) override {
      return std::make_unique<Pending>(driver, driver.Run(code, in, inSize, out, outSize));
    }
    bool Close() override { return driver.closes; }
    void* Handle() const override { return nullptr; }
    FakeDriver& driver;
  };
};

using Reply = FakeDriver::Reply;
using Request = FakeDriver::Request;

inline std::vector<uint8_t> DeviceBytes(uint16_t vendor, uint8_t configs) {
  std::vector<uint8_t> bytes = {18, 1,    0,    2,    0xFF, 0, 0, 64, 0,
                                0,  0x13, 0x86, 0x01, 0xA0, 1, 2, 0,  configs};
  bytes[8] = static_cast<uint8_t>(vendor);
  bytes[9] = static_cast<uint8_t>(vendor >> 8);
  return bytes;
}

inline const std::vector<uint8_t> kConfig = {
    9, 2, 46,   0, 1,    1,    0, 0x80, 50,  //
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
          path, [this, path](const DeviceOpenMode& mode) -> std::unique_ptr<OpenedDevice> {
            EXPECT_TRUE(mode.overlapped && mode.shareRead && mode.shareWrite && mode.write);
            opened += path[0];
            if (refused.contains(opened.size())) return nullptr;
            if (vendors.contains(path)) {
              driver.descriptors[0x0100] = DeviceBytes(vendors[path], 1);
            }
            return std::make_unique<FakeDriver::OpenDevice>(driver);
          });
    }
    driver.descriptors[0x0100] = DeviceBytes(0x04B4, 1);
    driver.descriptors[0x0200] = kConfig;
  }
  ~UsbDevice() override { sim::ReplaceBench("adapter=lpt"); }

  FakeDriver driver;
  std::map<std::string, uint16_t> vendors;  // by path, where it matters
  std::string opened;                       // first letters of the paths, refused ones included
  std::set<size_t> refused;                 // which openings, from 1
};

}  // namespace brisk::tcon_board
