#pragma once

/* The contract of the port-access driver: what the driver, the library, and whoever stands in for
 * either call and expect. In C, because the driver is written in it. */

#define KGATED_NAME "kgated" /* of the service and of the device */
#define KGATED_FILE KGATED_NAME ".sys"
#define KGATED_FILE_9X KGATED_NAME ".vxd"

/* The device as programs open it, and as the kernel of the NT family knows it. */
#define KGATED_DEVICE "\\\\.\\" KGATED_NAME
#define KGATED_DEVICE_9X "\\\\.\\" KGATED_FILE_9X
#define KGATED_KERNEL_DEVICE L"\\Device\\" KGATED_NAME
#define KGATED_KERNEL_LINK L"\\DosDevices\\" KGATED_NAME

#ifdef __cplusplus
namespace brisk::port_driver {
#endif

/* Every request is a device-control call whose input and output are one buffer: two 32-bit words,
 * little-endian, or less of them. A request with fewer bytes than it needs fails.
 *
 *                needs in  out  does
 *   version            -    4   word 0 becomes kDriverVersion
 *   direct access      1    -   byte 0: kSwitchOff = off, anything else = on for this process
 *   port base          4    8   word 0: the base, its low 16 bits; word 1 becomes
 *                               kBaseAcknowledged
 *   write data         1    -   byte 0 goes to the base port
 *   read status        -    1   byte 0 comes from the port behind the base
 */

/* On the NT family the code is CTL_CODE(device type, function, METHOD_BUFFERED, FILE_ANY_ACCESS).
 */
enum {
  kDeviceType = 0x9C40,
  kVersionFunction = 0x920,
  kDirectAccessFunction = 0x923,
  kPortBaseFunction = 0x925,
  kWriteDataFunction = 0x939,
  kReadStatusFunction = 0x93A
};
#define KGATED_CODE(function) (0x9C400000U | (function) << 2)

/* On the 9x family these are the codes. */
enum {
  kVersion9x = 0x01,
  kDirectAccess9x = 0x10,
  kPortBase9x = 0x20,
  kWriteData9x = 0x34,
  kReadStatus9x = 0x35
};

enum {
  kDriverVersion = 0x1000C,
  kSwitchOn = 0,
  kSwitchOff = 1,
  kBaseAcknowledged = 0x19,
  kDefaultBase = 0x378 /* until a base is set */
};

#ifdef __cplusplus
} /* namespace brisk::port_driver */
#endif
