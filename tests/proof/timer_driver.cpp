#include "timer_driver.h"

#include <windows.h>

#include "system_faults.h"

namespace proof {

namespace {

using host::SystemCall;
using host::kernel::Answer;

// Odd replies to a creation.
constexpr std::uint32_t kNoId = 0;
constexpr std::uint32_t kForeignId = 1;
constexpr std::uint32_t kNotReady = 2;

constexpr std::uint32_t kNoSuchTimer = 2; // ERROR_FILE_NOT_FOUND

void Append(std::vector<std::uint8_t>& bytes, std::uint64_t number, int size) {
    for (int i = 0; i < size; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(number >> 8 * i));
    }
}

std::vector<std::uint8_t> CreateReply(std::uint64_t id) {
    const SystemCall reply(host::kernel::kCreateReply);
    const auto is = [&](std::uint32_t oddity) { return reply.Fails() && reply.Status() == oddity; };
    std::vector<std::uint8_t> bytes;
    Append(bytes, is(kNoId) ? 0 : is(kForeignId) ? ~id : id, 8);
    Append(bytes, is(kNotReady) ? 0xFFFF : 0, 2);
    Append(bytes, 0xEEEE'EEEE'EEEE, 6);
    return bytes;
}

std::vector<std::uint8_t> WaitReply(unsigned event) {
    const SystemCall reply(host::kernel::kWaitReply);
    std::vector<std::uint8_t> bytes(8, 0xEE);
    Append(bytes, reply.Status(event % 2 == 0 ? 0u : 0xFFF9u), 2); // -7: not ready
    for (unsigned word = 1; word <= 4; ++word) {
        Append(bytes, event * 0x100 + word, 2);
    }
    bytes.resize(24, 0xEE);
    return bytes;
}

using rig::Counts;
using rig::Fails;
using rig::Silent;

/// An odd reply.
constexpr auto Odd = Fails;

/// It does its work and reports a failure.
rig::FailureMode DoneButFails(std::uint32_t status) {
    constexpr std::uint32_t kWhole = 24;
    return {RIG_FAULT_STATUS | RIG_FAULT_COUNT, status, kWhole};
}

} // namespace

Answer TimerDriver::Serve(std::string_view request, std::uint64_t input) {
    if (request == host::kernel::kCreateRequest) {
        return Create();
    }
    if (!Has(input)) {
        return {kNoSuchTimer, {}};
    }
    if (request == host::kernel::kWaitRequest) {
        return NextEvent();
    }
    timers.erase(input);
    return {};
}

Answer TimerDriver::Create() {
    timers.insert(++lastId);
    return {0, CreateReply(lastId)};
}

Answer TimerDriver::NextEvent() {
    ++events;
    return {events % 2 == 0 ? 0u : ERROR_IO_PENDING, WaitReply(events)};
}

const std::vector<VendorFunction>& TimerFunctions() {
    // Errors of Windows.
    constexpr std::uint32_t kNone = 0;
    constexpr std::uint32_t kNotFound = 2;
    constexpr std::uint32_t kAccessDenied = 5;
    constexpr std::uint32_t kInvalidHandle = 6;
    constexpr std::uint32_t kNoMemory = 8;
    constexpr std::uint32_t kGeneralFailure = 31;
    constexpr std::uint32_t kAborted = 995;
    constexpr std::uint32_t kPending = ERROR_IO_PENDING;
    // Results of a wait.
    constexpr std::uint32_t kAbandoned = 0x80;
    constexpr std::uint32_t kInterrupted = 0xC0;
    constexpr std::uint32_t kTimeout = 0x102;
    constexpr std::uint32_t kFailed = 0xFFFF'FFFF;
    // Of the C library.
    constexpr std::uint32_t kBadValue = 22;
    constexpr std::uint32_t kCannotConvert = 42;
    constexpr std::uint32_t kCutOff = 80;
    static const std::vector<VendorFunction> functions{
        {"CreateFileW", {Fails(kNotFound), Fails(kAccessDenied), Fails(kNoMemory), Fails(kNone)}},
        {host::kernel::kCreateRequest,
         {Fails(kAccessDenied), Fails(kInvalidHandle), Fails(kNoMemory), Fails(kGeneralFailure),
          Fails(kAborted), Fails(kPending), Fails(kNone), DoneButFails(kGeneralFailure), Silent(),
          Counts(4), Counts(8), Counts(9)}},
        {host::kernel::kCreateReply, {Odd(kNoId), Odd(kForeignId), Odd(kNotReady)}},
        {"CreateEventW", {Fails(kAccessDenied), Fails(kInvalidHandle), Fails(kNoMemory)}},
        {host::kernel::kWaitRequest,
         {Fails(kAccessDenied), Fails(kInvalidHandle), Fails(kNoMemory), Fails(kGeneralFailure),
          Fails(kAborted), Fails(kNone), DoneButFails(kGeneralFailure), Silent(), Counts(8),
          Counts(9), Counts(11), Counts(17),
          Fails(kPending)}}, // ... and then completes with a failure
        {host::kernel::kWaitReply, {Odd(77), Odd(0xFFF8), Odd(0x8000), Odd(0xFFFD)}},
        {"WaitForSingleObject",
         {Fails(kFailed), Fails(kAbandoned), Fails(kInterrupted), Fails(kTimeout), Fails(1)}},
        {host::kernel::kDeleteRequest,
         {Fails(kAccessDenied), Fails(kAborted), Fails(kPending), Fails(kNone),
          DoneButFails(kGeneralFailure), Silent()}},
        {"CloseHandle", {Fails(kInvalidHandle), DoneButFails(kGeneralFailure)}},
        {"GetLastError", {Odd(kNone)}},
        {"FormatMessageW", {Fails(kNotFound), Silent(), Counts(0)}},
        {"LocalFree", {Fails(kInvalidHandle)}},
        {"wcstombs_s", {Fails(kBadValue), Fails(kCannotConvert), Fails(kCutOff)}},
        {"GetSystemTimePreciseAsFileTime", {Odd(0)}},
        {"localtime_s", {Fails(kBadValue)}}};
    return functions;
}

} // namespace proof
