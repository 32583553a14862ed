#include "symptoms.h"

#include <array>

namespace host {

namespace {

constexpr std::string_view kWmiService =
    "See in services.msc that \"Windows Management Instrumentation\" runs, and try again.";
constexpr std::string_view kPortResources =
    "Look at the port's resources in the Device Manager. A port on a USB adapter has no I/O range "
    "and cannot be used.";
constexpr std::string_view kOtherUser =
    "Another program may use the chip's ports 0x2E and 0x2F: close hardware monitors and try "
    "again.";
constexpr std::string_view kOtherBoard = "On a mainboard of another maker this is as it should be.";
constexpr std::string_view kNewestDriver = "Install the newest driver of the board's maker.";
constexpr std::string_view kOtherProgram = "Close the other program, and ask again.";
constexpr std::string_view kReplug =
    "Unplug the chip and plug it in again, best without a hub in between.";

constexpr Symptom kNotAtRest{"[MOBO]: Solvane_",
                             "The board was found, but a line could not be set to rest.",
                             "Try again; when it stays so, see the log (--log)."};

constexpr std::array kLptSymptoms{
    Symptom{"[LPT]: CoInitializeEx() failed", "Windows refused the use of COM.", kWmiService},
    Symptom{"[LPT]: CoInitializeSecurity() failed", "Windows refused the use of COM.", kWmiService},
    Symptom{"[LPT]: CoCreateInstance() failed", "Windows could not be asked for its ports.",
            kWmiService},
    Symptom{"[LPT]: pLoc->ConnectServer() failed", "Windows could not be asked for its ports.",
            kWmiService},
    Symptom{"[LPT]: CoSetProxyBlanket() failed", "Windows could not be asked for its ports.",
            kWmiService},
    Symptom{"[LPT]: pSvc->ExecQuery(SELECT *) failed", "Windows could not be asked for its ports.",
            kWmiService},
    Symptom{"[LPT]: pEnumerator->Next() failed", "Windows knows no parallel port.",
            "If there is one, enable it in the firmware's set-up; it must appear in the Device "
            "Manager under \"Ports (COM & LPT)\"."},
    Symptom{"[LPT]: pPort->Get(DeviceID) failed", "The port has no name that Windows can tell.",
            kPortResources},
    Symptom{"[LPT]: pSvc->ExecQuery(ASSOCIATORS OF) failed",
            "Windows could not be asked for the port's I/O range.", kWmiService},
    Symptom{"[LPT]: pResouceEnum->Next() failed",
            "Windows could not be asked for the port's I/O range.", kWmiService},
    Symptom{"[LPT]: pResource->Get(StartingAddress) failed",
            "The port's I/O range has no address that Windows can tell.", kPortResources},
    Symptom{"[LPT]: error -2", "There is a port, but the port-I/O driver (InpOut) is not open.",
            kOpenInpout},
    // The log does not show whether the port has an I/O range: see diagnosis.cpp.
    Symptom{"[LPT]: error -3", "There is a port, but nothing answers on its presence loopback.",
            "See that the camera's plug is in and wires pin 17 to pin 11."},
};

constexpr std::array kSuperIoSymptoms{
    Symptom{"[KTRN]: InpOut driver is not opened",
            "The port-I/O driver (InpOut) is not open, so the chip cannot be asked.", kOpenInpout},
    Symptom{"[KTRN]: Failed to initialize GPIO MOBO library. Error code: -4",
            "The chip at port 0x2E is another one, or there is none: its first identification byte "
            "is not C4.",
            kOtherBoard},
    Symptom{"[KTRN]: Failed to initialize GPIO MOBO library. Error code: -5",
            "The chip at port 0x2E is another one: its second identification byte is not 52.",
            kOtherBoard},
    Symptom{"[KTRN]: GPIO bank #3 is inactive",
            "The chip is the right one, but its GPIO bank 3 is "
            "switched off.",
            "Enable the bank (GPIO or \"digital I/O\") in the firmware's set-up."},
    Symptom{"[KTRN]: failed to configure pins directions",
            "The chip is the right one, but its pins cannot be set up.", kOtherUser},
    Symptom{"[KTRN]: failed to initially set Clear MEP pin",
            "The chip is the right one, but its clear-MEP pin does not rise.", kOtherUser},
    Symptom{"[KTRN]: failed to initially clear Trigger pin",
            "The chip is the right one, but its trigger pin does not fall.", kOtherUser},
    Symptom{"[KTRN]: Information about active GPIO banks has wrong format",
            "The chip answered with something that is no byte.", kOtherUser},
    Symptom{"[KTRN]: SetPin() failed", "A pin could not be written.", kOtherUser},
    Symptom{"[KTRN]: ClearPin() failed", "A pin could not be written.", kOtherUser},
    kNotAtRest,
};

constexpr std::array kEapiSymptoms{
    Symptom{"[EAPI]: EApiLibInitialize error ",
            "The board maker's Embedded API does not start (status %).",
            "If the board has the Embedded API, install its maker's driver; else this is as it "
            "should be."},
    Symptom{"[EAPI]: EApiGPIOGetCount error ",
            "The board cannot tell how many GPIO pins it has (status %).", kNewestDriver},
    Symptom{"[EAPI]: not enough GPIO pins available (",
            "The board offers % GPIO pins, and eight are needed.",
            "The camera needs another board, or another kind of hardware."},
    Symptom{"[EAPI]: EApiGPIOSetDirection(", "The board refuses the direction of its pin %.",
            "Free the pin in the firmware's set-up, where it may have another use."},
    Symptom{"[EAPI]: EApiGPIOSetLevel error ", "A pin could not be driven (status %).",
            kNewestDriver},
    kNotAtRest,
};

constexpr std::array kUsbSymptoms{
    Symptom{"Error in getting the number of devices. Error: ",
            "FTDI's driver cannot list its devices (D2XX status %).",
            "Install FTDI's D2XX driver package again."},
    Symptom{
        "There are no FTDI devices installed", "No FTDI chip is connected.",
        "Plug the FT2232H in; it must appear in the Device Manager under \"Universal Serial Bus "
        "controllers\"."},
    Symptom{"Failed to obtain FTDI devices info list. Error: ",
            "FTDI's driver cannot describe its devices (D2XX status %).", kReplug},
    // A device that has been open for some time is not listed at all, see below.
    Symptom{"Open FTDI device failed with error: 3",
            "The FT2232H does not open: it was plugged in just now, or it is open in another "
            "program.",
            "Ask again in some seconds. Close the other program, if there is one."},
    Symptom{"Open FTDI device failed with error: ", "The FT2232H cannot be opened (D2XX status %).",
            kReplug},
    Symptom{"FTDI chip initialization failed. Error: ",
            "The FT2232H was opened, but does not take its settings (D2XX status %).", kReplug},
    // Before the other symptoms of the device list: for such a chip its entries are meaningless.
    Symptom{" ID=0x0",
            "An FTDI chip is open in another program; of such a chip nothing else can be told.",
            kOtherProgram},
    Symptom{" Type=0x6",
            "An FT2232H is connected, but has no serial number yet: Windows is still setting it "
            "up.",
            "Ask again in some seconds. If it stays so, unplug the chip and plug it in again, best "
            "without a hub in between.",
            " SerialNumber="},
    Symptom{" Type=0x6", "An FT2232H is connected, but no channel's serial number ends in B.",
            "Write a serial number into the chip with FTDI's FT_PROG; the driver adds A and B."},
    Symptom{"No valid device found", "FTDI chips are connected, but none of them is an FT2232H.",
            "Plug the FT2232H in."},
    Symptom{"FT_Write failed", "The FT2232H was opened, but does not answer.", kReplug},
    Symptom{"FT_GetQueueStatus", "The FT2232H was opened, but does not answer.", kReplug},
};

constexpr std::array kLptServing{
    Symptom{"[LPT]: power interface NOT available", "It answers, and serves the camera.",
            "The power interface is not wired (pin 16 to pin 13): the power lines are driven, but "
            "nothing may hang on them."},
};

constexpr std::array kKinds{
    KindSymptoms{kParallelPort, kLptSymptoms, kLptServing, ""},
    KindSymptoms{"Super I/O", kSuperIoSymptoms, {}, kOtherUser},
    KindSymptoms{"Embedded API", kEapiSymptoms, {}, kNewestDriver},
    KindSymptoms{kFt2232h, kUsbSymptoms, {}, kReplug},
};

} // namespace

const Symptom kPortWithoutRange{"[LPT]: error -3", "There is a port, but it has no I/O range.",
                                kPortResources};

std::span<const KindSymptoms> Symptoms() {
    return kKinds;
}

} // namespace host
