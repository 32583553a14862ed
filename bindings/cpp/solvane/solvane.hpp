/// solvane.hpp - Solvane.dll for C++17 hosts: solvane.h with exceptions, lambdas and destructors.
///
/// Needs only solvane.h on the include path and the import library of Solvane.dll. What solvane.h
/// says about lines, times and threads holds here too. In short:
///
/// - Each function does the same as the function of that name in solvane.h. Called without a
/// parameter
///   it throws solvane::Error when the status is not 0; called with a std::error_code it stores the
///   status there and throws nothing of its own. Questions return bool: false when there is no
///   answer.
/// - One thread at a time, except for timers: this wrapper adds no lock.
/// - An exception out of a host's callback never travels through the library. In a timer's callback
/// it
///   ends the run, and Timer::Run rethrows it; in a log callback it is dropped.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include <solvane/solvane.h>

namespace solvane {

/// The statuses of solvane.h, for comparison with a std::error_code.
enum class Status : std::int16_t {
    Ok = SOLVANE_OK,
    Undetermined = SOLVANE_E_UNDETERMINED,
    Write = SOLVANE_E_WRITE,
    NoHardware = SOLVANE_E_NO_HARDWARE,
    Invalid = SOLVANE_E_INVALID,
    NotReady = SOLVANE_E_NOT_READY
};

} // namespace solvane

template <>
struct std::is_error_code_enum<solvane::Status> : std::true_type {};

namespace solvane {

/// The category of Solvane's statuses.
inline const std::error_category& Category() {
    class SolvaneCategory final : public std::error_category {
      public:
        const char* name() const noexcept override { return "solvane"; }
        std::string message(int status) const override {
            switch (status) {
            case SOLVANE_OK:
                return "the lines did what was asked";
            case SOLVANE_E_UNDETERMINED:
                return "the state asked for could not be determined, or a timer failed";
            case SOLVANE_E_WRITE:
                return "a line could not be written, or the serial channel not be reset";
            case SOLVANE_E_NO_HARDWARE:
                return "the hardware was not found, or could not be opened and configured";
            case SOLVANE_E_INVALID:
                return "a null pointer, or a timer that is not there or not running";
            case SOLVANE_E_NOT_READY:
                return "the system is not ready";
            default:
                return "a status that this header does not know";
            }
        }
    };
    static const SolvaneCategory category;
    return category;
}

inline std::error_code make_error_code(Status status) {
    return {static_cast<int>(status), Category()};
}

/// Thrown when a status is not 0. what() names the function and explains the status.
class Error : public std::system_error {
  public:
    Error(const std::error_code& error, const char* function)
        : std::system_error(error,
                            std::string(function) + ": status " + std::to_string(error.value())) {}

    /// The status as returned; it may be a number that Status does not name.
    Status status() const noexcept { return static_cast<Status>(code().value()); }
};

/// How a call reports its status: in the std::error_code that it is given; without one, a status
/// other than 0 is thrown as an Error.
class Outcome {
  public:
    Outcome() = default;
    Outcome(std::error_code& target) : error(&target) {}

    void Of(std::int16_t status, const char* function) const {
        const std::error_code code{status, Category()};
        if (error != nullptr) {
            *error = code;
        } else if (code) {
            throw Error(code, function);
        }
    }

    /// Asks a question; false when there is no answer.
    bool Of(std::int16_t(SOLVANE_CALL* question)(std::int16_t*), const char* function) const {
        std::int16_t answer = 0;
        const std::int16_t status = question(&answer);
        Of(status, function);
        return status == SOLVANE_OK && answer != 0;
    }

  private:
    std::error_code* error = nullptr;
};

// ---- Logging ------------------------------------------------------------------------------------

/// Passes the library's log lines to any callable for as long as this object lives.
///
/// There is one log function in the process: a second Logger takes over from the first. Make it
/// before the first other call, to see how the hardware was chosen, and neither make nor destroy it
/// while a call or a timer is in progress. Rule 7 of solvane.h says what the callable may call in
/// the library. The line is valid during the call only. While timers run, the callable is called on
/// their threads as well.
class Logger {
  public:
    explicit Logger(std::function<void(std::string_view line)> toCall) : onLine(std::move(toCall)) {
        installed = this;
        Solvane_SetLogger(this, &Logger::OnLine);
    }
    ~Logger() {
        if (installed == this) {
            installed = nullptr;
            Solvane_SetLogger(nullptr, nullptr);
        }
    }
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

  private:
    static void SOLVANE_CALL OnLine(void* context, const char* line) noexcept {
        try {
            static_cast<const Logger*>(context)->onLine(line);
        } catch (...) { // a line may be in mid-pulse: a failed log must not disturb it
        }
    }

    inline static const Logger* installed = nullptr;
    std::function<void(std::string_view line)> onLine;
};

// ---- Finding the hardware -----------------------------------------------------------------------

/// Finds and configures the hardware; an error when there is none.
inline void CheckAvailable(Outcome outcome = {}) {
    outcome.Of(Solvane_CheckAvailable(), "Solvane_CheckAvailable");
}

/// Checks that camera and accessories power can be switched; an error when they cannot.
inline void CheckPowerControlAvailable(Outcome outcome = {}) {
    outcome.Of(Solvane_CheckPowerControlAvailable(), "Solvane_CheckPowerControlAvailable");
}

/// Looks for the hardware again, from the first kind.
inline void RecheckStatus(Outcome outcome = {}) {
    outcome.Of(Solvane_RecheckStatus(), "Solvane_RecheckStatus");
}

/// Chooses the FT2232H, whether it is there or not.
inline void EnforceFTDI() {
    Solvane_EnforceFTDI();
}

// ---- Capture ------------------------------------------------------------------------------------

/// Triggers one capture; Status::NotReady when the system is not ready.
inline void TriggerCapture(Outcome outcome = {}) {
    outcome.Of(Solvane_TriggerCapture(), "Solvane_TriggerCapture");
}

/// Whether the system is ready for a trigger.
inline bool CheckSystemReady(Outcome outcome = {}) {
    return outcome.Of(Solvane_CheckSystemReady, "Solvane_CheckSystemReady");
}

/// Whether the MEP flag was latched. Clears it if it was.
inline bool CheckAndResetMepFlag(Outcome outcome = {}) {
    return outcome.Of(Solvane_CheckAndResetMepFlag, "Solvane_CheckAndResetMepFlag");
}

/// Wakes the camera with a short pulse on the dark line.
inline void WakeCamera(Outcome outcome = {}) {
    outcome.Of(Solvane_WakeCamera(), "Solvane_WakeCamera");
}

// ---- Forced black update (dark) -----------------------------------------------------------------

inline void EnableForcedBlackUpdate(Outcome outcome = {}) {
    outcome.Of(Solvane_EnableForcedBlackUpdate(), "Solvane_EnableForcedBlackUpdate");
}

inline void DisableForcedBlackUpdate(Outcome outcome = {}) {
    outcome.Of(Solvane_DisableForcedBlackUpdate(), "Solvane_DisableForcedBlackUpdate");
}

/// Whether the picture is forced dark.
inline bool CheckForcedBlackUpdate(Outcome outcome = {}) {
    return outcome.Of(Solvane_CheckForcedBlackUpdate, "Solvane_CheckForcedBlackUpdate");
}

// ---- Power --------------------------------------------------------------------------------------

inline void EnableCameraPower(Outcome outcome = {}) {
    outcome.Of(Solvane_EnableCameraPower(), "Solvane_EnableCameraPower");
}

inline void DisableCameraPower(Outcome outcome = {}) {
    outcome.Of(Solvane_DisableCameraPower(), "Solvane_DisableCameraPower");
}

/// Whether camera power is on. A line that cannot be read: see rule 6 of solvane.h.
inline bool CheckCameraPower(Outcome outcome = {}) {
    return outcome.Of(Solvane_CheckCameraPower, "Solvane_CheckCameraPower");
}

inline void EnableAccessoriesPower(Outcome outcome = {}) {
    outcome.Of(Solvane_EnableAccessoriesPower(), "Solvane_EnableAccessoriesPower");
}

inline void DisableAccessoriesPower(Outcome outcome = {}) {
    outcome.Of(Solvane_DisableAccessoriesPower(), "Solvane_DisableAccessoriesPower");
}

/// Whether accessories power is on. Also true when the line cannot be read.
inline bool CheckAccessoriesPower(Outcome outcome = {}) {
    return outcome.Of(Solvane_CheckAccessoriesPower, "Solvane_CheckAccessoriesPower");
}

// ---- The device itself --------------------------------------------------------------------------

/// Closes the hardware, so that another program may use it. The next operation opens it again.
inline void CloseDevice(Outcome outcome = {}) {
    outcome.Of(Solvane_CloseDevice(), "Solvane_CloseDevice");
}

/// Resets the serial channel of the FT2232H.
inline void ResetComPort(Outcome outcome = {}) {
    outcome.Of(Solvane_ResetComPort(), "Solvane_ResetComPort");
}

// ---- Timers -------------------------------------------------------------------------------------

using TimerEvent = SolvaneTimerEvent;
using TimerFunction = std::function<void(const TimerEvent& event)>;

/// A timer of the kernel driver, disposed of when this object and its last run have ended.
///
/// Run() blocks the thread that calls it and calls the host's function on that thread. Stop() may
/// be called from any thread. The library loses a stop that comes just before a run has begun. This
/// class remembers it, and ends the run at the next event without delivering that event.
class Timer {
  public:
    /// Opens the driver; Status::Undetermined on failure, with the reason in the log.
    Timer() { Create({}); }
    explicit Timer(std::error_code& error) { Create(error); }

    /// Stops a run on another thread and waits for its end, which is the driver's next event.
    ~Timer() {
        Stop();
        std::unique_lock<std::mutex> lock(state->mutex);
        if (state->thread !=
            std::this_thread::get_id()) { // otherwise called from the timer's own callback
            state->ended.wait(lock, [this] { return !state->running; });
        }
    }
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// Calls `onEvent` for each event, until Stop() or an exception out of `onEvent`, which Run()
    /// rethrows. Status::Invalid when the timer is already running.
    void Run(std::uint32_t parameter, const TimerFunction& onEvent, Outcome outcome = {}) {
        // Kept here, so that it outlives the run even when `onEvent` destroys this object.
        const std::shared_ptr<State> kept = state;
        outcome.Of(kept->Run(parameter, onEvent), "Solvane_RunTimer");
    }

    /// Ends the run in progress; if there is none, the next run ends at once. Does not wait.
    void Stop() { state->Stop(); }

  private:
    struct State {
        State() = default;
        ~State() {
            if (handle != 0) {
                Solvane_DisposeTimer(handle);
            }
        }
        State(const State&) = delete;
        State& operator=(const State&) = delete;

        std::int16_t Run(std::uint32_t parameter, const TimerFunction& onEvent) {
            {
                const std::lock_guard<std::mutex> lock(mutex);
                if (running) {
                    return SOLVANE_E_INVALID;
                }
                if (std::exchange(stopped, false)) {
                    return SOLVANE_OK;
                }
                running = true;
                thread = std::this_thread::get_id();
            }
            function = &onEvent;
            const std::int16_t status = Solvane_RunTimer(handle, parameter, &State::OnEvent);
            std::exception_ptr toThrow;
            {
                const std::lock_guard<std::mutex> lock(mutex);
                running = false;
                stopped = false;
                thread = {};
                toThrow = std::exchange(thrown, nullptr);
                ended.notify_all();
            }
            if (toThrow) {
                std::rethrow_exception(toThrow);
            }
            return status;
        }

        void Stop() {
            const std::lock_guard<std::mutex> lock(mutex);
            stopped = true;
            if (running) {
                Solvane_StopTimer(handle);
            }
        }

        static void SOLVANE_CALL OnEvent(std::uint64_t context, const SolvaneTimerEvent* event) {
            auto& self = *reinterpret_cast<State*>(static_cast<std::uintptr_t>(context));
            if (self.StopWasLost()) {
                Solvane_StopTimer(self.handle);
                return;
            }
            try {
                (*self.function)(*event);
            } catch (...) {
                self.thrown = std::current_exception();
                self.Stop();
            }
        }

        bool StopWasLost() {
            const std::lock_guard<std::mutex> lock(mutex);
            return stopped;
        }

        SolvaneTimerHandle handle = 0;
        const TimerFunction* function = nullptr;
        std::exception_ptr thrown;
        std::mutex mutex; ///< guards the members below
        std::condition_variable ended;
        bool running = false;
        bool stopped = false;
        std::thread::id thread;
    };

    void Create(Outcome outcome) {
        // The state's address is the timer's context: it never moves.
        const auto context = reinterpret_cast<std::uintptr_t>(state.get());
        outcome.Of(Solvane_CreateTimer(&state->handle, context), "Solvane_CreateTimer");
    }

    std::shared_ptr<State> state = std::make_shared<State>();
};

} // namespace solvane
