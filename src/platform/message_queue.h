#pragma once

namespace brisk {

// The calling thread's window-message queue, looked at while a JPEG picture is decoded, after every
// row of its blocks.
class MessageQueue {
 public:
  virtual ~MessageQueue() = default;
  // Removes one message of any window if there is one; true when it was a key-down of Escape or a
  // press of the left button. Never blocks; systems without message queues answer false.
  virtual bool TakeStopRequest() = 0;
};

}  // namespace brisk
