#pragma once

#include <cstdint>

namespace brisk::flash {

// How an adapter reaches the flash: chip select, bytes out, bytes in. Nothing here reports a
// failure: a byte that cannot be read is 0, which no busy flash answers.
class Link {
 public:
  virtual ~Link() = default;

  // An operation of the flash begins: the moment to connect, or to forget an earlier disconnection.
  virtual void Begin() {}
  virtual void Rest() {}  // the pins' state before first use, where the link has pins

  virtual void Select() = 0;    // chip select goes low; whatever state it was in
  virtual void Deselect() = 0;  // chip select goes high
  virtual void SendByte(uint8_t byte) = 0;
  virtual void SendAddress(uint32_t address) = 0;  // low 24 bits, most significant first
  virtual uint8_t ReadByte() = 0;
  // A byte of the status poll, which some links sample at another edge.
  virtual uint8_t ReadStatus() { return ReadByte(); }

  // Moments that some links act on: an erase command has ended and the wait for it begins; a wait
  // has ended, with the flash ready in time or not.
  virtual void EraseSent() {}
  virtual void Waited(bool /*inTime*/) {}
};

}  // namespace brisk::flash
