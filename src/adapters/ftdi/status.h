#pragma once

#include <cstdint>

namespace brisk::ftdi {

// 0 to 5 are D2XX's own values, passed through unchanged, as is any other value D2XX returns; 20 to
// 57 are the family's.
using Status = uint32_t;

inline constexpr Status kOk = 0;
inline constexpr Status kInvalidHandle = 1;
inline constexpr Status kDeviceNotFound = 2;
inline constexpr Status kInsufficientResources = 5;
inline constexpr Status kCommandNotCompleted = 20;
inline constexpr Status kSynchronisationFailed = 21;
inline constexpr Status kInvalidNameIndex = 22;
inline constexpr Status kNullNameBuffer = 23;
inline constexpr Status kNameBufferTooSmall = 24;
inline constexpr Status kInvalidName = 25;
inline constexpr Status kInvalidLocation = 26;
inline constexpr Status kInUse = 27;
inline constexpr Status kMoreThanOneDevice = 28;
inline constexpr Status kNullChannelBuffer = 29;
inline constexpr Status kChannelBufferTooSmall = 30;
inline constexpr Status kInvalidChannel = 31;
inline constexpr Status kInvalidLatency = 32;
inline constexpr Status kInvalidDivisor = 34;
inline constexpr Status kNullInputBuffer = 35;
inline constexpr Status kNullInputOutputBuffer = 36;
inline constexpr Status kNullControlBuffer = 37;
inline constexpr Status kInvalidControlCount = 38;
inline constexpr Status kControlAckTimeout = 39;
inline constexpr Status kNullWriteBuffer = 40;
inline constexpr Status kInvalidWriteCount = 41;
inline constexpr Status kDataAckTimeout = 42;
inline constexpr Status kInvalidWriteType = 43;
inline constexpr Status kTooFewBytesForPages = 44;
inline constexpr Status kNullPageBuffer = 45;
inline constexpr Status kNullReadBuffer = 46;
inline constexpr Status kInvalidReadCount = 47;
inline constexpr Status kInvalidReadType = 48;
inline constexpr Status kInvalidMode = 49;
inline constexpr Status kNullFinalState = 50;
inline constexpr Status kNullVersionBuffer = 51;
inline constexpr Status kVersionBufferTooSmall = 52;
inline constexpr Status kNullLanguage = 53;
inline constexpr Status kNullMessageBuffer = 54;
inline constexpr Status kMessageBufferTooSmall = 55;
inline constexpr Status kUnsupportedLanguage = 56;
inline constexpr Status kUnknownStatus = 57;

struct StatusMessage {
  Status status;
  const char* text;
};

inline constexpr StatusMessage kStatusMessages[] = {
    {0, ""},
    {1, "Invalid device handle."},
    {2, "Device not found."},
    {3, "Device not opened."},
    {4, "General device IO error."},
    {5, "Insufficient resources available to execute function."},
    {20, "Failed to complete command."},
    {21, "Failed to synchronize the device MPSSE interface."},
    {22, "Invalid device name index."},
    {23, "Pointer to device name buffer is null."},
    {24, "Buffer to contain device name is too small."},
    {25, "Invalid device name."},
    {26, "Invalid device location identifier."},
    {27, "Device already in use by another application."},
    {28, "More than one device detected."},
    {29, "Pointer to channel buffer is null."},
    {30, "Buffer to contain channel is too small."},
    {31, "Invalid device channel. Valid values are A and B."},
    {32, "Invalid latency timer value. Valid range is 2 - 255 milliseconds."},
    {33, "External Device not found."},
    {34, "Invalid clock divisor. Valid range is 0 - 65535."},
    {35, "Pointer to input buffer is null."},
    {36, "Pointer to input output buffer is null."},
    {37, "Pointer to control data buffer is null."},
    {38, "Invalid number of control bytes. Valid range is 1 - 255."},
    {39,
     "Timeout expired waiting for acknowledgement, after control byte written to external device."},
    {40, "Pointer to write data buffer is null."},
    {41, "Invalid number of data bytes to be written. Valid range is 1 - 65535"},
    {42,
     "Timeout expired waiting for acknowledgement, after data byte written to external device."},
    {43, "Invalid type of data write. Valid types are NONE, BYTE and PAGE."},
    {44, "Not enough data bytes in write data buffer to perform specified page write."},
    {45, "Pointer to page write buffer is null."},
    {46, "Pointer to read data buffer is null."},
    {47, "Invalid number of data bytes to be read. Valid range is 1 - 65535"},
    {48, "Invalid type of data read. Valid types are BYTE and BLOCK."},
    {49, "Invalid communications mode. Valid modes are STANDARD, FAST and STRETCH DATA."},
    {50, "Pointer to final state buffer is null."},
    {51, "Pointer to dll version number buffer is null."},
    {52, "Buffer to contain dll version number is too small."},
    {53, "Pointer to language code buffer is null."},
    {54, "Pointer to error message buffer is null."},
    {55, "Buffer to contain error message is too small."},
    {56, "Unsupported language code."},
    {57, "Unknown status code = "},
};

// The message of a status, null for one without.
constexpr const char* MessageOf(Status status) {
  for (const StatusMessage& message : kStatusMessages) {
    if (message.status == status) return message.text;
  }
  return nullptr;
}

}  // namespace brisk::ftdi
