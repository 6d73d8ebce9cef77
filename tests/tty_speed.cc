#include "tests/tty_speed.h"

// In a file of its own: the kernel's header excludes <termios.h>.
#include <asm/termbits.h>
#include <sys/ioctl.h>

unsigned TtySpeed(int file) {
  termios2 settings{};
  return ioctl(file, TCGETS2, &settings) == 0 ? settings.c_ospeed : 0;
}
