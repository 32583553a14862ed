#include "session_end.h"

#include <future>
#include <thread>
#include <utility>

#include <windows.h>

namespace host {

namespace {

void (*endSession)() = nullptr;

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_ENDSESSION && wParam != FALSE) {
        endSession();
    }
    return DefWindowProcW(window, message, wParam, lParam); // never delay the end of a session
}

void Listen(std::promise<void> isListening) {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = OnMessage;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = L"solvane";
    RegisterClassW(&windowClass);
    // Never shown. It fails where there are no windows, as in a service; console events do there,
    // and this thread waits in vain: it must not end while it is being detached (see
    // driver_timer.cpp).
    static_cast<void>(CreateWindowExW(0, windowClass.lpszClassName, L"solvane", WS_OVERLAPPED, 0, 0,
                                      0, 0, nullptr, nullptr, windowClass.hInstance, nullptr));
    isListening.set_value();
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        DispatchMessageW(&message);
    }
}

} // namespace

void ListenForSessionEnd(void (*onEnd)()) {
    endSession = onEnd;
    std::promise<void> promise;
    const std::future<void> isListening = promise.get_future();
    std::thread(Listen, std::move(promise)).detach();
    // Wine loads DLLs for a process's first window, and hangs if others are being loaded meanwhile.
    isListening.wait();
}

} // namespace host
