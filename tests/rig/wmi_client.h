/// Short functions for a WMI client, on every operating system on which tests run.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <objbase.h>
#include <oleauto.h>
#include <wbemidl.h>

namespace test {

struct Releaser {
    void operator()(IUnknown* object) const { object->Release(); }
};
template <class Interface>
using Com = std::unique_ptr<Interface, Releaser>;

struct BstrDeleter {
    void operator()(wchar_t* text) const { SysFreeString(text); }
};
using Text = std::unique_ptr<wchar_t, BstrDeleter>;

inline constexpr const wchar_t* kPorts = L"SELECT * FROM Win32_ParallelPort";
inline constexpr const wchar_t* kResourcesOfLpt1 =
    L"ASSOCIATORS OF {Win32_ParallelPort.DeviceID='LPT1'} WHERE ResultClass = Win32_PortResource";

/// The result of a call, and the interface that it returned; null if it returned none.
template <class Interface>
struct Given {
    HRESULT status = -1;
    Com<Interface> object;
};

inline Text MakeText(const wchar_t* text) {
    return Text(text != nullptr ? SysAllocString(text) : nullptr);
}

inline Given<IWbemLocator> MakeLocator() {
    void* made = nullptr;
    const HRESULT status =
        CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator, &made);
    return {status, Com<IWbemLocator>(static_cast<IWbemLocator*>(made))};
}

inline Given<IWbemServices> Connect(IWbemLocator& locator, const wchar_t* path) {
    IWbemServices* services = nullptr;
    const HRESULT status =
        locator.ConnectServer(MakeText(path).get(), nullptr, nullptr, nullptr,
                              WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr, &services);
    return {status, Com<IWbemServices>(services)};
}

inline HRESULT SetBlanket(IUnknown* proxy) {
    return CoSetProxyBlanket(proxy, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                             RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                             EOAC_NONE);
}

inline Given<IEnumWbemClassObject> Ask(IWbemServices& services, const wchar_t* query,
                                       const wchar_t* language = L"WQL") {
    IEnumWbemClassObject* objects = nullptr;
    const HRESULT status = services.ExecQuery(MakeText(language).get(), MakeText(query).get(),
                                              WBEM_FLAG_FORWARD_ONLY, nullptr, &objects);
    return {status, Com<IEnumWbemClassObject>(objects)};
}

struct GivenNext : Given<IWbemClassObject> {
    ULONG count = 77;
};

inline GivenNext Next(IEnumWbemClassObject& objects) {
    GivenNext next;
    IWbemClassObject* object = nullptr;
    next.status = objects.Next(static_cast<LONG>(WBEM_INFINITE), 1, &object, &next.count);
    next.object.reset(object);
    return next;
}

/// A property as text: its text, "number ...", "null text", "null", "empty", or "failed ...".
std::string Property(IWbemClassObject& object, const wchar_t* name);

/// The property of every object in the result of a query, each followed by a comma; "failed ..." if
/// the query fails.
std::string AskForAll(IWbemServices& services, const wchar_t* query, const wchar_t* property);

} // namespace test
