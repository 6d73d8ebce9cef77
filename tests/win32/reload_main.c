/* Loads and unloads the library: reload_main BRISK.dll COUNT [--driver]. Not linked with it, so
 * that every round attaches and detaches. Exits with 0 when all rounds succeeded and left no handle
 * behind; with --driver every load must have started the driver, and every unload removed it. */
#include <stdio.h>
#include <stdlib.h>
#include <windows.h>

typedef unsigned(__stdcall* GetVersionFunction)(void);

/* 1 = the driver is there, as its service and as its device; 0 = neither is; -1 = one of them is.
 */
static int Driver(void) {
  const SC_HANDLE manager = OpenSCManagerA(NULL, NULL, SC_MANAGER_CONNECT);
  const SC_HANDLE service = OpenServiceA(manager, "kgated", SERVICE_QUERY_STATUS);
  const int absent = service == NULL && GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST;
  const HANDLE device = CreateFileA("\\\\.\\kgated", GENERIC_READ | GENERIC_WRITE, 0, NULL,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, NULL);
  if (service != NULL) CloseServiceHandle(service);
  if (manager != NULL) CloseServiceHandle(manager);
  if (device == INVALID_HANDLE_VALUE) return absent ? 0 : -1;
  CloseHandle(device);
  return service != NULL ? 1 : -1;
}

int main(int count, char** arguments) {
  const int rounds = count > 2 ? atoi(arguments[2]) : 0;
  const int driver = count > 3;
  DWORD handlesAfterFirst = 0;
  DWORD handles = 0;
  int round;
  for (round = 0; round < rounds; ++round) {
    HMODULE library = LoadLibraryA(arguments[1]);
    GetVersionFunction version = NULL;
    if (library != NULL) {
      version = (GetVersionFunction)(void (*)(void))GetProcAddress(library, "BriskGetVersion");
    }
    if (version == NULL || version() != 6) break;
    if (driver && Driver() != 1) break;
    if (!FreeLibrary(library) || GetModuleHandleA(arguments[1]) != NULL) break;
    if (driver && Driver() != 0) break;
    GetProcessHandleCount(GetCurrentProcess(), &handles);
    if (round == 0) handlesAfterFirst = handles;
  }
  printf("%d of %d rounds, %u handles after the first, %u at the end\n", round, rounds,
         (unsigned)handlesAfterFirst, (unsigned)handles);
  return rounds > 0 && round == rounds && handles <= handlesAfterFirst + 2 ? 0 : 1;
}
