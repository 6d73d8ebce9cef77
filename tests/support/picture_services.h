#pragma once

#include "base/debug.h"
#include "image/picture.h"
#include "platform/platform.h"

namespace brisk {

// What reading pictures asks for, from the platform that the program is linked with; nobody reads
// the log.
inline image::PictureServices TestPictureServices() {
  static struct : DebugStream {
    void Write(const char* /*text*/) override {}
  } nowhere;
  static CDebug log(nowhere);
  return {platform().files, platform().system, platform().messageQueue, log};
}

}  // namespace brisk
