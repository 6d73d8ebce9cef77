#pragma once

#include <cstdint>

namespace brisk {

// Why an operation did not do what it was asked for.
enum class Cause : uint8_t {
  kNone,           // it did
  kNoLibrary,      // a vendor's library is missing or lacks a function
  kNoAdapter,      // no interface hardware, or it is not connected
  kNoAcknowledge,  // nobody acknowledged an address or a byte
  kTimeOut,        // an answer did not come in time
  kTransfer,       // the hardware or its library reported a failure
  kBadArgument,    // null where bytes are needed, or more than the hardware can move
  kFile,           // a file cannot be opened, read or written
  kRejected,       // a file's contents are not usable
  kStopped,        // the caller asked to stop
  kUnsupported,    // the hardware has no such operation
};

// How an operation ended: done, or the cause, with the number that the hardware or its library
// answered with, which is kept on success too.
class [[nodiscard]] Status {
 public:
  constexpr Status() = default;
  constexpr Status(Cause cause, uint32_t code = 0) : cause_(cause), code_(code) {}
  static constexpr Status Done(uint32_t code) { return {Cause::kNone, code}; }

  constexpr bool ok() const { return cause_ == Cause::kNone; }
  constexpr Cause cause() const { return cause_; }
  constexpr uint32_t code() const { return code_; }

 private:
  Cause cause_ = Cause::kNone;
  uint32_t code_ = 0;
};

// A value, or why there is none.
template <typename T>
class [[nodiscard]] Outcome {
 public:
  constexpr Outcome(T value) : value_(value) {}
  constexpr Outcome(Status status) : status_(status) {}
  constexpr Outcome(Cause cause) : status_(cause) {}

  constexpr bool ok() const { return status_.ok(); }
  constexpr Status status() const { return status_; }
  constexpr const T& value() const { return value_; }  // T() after a failure

 private:
  T value_{};
  Status status_;
};

}  // namespace brisk
