#include "system_faults.h"

#include <mutex>

#include "fault_plan.h"
#include "kernel_stand_in.h"

namespace host {

namespace {

/// Every system call that can fail; the others (CoUninitialize, SysFreeString, VariantInit) return
/// nothing.
constexpr const char* kFunctions[] = {"Sleep",
                                      "GetSystemTimePreciseAsFileTime",
                                      "localtime_s",
                                      "timeBeginPeriod",
                                      "timeEndPeriod",
                                      "CoInitializeEx",
                                      "CoInitializeSecurity",
                                      "CoCreateInstance",
                                      "CoSetProxyBlanket",
                                      "SysAllocString",
                                      "VariantClear",
                                      "CreateFileW",
                                      "CreateEventW",
                                      "WaitForSingleObject",
                                      "CloseHandle",
                                      "GetLastError",
                                      "FormatMessageW",
                                      "LocalFree",
                                      "wcstombs_s",
                                      kernel::kCreateRequest,
                                      kernel::kDeleteRequest,
                                      kernel::kWaitRequest,
                                      kernel::kUnknownRequest,
                                      kernel::kCreateReply,
                                      kernel::kWaitReply};

rig::FaultPlan AllFunctions() {
    rig::FaultPlan plan;
    for (const char* const function : kFunctions) {
        plan.Declare(function);
    }
    return plan;
}

std::mutex mutex;
std::uint32_t failures = 0;

/// Created when the program starts: the allocation test counts later allocations.
rig::FaultPlan plan = AllFunctions();

} // namespace

int AddFault(const rig_fault& fault) {
    const std::lock_guard lock(mutex);
    return plan.Add(
               {fault.function, fault.call, fault.times, fault.kind, fault.status, fault.count})
               ? 0
               : -1;
}

void ClearFaults() {
    const std::lock_guard lock(mutex);
    plan.Clear();
    failures = 0;
}

std::uint32_t Calls(const char* function) {
    const std::lock_guard lock(mutex);
    return plan.Calls(function);
}

std::uint32_t FaultsThatHappened() {
    const std::lock_guard lock(mutex);
    return failures;
}

std::map<std::string, std::uint32_t> AllCalls() {
    const std::lock_guard lock(mutex);
    std::map<std::string, std::uint32_t> calls;
    for (const char* const function : kFunctions) {
        calls[function] = plan.Calls(function);
    }
    return calls;
}

SystemCall::SystemCall(const char* function) {
    const std::lock_guard lock(mutex);
    plan.CountCall(function);
    if (const rig::Fault* const fault = plan.Occur(function)) {
        ++failures;
        kind = fault->kind;
        status = fault->status;
        count = fault->count;
    }
}

} // namespace host
