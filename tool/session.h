#pragma once

#include <string>

#include "console.h"
#include "devices.h"
#include "library.h"
#include "options.h"
#include "outcome.h"
#include "progress.h"

namespace brisk::tool {

// One run's connection: the library, the device that the options select, progress and warnings.
class Session {
 public:
  Session(const Options& options, Console& console);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Everything a command needs before its first call: checks that the device can do it, loads the
  // library, selects and connects the device.
  void Ready(Ability ability);

  // The library alone, nothing selected. The simulated bench gets `adapter`, or the one that the
  // device needs, unless its parameters name one.
  void Load(const char* adapter = nullptr);

  const Options& options() const { return options_; }
  const DeviceType& device() const { return *options_.device; }
  const Api& api() const { return library_.api(); }
  const std::string& libraryPath() const { return library_.path(); }
  Console& console() { return console_; }
  Progress& progress() { return progress_; }

 private:
  void ConfigureBench(const char* adapter);
  void Connect();
  void ConnectSerial();
  void SelectDevice();

  const Options& options_;
  Console& console_;
  Progress progress_;
  Library library_;
  bool loaded_ = false;
};

}  // namespace brisk::tool
