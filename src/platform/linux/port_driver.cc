#include "platform/linux/port_driver.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace brisk::os {
namespace {

using namespace port_driver;

constexpr uint32_t kVersion = kDriverVersion;
constexpr uint32_t kAcknowledge = kBaseAcknowledged;
constexpr unsigned long kPortCount = 3;  // data, status, control

// A request that was answered before anybody could wait for it.
class AnsweredRequest final : public PendingRequest {
 public:
  AnsweredRequest(bool success, uint32_t returned) : success_(success), returned_(returned) {}

  uint32_t StartError() const override { return success_ ? kErrorNone : kErrorGeneralFailure; }
  bool Wait(uint32_t /*milliseconds*/) override { return true; }
  void Wait() override {}
  bool Result(uint32_t* bytesReturned) override {
    if (bytesReturned != nullptr) *bytesReturned = returned_;
    return success_;
  }

 private:
  bool success_;
  uint32_t returned_;
};

}  // namespace

// The codes of the NT family; everything else is refused, as the kernel driver does.
const PortDriverDevice::Operation PortDriverDevice::kOperations[] = {
    {KGATED_CODE(kVersionFunction), &PortDriverDevice::Version},
    {KGATED_CODE(kDirectAccessFunction), &PortDriverDevice::SwitchDirectIo},
    {KGATED_CODE(kPortBaseFunction), &PortDriverDevice::SetPortBase},
    {KGATED_CODE(kWriteDataFunction), &PortDriverDevice::WriteData},
    {KGATED_CODE(kReadStatusFunction), &PortDriverDevice::ReadStatus},
};

PortDriverDevice::~PortDriverDevice() { Close(); }

bool PortDriverDevice::Control(uint32_t code, const void* in, uint32_t inSize, void* out,
                               uint32_t outSize, uint32_t* bytesReturned) {
  Request request{static_cast<const uint8_t*>(in), in == nullptr ? 0 : inSize,
                  static_cast<uint8_t*>(out), out == nullptr ? 0 : outSize, 0};
  bool success = false;
  for (const Operation& operation : kOperations) {
    if (operation.code == code) success = (this->*operation.run)(request);
  }
  if (bytesReturned != nullptr) *bytesReturned = request.returned;
  return success;
}

std::unique_ptr<PendingRequest> PortDriverDevice::Begin(uint32_t code, const void* in,
                                                        uint32_t inSize, void* out,
                                                        uint32_t outSize) {
  uint32_t returned = 0;
  const bool success = Control(code, in, inSize, out, outSize, &returned);
  return std::make_unique<AnsweredRequest>(success, returned);
}

bool PortDriverDevice::Close() {
  if (direct_) Forbid(base_);
  direct_ = false;
  return true;
}

void* PortDriverDevice::Handle() const { return const_cast<PortDriverDevice*>(this); }  // NOLINT

bool PortDriverDevice::Version(Request& request) {
  request.returned = sizeof kVersion;  // also when the buffer is too small
  if (request.outSize < sizeof kVersion) return false;
  std::memcpy(request.out, &kVersion, sizeof kVersion);
  return true;
}

bool PortDriverDevice::SwitchDirectIo(Request& request) {
  if (request.inSize < 1) return false;
  if (request.in[0] == kSwitchOff) return Close();
  if (!Allow(base_)) return false;
  direct_ = true;
  return true;
}

bool PortDriverDevice::SetPortBase(Request& request) {
  if (request.inSize < 4 || request.outSize < 8) return false;
  const auto base = static_cast<uint16_t>(request.in[0] | request.in[1] << 8);
  if (direct_ && base != base_) {
    // The old ports go first: the two ranges may overlap.
    Forbid(base_);
    if (!Allow(base)) {
      direct_ = Allow(base_);
      return false;
    }
  }
  base_ = base;
  std::memcpy(request.out + 4, &kAcknowledge, sizeof kAcknowledge);
  request.returned = 8;
  return true;
}

// Without direct access these two take the permission for the one access.
bool PortDriverDevice::WriteData(Request& request) {
  if (request.inSize < 1 || (!direct_ && !Allow(base_))) return false;
  ports_.Out(base_, request.in[0]);
  if (!direct_) Forbid(base_);
  return true;
}

bool PortDriverDevice::ReadStatus(Request& request) {
  if (request.outSize < 1 || (!direct_ && !Allow(base_))) return false;
  request.out[0] = ports_.In(static_cast<uint16_t>(base_ + 1));
  if (!direct_) Forbid(base_);
  request.returned = 1;
  return true;
}

// Asks the kernel, which wants CAP_SYS_RAWIO. Why it refused goes to the debug stream.
bool PortDriverDevice::Allow(uint16_t base) {
  if (permission_(base, kPortCount, 1) == 0) return true;
  char text[128];
  std::snprintf(text, sizeof text, "brisk-- no permission for ports 0x%x to 0x%x: %s\n", base,
                base + 2U, std::strerror(errno));  // NOLINT(concurrency-mt-unsafe)
  debugStream_.Write(text);
  return false;
}

void PortDriverDevice::Forbid(uint16_t base) { permission_(base, kPortCount, 0); }

}  // namespace brisk::os
