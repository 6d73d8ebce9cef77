/* Loads and unloads the library: reload_main BRISK.dll COUNT. Not linked with it, so that every
 * round attaches and detaches. Exits with 0 when all rounds succeeded and left no handle behind. */
#include <stdio.h>
#include <stdlib.h>
#include <windows.h>

typedef unsigned(__stdcall* GetVersionFunction)(void);

int main(int count, char** arguments) {
  const int rounds = count > 2 ? atoi(arguments[2]) : 0;
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
    if (!FreeLibrary(library) || GetModuleHandleA(arguments[1]) != NULL) break;
    GetProcessHandleCount(GetCurrentProcess(), &handles);
    if (round == 0) handlesAfterFirst = handles;
  }
  printf("%d of %d rounds, %u handles after the first, %u at the end\n", round, rounds,
         (unsigned)handlesAfterFirst, (unsigned)handles);
  return rounds > 0 && round == rounds && handles <= handlesAfterFirst + 2 ? 0 : 1;
}
