#include "statuses.h"

#include <array>

#include <solvane/solvane.h>

namespace host {

namespace {

struct Row {
    std::string_view command; ///< empty: any command
    int status;
    std::string_view meaning;
};

/// The first match counts, so meanings for one command stand before those for any command.
constexpr std::array kMeanings{
    Row{"trigger", SOLVANE_E_NOT_READY,
        "the system is not ready, or its ready line cannot be read"},
    Row{"trigger", SOLVANE_E_WRITE,
        "a line could not be written; the trigger may have been given, and its line may have "
        "stayed high until the next command sets it to rest"},
    Row{"wake", SOLVANE_E_WRITE, "the dark line could not be inverted and put back"},
    Row{"dark", SOLVANE_E_WRITE, "the dark line could not be written"},
    Row{"camera-power", SOLVANE_E_WRITE, "the camera power line could not be written"},
    Row{"accessories-power", SOLVANE_E_WRITE, "the accessories power line could not be written"},
    Row{"reset-com", SOLVANE_E_WRITE, "a step of the serial-channel reset failed"},
    Row{"reset-com", SOLVANE_E_NO_HARDWARE, "there is no serial channel to reset"},
    Row{"timer", SOLVANE_E_UNDETERMINED,
        "the timer driver could not be opened, or failed; --log tells why"},
    Row{kTimerEvent, SOLVANE_E_UNDETERMINED,
        "the driver answered with a status that the library does not know"},
    Row{kTimerEvent, SOLVANE_E_NO_HARDWARE, "the driver has no hardware to trigger with"},
    Row{"", SOLVANE_E_UNDETERMINED, "the state could not be determined"},
    Row{"", SOLVANE_E_WRITE, "a line could not be written"},
    Row{"", SOLVANE_E_NO_HARDWARE,
        "the hardware was not found, or could not be opened and configured"},
    Row{"", SOLVANE_E_INVALID, "the library was asked with a null pointer"},
    Row{"", SOLVANE_E_NOT_READY, "the system is not ready"},
};

} // namespace

std::string_view Meaning(std::string_view command, int status) {
    for (const Row& row : kMeanings) {
        if (row.status == status && (row.command.empty() || row.command == command)) {
            return row.meaning;
        }
    }
    return "this program does not know what that means";
}

} // namespace host
