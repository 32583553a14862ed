/// The vendors' DLLs, which are loaded at the first call of one of their functions.
#pragma once

#include <windows.h>

#include "vendor_function.h"

namespace rig::record {

/// A thread's way through a vendor's DLL. What that DLL calls on the way, of another's functions or
/// while it is loaded, is no call of the host: who has the recording may have other DLLs.
class HostCallScope {
  public:
    HostCallScope() { TlsSetValue(Slot(), this); }
    ~HostCallScope() {
        const DWORD lastError = GetLastError();
        TlsSetValue(Slot(), outer);
        SetLastError(lastError);
    }
    HostCallScope(const HostCallScope&) = delete;
    HostCallScope& operator=(const HostCallScope&) = delete;

    /// An exception of Windows leaves this function without its destructors; but what it leaves is
    /// below on the stack, not above.
    bool IsOfHost() const { return outer <= this; }

  private:
    static DWORD Slot() {
        static const DWORD slot = TlsAlloc();
        return slot;
    }

    void* const outer = TlsGetValue(Slot());
};

/// The vendor's function; null if there is none, which is complained about once.
void* RealFunction(const VendorFunction& function) noexcept;

/// The vendor's export that has a slot; null as above.
void* RealExport(unsigned slot);

} // namespace rig::record
