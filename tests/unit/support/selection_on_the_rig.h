/// What selection leaves in the journal for each kind of hardware that is not there.
#pragma once

#include "on_the_rig.h"

namespace test {

inline const std::string kChecking =
    "log: Controller candidate been created. Checking H/W availability...";
inline const std::string kSucceeded = "log: ... succeeded!";
inline const std::string kNotAvailable = "log: ... not available. Error -3";

/// Windows knows no parallel port.
inline Journal TryLpt() {
    return {
        kChecking,
        "log: [LPT]: initializing...",
        "CoInitializeEx(null, 0)",
        "CoInitializeSecurity(null, -1, null, null, 0, 3, null, 0, null)",
        "CoCreateInstance(CLSID_WbemLocator, null, 1, IID_IWbemLocator)",
        "IClassFactory::CreateInstance(null, IWbemLocator) -> 0x00000000",
        "IWbemLocator::ConnectServer(root\\cimv2, null, null, null, 0x80, null, null) -> "
        "0x00000000",
        "CoSetProxyBlanket(proxy, 10, 0, null, 3, 3, null, 0)",
        "IClientSecurity::SetBlanket(10, 0, null, 3, 3, null, 0) -> 0x00000000",
        "IWbemServices::ExecQuery(WQL, SELECT * FROM Win32_ParallelPort, 0x20, null) -> 0x00000000",
        "IEnumWbemClassObject::Next(-1, 1) -> 0x00000001, 0",
        "log: [LPT]: pEnumerator->Next() failed. hr = 0x1",
        "CoUninitialize()",
        "log: [LPT]: error -3",
        kNotAvailable};
}

/// Nothing is behind I/O ports, so InpOut's driver is not open.
inline Journal TrySuperIo() {
    return {kChecking, "IsInpOutDriverOpen() -> 0", "log: [KTRN]: InpOut driver is not opened.",
            "log: [MOBO]: Configure() result: -3", kNotAvailable};
}

/// The next candidate is made first, then the one before it goes.
inline Journal MakeEapi() {
    return {"EApiGetEAPIVersion() -> 0x0, 1.2.3.4",
            "log: [EAPI]: GPIO control v2.2 for EAPI library v1.2.3.4"};
}
inline Journal DestroySuperIo() {
    return {"log: ", "log: [KTRN]: deleted."};
}

inline Journal TryEapi() {
    return {kChecking, "EApiLibInitialize() -> 0xfffffbff",
            "log: [EAPI]: EApiLibInitialize error 0xfffffbff",
            "log: [MOBO]: Configure() result: -3", kNotAvailable};
}
inline Journal DestroyEapi() {
    return {"EApiLibUnInitialize() -> 0xffffffff",
            "log: [EAPI]: EApiLibUnInitialize error 0xffffffff"};
}

/// All candidates before the FT2232H, none of which is there.
inline Journal TryAllBeforeUsb() {
    return TryLpt() + TrySuperIo() + MakeEapi() + DestroySuperIo() + TryEapi() + DestroyEapi();
}

} // namespace test
