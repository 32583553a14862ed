/// The functions of inpoutx64.dll.
#include "inpout.h"

#include "inpout_front.h"
#include "vendor_call.h"

using rig::VendorCall;
using namespace rig::io;

namespace {

/// Serves one call: counts and journals it with its inputs, and does the work() unless a fault
/// stands in its place. No exception leaves a vendor function.
template <class Work, class... Inputs>
std::uint32_t Serve(const char* function, rig::ShowResult show, Work work, Inputs... inputs) {
    try {
        VendorCall call(function, show);
        (call.Input(rig::Hexadecimal(inputs)), ...);
        return call.Answer(work);
    } catch (...) {
        return 0;
    }
}

std::string NoResult(std::uint32_t) {
    return {};
}

} // namespace

std::uint16_t INPOUT_CALL Inp32(std::uint16_t port) {
    const auto work = [&]() -> std::uint32_t {
        return front.isDriverOpen ? front.ports->Read(port) : 0;
    };
    return static_cast<std::uint16_t>(Serve("Inp32", rig::Hexadecimal, work, port));
}

void INPOUT_CALL Out32(std::uint16_t port, std::uint16_t value) {
    const auto work = [&]() -> std::uint32_t {
        if (front.isDriverOpen) {
            front.ports->Write(port, static_cast<std::uint8_t>(value));
        }
        return 0;
    };
    Serve("Out32", NoResult, work, port, value);
}

std::uint32_t INPOUT_CALL IsInpOutDriverOpen(void) {
    return Serve("IsInpOutDriverOpen", rig::Decimal,
                 [] { return front.isDriverOpen ? std::uint32_t{1} : std::uint32_t{0}; });
}
