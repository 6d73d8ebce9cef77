#include "adapters/ftdi/mpsse_line.h"

#include <algorithm>

#include "adapters/ftdi/mpsse.h"

namespace brisk::ftdi {
namespace {

constexpr uint32_t kMaxWrite = 4096;
constexpr uint32_t kTransferTimeoutMs = 100;
constexpr uint32_t kUsbTransferSize = 1;  // the library rounds it up to its smallest
constexpr uint8_t kLatencyMs = 2;
constexpr uint8_t kMinLatencyMs = 2;

}  // namespace

bool TimedOut(Clock& clock, int64_t start, uint32_t milliseconds) {
  constexpr uint64_t kUnitsPerMs = 10000;  // of 100 ns
  const auto passed = static_cast<uint64_t>(clock.LocalTime() - start);
  return passed > milliseconds * kUnitsPerMs;
}

StatusCode MpsseLine::Configure(uint32_t handle) {
  StatusCode status = d2xx_.ResetDevice(handle);
  if (status == kOk) status = DropWaiting(handle);
  if (status == kOk) status = d2xx_.SetUsbParameters(handle, kUsbTransferSize, kUsbTransferSize);
  if (status == kOk) status = d2xx_.SetChars(handle);
  if (status == kOk) status = d2xx_.SetTimeouts(handle, kTransferTimeoutMs, kTransferTimeoutMs);
  if (status == kOk) status = SetLatency(handle, kLatencyMs);
  if (status == kOk) status = d2xx_.SetBitMode(handle, d2xx::kBitModeReset);
  if (status == kOk) status = d2xx_.SetBitMode(handle, d2xx::kBitModeMpsse);
  return status == kOk ? Synchronise(handle) : status;
}

StatusCode MpsseLine::SetLatency(uint32_t handle, uint8_t milliseconds) {
  if (milliseconds < kMinLatencyMs) return kInvalidLatency;
  return d2xx_.SetLatencyTimer(handle, milliseconds);
}

// In step are chip and library when the chip's complaint about a command that does not exist is
// the answer that comes: first among whatever is still on its way, then by itself.
StatusCode MpsseLine::Synchronise(uint32_t handle) {
  const StatusCode status = DropWaiting(handle);
  if (status != kOk) return status;
  const bool inStep =
      FindsEcho(handle, kBogusCommand1, true) && FindsEcho(handle, kBogusCommand2, false);
  return inStep ? kOk : kSynchronisationFailed;
}

// Sends the command, again before every look if so wanted, until its echo has come.
bool MpsseLine::FindsEcho(uint32_t handle, uint8_t command, bool resend) {
  if (!resend && SendCommands(handle, {command}) != kOk) return false;
  const int64_t start = clock_.LocalTime();
  bool afterEcho = false;  // the previous byte was 0xFA, also when it ended the previous read
  for (;;) {
    if (resend && SendCommands(handle, {command}) != kOk) return false;
    const auto [status, waiting] = d2xx_.GetQueueStatus(handle);
    if (status != kOk) return false;
    clock_.Sleep(1);
    if (TimedOut(clock_, start, kAnswerTimeoutMs)) return false;
    if (ScanForEcho(handle, waiting, command, &afterEcho)) return true;
  }
}

bool MpsseLine::ScanForEcho(uint32_t handle, uint32_t waiting, uint8_t command, bool* afterEcho) {
  while (waiting > 0) {
    const Buffer piece = Piece(waiting);
    for (const uint8_t byte : piece.first(d2xx_.Read(handle, piece).value)) {
      if (*afterEcho && byte == command) return true;
      *afterEcho = byte == kBadCommandEcho;
    }
    waiting -= static_cast<uint32_t>(piece.size());
  }
  return false;
}

StatusCode MpsseLine::Flush(uint32_t handle) {
  const Bytes bytes = queue_->bytes();
  StatusCode status = kOk;
  if (queue_->overflowed()) {
    status = kInsufficientResources;
  } else if (bytes.size() > kMaxWrite) {
    status = WriteInPieces(handle, bytes);
  } else if (!bytes.empty()) {
    status = d2xx_.Write(handle, bytes).status;
  }
  queue_->Clear();
  return status;
}

StatusCode MpsseLine::WriteInPieces(uint32_t handle, Bytes bytes) {
  int64_t progress = clock_.LocalTime();
  while (!bytes.empty()) {
    const auto [status, written] =
        d2xx_.Write(handle, bytes.first(std::min<size_t>(bytes.size(), kMaxWrite)));
    if (status != kOk) return status;
    bytes = bytes.subspan(written);
    if (written != 0) {
      progress = clock_.LocalTime();
      continue;
    }
    clock_.Sleep(1);
    if (TimedOut(clock_, progress, kAnswerTimeoutMs)) return kCommandNotCompleted;
  }
  return kOk;
}

StatusCode MpsseLine::SendCommands(uint32_t handle, Bytes commands) {
  ClearQueue();
  for (const uint8_t command : commands) Queue(command);
  return Flush(handle);
}

// An answer that is seen only when the time is up counts as missing.
StatusCode MpsseLine::WaitForAnswer(uint32_t handle) {
  const int64_t start = clock_.LocalTime();
  for (;;) {
    const auto [status, waiting] = d2xx_.GetQueueStatus(handle);
    if (status != kOk) return status;
    clock_.Sleep(0);
    if (TimedOut(clock_, start, kAnswerTimeoutMs)) return kCommandNotCompleted;
    if (waiting != 0) return kOk;
  }
}

Answer<Bytes> MpsseLine::ReadWaiting(uint32_t handle) {
  const auto [queueStatus, waiting] = d2xx_.GetQueueStatus(handle);
  if (queueStatus != kOk || waiting == 0) return {queueStatus, {}};
  const Buffer piece = Piece(waiting);
  const auto [status, read] = d2xx_.Read(handle, piece);
  return {status, piece.first(read)};
}

StatusCode MpsseLine::DropWaiting(uint32_t handle) {
  auto [status, waiting] = d2xx_.GetQueueStatus(handle);
  while (status == kOk && waiting > 0) {
    const Buffer piece = Piece(waiting);
    status = d2xx_.Read(handle, piece).status;
    waiting -= static_cast<uint32_t>(piece.size());
  }
  return status;
}

}  // namespace brisk::ftdi
