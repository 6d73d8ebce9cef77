#include "session.h"

#include <array>

#include "firmware.h"
#include "text.h"

namespace brisk::tool {
namespace {

constexpr uint32_t kUartBaud = 57600;
constexpr uint32_t kTextBridgeBaud = 115200;

void Append(std::string& parameters, const std::string& parameter) {
  if (!parameters.empty()) parameters += ',';
  parameters += parameter;
}

// The bench takes a doubled comma for one in a value.
std::string Escaped(const std::string& value) {
  std::string escaped;
  for (const char c : value) escaped.append(c == ',' ? 2 : 1, c);
  return escaped;
}

const char* ConnectAdvice(const DeviceType& device, bool simulated) {
  if (simulated) return "the bench has another adapter than --device asks for, or a fault was set";
  if (device.number == BRISK_DEVICE_TCON_USB) {
    return "check the cable, that the board shows up as a USB device with vendor 04B4, and "
           "that you may access it";
  }
  return "check the cable, that the FTDI driver library is installed, and that no other "
         "program has the board open";
}

}  // namespace

Session::Session(const Options& options, Console& console)
    : options_(options), console_(console), progress_(console.err()) {}

Session::~Session() {
  if (!loaded_) return;
  api().BriskSetProgressCallback(nullptr, nullptr);
  // The switch is shared with every process that has the library loaded.
  if (options_.verbose) api().BriskEnableDebug(0);
}

void Session::Ready(Ability ability) {
  if (!device().Can(ability)) {
    throw UsageFailure("use " + AbilityNames(ability).front() + " on device " + device().name,
                       device().The() + " does not have it",
                       "choose with --device one of: " + Join(DevicesThatCan(ability), ", "));
  }
  Load();
  Connect();
}

void Session::Load(const char* adapter) {
  if (loaded_) return;
  if (std::optional<Failure> failure = library_.Load(options_.simulated)) {
    throw Failure(std::move(*failure));
  }
  if (options_.simulated) ConfigureBench(adapter);
  loaded_ = true;
  if (options_.verbose) api().BriskEnableDebug(1);
  api().BriskSetProgressCallback(&Progress::OnProgress, &progress_);
  Progress::CatchInterrupt();
}

void Session::ConfigureBench(const char* adapter) {
  std::string parameters = options_.simulation;
  if (!options_.SimulationHas("adapter")) {
    Append(parameters,
           std::string("adapter=") + (adapter == nullptr ? device().Adapter() : adapter));
  }
  if (!options_.trace.empty()) Append(parameters, "trace=" + Escaped(options_.trace));
  std::array<char, 2048> message{};
  if (api().BriskSimConfigure(parameters.c_str(), message.data(), message.size()) != 0) {
    throw UsageFailure("set up the simulated bench with " + parameters, message.data(),
                       "correct the parameters after --sim=");
  }
}

void Session::Connect() {
  if (device().serial) ConnectSerial();
  SelectDevice();
  if (options_.rate) {
    api().I2cSetClockRate(*options_.rate);
    api().SPISetClockRate(*options_.rate);
  }
}

void Session::ConnectSerial() {
  if (!options_.comPort && !options_.simulated) {
    throw UsageFailure("connect " + device().The(), "no serial port was named",
                       "name it with --com N (and its rate with --baud B)");
  }
  const bool frames = device().number == BRISK_DEVICE_UART;
  const uint32_t port = options_.comPort.value_or(device().simulatedPort);
  const uint32_t baud = options_.baud.value_or(frames ? kUartBaud : kTextBridgeBaud);
  const auto connect = frames ? api().uart_connect : api().uart_mag_connect;
  bool connected = connect(static_cast<uint8_t>(port), baud);
  // The text bridge's line runs at the rate of the call before.
  if (connected && !frames && baud != kTextBridgeBaud) {
    connected = connect(static_cast<uint8_t>(port), baud);
  }
  if (connected) return;
  throw OperationFailure(
      "connect " + device().The() + " on COM" + std::to_string(port) + " at " +
          std::to_string(baud) + " baud",
      "the connection failed",
      "check the port's number and that you may open it; then the bridge's power, cable and rate");
}

void Session::SelectDevice() {
  FirmwareFolder firmware;
  if (device().number == BRISK_DEVICE_TCON_USB) firmware.Enter(options_.firmware, console_);
  if (api().BriskSetDevice(device().number) == 0) {
    throw OperationFailure("connect " + device().The(), "no board was found",
                           ConnectAdvice(device(), options_.simulated));
  }
}

}  // namespace brisk::tool
