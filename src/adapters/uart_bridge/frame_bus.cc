#include "adapters/uart_bridge/frame_bus.h"

#include "adapters/uart_bridge/frames.h"

namespace brisk::uart_bridge {

void FrameBus::Start() { SendFrame({{kStart}}); }

void FrameBus::RepeatedStart() { SendFrame({{kRestart}}); }

void FrameBus::Stop() { SendFrame({{kStop}}); }

bool FrameBus::WaitAnswer(uint8_t* value) {
  return port_.WaitMarker(kMarker) && port_.WaitByte(value);
}

Status FrameBus::Send(uint8_t byte) {
  SendFrame({{kTransmit, byte}});
  uint8_t acknowledge = 0;
  if (!WaitAnswer(&acknowledge)) return Cause::kTimeOut;
  return acknowledge == 0 ? Status() : Status(Cause::kNoAcknowledge, acknowledge);
}

Status FrameBus::Receive(uint8_t* byte, uint32_t last) {
  SendFrame({{kReceive, static_cast<uint8_t>(last)}});
  uint8_t status = 0;
  uint8_t received = 0;
  if (!WaitAnswer(&status) || !WaitAnswer(&received)) return Cause::kTimeOut;
  *byte = received;
  return status == 0 ? Status() : Status(Cause::kRejected, status);
}

}  // namespace brisk::uart_bridge
