// The port-access driver's life: installation, requests, the count of its users and its removal, on
// a simulated PC with a service manager.
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include "brisk/brisk.h"

#include "api/attach.h"
#include "port_driver/driver.h"
#include "sim/config/bench.h"
#include "support/files.h"
#include "support/windows_services.h"
#ifndef _WIN32
#include "support/child_process.h"
#endif

namespace brisk {
namespace {

using Request = WindowsServices::Request;
using Lines = std::vector<std::string>;

constexpr uint32_t kVersionCode = 0x9C402480;
constexpr uint32_t kDirectCode = 0x9C40248C;
constexpr uint32_t kBaseCode = 0x9C402494;
const char kStillUsed[] = "brisk-- CloseDeviceDriver dwRefCount > 0\n";
const char kLastUser[] = "brisk-- CloseDeviceDriver dwRefCount = 0\n";
const std::vector<uint8_t> kImage = {'M', 'Z', 1, 2, 3, 0, 26, 13, 10, 255};

// INVALID_HANDLE_VALUE.
void* const kNoHandle = reinterpret_cast<void*>(intptr_t{-1});

class DriverTest : public testing::Test {
 public:
  DriverTest() {
    EXPECT_EQ(replaced, "");
    driverRequestBuffer.fill(0);
    windows = std::make_unique<WindowsServices>(bench());
    bench().resources().Add("ICD_SYS", kImage);
    bench().system().SetSystemDirectory(directory);
#ifdef _WIN32
    std::filesystem::create_directories(directory + "\\Drivers");
#endif
  }

  static sim::Bench& bench() { return sim::bench(); }
  static SharedSection& shared() { return platform().sharedMemory.Section(); }

  void LoseSystemDirectory() {
    directory = folder.File("missing") + "/system";
    bench().system().SetSystemDirectory(directory);
  }
  std::string DriverFile() const { return directory + "\\Drivers\\kgated.sys"; }
  bool ServiceRuns() const {
    const auto found = windows->services().find("kgated");
    return found != windows->services().end() && found->second.running;
  }
  bool ServiceExists() const { return windows->services().count("kgated") != 0; }

  TemporaryFolder folder;
  std::string directory = folder.File("system");
  std::unique_ptr<WindowsServices> windows;
  const std::string replaced = sim::ReplaceBench("");  // before the driver holds on to it
  CDebug log{platform().debugStream};
  Driver driver{platform(), log};
};

TEST_F(DriverTest, LoadInstallsTheServiceAndUnloadRemovesIt) {
  driver.Attach();
  EXPECT_EQ(ReadFile(DriverFile()), kImage);
  EXPECT_TRUE(ServiceRuns());
  EXPECT_TRUE(windows->services()["kgated"].demandStart);
  EXPECT_EQ(windows->services()["kgated"].imagePath, DriverFile());
  EXPECT_EQ(shared().dwDriverStatus, 0u);
  EXPECT_EQ(shared().dwRefCount, 1u);
  EXPECT_EQ(shared().dwIsNT, 1u);
  EXPECT_EQ(shared().wLptBase, 0x378);
  EXPECT_EQ(windows->directAccess(), 1u);
  driver.Detach();
  EXPECT_EQ(windows->requests(), (std::vector<Request>{{kVersionCode, 4, 4, 0},
                                                       {kDirectCode, 4, 4, 0},
                                                       {kVersionCode, 4, 4, 0},
                                                       {kBaseCode, 8, 8, 0x78},
                                                       {kDirectCode, 1, 1, 1}}));
  EXPECT_EQ(bench().debugStream().Lines(), Lines{kLastUser});
  EXPECT_EQ(windows->directAccess(), 0u);
  EXPECT_EQ(ReadFile(DriverFile()), kImage);
}

// Whoever goes first: the other one must switch off and close what it opened itself.
TEST_F(DriverTest, TwoProcessesAreCountedInAndOut) {
  for (const bool firstGoesFirst : {false, true}) {
    Driver second(platform(), log);
    driver.Attach();
    windows->administrator = false;  // the second needs no service manager
    second.Attach();
    windows->administrator = true;
    EXPECT_EQ(shared().dwDriverStatus, 0u);
    EXPECT_EQ(shared().dwRefCount, 2u);
    EXPECT_EQ(windows->openHandles(), 2u);
    (firstGoesFirst ? driver : second).Detach();
    EXPECT_EQ(shared().dwRefCount, 1u);
    EXPECT_TRUE(ServiceRuns());
    EXPECT_EQ(windows->openHandles(), 1u);
    (firstGoesFirst ? second : driver).Detach();
    EXPECT_EQ(bench().debugStream().Lines(), (Lines{kStillUsed, kLastUser}));
    EXPECT_EQ(windows->openHandles(), 0u);
    EXPECT_FALSE(ServiceExists());
    EXPECT_EQ(shared().dwDriverStatus, 1u);
    bench().debugStream().Clear();
  }
}

TEST_F(DriverTest, ServiceThatCannotBeRemovedIsRemovedByTheNextLastUser) {
  driver.Attach();
  windows->stopRefused = true;
  driver.Detach();
  EXPECT_EQ(shared().dwDriverStatus, 0u);
  EXPECT_TRUE(ServiceExists());
  windows->stopRefused = false;
  driver.Attach();
  driver.Detach();
  EXPECT_EQ(shared().dwDriverStatus, 1u);
  EXPECT_FALSE(ServiceExists());
}

TEST_F(DriverTest, ServiceSteps) {
  EXPECT_EQ(driver.Drv_Configure(), Driver::BaseResult::kRequestFailed);  // no device
  EXPECT_EQ(driver.Drv_Extract(), Driver::FileResult::kPresent);
  EXPECT_EQ(driver.Drv_Remove("other"), Driver::ServiceResult::kCannotOpen);  // none is there
  windows->services()["other"] = {"C:\\elsewhere\\stale.sys", true, false};
  EXPECT_EQ(driver.Drv_Install("other", "kgated.sys", false), Driver::ServiceResult::kDone);
  EXPECT_FALSE(windows->services()["other"].demandStart);
  EXPECT_EQ(windows->services()["other"].imagePath, DriverFile());
  // A stale service that cannot be stopped runs already, which is as good as starting it.
  windows->stopRefused = true;
  EXPECT_EQ(driver.Drv_Remove("other"), Driver::ServiceResult::kFailed);
  EXPECT_EQ(driver.Drv_Install("other", "none.sys", true), Driver::ServiceResult::kDone);
  EXPECT_EQ(windows->services()["other"].imagePath, DriverFile());
}

// ---- The driver file ----

constexpr const char* kUnwritable = "unwritable";
constexpr const char* kDiskFull = "disk-full:4";

struct ExtractCase {
  const char* name;
  bool nt;
  std::optional<std::vector<uint8_t>> before;  // the file
  bool carried;
  const char* fault;
  uint32_t result;
  std::vector<uint8_t> after;
};

class DriverFileTest : public DriverTest, public testing::WithParamInterface<ExtractCase> {};

TEST_P(DriverFileTest, Extract) {
  const ExtractCase& test = GetParam();
  bench().system().SetNt(test.nt);
  if (!test.carried) bench().resources().Add("ICD_SYS", {});
  if (test.fault == kUnwritable) LoseSystemDirectory();
  const std::string path = test.nt ? DriverFile() : directory + "\\kgated.vxd";
  if (test.before) WriteFile(path, *test.before);
  if (test.fault == kDiskFull) {
    ASSERT_EQ(bench().SetFault(kDiskFull), "");
  }
  EXPECT_EQ(static_cast<uint32_t>(driver.Drv_Extract()), test.result);
  bench().ClearFaults();
  EXPECT_EQ(ReadFile(path), test.after);
  EXPECT_EQ(std::filesystem::exists(path), !test.after.empty());
}

const std::vector<uint8_t> kOther = {9, 8, 7};
const ExtractCase kExtractCases[] = {
    {"Missing", true, {}, true, nullptr, 0, kImage},
    {"PresentAndNothingCarried", true, kOther, false, nullptr, 0, kOther},
    {"Empty", true, std::vector<uint8_t>{}, true, nullptr, 0, kImage},
    {"NothingCarried", true, {}, false, nullptr, 3, {}},
    {"No9xImage", false, {}, true, nullptr, 3, {}},
    {"Unwritable", true, {}, true, kUnwritable, 4, {}},
    {"DiskFull", true, {}, true, kDiskFull, 4, {}},
};
INSTANTIATE_TEST_SUITE_P(Files, DriverFileTest, testing::ValuesIn(kExtractCases),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- What may fail ----

struct FailureCase {
  const char* name;
  void (*breakIt)(DriverTest& test);
  bool opens;
  uint32_t status;  // dwDriverStatus after the open
  bool registered;  // whether the service exists after the release
  Lines lines;
};

class DriverFailureTest : public DriverTest, public testing::WithParamInterface<FailureCase> {};

// Open, release and a second release, as a load that fails and the unload after it do.
TEST_P(DriverFailureTest, CountStaysBalanced) {
  const FailureCase& test = GetParam();
  test.breakIt(*this);
  const uint64_t start = bench().clock().Now();
  driver.Attach();
  EXPECT_LT(bench().clock().Now() - start, 50'000'000u);  // ns
  EXPECT_EQ(driver.IsOpen(), test.opens);
  EXPECT_EQ(shared().dwDriverStatus, test.status);
  EXPECT_EQ(shared().dwRefCount, test.opens ? 1u : 0u);
  EXPECT_EQ(shared().hDriver == kNoHandle, !test.opens);
  driver.Detach();
  driver.Detach();
  EXPECT_EQ(shared().dwRefCount, 0u);
  EXPECT_EQ(shared().hDriver, kNoHandle);
  EXPECT_EQ(windows->openHandles(), 0u);
  EXPECT_EQ(windows->directAccess(), 0u);
  EXPECT_EQ(ServiceExists(), test.registered);
  EXPECT_EQ(bench().debugStream().Lines(), test.lines);
}

const char kNoAccess[] = "brisk-- no direct port access: parallel-port operations will fault\n";
Lines CannotBeOpened(const std::string& results) {
  return {"brisk-- the port-access driver cannot be opened (" + results + ")\n", kNoAccess};
}
Lines Said(const std::string& line) { return {"brisk-- the " + line + "\n", kLastUser}; }
Lines SaidAtLast(const std::string& line) {
  Lines lines = Said(line);
  lines.emplace_back(kNoAccess);
  return lines;
}

const FailureCase kFailureCases[] = {
    {"NoRights", [](DriverTest& test) { test.windows->administrator = false; }, false, 1, false,
     CannotBeOpened("file 0, service 1")},
    {"ServiceCannotBeOpened", [](DriverTest& test) { test.windows->mayOpenService = false; }, false,
     2, true, CannotBeOpened("file 0, service 2")},
    {"UnwritableSystemDirectory", [](DriverTest& test) { test.LoseSystemDirectory(); }, false, 1,
     true, CannotBeOpened("file 4, service 1")},
    {"NoDeviceAppears", [](DriverTest& test) { test.windows->deviceMissing = true; }, false, 0,
     true, CannotBeOpened("file 0, service 0")},
    {"VersionRefused", [](DriverTest& test) { test.windows->refusedCodes = {kVersionCode}; }, false,
     1, false, SaidAtLast("port-access driver refused the version request")},
    {"DirectAccessRefused", [](DriverTest& test) { test.windows->refusedCodes = {kDirectCode}; },
     false, 1, false, SaidAtLast("port-access driver refused direct port access")},
    {"BaseRefused", [](DriverTest& test) { test.windows->refusedCodes = {kBaseCode}; }, true, 0,
     false, Said("driver did not take the port base, result 2")},
    {"WrongAcknowledgement", [](DriverTest& test) { test.windows->acknowledgement = 0x18; }, true,
     0, false, Said("driver did not take the port base, result 4")},
};
INSTANTIATE_TEST_SUITE_P(Failures, DriverFailureTest, testing::ValuesIn(kFailureCases),
                         [](const auto& row) { return std::string(row.param.name); });

// A process that could not be counted in must not count out the one that was.
TEST_F(DriverTest, FailedOpenOfAnotherProcessLeavesTheCountAlone) {
  Driver second(platform(), log);
  driver.Attach();
  windows->refusedCodes = {kVersionCode};
  second.Attach();
  second.Detach();
  EXPECT_EQ(shared().dwRefCount, 1u);
  EXPECT_TRUE(ServiceRuns());
  windows->refusedCodes.clear();
  driver.Detach();
  EXPECT_EQ(shared().dwRefCount, 0u);
  EXPECT_FALSE(ServiceExists());
}

#ifndef _WIN32
TEST_F(DriverTest, AForkedChildIsNobodyElse) {
  driver.Attach();
  EXPECT_EQ(Child([&] {
              driver.Detach();
              return static_cast<int>(shared().dwRefCount);
            }).Wait(),
            1);
}
#endif

// ---- The 9x family ----

// The exports on the 9x family: one request each and no port instruction, the requests' byte and
// the image of the lines kept per device type.
TEST_F(DriverTest, PortExportsOfThe9xFamily) {
  bench().system().SetNt(false);
  WriteFile(directory + "\\kgated.vxd", kOther);
  windows->administrator = false;  // there is no service
  DetachLibrary();
  AttachLibrary();
  EXPECT_EQ(shared().dwIsNT, 0u);
  EXPECT_EQ(shared().dwDriverStatus, 1u);
  EXPECT_EQ(
      windows->requests(),
      (std::vector<Request>{{1, 4, 4, 0}, {0x10, 4, 4, 0}, {1, 4, 4, 0}, {0x20, 8, 8, 0x78}}));
  BriskSetDevice(0);
  const uint64_t writes = bench().ports().writes();
  EXPECT_EQ(Lpt_Output(0xA4), 0u);
  EXPECT_EQ(windows->requests().back(), (Request{0x34, 1, 1, 0xA4}));
  EXPECT_EQ(bench().ports().writes(), writes + 1);  // the driver's
  uint8_t value = 0;
  EXPECT_EQ(Lpt_Input(&value), 0u);
  EXPECT_EQ(windows->requests().back().code, 0x35u);
  EXPECT_EQ(value, bench().ports().In(0x379));
  // A request that fails leaves the byte as it was.
  Lpt_Output(0xA4);
  windows->refusedCodes = {0x35};
  Lpt_Input(&value);
  EXPECT_EQ(value, 0xA4);
  BriskSetDevice(5);
  Lpt_Input(&value);
  EXPECT_EQ(value, 0);
  DetachLibrary();
  EXPECT_EQ(windows->requests().back(), (Request{0x10, 1, 1, 1}));
  EXPECT_EQ(shared().dwRefCount, 0u);
}

}  // namespace
}  // namespace brisk
