#include "parallel_ports.h"

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>
#include <wbemidl.h>
#include <wrl/client.h>

#include "windows_text.h"

namespace host {

namespace {

using Microsoft::WRL::ComPtr;

/// Initialises COM on this thread, and uninitialises it at the end.
struct ComSession {
    const bool isBegun = SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));

    ComSession() = default;
    ~ComSession() {
        if (isBegun) {
            CoUninitialize();
        }
    }
    ComSession(const ComSession&) = delete;
    ComSession& operator=(const ComSession&) = delete;
};

struct Text {
    const BSTR string;

    explicit Text(const std::wstring& text) : string(SysAllocString(text.c_str())) {}
    ~Text() { SysFreeString(string); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
};

/// WMI answers only callers whom it may impersonate.
void AllowImpersonation(IUnknown* proxy) {
    CoSetProxyBlanket(proxy, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                      RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
}

/// The WMI namespace root\cimv2; null if it cannot be reached.
ComPtr<IWbemServices> Connect() {
    ComPtr<IWbemLocator> locator;
    ComPtr<IWbemServices> services;
    if (SUCCEEDED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER,
                                   IID_IWbemLocator,
                                   reinterpret_cast<void**>(locator.GetAddressOf())))) {
        locator->ConnectServer(Text(L"root\\cimv2").string, nullptr, nullptr, nullptr,
                               WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr,
                               services.GetAddressOf());
    }
    if (services) {
        AllowImpersonation(services.Get());
    }
    return services;
}

WmiProperty PropertyOf(IWbemClassObject& object, const wchar_t* name) {
    VARIANT value;
    VariantInit(&value);
    object.Get(name, 0, &value, nullptr, nullptr);
    WmiProperty property;
    if (value.vt == VT_BSTR && value.bstrVal != nullptr) {
        property = Utf8(value.bstrVal);
    } else if (value.vt == VT_I4) {
        property = static_cast<std::uint64_t>(std::int64_t{value.lVal});
    }
    VariantClear(&value);
    return property;
}

/// A property of each object that a query finds.
std::vector<WmiProperty> Query(IWbemServices& services, const std::wstring& query,
                               const wchar_t* property) {
    std::vector<WmiProperty> found;
    ComPtr<IEnumWbemClassObject> results;
    services.ExecQuery(Text(L"WQL").string, Text(query).string, WBEM_FLAG_FORWARD_ONLY, nullptr,
                       results.GetAddressOf());
    if (results) {
        AllowImpersonation(results.Get());
    }
    while (results) {
        ComPtr<IWbemClassObject> object;
        ULONG returned = 0;
        results->Next(static_cast<LONG>(WBEM_INFINITE), 1, object.GetAddressOf(), &returned);
        if (returned == 0 || !object) {
            break;
        }
        found.push_back(PropertyOf(*object.Get(), property));
    }
    return found;
}

} // namespace

std::vector<ParallelPort> ListParallelPorts() {
    const ComSession session;
    std::vector<ParallelPort> ports;
    const ComPtr<IWbemServices> services = Connect();
    if (!services) {
        return ports;
    }
    for (WmiProperty& id :
         Query(*services.Get(), L"SELECT * FROM Win32_ParallelPort", L"DeviceID")) {
        ports.push_back({std::move(id), {}});
        if (const auto* name = std::get_if<std::string>(&ports.back().deviceId)) {
            ports.back().startingAddresses =
                Query(*services.Get(),
                      L"ASSOCIATORS OF {Win32_ParallelPort.DeviceID='" + Wide(*name) +
                          L"'} WHERE ResultClass = Win32_PortResource",
                      L"StartingAddress");
        }
    }
    return ports;
}

} // namespace host
