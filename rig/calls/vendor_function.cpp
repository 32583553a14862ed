#include "vendor_function.h"

#include <array>
#include <initializer_list>

namespace rig::kinds {

namespace {

template <class Row>
struct Signature;
template <class... Kinds>
struct Signature<void(Kinds...)> {
    static constexpr std::array<Parameter, sizeof...(Kinds)> kParameters{Kinds::kParameter...};
};

namespace ways_of {

using namespace usb;
using namespace eapi;

constexpr std::uint32_t kFailed = 0x8000'4005;
constexpr std::uint32_t kWmiFailed = 0x8004'1003;

#define FAILURE_MODES(...)                                                                         \
    { __VA_ARGS__ }
#define FUNCTION(library, name, text, ordinal, result, parameters, failureModes)                   \
    constexpr std::initializer_list<FailureMode> name = FAILURE_MODES failureModes;
#include "vendor_functions.inc"

} // namespace ways_of

constexpr VendorFunction kFunctions[] = {
#define FUNCTION(library, name, text, ordinal, result, parameters, failureModes)                   \
    {Function::name,                                                                               \
     library,                                                                                      \
     text,                                                                                         \
     ordinal,                                                                                      \
     result::kParameter.in,                                                                        \
     Signature<void parameters>::kParameters,                                                      \
     ways_of::name},
#include "vendor_functions.inc"
};

} // namespace

} // namespace rig::kinds

std::span<const rig::VendorFunction> rig::VendorFunctions() {
    return kinds::kFunctions;
}
