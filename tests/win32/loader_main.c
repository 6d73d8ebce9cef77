/* The shipped Windows library, as a plain C tool uses it: linked through the import library, loaded
 * by name, shared between processes, with its driver installed through the service manager. Run
 * beside BRISK.dll; prints one line per check and exits with the number of failures.
 *
 *   loader_main [--driver]       --driver: the driver must come up and answer
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include "brisk/brisk.h"

/* Offsets in the shared section; on 64-bit systems addresses take eight bytes. */
enum {
  kDeviceType = sizeof(void*) == 4 ? 14 : 18,
  kDriverHandle = sizeof(void*) == 4 ? 16 : 24,
  kIsNt = sizeof(void*) == 4 ? 20 : 32
};

static int failures;

static void Check(int good, const char* what) {
  printf("%s: %s\n", good ? "ok" : "FAILED", what);
  if (!good) ++failures;
}

/* Calls a function with so many zero words for arguments, and gives back how many bytes of them it
 * removed: another number than it should shows a convention or an argument size that is wrong. */
static unsigned Removed(FARPROC function, unsigned words) {
#if defined(__i386__)
  unsigned removed;
  __asm__ volatile(
      "movl %%esp, %%esi\n\t"
      "jecxz 2f\n"
      "1: pushl $0\n\t"
      "decl %%ecx\n\t"
      "jnz 1b\n"
      "2: movl %%esp, %%ebx\n\t"
      "call *%%edi\n\t"
      "movl %%esp, %%eax\n\t"
      "subl %%ebx, %%eax\n\t"
      "movl %%esi, %%esp"
      : "=a"(removed), "+c"(words)
      : "D"(function)
      : "ebx", "edx", "esi", "memory", "cc");
  return removed;
#else
  typedef void* (*Function)(void*, void*, void*, void*, void*, void*, void*, void*, void*, void*,
                            void*, void*);
  ((Function)(void (*)(void))function)(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
  (void)words;
  return 0;
#endif
}

/* A line of the list: the exported name, and the bytes of its arguments or "cdecl", whose caller
 * removes them. Device type 6 has no hardware behind it, and a null pointer is a failure. */
static void EveryExport(HMODULE library, const char* listFile) {
  char line[256];
  int count = 0;
  int wrong = 0;
  FILE* list = fopen(listFile, "r");
  while (list != NULL && fgets(line, sizeof line, list) != NULL) {
    char name[200];
    char bytes[20];
    if (sscanf(line, "%199s %19s", name, bytes) != 2) continue;
    const FARPROC function = GetProcAddress(library, name);
    const int cdeclared = strcmp(bytes, "cdecl") == 0;
    const unsigned size = cdeclared ? 0 : (unsigned)atoi(bytes);
    ++count;
    if (function == NULL) {
      printf("missing: %s\n", name);
      ++wrong;
      continue;
    }
    BriskSetDevice(6);
    const unsigned removed = Removed(function, cdeclared ? 8 : size / 4);
    if (sizeof(void*) == 8) continue; /* there, the caller always removes them */
    if (removed != size) {
      printf("%s removes %u bytes, not %u\n", name, removed, size);
      ++wrong;
    }
  }
  if (list != NULL) fclose(list);
  printf("%d exports called\n", count);
  Check(count > 80 && wrong == 0, "every export is there and removes its arguments");
  Check(GetProcAddress(library, "?I2cLib_Init@@YAEXZ") ==
            GetProcAddress(library, "?I2cLib_Cleanup@@YAEXZ"),
        "I2cLib_Init and I2cLib_Cleanup are one function");
}

/* A second process must see the device type that this one stores, and the other way round. */
static int Child(void) { return BriskSetDevice(9); }

static uint8_t* SharedBytes(HMODULE library) {
  const IMAGE_DOS_HEADER* const dos = (const IMAGE_DOS_HEADER*)library;
  const IMAGE_NT_HEADERS* const nt =
      (const IMAGE_NT_HEADERS*)((const char*)library + dos->e_lfanew);
  const IMAGE_SECTION_HEADER* section = IMAGE_FIRST_SECTION(nt);
  unsigned index;
  for (index = 0; index < nt->FileHeader.NumberOfSections; ++index, ++section) {
    if (memcmp(section->Name, ".SHAREDA", 8) == 0) {
      return (uint8_t*)library + section->VirtualAddress;
    }
  }
  return NULL;
}

static void TwoProcesses(HMODULE library, const char* self) {
  char command[MAX_PATH + 16];
  STARTUPINFOA startup;
  PROCESS_INFORMATION process;
  const uint8_t* const shared = SharedBytes(library);
  Check(shared != NULL, "section .SHAREDA");
  if (shared == NULL) return;
  memset(&startup, 0, sizeof startup);
  startup.cb = sizeof startup;
  BriskSetDevice(5);
  Check(shared[kDeviceType] == 5, "the device type stands in the section");
  snprintf(command, sizeof command, "\"%s\" --child", self);
  if (!CreateProcessA(NULL, command, NULL, NULL, FALSE, 0, NULL, NULL, &startup, &process)) {
    Check(0, "second process");
    return;
  }
  WaitForSingleObject(process.hProcess, 60000);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  Check(shared[kDeviceType] == 9, "the second process's device type is this one's");
  printf("dwRefCount %u dwDriverStatus %u hDriver %p dwIsNT %u\n", *(const unsigned*)shared,
         *(const unsigned*)(shared + 4), *(void* const*)(shared + kDriverHandle),
         *(const unsigned*)(shared + kIsNt));
  Check(*(const unsigned*)(shared + kIsNt) == 1, "dwIsNT");
}

static int Request(HANDLE device, DWORD code, void* bytes, DWORD in, DWORD out, DWORD* returned) {
  *returned = 0xDEAD;
  return DeviceIoControl(device, code, bytes, in, bytes, out, returned, NULL);
}

static void Driver(HMODULE library) {
  const unsigned* const shared = (const unsigned*)SharedBytes(library);
  DWORD words[2] = {0, 0};
  DWORD returned;
  HANDLE device;
  Check(shared != NULL && shared[0] == 1 && shared[1] == 0,
        "the library has installed, started and opened its driver");
  device = CreateFileA("\\\\.\\kgated", GENERIC_READ | GENERIC_WRITE, 0, NULL, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, NULL);
  Check(device != INVALID_HANDLE_VALUE, "\\\\.\\kgated opens");
  if (device == INVALID_HANDLE_VALUE) return;
  Check(Request(device, 0x9C402480, words, 4, 4, &returned) && words[0] == 0x1000C && returned == 4,
        "version");
  Check(!Request(device, 0x9C402480, words, 4, 3, &returned) &&
            GetLastError() == ERROR_INSUFFICIENT_BUFFER,
        "version into 3 bytes");
  words[0] = 0x378;
  words[1] = 0;
  Check(Request(device, 0x9C402494, words, 8, 8, &returned) && words[1] == 0x19 && returned == 8,
        "port base");
  Check(!Request(device, 0x9C402494, words, 4, 4, &returned) &&
            GetLastError() == ERROR_INSUFFICIENT_BUFFER,
        "port base without room for the acknowledgement");
  words[0] = 0x5A;
  Check(Request(device, 0x9C4024E4, words, 1, 1, &returned) && returned == 0,
        "write data register");
  Check(!Request(device, 0x9C4024E4, words, 0, 0, &returned), "write without a byte");
  Check(Request(device, 0x9C4024E8, words, 1, 1, &returned) && returned == 1,
        "read status register");
  printf("status register 0x%02x\n", (unsigned)(words[0] & 0xFF));
  Check(!Request(device, 0x9C4024E8, words, 1, 0, &returned), "read without room");
  Check(!Request(device, 0x9C402484, words, 4, 4, &returned) && GetLastError() == ERROR_GEN_FAILURE,
        "an unknown request");
  Check(!ReadFile(device, words, 4, &returned, NULL) && GetLastError() == ERROR_INVALID_FUNCTION,
        "reading the device");
  /* Direct access: on while it is on, off, off while it is off; the byte is needed. */
  words[0] = 0;
  Check(Request(device, 0x9C40248C, words, 4, 4, &returned), "direct access on, once more");
  words[0] = 1;
  Check(Request(device, 0x9C40248C, words, 1, 1, &returned), "direct access off");
  words[0] = 1;
  Check(Request(device, 0x9C40248C, words, 1, 1, &returned), "direct access off while it is off");
  Check(!Request(device, 0x9C40248C, words, 0, 0, &returned), "direct access without a byte");
  CloseHandle(device);
}

int main(int count, char** arguments) {
  HMODULE library = GetModuleHandleA("BRISK.dll");
  if (count > 1 && strcmp(arguments[1], "--child") == 0) return Child();
  setvbuf(stdout, NULL, _IONBF, 0);
  Check(library != NULL && library == (HMODULE)0x10000000, "BRISK.dll is loaded at its base");
  Check(BriskGetVersion() == 6, "BriskGetVersion through the import library");
  Check(I2cLib_Init() == 1, "I2cLib_Init through the import library");
  EveryExport(library, "exports.lst");
  TwoProcesses(library, arguments[0]);
  if (count > 1 && strcmp(arguments[1], "--driver") == 0) Driver(library);
  printf("%d failures\n", failures);
  return failures;
}
