// COM ports through the Win32 communication calls: DCB and COMMTIMEOUTS set the line, overlapped
// requests move the bytes.
#include <algorithm>
#include <list>
#include <vector>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"
#include "platform/win32/module.h"

namespace brisk::os {
namespace {

// A write under way: its record and bytes must stay where they are until the system is done.
struct QueuedWrite {
  explicit QueuedWrite(const uint8_t* first, size_t count)
      : bytes(first, first + count), event(CreateEventA(nullptr, TRUE, FALSE, nullptr)) {
    overlapped.hEvent = event.get();
  }
  std::vector<uint8_t> bytes;
  UniqueHandle event;
  OVERLAPPED overlapped = {};
};

// Requests are overlapped and signal an event of their own. Completion routines would run only when
// the thread that issued the request waits alertably, which a library cannot ask of its callers,
// and would be lost with that thread; finished writes are instead collected at the next call.
class ComPort final : public SerialPort {
 public:
  explicit ComPort(HANDLE handle) : handle_(handle) {}
  ComPort(const ComPort&) = delete;
  ComPort& operator=(const ComPort&) = delete;
  ~ComPort() override { Close(); }

  // Changes what it must and leaves flow control and special characters as the port had them.
  void Configure(uint32_t bitsPerSecond) override {
    bitsPerSecond_ = bitsPerSecond;
    DCB settings = {};
    settings.DCBlength = sizeof settings;
    GetCommState(handle_.get(), &settings);
    settings.BaudRate = bitsPerSecond;
    settings.fBinary = TRUE;
    settings.fNull = FALSE;
    settings.ByteSize = 8;
    settings.Parity = NOPARITY;
    settings.StopBits = ONESTOPBIT;
    SetCommState(handle_.get(), &settings);
    COMMTIMEOUTS timeouts = {};
    GetCommTimeouts(handle_.get(), &timeouts);
    timeouts.ReadIntervalTimeout = MAXDWORD;  // with both totals 0: return what has arrived
    timeouts.ReadTotalTimeoutMultiplier = 0;
    timeouts.ReadTotalTimeoutConstant = 0;
    SetCommTimeouts(handle_.get(), &timeouts);
  }

  void Write(const uint8_t* bytes, size_t count) override {
    if (!handle_ || count == 0) return;
    DropFinished();
    QueuedWrite& write = writes_.emplace_back(bytes, count);
    const BOOL done = WriteFile(handle_.get(), write.bytes.data(), static_cast<DWORD>(count),
                                nullptr, &write.overlapped);
    if (done == 0 && GetLastError() != ERROR_IO_PENDING) writes_.pop_back();
  }

  uint32_t BytesWaiting() override {
    DWORD errors = 0;
    COMSTAT status = {};
    if (!handle_ || ClearCommError(handle_.get(), &errors, &status) == 0) return 0;
    return status.cbInQue;
  }

  // Never asks for more than has arrived, so that the request completes at once even on a port that
  // did not take the time-outs.
  size_t Read(uint8_t* buffer, size_t count) override {
    const DWORD wanted = static_cast<DWORD>(std::min<size_t>(count, BytesWaiting()));
    if (wanted == 0) return 0;
    const UniqueHandle event(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    OVERLAPPED overlapped = {};
    overlapped.hEvent = event.get();
    DWORD received = 0;
    if (ReadFile(handle_.get(), buffer, wanted, nullptr, &overlapped) == 0 &&
        GetLastError() != ERROR_IO_PENDING) {
      return 0;
    }
    return GetOverlappedResult(handle_.get(), &overlapped, &received, TRUE) != 0 ? received : 0;
  }

  int Close() override {
    if (!handle_) return 0;
    WaitForWrites();
    return handle_.Close() ? 1 : 0;
  }

 private:
  static constexpr DWORD kGraceMs = 500;  // beyond the time the bytes need on the line

  void DropFinished() {
    writes_.remove_if(
        [](const QueuedWrite& write) { return HasOverlappedIoCompleted(&write.overlapped); });
  }

  // A peer that holds up the flow control would keep the writes forever: they are given up then.
  void WaitForWrites() {
    size_t bytes = 0;
    for (const QueuedWrite& write : writes_) bytes += write.bytes.size();
    const uint64_t onTheLine = uint64_t{10000} * bytes / std::max<uint32_t>(bitsPerSecond_, 1);
    const DWORD limit = static_cast<DWORD>(std::min<uint64_t>(onTheLine, 60000)) + kGraceMs;
    const DWORD start = GetTickCount();
    for (QueuedWrite& write : writes_) {
      const DWORD elapsed = GetTickCount() - start;
      if (WaitForSingleObject(write.event.get(), elapsed < limit ? limit - elapsed : 0) !=
          WAIT_OBJECT_0) {
        PurgeComm(handle_.get(), PURGE_TXABORT | PURGE_TXCLEAR);
        DWORD sent = 0;
        GetOverlappedResult(handle_.get(), &write.overlapped, &sent, TRUE);
      }
    }
    writes_.clear();
  }

  UniqueHandle handle_;
  std::list<QueuedWrite> writes_;
  uint32_t bitsPerSecond_ = 9600;
};

// "COM10" and above are found only in the form with the prefix, the others in both.
class WindowsSerialPorts final : public SerialPorts {
 public:
  std::unique_ptr<SerialPort> Open(unsigned number, std::string* whyNot) override {
    const std::string path = "\\\\.\\COM" + std::to_string(number);
    HANDLE handle = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    if (handle != INVALID_HANDLE_VALUE) return std::make_unique<ComPort>(handle);
    if (whyNot != nullptr) *whyNot = path + ": " + ErrorText(GetLastError());
    return nullptr;
  }
};

}  // namespace

SerialPorts& TheSerialPorts() { return Permanent<WindowsSerialPorts>(); }

}  // namespace brisk::os
