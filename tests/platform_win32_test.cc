// What the Windows platform makes of the system's answers.
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <windows.h>

#include "platform/platform.h"

namespace brisk {
namespace {

TEST(ServicesTest, DriverIsRegisteredStartedOrRefusedAndDeleted) {
  constexpr char kName[] = "brisk-test";
  const auto manager = platform().services.Connect();
  ASSERT_NE(manager, nullptr);
  EXPECT_EQ(manager->Open(kName), nullptr);
  EXPECT_TRUE(manager->CreateDriver(kName, "C:\\windows\\system32\\drivers\\absent.sys", true));
  EXPECT_FALSE(manager->CreateDriver(kName, "C:\\other.sys", true));  // it exists
  {
    const auto service = manager->Open(kName);
    ASSERT_NE(service, nullptr);
    EXPECT_NE(service->Start(), 0u);  // there is no such file
    EXPECT_EQ(service->Stop(), kServiceNotActive);
    EXPECT_EQ(service->Delete(), 0u);
  }
  EXPECT_EQ(manager->Open(kName), nullptr);
}

TEST(LibrariesTest, SymbolsByNameAndByOrdinal) {
  std::string whyNot;
  const auto library = platform().libraries.Load("ws2_32", &whyNot);
  ASSERT_NE(library, nullptr) << whyNot;
  // WSAStartup has had ordinal 115 since the first version.
  void* const byName = library->Symbol("WSAStartup", 0);
  EXPECT_NE(byName, nullptr);
  EXPECT_EQ(library->Symbol("any name", 115), byName);
  EXPECT_EQ(library->Symbol("NoSuchFunction", 0), nullptr);
  EXPECT_EQ(library->Symbol("NoSuchFunction", 60000), nullptr);
}

TEST(LibrariesTest, TheCurrentDirectoryIsNoPlace) {
  char system[MAX_PATH];
  char here[MAX_PATH];
  char temporary[MAX_PATH];
  GetSystemDirectoryA(system, MAX_PATH);
  GetCurrentDirectoryA(MAX_PATH, here);
  GetTempPathA(MAX_PATH, temporary);
  const std::string copy = std::string(temporary) + "brisk_only_here.dll";
  ASSERT_TRUE(CopyFileA((std::string(system) + "\\ws2_32.dll").c_str(), copy.c_str(), FALSE));
  ASSERT_TRUE(SetCurrentDirectoryA(temporary));
  std::string whyNot;
  EXPECT_EQ(platform().libraries.Load("brisk_only_here", &whyNot), nullptr);
  EXPECT_NE(whyNot.find("brisk_only_here.dll"), std::string::npos);
  SetCurrentDirectoryA(here);
  DeleteFileA(copy.c_str());
}

TEST(DevicesTest, MissingDevicesAndClasses) {
  EXPECT_EQ(platform().devices.Open("\\\\.\\brisk-no-such-device", {}), nullptr);
  const Guid nobodys = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  const auto set = platform().deviceInterfaces.Present(nobodys);
  if (set != nullptr) {
    EXPECT_EQ(set->Enumerate(0), kErrorNoMoreItems);
    EXPECT_EQ(set->Path(0), "");
  }
}

// The pipe file system keeps a request for a free pipe pending until there is one.
TEST(DevicesTest, OverlappedRequestsEndWhenDoneOrCancelled) {
  constexpr uint32_t kPipeWait = 0x00110018;
  struct {
    LARGE_INTEGER timeout;
    ULONG nameLength;
    BOOLEAN timeoutSpecified;
    WCHAR name[10];
  } wanted = {
      {.QuadPart = -10'000'000}, 20, TRUE, {'b', 'r', 'i', 's', 'k', '-', 't', 'e', 's', 't'}};
  const auto createPipe = [] {
    return CreateNamedPipeA("\\\\.\\pipe\\brisk-test", PIPE_ACCESS_DUPLEX, 0, 2, 64, 64, 0,
                            nullptr);
  };
  HANDLE pipe = createPipe();
  ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
  HANDLE client = CreateFileA("\\\\.\\pipe\\brisk-test", GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                              OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(client, INVALID_HANDLE_VALUE);
  const auto pipes = platform().devices.Open(
      "\\\\.\\pipe\\", {.write = false, .shareRead = true, .shareWrite = true, .overlapped = true});
  ASSERT_NE(pipes, nullptr);
  const auto begin = [&] { return pipes->Begin(kPipeWait, &wanted, sizeof wanted, nullptr, 0); };

  auto abandoned = begin();
  EXPECT_EQ(abandoned->StartError(), kErrorIoPending);
  EXPECT_FALSE(abandoned->Wait(20));
  EXPECT_FALSE(abandoned->Result(nullptr));
  const DWORD start = GetTickCount();
  abandoned.reset();
  EXPECT_LT(GetTickCount() - start, 10000u);  // cancelled, or over after its second

  wanted.timeout.QuadPart = -600'000'000;
  const auto request = begin();
  EXPECT_EQ(request->StartError(), kErrorIoPending);
  HANDLE second = createPipe();
  EXPECT_TRUE(request->Wait(10000));
  EXPECT_TRUE(request->Result(nullptr));
  for (HANDLE handle : {pipe, client, second}) CloseHandle(handle);

  EXPECT_FALSE(pipes->Control(kPipeWait, &wanted, 1, nullptr, 0, nullptr));
}

TEST(MessageQueueTest, EscapeAndLeftClickStop) {
  const struct {
    UINT message;
    WPARAM parameter;
    bool stops;
  } kCases[] = {{WM_KEYDOWN, VK_ESCAPE, true},
                {WM_KEYDOWN, VK_RETURN, false},
                {WM_KEYUP, VK_ESCAPE, false},
                {WM_LBUTTONDOWN, 0, true},
                {WM_RBUTTONDOWN, 0, false}};
  MSG message;
  PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE);  // makes the thread's queue
  EXPECT_FALSE(platform().messageQueue.TakeStopRequest());
  for (const auto& [kind, parameter, stops] : kCases) {
    ASSERT_TRUE(PostThreadMessageA(GetCurrentThreadId(), kind, parameter, 0));
    EXPECT_EQ(platform().messageQueue.TakeStopRequest(), stops) << kind << ' ' << parameter;
    EXPECT_FALSE(platform().messageQueue.TakeStopRequest());  // it was removed
  }
}

TEST(ClockTest, CountersAgreeOverASleep) {
  Clock& clock = platform().clock;
  const double frequency = static_cast<double>(clock.PerformanceFrequency());
  const int64_t count = clock.PerformanceCounter();
  const uint32_t tick = clock.TickCount();
  const int64_t local = clock.LocalTime();
  const uint64_t stamp = clock.TimeStampCounter();
  clock.Sleep(200);
  const double milliseconds =
      1000.0 * static_cast<double>(clock.PerformanceCounter() - count) / frequency;
  EXPECT_GE(milliseconds, 199.0);
  EXPECT_NEAR(clock.TickCount() - tick, milliseconds, 50.0);
  EXPECT_NEAR(static_cast<double>(clock.LocalTime() - local) / 10000.0, milliseconds, 50.0);
  EXPECT_GT(clock.TimeStampCounter(), stamp);
}

TEST(SchedulerTest, PrioritiesAreTheSystems) {
  Scheduler& scheduler = platform().scheduler;
  const uint32_t before = scheduler.PriorityClass();
  EXPECT_EQ(before, static_cast<uint32_t>(NORMAL_PRIORITY_CLASS));
  scheduler.SetPriorityClass(HIGH_PRIORITY_CLASS);
  EXPECT_EQ(GetPriorityClass(GetCurrentProcess()), static_cast<DWORD>(HIGH_PRIORITY_CLASS));
  scheduler.SetPriorityClass(before);
  scheduler.SetThreadPriority(THREAD_PRIORITY_TIME_CRITICAL);
  EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_TIME_CRITICAL);
  scheduler.SetThreadPriority(THREAD_PRIORITY_NORMAL);
}

TEST(PlatformTest, SectionAndSystem) {
  SharedSection& section = platform().sharedMemory.Section();
  EXPECT_EQ(&section, &platform().sharedMemory.Section());
  EXPECT_EQ(section.wLptBase, kLptBase);
  EXPECT_EQ(section.dwDriverStatus, 1u);
  EXPECT_TRUE(platform().system.IsNt());
  EXPECT_EQ(platform().system.ProcessId(), GetCurrentProcessId());
  char folder[MAX_PATH];
  GetSystemDirectoryA(folder, MAX_PATH);
  EXPECT_EQ(platform().system.SystemDirectory(), folder);
  EXPECT_TRUE(platform().resources.Find("NO_SUCH_DATA").empty());
}

}  // namespace
}  // namespace brisk
