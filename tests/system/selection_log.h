/// The lines that selection leaves in the log for each kind of hardware, as hosts have long read
/// them.
#pragma once

#include <string>
#include <vector>

namespace test {

using Lines = std::vector<std::string>;

inline const std::string kChecking =
    "Controller candidate been created. Checking H/W availability...";
inline const std::string kSucceeded = "... succeeded!";
inline const std::string kNotAvailable = "... not available. Error -3";

inline Lines operator+(Lines left, const Lines& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline Lines LptAnswers() {
    return {kChecking, "[LPT]: initializing...", "[LPT]: succeeded.",
            "[LPT]: power interface available.", kSucceeded};
}

/// Windows knows no parallel port.
inline Lines LptIsNotThere() {
    return {kChecking, "[LPT]: initializing...", "[LPT]: pEnumerator->Next() failed. hr = 0x1",
            "[LPT]: error -3", kNotAvailable};
}

inline Lines SuperIoAnswers() {
    const std::string rest = "[KTRN]: >>> trg-RDY-MEP-CLR-drk-APW-CPW-PWS";
    return {kChecking,
            "[KTRN]: initialization succeeded!",
            "[KTRN]: State: trg-RDY-MEP-CLR-drk-APW-CPW-PWS",
            "[MOBO]: Configure() result: 0",
            rest,
            rest,
            rest,
            rest,
            kSucceeded};
}

/// Nothing is behind I/O ports, so InpOut's driver is not open.
inline Lines SuperIoIsNotThere() {
    return {kChecking, "[KTRN]: InpOut driver is not opened.", "[MOBO]: Configure() result: -3",
            kNotAvailable};
}

/// The next candidate is made first, then the one before it goes.
inline Lines EapiIsMade() {
    return {"[EAPI]: GPIO control v2.2 for EAPI library v1.2.3.4"};
}

inline Lines SuperIoGoes() {
    return {"", "[KTRN]: deleted."};
}

inline Lines EapiAnswers() {
    return {kChecking, "[MOBO]: Configure() result: 0", kSucceeded};
}

inline Lines EapiIsNotThere() {
    return {kChecking, "[EAPI]: EApiLibInitialize error 0xfffffbff",
            "[MOBO]: Configure() result: -3", kNotAvailable};
}

inline Lines UninitialisedEapiGoes() {
    return {"[EAPI]: EApiLibUnInitialize error 0xffffffff"};
}

inline Lines UsbConfigures() {
    return {"Total FTDI devices available:  2",
            "Open device #1...",
            " >>> read bits:  High Byte (BC)CLR-MEP-RDY-apw-cpw-drk-trg- 0xf0",
            " <<< write bits: High Byte (BC)CLR-MEP-RDY-apw-cpw-drk-trg- 0xf0",
            " >>> read bits:  Low Byte (BD): apw-cpw-drk- 0x1f",
            "Configure() result: 0"};
}

inline Lines UsbAnswers() {
    return Lines{kChecking} + UsbConfigures() + Lines{kSucceeded};
}

/// The bytes are as the process has read them before: dots instead of pictures.
inline Lines UsbAnswersAgain() {
    return {kChecking,
            "Total FTDI devices available:  2",
            "Open device #1...",
            ". <<< write bits: High Byte (BC)CLR-MEP-RDY-apw-cpw-drk-trg- 0xf0",
            ".Configure() result: 0",
            kSucceeded};
}

inline Lines UsbDoesNotConfigure() {
    return {"There are no FTDI devices installed", "Configure() result: -3"};
}

inline Lines UsbIsNotThere() {
    return Lines{kChecking} + UsbDoesNotConfigure() + Lines{kNotAvailable};
}

/// Nothing that is asked before the FT2232H is there.
inline Lines NothingBeforeUsb() {
    return LptIsNotThere() + SuperIoIsNotThere() + EapiIsMade() + SuperIoGoes() + EapiIsNotThere() +
           UninitialisedEapiGoes();
}

} // namespace test
