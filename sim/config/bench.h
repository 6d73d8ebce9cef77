#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/platform.h"
#include "sim/adapters/adapter.h"
#include "sim/board/board.h"
#include "sim/board/stuck_lines.h"
#include "sim/board/trace.h"
#include "sim/common/faults.h"
#include "sim/common/virtual_clock.h"
#include "sim/config/options.h"
#include "sim/pc/connectors.h"
#include "sim/pc/operating_system.h"

namespace brisk::sim {

// A simulated PC with a board on its adapters: everything that platform() offers, and everything
// that is behind it.
class Bench {
  struct Private {};  // only Make makes one

 public:
  Bench(Private, const Options& options);
  // Null when a file cannot be opened or adapters exclude one another; `whyNot` says which.
  static std::unique_ptr<Bench> Make(const Options& options, std::string* whyNot);
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;
  ~Bench();

  // As the library sees it. Threads, locks and plain files are the host's.
  Platform& platform() { return platform_; }
  Board& board() { return board_; }
  VirtualClock& clock() { return clock_; }
  Site site() { return {board_, clock_, faults_}; }  // where its adapters stand
  Trace& trace() { return trace_; }
  const Options& options() const { return options_; }
  Adapter* adapter(std::string_view name);  // null when it is not connected

  // Connectors.
  PortBus& ports() { return ports_; }
  LibraryShelf& libraries() { return libraries_; }
  SerialSockets& serialPorts() { return serialPorts_; }
  DeviceSockets& devices() { return devices_; }
  DeviceInterfaceSocket& deviceInterfaces() { return deviceInterfaces_; }
  ServiceSocket& services() { return services_; }

  // Operating system.
  PriorityRecorder& scheduler() { return scheduler_; }
  DebugRecorder& debugStream() { return debugStream_; }
  ResourceShelf& resources() { return resources_; }
  StopRequests& messageQueue() { return messageQueue_; }
  SystemFacts& system() { return system_; }

  // Faults, at once; a stuck line is let go by ClearFaults. SetFault is empty when done, else what
  // is wrong with the text.
  Faults& faults() { return faults_; }
  std::string SetFault(std::string_view text);
  void ClearFaults();

 private:
  bool Connect(std::string* whyNot);
  void HoldStuckLines();

  const Options options_;
  VirtualClock clock_;
  Faults faults_;
  Trace trace_;
  Board board_;
  StuckLines stuck_;
  PortBus ports_;
  LibraryShelf libraries_;
  SerialSockets serialPorts_;
  DeviceSockets devices_;
  DeviceInterfaceSocket deviceInterfaces_;
  ServiceSocket services_;
  PriorityRecorder scheduler_;
  DebugRecorder debugStream_;
  PrivateSection sharedMemory_;
  ResourceShelf resources_;
  StopRequests messageQueue_;
  SystemFacts system_;
  FaultyFiles files_;
  Platform platform_;
  std::vector<std::pair<std::string, std::unique_ptr<Adapter>>> adapters_;  // last: goes first
};

// The bench that platform() stands for: the default one until another is configured.
Bench& bench();

// Replaces the bench by the one that the text asks for, without telling the library. Empty when
// done; otherwise what is wrong, and the old bench stays (a trace it was writing has ended).
// Nothing else may use the bench meanwhile, and references into the old one are void afterwards.
std::string ReplaceBench(std::string_view text);

}  // namespace brisk::sim
