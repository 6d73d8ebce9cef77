#pragma once

#include <string>

#include "sim/common/file_handle.h"

namespace brisk::sim {

class PictureReceiver;
class TimingController;

// A file that keeps the controller's registers and frame memory from one run to the next, as a
// board does whose power stays on.
class ControllerMemory {
 public:
  ControllerMemory(TimingController& controller, PictureReceiver& receiver)
      : controller_(controller), receiver_(receiver) {}

  // Loads the file; a missing one is created and changes nothing. Empty when done, else what is
  // wrong with it.
  std::string Attach(const std::string& path);
  // Writes everything back. Without a file nothing happens.
  void Save();

 private:
  bool Load();

  TimingController& controller_;
  PictureReceiver& receiver_;
  FileHandle file_;
};

}  // namespace brisk::sim
