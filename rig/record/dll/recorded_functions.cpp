/// The vendor functions that are recorded: each passes the host's arguments on.
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <optional>
#include <type_traits>

#include <windows.h>

#include "c_function.h"
#include "d2xx.h"
#include "eapi.h"
#include "inpout.h"
#include "passed_call.h"
#include "real_dlls.h"
#include "this_recording.h"

namespace rig::record {

namespace {

/// A call on its way, in the recording. Without memory for that, it goes its way unseen.
class Passage {
  public:
    Passage(const HostCallScope& scope, const VendorFunction& function,
            std::initializer_list<std::uint64_t> arguments) {
        Recorder* const recorder = ThisRecording::Instance().recorder;
        try {
            if (recorder != nullptr && scope.IsOfHost()) {
                passed.emplace(function, std::span(arguments.begin(), arguments.size()));
                number = recorder->Begin(passed->call);
            }
        } catch (const std::exception&) {
            passed.reset();
        }
    }

    void Return(std::uint32_t status, DWORD lastError) {
        try {
            if (passed) {
                passed->Return(status);
                ThisRecording::Instance().recorder->End(number, passed->call, lastError);
            }
        } catch (const std::exception&) { // it stays one that has not returned
        }
    }

  private:
    std::optional<PassedCall> passed;
    std::uint64_t number = 0;
};

/// Calls the vendor's function, with the last error as the host left it, and leaves it as the
/// vendor's function did.
template <class Result, class... Arguments>
Result Pass(Function id, Arguments... arguments) {
    const DWORD before = GetLastError();
    const VendorFunction& function = Described(id);
    const HostCallScope scope;
    const auto real = reinterpret_cast<Result(FT_CALL*)(Arguments...)>(RealFunction(function));
    if (real == nullptr) {
        return static_cast<Result>(function.library.outOfMemory);
    }
    Passage passage(scope, function, {AsNumber(arguments)...});
    SetLastError(before);
    if constexpr (std::is_void_v<Result>) {
        real(arguments...);
        const DWORD after = GetLastError();
        passage.Return(0, after);
        SetLastError(after);
    } else {
        const Result result = real(arguments...);
        const DWORD after = GetLastError();
        passage.Return(static_cast<std::uint32_t>(result), after);
        SetLastError(after);
        return result;
    }
}

} // namespace

} // namespace rig::record

#define PASSING(convention, name, result, parameters)                                              \
    VENDOR_C_SIGNATURE(convention, name, result, parameters) {                                     \
        return rig::record::Pass<rig::kinds::result::Host>(                                        \
            rig::Function::name C_JOIN(C_ARGUMENTS_, C_COUNT parameters));                         \
    }

extern "C" {
#define D2XX(name, ordinal, parameters, failureModes) PASSING(FT_CALL, name, Number, parameters)
#define D2XX_REFUSED(name, ordinal, result, answer)
#define EAPI(name, parameters, failureModes) PASSING(EAPI_CALL, name, Flags, parameters)
#define INPOUT(name, ordinal, result, parameters, failureModes)                                    \
    PASSING(INPOUT_CALL, name, result, parameters)
#include "vendor_functions.inc"
}
