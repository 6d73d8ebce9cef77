#include <windows.h>

#include "api/attach.h"

// The library's entry point. Thread notices stay enabled: the language runtime needs them.
extern "C" BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_ATTACH) brisk::AttachLibrary();
  if (reason == DLL_PROCESS_DETACH) {
    brisk::DetachLibrary(processEnds != nullptr ? brisk::Detaching::kProcessKilledThreads
                                                : brisk::Detaching::kUnloaded);
  }
  return TRUE;
}
