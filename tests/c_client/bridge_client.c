/* Registers behind a serial bridge, by the shipped library: bridge_client uart|text PORT RATE COUNT
 *
 * Writes COUNT random registers one by one and reads one back after each. Prints the 256 registers
 * as it knows them (those that it never wrote as "--") and exits with 0 when every read agreed. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "brisk/brisk.h"
#include "brisk/brisk_serial.h"

static unsigned Random(void) {
  static unsigned state = 12345;
  state = state * 1103515245u + 12345u;
  return state >> 16;
}

int main(int count, char** arguments) {
  int known[256];
  int wrong = 0;
  if (count != 5) return 2;
  const int text = strcmp(arguments[1], "text") == 0;
  const uint8_t port = (uint8_t)atoi(arguments[2]);
  const uint32_t rate = (uint32_t)atoi(arguments[3]);
  const int rounds = atoi(arguments[4]);
  BriskSetDevice(text ? BRISK_DEVICE_TEXT_BRIDGE : BRISK_DEVICE_UART);
  if (!(text ? uart_mag_connect(port, rate) : uart_connect(port, rate))) {
    puts("not connected");
    return 1;
  }
  for (int i = 0; i < 256; ++i) known[i] = -1;
  for (int i = 0; i < rounds && wrong < 10; ++i) {
    const uint8_t address = (uint8_t)Random();
    const uint8_t value = (uint8_t)Random();
    const uint8_t other = (uint8_t)Random();
    uint8_t back = 0;
    if (I2cWriteData(0xF4, &address, 1, &value, 1) == 1) {
      known[address] = value;
    } else {
      printf("write %d failed\n", i);
      ++wrong;
    }
    if (I2cReadData(0xF4, &other, 1, &back, 1) != 1) {
      printf("read %d failed\n", i);
      ++wrong;
    } else if (known[other] >= 0 && back != known[other]) {
      printf("read %d: register %02X is %02X, not %02X\n", i, other, back, known[other]);
      ++wrong;
    }
  }
  for (int i = 0; i < 256; ++i) {
    if (known[i] < 0) {
      printf("--");
    } else {
      printf("%02X", known[i]);
    }
  }
  printf("\n");
  if (!(text ? uart_mag_disconnect() : uart_disconnect())) ++wrong;
  return wrong == 0 ? 0 : 1;
}
