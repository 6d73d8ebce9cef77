#pragma once

#include <cstdint>

#include "base/status.h"

namespace brisk::ftdi {

// The status codes of the I2C_ functions with their texts. 0 to 5 are D2XX's own and pass through
// unchanged, as does any other number that D2XX returns.
#define BRISK_FTDI_STATUS_CODES(ROW)                                                              \
  ROW(0, kOk, "")                                                                                 \
  ROW(1, kInvalidHandle, "Invalid device handle.")                                                \
  ROW(2, kDeviceNotFound, "Device not found.")                                                    \
  ROW(3, kDeviceNotOpened, "Device not opened.")                                                  \
  ROW(4, kIoError, "General device IO error.")                                                    \
  ROW(5, kInsufficientResources, "Insufficient resources available to execute function.")         \
  ROW(20, kCommandNotCompleted, "Failed to complete command.")                                    \
  ROW(21, kSynchronisationFailed, "Failed to synchronize the device MPSSE interface.")            \
  ROW(22, kInvalidNameIndex, "Invalid device name index.")                                        \
  ROW(23, kNullNameBuffer, "Pointer to device name buffer is null.")                              \
  ROW(24, kNameBufferTooSmall, "Buffer to contain device name is too small.")                     \
  ROW(25, kInvalidName, "Invalid device name.")                                                   \
  ROW(26, kInvalidLocation, "Invalid device location identifier.")                                \
  ROW(27, kInUse, "Device already in use by another application.")                                \
  ROW(28, kMoreThanOneDevice, "More than one device detected.")                                   \
  ROW(29, kNullChannelBuffer, "Pointer to channel buffer is null.")                               \
  ROW(30, kChannelBufferTooSmall, "Buffer to contain channel is too small.")                      \
  ROW(31, kInvalidChannel, "Invalid device channel. Valid values are A and B.")                   \
  ROW(32, kInvalidLatency, "Invalid latency timer value. Valid range is 2 - 255 milliseconds.")   \
  ROW(33, kExternalDeviceNotFound, "External Device not found.")                                  \
  ROW(34, kInvalidDivisor, "Invalid clock divisor. Valid range is 0 - 65535.")                    \
  ROW(35, kNullInputBuffer, "Pointer to input buffer is null.")                                   \
  ROW(36, kNullInputOutputBuffer, "Pointer to input output buffer is null.")                      \
  ROW(37, kNullControlBuffer, "Pointer to control data buffer is null.")                          \
  ROW(38, kInvalidControlCount, "Invalid number of control bytes. Valid range is 1 - 255.")       \
  ROW(39, kControlAckTimeout,                                                                     \
      "Timeout expired waiting for acknowledgement, after control byte written to external "      \
      "device.")                                                                                  \
  ROW(40, kNullWriteBuffer, "Pointer to write data buffer is null.")                              \
  ROW(41, kInvalidWriteCount,                                                                     \
      "Invalid number of data bytes to be written. Valid range is 1 - 65535")                     \
  ROW(42, kDataAckTimeout,                                                                        \
      "Timeout expired waiting for acknowledgement, after data byte written to external device.") \
  ROW(43, kInvalidWriteType, "Invalid type of data write. Valid types are NONE, BYTE and PAGE.")  \
  ROW(44, kTooFewBytesForPages,                                                                   \
      "Not enough data bytes in write data buffer to perform specified page write.")              \
  ROW(45, kNullPageBuffer, "Pointer to page write buffer is null.")                               \
  ROW(46, kNullReadBuffer, "Pointer to read data buffer is null.")                                \
  ROW(47, kInvalidReadCount, "Invalid number of data bytes to be read. Valid range is 1 - 65535") \
  ROW(48, kInvalidReadType, "Invalid type of data read. Valid types are BYTE and BLOCK.")         \
  ROW(49, kInvalidMode,                                                                           \
      "Invalid communications mode. Valid modes are STANDARD, FAST and STRETCH DATA.")            \
  ROW(50, kNullFinalState, "Pointer to final state buffer is null.")                              \
  ROW(51, kNullVersionBuffer, "Pointer to dll version number buffer is null.")                    \
  ROW(52, kVersionBufferTooSmall, "Buffer to contain dll version number is too small.")           \
  ROW(53, kNullLanguage, "Pointer to language code buffer is null.")                              \
  ROW(54, kNullMessageBuffer, "Pointer to error message buffer is null.")                         \
  ROW(55, kMessageBufferTooSmall, "Buffer to contain error message is too small.")                \
  ROW(56, kUnsupportedLanguage, "Unsupported language code.")                                     \
  ROW(57, kUnknownStatus, "Unknown status code = ")

enum class [[nodiscard]] StatusCode : uint32_t{
#define BRISK_ROW(code, name, text) name = (code),
    BRISK_FTDI_STATUS_CODES(BRISK_ROW)
#undef BRISK_ROW
};
using enum StatusCode;

// The text of a status code, null for one without.
constexpr const char* MessageOf(StatusCode status) {
  switch (status) {
#define BRISK_ROW(code, name, text) \
  case name:                        \
    return text;
    BRISK_FTDI_STATUS_CODES(BRISK_ROW)
#undef BRISK_ROW
  }
  return nullptr;
}

// A value, of use when the status is kOk; else T(), unless the function says otherwise.
template <typename T>
struct [[nodiscard]] Answer {
  StatusCode status = kOk;
  T value{};
};

// What an operation of the boards tells the rest of the library.
constexpr Status ToStatus(StatusCode status) {
  const auto code = static_cast<uint32_t>(status);
  switch (status) {
    case kOk:
      return {};
    case kInvalidHandle:
    case kDeviceNotFound:
    case kDeviceNotOpened:
      return {Cause::kNoAdapter, code};
    case kCommandNotCompleted:
      return {Cause::kTimeOut, code};
    default:
      return {Cause::kTransfer, code};
  }
}

}  // namespace brisk::ftdi
