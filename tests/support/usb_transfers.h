#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "files.h"
#include "usb_board.h"

namespace brisk::tcon_board {

// Every kind of transfer with a board that sends back what it was sent, in every mode.
inline void ExpectEveryTransfer(UsbBoard& device) {
  EXPECT_EQ(device.descriptor.vendorId, 0x04B4);
  EXPECT_TRUE(device.highSpeed);
  EXPECT_EQ(std::u16string(device.product.data()), u"Timing controller board");
  EXPECT_EQ(device.endPoints.bulkIn->mode, TransferMode::kDirect);
  std::vector<uint8_t> in(3000);
  uint32_t length = 700;
  for (const TransferMode mode : {TransferMode::kDirect, TransferMode::kBuffered}) {
    for (const auto& [to, from] :
         {std::pair(device.endPoints.bulkOut, device.endPoints.bulkIn),
          std::pair(device.endPoints.interruptOut, device.endPoints.interruptIn)}) {
      to->mode = from->mode = mode;
      std::vector<uint8_t> out = RandomBytes(700);
      length = 700;
      EXPECT_TRUE(to->Transfer(out.data(), &length));
      EXPECT_EQ(length, 700u);
      length = 1000;
      EXPECT_TRUE(from->Transfer(in.data(), &length));
      EXPECT_EQ(std::vector<uint8_t>(in.data(), in.data() + length), out);
      // Nothing more comes: cancelled after its time-out.
      from->timeOut = 50;
      const uint32_t before = platform().clock.TickCount();
      EXPECT_FALSE(from->Transfer(in.data(), &length));
      EXPECT_EQ(length, 0u);
      EXPECT_GE(platform().clock.TickCount() - before, 49u);
      EXPECT_LT(platform().clock.TickCount() - before, 5000u);
    }
  }
  length = 3000;
  EXPECT_TRUE(device.endPoints.isochronousIn->Transfer(in.data(), &length));
  EXPECT_EQ(length, 3000u);
  EXPECT_EQ(in[2999], 2999 & 0xFF);
  EXPECT_TRUE(device.ResetPort());
}

}  // namespace brisk::tcon_board
