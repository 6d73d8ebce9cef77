#include <windows.h>

#include "platform/win32/parts.h"

namespace brisk::win32 {
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

MessageQueue& Messages() {
  static ThreadMessages messages;
  return messages;
}

}  // namespace brisk::win32
