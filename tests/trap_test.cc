// The real port instructions of the library against a simulated port: without permission they trap,
// a handler carries them out on a model of the parallel port and steps over them. An independent
// decoder then reads back what I2cWriteByte put on the lines.
#include <cstdint>
#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <csignal>
#include <sys/io.h>
#include <ucontext.h>
#include <unistd.h>
#endif

#include "brisk/brisk.h"

#include "support/i2c_monitor.h"

namespace {

constexpr uint16_t kData = 0x378;
constexpr uint16_t kStatus = 0x379;
constexpr uint8_t kAcknowledge = 0x6F;  // SDA comes in on bit 4

struct Write {
  uint16_t port;
  uint8_t value;
};

// Filled by the handler; room for more than the test needs, since a handler must not allocate.
Write writes[4096];
size_t writeCount = 0;
size_t readCount = 0;
uint8_t statusValue = kAcknowledge;

// One trapped instruction at `code`: out %al,%dx / in %dx,%al / the forms with an immediate port.
// Returns its length, 0 when it is something else.
size_t Emulate(const uint8_t* code, uint16_t dx, uint8_t* al) {
  const bool immediate = code[0] == 0xE6 || code[0] == 0xE4;
  const uint16_t port = immediate ? code[1] : dx;
  switch (code[0]) {
    case 0xEE:
    case 0xE6:
      if (writeCount < std::size(writes)) writes[writeCount++] = {port, *al};
      break;
    case 0xEC:
    case 0xE4:
      ++readCount;
      *al = port == kStatus ? statusValue : 0xFF;
      break;
    default:
      return 0;
  }
  return immediate ? 2 : 1;
}

#ifdef _WIN32
LONG CALLBACK OnTrap(EXCEPTION_POINTERS* trap) {
  if (trap->ExceptionRecord->ExceptionCode != EXCEPTION_PRIV_INSTRUCTION) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  CONTEXT& context = *trap->ContextRecord;
#ifdef _WIN64
  DWORD64& ip = context.Rip;
  DWORD64& ax = context.Rax;
  const auto dx = static_cast<uint16_t>(context.Rdx);
#else
  DWORD& ip = context.Eip;
  DWORD& ax = context.Eax;
  const auto dx = static_cast<uint16_t>(context.Edx);
#endif
  auto al = static_cast<uint8_t>(ax);
  const size_t length = Emulate(reinterpret_cast<const uint8_t*>(ip), dx, &al);
  if (length == 0) return EXCEPTION_CONTINUE_SEARCH;
  ax = (ax & ~decltype(context.Dr0){0xFF}) | al;
  ip += length;
  return EXCEPTION_CONTINUE_EXECUTION;
}

class Traps {
 public:
  Traps() : handler_(AddVectoredExceptionHandler(1, OnTrap)) {}
  Traps(const Traps&) = delete;
  Traps& operator=(const Traps&) = delete;
  ~Traps() { RemoveVectoredExceptionHandler(handler_); }

 private:
  void* handler_;
};
#else
void OnTrap(int number, siginfo_t* info, void* place) {
  auto& registers = static_cast<ucontext_t*>(place)->uc_mcontext.gregs;
  auto al = static_cast<uint8_t>(registers[REG_RAX]);
  const size_t length = info->si_code == SI_KERNEL
                            ? Emulate(reinterpret_cast<const uint8_t*>(registers[REG_RIP]),
                                      static_cast<uint16_t>(registers[REG_RDX]), &al)
                            : 0;
  if (length == 0) {
    signal(number, SIG_DFL);  // something else: let it end the process
    return;
  }
  registers[REG_RAX] = (registers[REG_RAX] & ~greg_t{0xFF}) | al;
  registers[REG_RIP] += static_cast<greg_t>(length);
}

// Gives up the permission that attaching the library got as root, so that the instructions trap.
class Traps {
 public:
  Traps() {
    ioperm(kData, 3, 0);
    struct sigaction action = {};
    action.sa_sigaction = OnTrap;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, &old_);
  }
  Traps(const Traps&) = delete;
  Traps& operator=(const Traps&) = delete;
  ~Traps() { sigaction(SIGSEGV, &old_, nullptr); }

 private:
  struct sigaction old_ = {};
};
#endif

TEST(Trap, ExportsReachTheRegisters) {
  BriskSetDevice(0);
  uint8_t status = 0;
  {
    const Traps traps;
    EXPECT_EQ(Lpt_Output(0x57), 0u);
    statusValue = 0xA8;
    EXPECT_EQ(Lpt_Input(&status), 0u);
    statusValue = kAcknowledge;
    I2c_Stop();  // the images start with both lines low; the decoder with both high
    readCount = 0;
    EXPECT_EQ(I2cWriteByte(0xA0, 0x01, 0x55), 1u);
  }
  EXPECT_EQ(status, 0xA8);
  EXPECT_EQ(readCount, 3u);  // one acknowledge a byte
  ASSERT_GT(writeCount, 4u);
  EXPECT_EQ(writes[0].value, 0x57);
  // The data register's bits 0 (SDA) and 1 (SCL); the master leaves acknowledges high.
  brisk::I2cMonitor monitor;
  for (size_t i = 0; i < writeCount; ++i) {
    EXPECT_EQ(writes[i].port, kData);
    if (i < 4) continue;  // Lpt_Output and the stop
    EXPECT_EQ(writes[i].value & 0xFC, 0xFC);
    monitor.LinesChanged((writes[i].value & 2) != 0, (writes[i].value & 1) != 0);
  }
  EXPECT_EQ(monitor.Take(), "S A0- 01- 55- P");
}

}  // namespace
