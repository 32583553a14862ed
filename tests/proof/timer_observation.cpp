#include "timer_observation.h"

#include <algorithm>
#include <cstdio>
#include <optional>

namespace proof {

namespace {

using host::kernel::CallRecord;

/// The calls whose failure ends the operation, and the text for that.
struct Step {
    std::string_view function;
    const char* words;
};

constexpr Step kSteps[] = {
    {"CreateFileW", "Error in CreateFile: "},
    {host::kernel::kCreateRequest, "DeviceIoControl failed to create timer: "},
    {"CreateEventW", "CreateEvent failed. Error: "},
    {host::kernel::kWaitRequest, "DeviceIoControl failed: "},
    {"WaitForSingleObject", "Wait error: "},
    {host::kernel::kDeleteRequest, "DeviceIoControl failed: "},
};

const Step* StepOf(const CallRecord& record) {
    const auto* const step = std::ranges::find(kSteps, record.function, &Step::function);
    return step != std::end(kSteps) ? step : nullptr;
}

/// A request is pending if GetLastError() says so.
bool IsPending(TimerTrace::const_iterator request, TimerTrace::const_iterator end) {
    const auto next = std::next(request);
    return next != end && next->function == "GetLastError" && next->error == ERROR_IO_PENDING;
}

TimerTrace::const_iterator FirstFailure(const TimerTrace& trace) {
    auto record = trace.begin();
    while (record != trace.end() &&
           (StepOf(*record) == nullptr || (record->isDone && (record->error != ERROR_IO_PENDING ||
                                                              IsPending(record, trace.end()))))) {
        ++record;
    }
    return record;
}

/// A number in a reply. Bytes that the driver has not filled are 0.
std::uint64_t Number(const CallRecord& record, std::size_t offset, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < size && offset + i < record.output.size(); ++i) {
        number |= std::uint64_t{record.output[offset + i]} << 8 * i;
    }
    return number;
}

/// The driver's status as a host sees it; nothing for an unknown one.
std::optional<int> Translated(int status) {
    switch (status) {
    case 0:
    case -3:
        return SOLVANE_OK;
    case -1:
    case -4:
    case -5:
        return SOLVANE_E_NO_HARDWARE;
    case -2:
    case -6:
        return SOLVANE_E_WRITE;
    case -7:
        return SOLVANE_E_NOT_READY;
    default:
        return std::nullopt;
    }
}

void Deliver(TimerObservation& observation, const CallRecord& wait, int wasWell) {
    const int status = static_cast<std::int16_t>(Number(wait, 8, 2));
    const std::optional<int> translated = Translated(status);
    if (!translated) {
        observation.log.push_back("Error. Unknown GPIO trigger status: " + std::to_string(status));
    }
    const auto word = [&](std::size_t offset) { return static_cast<int>(Number(wait, offset, 2)); };
    observation.events.push_back({translated.value_or(SOLVANE_E_UNDETERMINED), wasWell, word(10),
                                  word(12), word(14), word(16)});
}

TimerObservation ExpectedRun(TimerOp op, const TimerTrace& trace) {
    TimerObservation observation;
    int wasWell = 0;
    std::size_t waits = 0;
    for (const CallRecord& record : trace) {
        if (record.function == host::kernel::kCreateRequest) {
            wasWell = Number(record, 8, 2) == 0 ? 1 : 0;
        }
        if (record.function == "WaitForSingleObject" && record.isDone) {
            ++waits;
            if (op != TimerOp::RunStoppedBetween || waits == 1) {
                Deliver(observation, record, wasWell);
            }
        }
    }
    return observation;
}

} // namespace

std::string Reason(const TimerTrace& trace) {
    const auto failure = FirstFailure(trace);
    if (failure == trace.end()) {
        return "";
    }
    std::uint32_t error = failure->error;
    int readable = 0;
    for (auto record = failure; ++record != trace.end();) {
        if (StepOf(*record) != nullptr) {
            return "more was asked after a failure: " + std::string(record->function);
        }
        error = record->function == "GetLastError" ? record->error : error;
        const bool isText =
            record->function == "FormatMessageW" || record->function == "wcstombs_s";
        readable += isText && record->isDone ? 1 : 0;
    }
    char code[16];
    std::snprintf(code, sizeof code, " (0x%08x)", static_cast<unsigned>(error));
    return StepOf(*failure)->words + std::string(readable == 2 ? "A sentence.\r\n" : "") + code;
}

TimerObservation Expected(TimerOp op, const TimerTrace& trace) {
    if (op == TimerOp::Stop || op == TimerOp::Dispose) {
        return {op == TimerOp::Stop ? SOLVANE_E_INVALID : SOLVANE_OK,
                {"Error. Solvane_StopTimer() timer was not started. "},
                {}};
    }
    TimerObservation observation = IsRun(op) ? ExpectedRun(op, trace) : TimerObservation{};
    if (const std::string reason = Reason(trace); !reason.empty()) {
        observation.status = SOLVANE_E_UNDETERMINED;
        observation.log.push_back(
            std::string(IsRun(op) ? "Error. Solvane_RunTimer()" : "Error. Solvane_CreateTimer()") +
            " failed with exception: " + reason);
    }
    return observation;
}

std::uint64_t KnownTimer(std::uint64_t before, const TimerTrace& trace) {
    std::uint64_t known = before;
    for (const CallRecord& record : trace) {
        if (record.function == host::kernel::kCreateRequest && record.isDone) {
            known = Number(record, 0, 8);
        } else if (record.function == host::kernel::kDeleteRequest && record.isDone) {
            known = 0;
        }
    }
    return known;
}

std::string Text(const TimerObservation& observation) {
    std::string text = "status " + std::to_string(observation.status);
    for (const std::string& line : observation.log) {
        text += "; \"" + line + "\"";
    }
    for (const TimerEvent& event : observation.events) {
        text += "; event";
        for (const int word : event) {
            text += " " + std::to_string(word);
        }
    }
    return text;
}

} // namespace proof
