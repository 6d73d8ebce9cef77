/* What a first-time user of the library does, in C99, against the public headers alone: sets up the
 * bench, selects the parallel port, talks to the controller over I2C, programs a file into the
 * flash and reads it back. Ends with 1 at the first thing that is not as it should be.
 *
 * usage: first_walk FOLDER, where it may create files. */

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "brisk/brisk.h"
#include "brisk/brisk_extensions.h"
#include "brisk/brisk_sim.h"

enum {
  kController = 0xF4, /* 8-bit address */
  kScratch = 0x10,    /* two registers that nothing else uses */
  kFileSize = 3000,   /* eleven full pages and a part */
  kPages = 12,
  kAddress = 0x20000,
  kFlashId = 0xEF4016 /* the bench's w25q32 */
};

static void Expect(int asItShouldBe, const char* what) {
  if (asItShouldBe) {
    printf("ok: %s\n", what);
    return;
  }
  printf("WRONG: %s\n", what);
  exit(1);
}

static int BRISK_CALL OnProgress(uint32_t done, uint32_t total, void* calls) {
  Expect(done <= total, "progress is told");
  ++*(unsigned*)calls;
  return 0;
}

static void SetUp(void) {
  char message[256] = "";
  Expect(BriskSimConfigure("flahs=w25q32", message, sizeof message) != 0,
         "a misspelt option of the bench is refused");
  Expect(strstr(message, "flash") != NULL, "the refusal names the right option");
  Expect(BriskSimConfigure("flash=w25q32,frame=800x600", message, sizeof message) == 0,
         "the bench is set up");
  Expect(BriskSetDevice(BRISK_DEVICE_LPT) == 1, "the parallel port is selected");
  Expect(BriskGetVersion() == 6, "the interface version is 6");
}

static void UseRegisters(void) {
  uint8_t value = 0;
  uint8_t command = kScratch;
  uint8_t pair[2] = {0, 0};
  char digits[7] = "";
  Expect(I2cWriteByte(kController, kScratch, 0x5A) == 1, "a register is written");
  Expect(I2cReadByte(kController, kScratch, &value) == 1 && value == 0x5A, "it reads back");
  Expect(I2cReadByte(0x50, kScratch, &value) == 0 && value == 0x5A,
         "a device that is not there is no success and stores nothing");
  Expect(I2c_String("F4-10=1234.") == 0, "a string command writes two registers");
  Expect(I2cReadData(kController, &command, 1, pair, 2) == 1 && pair[0] == 0x34 && pair[1] == 0x12,
         "the low byte went out first");
  Expect(I2c_ReadString(digits, "F4-10-F5=") == 0 && strcmp(digits, "1234") == 0,
         "a string command reads them");
  Expect(I2c_ReadStringEx("F4-70-F5=") == 800, "the controller tells the frame's width");
}

static void MakeFile(const char* path, uint8_t* bytes) {
  uint32_t state = 1;
  FILE* file = fopen(path, "wb");
  Expect(file != NULL, "a file to program can be created");
  for (int i = 0; i < kFileSize; ++i) {
    state = state * 1664525U + 1013904223U;
    bytes[i] = (uint8_t)(state >> 24);
  }
  Expect(fwrite(bytes, 1, kFileSize, file) == kFileSize && fclose(file) == 0, "it is written");
}

static void ProgramFlash(const char* path) {
  unsigned calls = 0;
  SPIInit();
  Expect(SPIReadID() == kFlashId, "the flash identifies itself");
  SPISectorErase(kAddress);
  BriskSetProgressCallback(OnProgress, &calls);
  Expect(SPIProgramFromFile(kAddress, kFileSize, path, 0) == kFileSize, "the file is programmed");
  BriskSetProgressCallback(NULL, NULL);
  Expect(calls == kPages && SPIGetProgress() == 100, "after every page, and at the end");
}

static void ReadBack(const char* path, const uint8_t* programmed) {
  /* One more byte, so that a longer file shows. */
  uint8_t bytes[kFileSize + 1];
  uint32_t after = 0;
  Expect(SPIProgramToFile(kAddress, kFileSize, path) == kFileSize, "the flash is read into a file");
  FILE* file = fopen(path, "rb");
  Expect(file != NULL, "that file is there");
  Expect(fread(bytes, 1, sizeof bytes, file) == kFileSize, "it has the size that was asked for");
  fclose(file);
  Expect(memcmp(bytes, programmed, kFileSize) == 0, "it holds what was programmed");
  SPIReadByte(kAddress + kFileSize, &after);
  Expect(after == 0xFF, "the byte behind the file is still erased");
}

int main(int argc, char** argv) {
  static uint8_t bytes[kFileSize];
  char source[1024];
  char copy[1024];
  if (argc != 2) {
    fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  snprintf(source, sizeof source, "%s/first_walk.bin", argv[1]);
  snprintf(copy, sizeof copy, "%s/first_walk_copy.bin", argv[1]);
  remove(copy);
  SetUp();
  UseRegisters();
  MakeFile(source, bytes);
  ProgramFlash(source);
  ReadBack(copy, bytes);
  puts("the first walk is done");
  return 0;
}
