/* The device and its requests. */

#include "timers.h"

static const WCHAR device_path[] = L"\\Device\\SolvaneDevice";
static const WCHAR link_path[] = L"\\DosDevices\\SolvaneDevice";

static NTSTATUS finish(IRP* irp, NTSTATUS status, ULONG_PTR information) {
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = status == STATUS_SUCCESS ? information : 0;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

static NTSTATUS NTAPI open(DEVICE_OBJECT* device, IRP* irp) {
    (void)device;
    return finish(irp, STATUS_SUCCESS, 0);
}

static NTSTATUS NTAPI close(DEVICE_OBJECT* device, IRP* irp) {
    (void)device;
    timers_delete_all_of(IoGetCurrentIrpStackLocation(irp)->FileObject);
    return finish(irp, STATUS_SUCCESS, 0);
}

static NTSTATUS NTAPI control(DEVICE_OBJECT* device, IRP* irp) {
    const IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation(irp);
    FILE_OBJECT* owner = stack->FileObject;
    const ULONG code = stack->Parameters.DeviceIoControl.IoControlCode;
    const ULONG in = stack->Parameters.DeviceIoControl.InputBufferLength;
    const ULONG out = stack->Parameters.DeviceIoControl.OutputBufferLength;
    void* buffer = irp->AssociatedIrp.SystemBuffer;
    NTSTATUS status;
    (void)device;

    if (timers_take_failure(code, &status)) {
        return finish(irp, status, 0);
    }
    switch (code) {
    case SOLVANE_DEVICE_CREATE:
        if (in != sizeof(uint32_t)) {
            return finish(irp, STATUS_INVALID_PARAMETER, 0);
        }
        if (out < sizeof(solvane_timer_created)) {
            return finish(irp, STATUS_BUFFER_TOO_SMALL, 0);
        }
        status = timers_create(owner, *(const uint32_t*)buffer, buffer);
        return finish(irp, status, sizeof(solvane_timer_created));

    case SOLVANE_DEVICE_DELETE:
        if (in != sizeof(uint64_t)) {
            return finish(irp, STATUS_INVALID_PARAMETER, 0);
        }
        return finish(irp, timers_delete(owner, *(const uint64_t*)buffer), 0);

    case SOLVANE_DEVICE_WAIT:
        if (in != sizeof(uint64_t)) {
            return finish(irp, STATUS_INVALID_PARAMETER, 0);
        }
        if (out < sizeof(solvane_timer_event)) {
            return finish(irp, STATUS_BUFFER_TOO_SMALL, 0);
        }
        status = timers_wait(owner, *(const uint64_t*)buffer, irp);
        return status == STATUS_PENDING ? status : finish(irp, status, sizeof(solvane_timer_event));

    case SOLVANE_DEVICE_SCRIPT:
        if (in != sizeof(solvane_device_script)) {
            return finish(irp, STATUS_INVALID_PARAMETER, 0);
        }
        timers_script(buffer);
        return finish(irp, STATUS_SUCCESS, 0);

    default:
        return finish(irp, STATUS_INVALID_DEVICE_REQUEST, 0);
    }
}

static void NTAPI unload(DRIVER_OBJECT* driver) {
    UNICODE_STRING link;
    RtlInitUnicodeString(&link, link_path);
    IoDeleteSymbolicLink(&link);
    IoDeleteDevice(driver->DeviceObject);
}

NTSTATUS NTAPI DriverEntry(DRIVER_OBJECT* driver, UNICODE_STRING* registry) {
    UNICODE_STRING path;
    UNICODE_STRING link;
    DEVICE_OBJECT* device;
    NTSTATUS status;
    (void)registry;

    timers_init();
    RtlInitUnicodeString(&path, device_path);
    RtlInitUnicodeString(&link, link_path);
    status = IoCreateDevice(driver, 0, &path, 0x9C41, 0, FALSE, &device);
    if (status != STATUS_SUCCESS) {
        return status;
    }
    status = IoCreateSymbolicLink(&link, &path);
    if (status != STATUS_SUCCESS) {
        IoDeleteDevice(device);
        return status;
    }
    driver->MajorFunction[IRP_MJ_CREATE] = open;
    driver->MajorFunction[IRP_MJ_CLOSE] = close;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = control;
    driver->DriverUnload = unload;
    return STATUS_SUCCESS;
}
