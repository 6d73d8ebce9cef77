#pragma once

// The output rate of a terminal in bits per second, also where it is none of termios's B constants.
unsigned TtySpeed(int file);
