/// What selection leaves in the journal for each kind of hardware that is not there.
#pragma once

#include "on_the_rig.h"

namespace test {

inline const std::string kChecking =
    "log: Controller candidate been created. Checking H/W availability...";
inline const std::string kSucceeded = "log: ... succeeded!";
inline const std::string kNotAvailable = "log: ... not available. Error -3";

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
    return TrySuperIo() + MakeEapi() + DestroySuperIo() + TryEapi() + DestroyEapi();
}

} // namespace test
