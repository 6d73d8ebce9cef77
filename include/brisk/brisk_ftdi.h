#ifndef BRISK_BRISK_FTDI_H_
#define BRISK_BRISK_FTDI_H_

#include "brisk/brisk_types.h"

/* I2C over the MPSSE of FTDI chips: FT2232C (full-speed, interface A) and FT2232H and FT4232H
 * (hi-speed, interfaces A and B). Independent of the selected device type.
 *
 * Every function returns a status: 0 for success, 1 to 5 (and rarely higher values below 20) from
 * D2XX, 20 to 57 of this family; I2C_GetErrorCodeString turns it into English. Arguments are tested
 * in a fixed order and the first failing test decides. A null pointer for a result that has no
 * status of its own is 36; the location pointer of the two name functions may be null. Without the
 * D2XX library (FTD2XX.dll, libftd2xx.so) every search for devices, counting included, gives 2 and
 * writes a line to the debugger output.
 *
 * One lock of the family's own serialises all calls of a process. Selecting device type 8 makes
 * every handle that was opened here invalid (status 1), without closing it: select first, open
 * afterwards. Writes that device type 8 has deferred are sent before anything here reaches a chip.
 *
 * Handles are numbers of this library; in 32-bit builds they are D2XX's own. At most 50 interfaces
 * of either speed are open at a time; opening one more gives 5. */

BRISK_BEGIN_DECLS

/* Communications modes: STANDARD holds START and STOP longer; FAST is the mode of a newly opened
 * handle; STRETCH_DATA sends bytes bit by bit so that a device may stretch the clock. */
enum { I2C_STANDARD_MODE = 1, I2C_FAST_MODE = 2, I2C_STRETCH_DATA_MODE = 4 };
enum { I2C_NO_WRITE_TYPE = 0, I2C_BYTE_WRITE_TYPE = 1, I2C_PAGE_WRITE_TYPE = 2 };
enum { I2C_BYTE_READ_TYPE = 1, I2C_BLOCK_READ_TYPE = 2 };
enum { I2C_FT2232H_DEVICE = 1, I2C_FT4232H_DEVICE = 2 };

/* All fields are 32-bit booleans; `output`: non-zero = output, `high`: non-zero = high. */
typedef struct {
  uint32_t output;
  uint32_t high;
} GpioPin;

/* Lines to leave in a given state at closing: SCL, SDA, chip-select pin (bits 0, 1, 3). */
typedef struct {
  uint32_t changeScl;
  uint32_t sclHigh;
  uint32_t changeSda;
  uint32_t sdaHigh;
  uint32_t changeChipSelect;
  uint32_t chipSelectHigh;
} FinalStatePins;

typedef struct {
  GpioPin pins[4]; /* GPIOH0 to GPIOH3 */
} GpioPins;

typedef struct {
  uint32_t high[4]; /* GPIOH0 to GPIOH3 */
} GpioLevels;

typedef struct {
  GpioPin pins[4]; /* GPIOL0 to GPIOL3; GPIOL0 is always driven high, its pair is ignored */
} HiSpeedLowGpioPins;

typedef struct {
  uint32_t high[4]; /* GPIOL0 to GPIOL3; GPIOL0 always reads low */
} HiSpeedLowGpioLevels;

typedef struct {
  GpioPin pins[8]; /* GPIOH0 to GPIOH7; FT2232H only */
} HiSpeedHighGpioPins;

typedef struct {
  uint32_t high[8]; /* GPIOH0 to GPIOH7; FT2232H only */
} HiSpeedHighGpioLevels;

typedef struct {
  uint32_t pages;
  uint32_t bytesPerPage;
} PageWriteRecord;

/* FT2232C interfaces A that nobody has open. Indexes of I2C_GetDeviceNameLocID run over all of
 * them, open ones included. */
BRISK_API uint32_t BRISK_CALL I2C_GetNumDevices(uint32_t* count);
/* Interfaces A and B of FT2232H and FT4232H, open ones included. */
BRISK_API uint32_t BRISK_CALL I2C_GetNumHiSpeedDevices(uint32_t* count);

/* The name is the interface's description; the buffer must be longer than it (64 is enough). */
BRISK_API uint32_t BRISK_CALL I2C_GetDeviceNameLocID(uint32_t index, char* name, uint32_t nameSize,
                                                     uint32_t* location);
/* The channel buffer takes at least 5 bytes and receives "A" or "B"; `type` is I2C_FT2232H_DEVICE
 * or I2C_FT4232H_DEVICE. */
BRISK_API uint32_t BRISK_CALL I2C_GetHiSpeedDeviceNameLocIDChannel(
    uint32_t index, char* name, uint32_t nameSize, uint32_t* location, char* channel,
    uint32_t channelSize, uint32_t* type);

/* Opens the only FT2232C attached; 28 when there are more. */
BRISK_API uint32_t BRISK_CALL I2C_Open(uint32_t* handle);
/* Opens by exact name and location. An interface that this process has open already gives the same
 * handle again; one I2C_Close then closes it. */
BRISK_API uint32_t BRISK_CALL I2C_OpenEx(const char* name, uint32_t location, uint32_t* handle);
/* The same for hi-speed interfaces; `channel` is "A" or "B", any other gives 31. */
BRISK_API uint32_t BRISK_CALL I2C_OpenHiSpeedDevice(const char* name, uint32_t location,
                                                    const char* channel, uint32_t* handle);
/* I2C_FT2232H_DEVICE or I2C_FT4232H_DEVICE. */
BRISK_API uint32_t BRISK_CALL I2C_GetHiSpeedDeviceType(uint32_t handle, uint32_t* type);
/* CloseDevice first leaves the lines as `finalState` says, and does not close when that fails. */
BRISK_API uint32_t BRISK_CALL I2C_Close(uint32_t handle);
BRISK_API uint32_t BRISK_CALL I2C_CloseDevice(uint32_t handle, const FinalStatePins* finalState);

/* Puts the interface into MPSSE mode with bus lines high, GPIOH0 and GPIOH1 low, latency 2 ms. A
 * hi-speed interface counts as running from 60 MHz afterwards; its command for that goes out before
 * the mode is entered, and a chip fresh from power-on does not heed it then: call
 * I2C_TurnOffDivideByFiveClockingHiSpeedDevice afterwards to be sure. Takes about a tenth of a
 * second, and up to ten seconds when the chip does not answer. */
BRISK_API uint32_t BRISK_CALL I2C_InitDevice(uint32_t handle, uint32_t divisor);

/* Base clock of a hi-speed interface: 12 MHz (on) or 60 MHz (off). */
BRISK_API uint32_t BRISK_CALL I2C_TurnOnDivideByFiveClockingHiSpeedDevice(uint32_t handle);
BRISK_API uint32_t BRISK_CALL I2C_TurnOffDivideByFiveClockingHiSpeedDevice(uint32_t handle);
/* These two send the commands for adaptive clocking, 0x96 and 0x97, whatever their names say. */
BRISK_API uint32_t BRISK_CALL I2C_TurnOnThreePhaseDataClockingHiSpeedDevice(uint32_t handle);
BRISK_API uint32_t BRISK_CALL I2C_TurnOffThreePhaseDataClockingHiSpeedDevice(uint32_t handle);

/* Milliseconds that the chip keeps a short answer back: 2 to 255. */
BRISK_API uint32_t BRISK_CALL I2C_SetDeviceLatencyTimer(uint32_t handle, uint8_t milliseconds);
BRISK_API uint32_t BRISK_CALL I2C_GetDeviceLatencyTimer(uint32_t handle, uint8_t* milliseconds);

/* Bus frequency in Hz of a divisor (0 to 65535): 12 MHz or 60 MHz / ((1 + divisor) * 2). */
BRISK_API uint32_t BRISK_CALL I2C_GetClock(uint32_t divisor, uint32_t* frequency);
BRISK_API uint32_t BRISK_CALL I2C_GetHiSpeedDeviceClock(uint32_t divisor, uint32_t* frequency);
/* Sets the divisor; the frequency is that of the interface's base clock. */
BRISK_API uint32_t BRISK_CALL I2C_SetClock(uint32_t handle, uint32_t divisor, uint32_t* frequency);

/* Non-zero connects the chip's data output to its data input, for tests without a bus. */
BRISK_API uint32_t BRISK_CALL I2C_SetLoopback(uint32_t handle, uint32_t on);
/* One of the three communications modes, for the transactions that follow. */
BRISK_API uint32_t BRISK_CALL I2C_SetMode(uint32_t handle, uint32_t mode);

/* General-purpose pins: direction and level of every pin at once, and the levels on the pins. The
 * hi-speed functions need both records, even when only one is used; a second status replaces the
 * first. Reading waits 5 ms there. */
BRISK_API uint32_t BRISK_CALL I2C_SetGPIOs(uint32_t handle, const GpioPins* pins);
BRISK_API uint32_t BRISK_CALL I2C_SetHiSpeedDeviceGPIOs(uint32_t handle, uint32_t changeLow,
                                                        const HiSpeedLowGpioPins* low,
                                                        uint32_t changeHigh,
                                                        const HiSpeedHighGpioPins* high);
BRISK_API uint32_t BRISK_CALL I2C_GetGPIOs(uint32_t handle, GpioLevels* levels);
BRISK_API uint32_t BRISK_CALL I2C_GetHiSpeedDeviceGPIOs(uint32_t handle, uint32_t readLow,
                                                        HiSpeedLowGpioLevels* low,
                                                        uint32_t readHigh,
                                                        HiSpeedHighGpioLevels* high);

/* START, the control bytes (I2C address byte first), the data, and STOP when `stop` is non-zero;
 * without it SCL stays low. With `controlAck` every control byte must be acknowledged within
 * `controlTimeout` ms, else 39; without it no acknowledge clock is sent at all. BYTE sends the
 * first data byte, acknowledged (42) only with `dataAck`; PAGE sends all `count` bytes in one run,
 * each always acknowledged, and `pages` only has to ask for no more than that; NONE looks at no
 * data argument. After a missing acknowledge the bus is left without a STOP: the next START
 * recovers it. */
BRISK_API uint32_t BRISK_CALL I2C_Write(uint32_t handle, const uint8_t* control,
                                        uint32_t controlCount, uint32_t controlAck,
                                        uint32_t controlTimeout, uint32_t stop, uint32_t writeType,
                                        const uint8_t* data, uint32_t count, uint32_t dataAck,
                                        uint32_t dataTimeout, const PageWriteRecord* pages);

/* START, the control bytes in write direction, repeated START, the address in read direction, the
 * data, STOP. Changes bit 0 of control[0]: it holds the direction sent last. BYTE reads one byte
 * and answers it with NACK; BLOCK reads `count` bytes and answers all but the last with ACK. */
BRISK_API uint32_t BRISK_CALL I2C_Read(uint32_t handle, uint8_t* control, uint32_t controlCount,
                                       uint32_t controlAck, uint32_t controlTimeout,
                                       uint32_t readType, uint8_t* data, uint32_t count);

/* "2.0"; at least 4 bytes. */
BRISK_API uint32_t BRISK_CALL I2C_GetDllVersion(char* version, uint32_t size);

/* The message of a status, in language "EN" (any other gives 56 and says so in the buffer). A
 * number that is no status gives 57 and "Unknown status code = N". 100 bytes are enough for every
 * message. */
BRISK_API uint32_t BRISK_CALL I2C_GetErrorCodeString(const char* language, uint32_t status,
                                                     char* message, uint32_t size);

BRISK_END_DECLS

#endif
