#include <windows.h>

#include "platform/common/never_destroyed.h"
#include "platform/common/parts.h"

namespace brisk::os {
namespace {

class ThreadMessages final : public MessageQueue {
 public:
  bool TakeStopRequest() override {
    MSG message = {};
    if (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) == 0) return false;
    return message.message == WM_LBUTTONDOWN ||
           (message.message == WM_KEYDOWN && message.wParam == VK_ESCAPE);
  }
};

}  // namespace

MessageQueue& TheMessageQueue() { return Permanent<ThreadMessages>(); }

}  // namespace brisk::os
