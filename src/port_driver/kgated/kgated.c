/* kgated.sys: gives user processes the parallel port. Its one essential service is to give the
 * calling process an I/O permission map that allows every port; beside that it takes the port base
 * and writes and reads the port itself. For 32-bit Windows of the NT family, where the kernel keeps
 * such maps; there is none on 64-bit systems. */

#include <ddk/ntddk.h>

#include "contracts/port_driver.h"

/* In the kernel's import library but in no header. The first copies the map into the processor's
 * task state, the second chooses whether the process uses it. */
NTSYSAPI VOID NTAPI Ke386SetIoAccessMap(ULONG map, PVOID bits);
NTSYSAPI VOID NTAPI Ke386IoSetAccessProcess(PEPROCESS process, ULONG map);

enum {
  kMapBytes = 65536 / 8, /* a bit a port; 0 allows it */
  kMapWords = kMapBytes / sizeof(ULONG),
  kNoMap = 0,
  kOurMap = 1
};

static const WCHAR kDeviceName[] = KGATED_KERNEL_DEVICE;
static const WCHAR kLinkName[] = KGATED_KERNEL_LINK;

typedef struct {
  USHORT portBase;
  PVOID volatile map; /* the current permission map; null when none is held */
} Extension;

/* One request: the shared input and output buffer, its two lengths, and what to report. */
typedef struct {
  Extension* extension;
  UCHAR* bytes;
  ULONG* words;
  ULONG in;
  ULONG out;
  ULONG_PTR reported;
} Request;

static PUCHAR Port(ULONG number) { return (PUCHAR)(ULONG_PTR)number; }

static NTSTATUS Version(Request* request) {
  request->reported = sizeof(ULONG);
  if (request->out < sizeof(ULONG)) return STATUS_BUFFER_TOO_SMALL;
  request->words[0] = kDriverVersion;
  return STATUS_SUCCESS;
}

static void FreeMap(PVOID map) {
  if (map != NULL) MmFreeNonCachedMemory(map, kMapBytes);
}

/* The kernel has copied an earlier map, so it may go when a new one takes its place. */
static NTSTATUS SwitchOn(Extension* extension) {
  volatile ULONG* const map = MmAllocateNonCachedMemory(kMapBytes);
  ULONG word;
  if (map == NULL) return STATUS_INSUFFICIENT_RESOURCES;
  for (word = 0; word < kMapWords; ++word) map[word] = 0;
  Ke386IoSetAccessProcess(IoGetCurrentProcess(), kOurMap);
  Ke386SetIoAccessMap(kOurMap, (PVOID)(ULONG_PTR)map);
  FreeMap(InterlockedExchangePointer(&extension->map, (PVOID)(ULONG_PTR)map));
  return STATUS_SUCCESS;
}

static NTSTATUS SwitchOff(Extension* extension) {
  const PVOID map = InterlockedExchangePointer(&extension->map, NULL);
  if (map == NULL) return STATUS_SUCCESS;
  Ke386IoSetAccessProcess(IoGetCurrentProcess(), kNoMap);
  Ke386SetIoAccessMap(kOurMap, map);
  FreeMap(map);
  return STATUS_SUCCESS;
}

static NTSTATUS DirectIo(Request* request) {
  if (request->in < 1) return STATUS_BUFFER_TOO_SMALL;
  return request->bytes[0] == kSwitchOff ? SwitchOff(request->extension)
                                         : SwitchOn(request->extension);
}

static NTSTATUS PortBase(Request* request) {
  if (request->in < sizeof(ULONG) || request->out < 2 * sizeof(ULONG)) {
    return STATUS_BUFFER_TOO_SMALL;
  }
  request->extension->portBase = (USHORT)request->words[0];
  request->words[1] = kBaseAcknowledged;
  request->reported = 2 * sizeof(ULONG);
  return STATUS_SUCCESS;
}

static NTSTATUS WriteData(Request* request) {
  if (request->in < 1) return STATUS_BUFFER_TOO_SMALL;
  WRITE_PORT_UCHAR(Port(request->extension->portBase), request->bytes[0]);
  return STATUS_SUCCESS;
}

static NTSTATUS ReadStatus(Request* request) {
  if (request->out < 1) return STATUS_BUFFER_TOO_SMALL;
  request->bytes[0] = READ_PORT_UCHAR(Port(request->extension->portBase + 1u));
  request->reported = 1;
  return STATUS_SUCCESS;
}

static NTSTATUS Answer(ULONG code, Request* request) {
  switch (code) {
    case KGATED_CODE(kVersionFunction):
      return Version(request);
    case KGATED_CODE(kDirectAccessFunction):
      return DirectIo(request);
    case KGATED_CODE(kPortBaseFunction):
      return PortBase(request);
    case KGATED_CODE(kWriteDataFunction):
      return WriteData(request);
    case KGATED_CODE(kReadStatusFunction):
      return ReadStatus(request);
    default:
      return STATUS_UNSUCCESSFUL;
  }
}

static NTSTATUS Complete(PIRP irp, NTSTATUS status, ULONG_PTR reported) {
  irp->IoStatus.Status = status;
  irp->IoStatus.Information = reported;
  IoCompleteRequest(irp, IO_NO_INCREMENT);
  return status;
}

static NTSTATUS NTAPI OpenOrClose(PDEVICE_OBJECT device, PIRP irp) {
  (void)device;
  return Complete(irp, STATUS_SUCCESS, 0);
}

static NTSTATUS NTAPI Unsupported(PDEVICE_OBJECT device, PIRP irp) {
  (void)device;
  return Complete(irp, STATUS_NOT_IMPLEMENTED, 0);
}

static NTSTATUS NTAPI Control(PDEVICE_OBJECT device, PIRP irp) {
  const IO_STACK_LOCATION* const place = IoGetCurrentIrpStackLocation(irp);
  Request request;
  NTSTATUS status;
  request.extension = device->DeviceExtension;
  request.bytes = irp->AssociatedIrp.SystemBuffer;
  request.words = irp->AssociatedIrp.SystemBuffer;
  request.in = place->Parameters.DeviceIoControl.InputBufferLength;
  request.out = place->Parameters.DeviceIoControl.OutputBufferLength;
  request.reported = 0;
  status = Answer(place->Parameters.DeviceIoControl.IoControlCode, &request);
  return Complete(irp, status, request.reported);
}

static VOID NTAPI Unload(PDRIVER_OBJECT driver) {
  UNICODE_STRING link;
  Extension* const extension = driver->DeviceObject->DeviceExtension;
  FreeMap(InterlockedExchangePointer(&extension->map, NULL));
  RtlInitUnicodeString(&link, kLinkName);
  IoDeleteSymbolicLink(&link);
  IoDeleteDevice(driver->DeviceObject);
}

NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath);

NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath) {
  UNICODE_STRING name;
  UNICODE_STRING link;
  PDEVICE_OBJECT device = NULL;
  Extension* extension;
  NTSTATUS status;
  ULONG major;
  (void)registryPath;

  for (major = 0; major <= IRP_MJ_MAXIMUM_FUNCTION; ++major) {
    driver->MajorFunction[major] = Unsupported;
  }
  driver->MajorFunction[IRP_MJ_CREATE] = OpenOrClose;
  driver->MajorFunction[IRP_MJ_CLOSE] = OpenOrClose;
  driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = Control;
  driver->DriverUnload = Unload;

  RtlInitUnicodeString(&name, kDeviceName);
  status = IoCreateDevice(driver, sizeof(Extension), &name, kDeviceType, 0, FALSE, &device);
  if (!NT_SUCCESS(status)) return status;
  extension = device->DeviceExtension;
  extension->portBase = kDefaultBase;
  extension->map = NULL;

  RtlInitUnicodeString(&link, kLinkName);
  status = IoCreateSymbolicLink(&link, &name);
  if (!NT_SUCCESS(status)) IoDeleteDevice(device);
  return status;
}
