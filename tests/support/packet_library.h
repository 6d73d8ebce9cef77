#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "contracts/debug_board.h"
#include "sim/config/bench.h"

namespace brisk {

struct PacketLibraryState {
  using Packet = debug_board::Packet;
  struct Exchange {
    Packet command{};
    Packet data{};
    bool statusRead = false;
  };

  bool board = true;
  uint32_t status = 1;  // what status reads return
  std::function<Packet(const Packet& command)> reply = [](const Packet&) { return Packet{}; };
  std::vector<Exchange> exchanges;
  std::vector<std::string> opened;
  int closed = 0;
  bool expectData = false;
  std::string error;
};

// Stands in for the debug board's library: writes down every transfer and answers as a test says.
class PacketLibrary {
 public:
  using Exchange = PacketLibraryState::Exchange;

  static void Install(sim::Bench& bench, bool withBoard = true) {
    state = {};
    state.board = withBoard;
    const auto address = [](auto function) { return reinterpret_cast<void*>(function); };
    bench.libraries().Add("WinIo", {{"W6563_OpenDev", 0, address(OpenDev)},
                                    {"W6563_OpenPipe", 0, address(OpenPipe)},
                                    {"W6563_BulkWrite", 0, address(BulkWrite)},
                                    {"W6563_BulkRead", 0, address(BulkRead)},
                                    {"W6563_CloseHandle", 0, address(CloseHandle)}});
  }

  // What was exchanged since the last call.
  static std::vector<Exchange> Take() {
    EXPECT_TRUE(state.error.empty()) << state.error;
    return std::exchange(state.exchanges, {});
  }

  static inline PacketLibraryState state;

 private:
  static inline char handles[3];

  static void* BRISK_CALL OpenDev() {
    return state.board ? &handles[2] : reinterpret_cast<void*>(~uintptr_t{0});
  }
  static void* BRISK_CALL OpenPipe(const char* name) {
    state.opened.emplace_back(name);
    return &handles[std::strcmp(name, "PIPE00") == 0 ? 0 : 1];
  }
  static uint32_t BRISK_CALL BulkWrite(void* pipe, void* buffer, uint32_t length, uint32_t* count) {
    auto* bytes = static_cast<uint8_t*>(buffer);
    if (length != 64 || count == nullptr) state.error = "a packet of another length";
    if (!state.expectData) {
      state.exchanges.emplace_back();
      std::memcpy(state.exchanges.back().command.data(), bytes, 64);
      if (pipe != &handles[0]) state.error = "a command on the wrong pipe";
      state.expectData = true;
      return 0;
    }
    Exchange& exchange = state.exchanges.back();
    const bool toBoard = exchange.command[0] == 0x38;
    if (pipe != &handles[toBoard ? 0 : 1]) state.error = "data on the wrong pipe";
    if (!toBoard) {
      std::memcpy(bytes, state.reply(exchange.command).data(), 64);
    }
    std::memcpy(exchange.data.data(), bytes, 64);
    state.expectData = false;
    return 0;
  }
  static uint32_t BRISK_CALL BulkRead(void* pipe, void* /*buffer*/, uint32_t length,
                                      uint32_t* /*count*/) {
    if (pipe != &handles[1] || length != 1 || state.expectData || state.exchanges.empty() ||
        state.exchanges.back().statusRead) {
      state.error = "a status read out of order";
      return 0;
    }
    state.exchanges.back().statusRead = true;
    return state.status;
  }
  static void BRISK_CALL CloseHandle(void* /*handle*/) { ++state.closed; }
};

}  // namespace brisk
