/// The functions of EAPI_Library.dll.
#include "eapi.h"

#include "eapi_front.h"
#include "eapi_status.h"
#include "vendor_call.h"

using rig::VendorCall;
using namespace rig::eapi;

namespace {

// The version that the stand-in says it has; four different parts, so that a host that mixes them
// up sees it.
constexpr std::uint8_t kMajor = 1;
constexpr std::uint8_t kMinor = 2;
constexpr std::uint8_t kPatch = 3;
constexpr std::uint16_t kBuild = 4;

/// Serves one call: counts and journals it with its inputs, and does the work(VendorCall&) unless a
/// fault stands in its place. No exception leaves a vendor function.
template <class Work, class... Inputs>
EApiStatus_t Serve(const char* function, Work work, Inputs... inputs) {
    try {
        VendorCall call(function, rig::Hexadecimal);
        (call.Input(std::to_string(inputs)), ...);
        return call.Answer([&] { return work(call); });
    } catch (...) {
        return kAllocationError;
    }
}

/// The same for a function that needs the library initialised.
template <class Work, class... Inputs>
EApiStatus_t ServeInitialised(const char* function, Work work, Inputs... inputs) {
    const auto workOnBoard = [&](VendorCall& call) {
        return front.isInitialised ? work(call) : kNotInitialised;
    };
    return Serve(function, workOnBoard, inputs...);
}

} // namespace

EApiStatus_t EAPI_CALL EApiLibInitialize(void) {
    const auto work = [](VendorCall&) {
        if (!front.board) {
            return kNotFound;
        }
        if (front.isInitialised) {
            return EAPI_STATUS_INITIALIZED;
        }
        front.isInitialised = true;
        return EAPI_STATUS_SUCCESS;
    };
    return Serve("EApiLibInitialize", work);
}

EApiStatus_t EAPI_CALL EApiLibUnInitialize(void) {
    // What the pins were set to, they stay at.
    const auto work = [](VendorCall&) {
        front.isInitialised = false;
        return EAPI_STATUS_SUCCESS;
    };
    return ServeInitialised("EApiLibUnInitialize", work);
}

EApiStatus_t EAPI_CALL EApiGetEAPIVersion(std::uint8_t* major, std::uint8_t* minor,
                                          std::uint8_t* patch, std::uint16_t* build) {
    const auto work = [&](VendorCall& call) {
        if (major == nullptr || minor == nullptr || patch == nullptr || build == nullptr) {
            return kInvalidParameter;
        }
        *major = kMajor;
        *minor = kMinor;
        *patch = kPatch;
        *build = kBuild;
        call.Output("1.2.3.4");
        return EAPI_STATUS_SUCCESS;
    };
    return Serve("EApiGetEAPIVersion", work);
}

EApiStatus_t EAPI_CALL EApiGPIOGetCount(std::uint32_t* count) {
    const auto work = [&](VendorCall& call) {
        if (count == nullptr) {
            return kInvalidParameter;
        }
        *count = call.Count(front.board->Count());
        call.Output(std::to_string(*count));
        return EAPI_STATUS_SUCCESS;
    };
    return ServeInitialised("EApiGPIOGetCount", work);
}

EApiStatus_t EAPI_CALL EApiGPIOSetDirection(EApiId_t id, std::uint32_t mask,
                                            std::uint32_t direction) {
    const auto work = [&](VendorCall&) { return front.board->SetDirection(id, mask, direction); };
    return ServeInitialised("EApiGPIOSetDirection", work, id, mask, direction);
}

EApiStatus_t EAPI_CALL EApiGPIOGetLevel(EApiId_t id, std::uint32_t mask, std::uint32_t* level) {
    const auto work = [&](VendorCall& call) {
        if (level == nullptr) {
            return kInvalidParameter;
        }
        const EApiStatus_t status = front.board->GetLevel(id, mask, *level);
        if (status == EAPI_STATUS_SUCCESS) {
            *level = call.Count(*level);
            call.Output(std::to_string(*level));
        }
        return status;
    };
    return ServeInitialised("EApiGPIOGetLevel", work, id, mask);
}

EApiStatus_t EAPI_CALL EApiGPIOSetLevel(EApiId_t id, std::uint32_t mask, std::uint32_t level) {
    const auto work = [&](VendorCall&) { return front.board->SetLevel(id, mask, level); };
    return ServeInitialised("EApiGPIOSetLevel", work, id, mask, level);
}
