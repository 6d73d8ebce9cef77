#include <stdio.h>

#include "brisk/brisk.h"
#include "brisk/brisk_extensions.h"

/* Device type 6 has no hardware behind it, so this runs anywhere. */
int main(void) {
  const unsigned version = BriskGetVersion();
  const unsigned selected = BriskSetDevice(6);
  const unsigned written = I2cWrite(0xA0);
  printf("version %u, selected %u, written %u\n", version, selected, written);
  BriskSetDevice(BRISK_DEVICE_LPT);
  return version == 6 && selected == 1 && written == 0 ? 0 : 1;
}
