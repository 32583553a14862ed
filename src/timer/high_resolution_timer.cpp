#include "high_resolution_timer.h"

#include <memory>

#include "driver_protocol.h"
#include "logger.h"
#include "win32_exception.h"

namespace Trel::SolvaneDriverLib {

namespace {

class ScopedHandle {
  public:
    explicit ScopedHandle(platform::HANDLE open) : handle(open) {}
    ~ScopedHandle() { platform::CloseHandle(handle); }
    ScopedHandle(const ScopedHandle&) = delete;
    ScopedHandle& operator=(const ScopedHandle&) = delete;

    platform::HANDLE Get() const { return handle; }

  private:
    platform::HANDLE handle;
};

class ScopedFlag {
  public:
    explicit ScopedFlag(bool& raised) : flag(raised) {}
    ~ScopedFlag() { flag = false; }
    ScopedFlag(const ScopedFlag&) = delete;
    ScopedFlag& operator=(const ScopedFlag&) = delete;

  private:
    bool& flag;
};

/// A request for the next event. The driver may write into it until it is answered.
struct WaitRequest {
    platform::OVERLAPPED overlapped{};
    TimerWaitReply reply{};
    platform::DWORD returned = 0;
};

std::unique_ptr<WaitRequest> MakeWaitRequest(platform::HANDLE event) {
    auto request = std::make_unique<WaitRequest>();
    request->overlapped.hEvent = event;
    return request;
}

/// `context` is the timer.
void DeliverToHost(void* context, const TimerEventRecord& record) {
    const auto& timer = *static_cast<SolvaneTimer*>(context);
    const SolvaneTimerEvent event{TranslateDriverStatus(record.status),
                                  record.initialStatusOk,
                                  record.data0,
                                  record.data1,
                                  record.data2,
                                  record.data3};
    const SolvaneTimerCallback receive = timer.callback;
    receive(timer.userContext, &event);
}

} // namespace

HighResolutionTimerBase::~HighResolutionTimerBase() {
    DeleteDriverTimer();
    platform::CloseHandle(device);
}

void HighResolutionTimerBase::RunLoop(std::uint32_t timerParameter) {
    CreateDriverTimer(timerParameter);
    const platform::HANDLE event = platform::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    if (event == nullptr) {
        throw Win32Exception("CreateEvent failed. Error: ");
    }
    {
        const ScopedHandle owned(event);
        WaitForEvents(owned.Get());
    }
    DeleteDriverTimer();
}

void HighResolutionTimerBase::CreateDriverTimer(std::uint32_t timerParameter) {
    TimerCreateReply reply{};
    platform::DWORD returned = 0;
    if (platform::DeviceIoControl(device, IOCTL_SOLVANE_TIMER_CREATE, &timerParameter,
                                  sizeof timerParameter, &reply, sizeof reply, &returned,
                                  nullptr) == FALSE) {
        throw Win32Exception("DeviceIoControl failed to create timer: ");
    }
    timerId = reply.timerId;
    initialStatusOk = reply.initialStatus == 0 ? 1 : 0;
}

void HighResolutionTimerBase::WaitForEvents(platform::HANDLE event) {
    std::unique_ptr<WaitRequest> request = MakeWaitRequest(event);
    running = true;
    const ScopedFlag lowersWaiting(waiting);
    do {
        waiting = true;
        request->reply = {}; // what the driver does not fill is 0
        request->returned = 0;
        if (platform::DeviceIoControl(device, IOCTL_SOLVANE_TIMER_WAIT, &timerId, sizeof timerId,
                                      &request->reply, sizeof request->reply, &request->returned,
                                      &request->overlapped) == FALSE) {
            const platform::DWORD error = platform::GetLastError();
            if (error != ERROR_IO_PENDING) {
                throw Win32Exception(error, "DeviceIoControl failed: ");
            }
        }
        if (platform::WaitForSingleObject(event, INFINITE) != WAIT_OBJECT_0) {
            // Left behind on purpose: it is not withdrawn, so the driver may still answer into it.
            static_cast<void>(request.release());
            throw Win32Exception("Wait error: ");
        }
        if (!running) {
            break; // stopped between two events: this one is not delivered
        }
        const TimerWaitReply& reply = request->reply;
        OnTimerEvent({static_cast<std::uint8_t>(initialStatusOk != 0), 0, reply.status,
                      reply.data[0], reply.data[1], reply.data[2], reply.data[3]});
    } while (running);
}

void HighResolutionTimerBase::DeleteDriverTimer() {
    if (timerId == 0) {
        return;
    }
    platform::DWORD returned = 0;
    if (platform::DeviceIoControl(device, IOCTL_SOLVANE_TIMER_DELETE, &timerId, sizeof timerId,
                                  nullptr, 0, &returned, nullptr) == FALSE) {
        throw Win32Exception("DeviceIoControl failed: ");
    }
    timerId = 0;
}

void SolvaneTimer::Run(std::uint32_t timerParameter, void* context) {
    adaptorContext = context;
    adaptor = DeliverToHost;
    RunLoop(timerParameter);
}

std::int16_t TranslateDriverStatus(std::int16_t driverStatus) {
    switch (driverStatus) {
    case 0:
    case -3: // on purpose
        return SOLVANE_OK;
    case -7:
        return SOLVANE_E_NOT_READY;
    case -6:
    case -2:
        return SOLVANE_E_WRITE;
    case -5:
    case -4:
    case -1:
        return SOLVANE_E_NO_HARDWARE;
    default:
        SLV::Internal::s_logger.Line("Error. Unknown GPIO trigger status: ", driverStatus);
        return SOLVANE_E_UNDETERMINED;
    }
}

} // namespace Trel::SolvaneDriverLib
