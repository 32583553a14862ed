#include "first_port.h"

#include <cwchar>
#include <vector>

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>
#include <wbemidl.h>
#include <wrl/client.h>

#include "windows_text.h"

namespace host {

namespace {

using Microsoft::WRL::ComPtr;
using Object = ComPtr<IWbemClassObject>;

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
        CoSetProxyBlanket(services.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                          RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
    }
    return services;
}

std::vector<Object> Query(IWbemServices& services, const std::wstring& query) {
    std::vector<Object> objects;
    ComPtr<IEnumWbemClassObject> results;
    services.ExecQuery(Text(L"WQL").string, Text(query).string, WBEM_FLAG_FORWARD_ONLY, nullptr,
                       results.GetAddressOf());
    while (results) {
        Object object;
        ULONG returned = 0;
        results->Next(static_cast<LONG>(WBEM_INFINITE), 1, object.GetAddressOf(), &returned);
        if (returned == 0 || !object) {
            break;
        }
        objects.push_back(object);
    }
    return objects;
}

/// A text property; empty if it is missing or of another type.
std::wstring Property(IWbemClassObject& object, const wchar_t* name) {
    VARIANT value;
    VariantInit(&value);
    std::wstring text;
    if (SUCCEEDED(object.Get(name, 0, &value, nullptr, nullptr)) && value.vt == VT_BSTR &&
        value.bstrVal != nullptr) {
        text = value.bstrVal;
    }
    VariantClear(&value);
    return text;
}

} // namespace

std::optional<FirstPort> FindFirstPort() {
    const ComSession session;
    const ComPtr<IWbemServices> services = Connect();
    if (!services) {
        return std::nullopt;
    }
    const std::vector<Object> ports = Query(*services.Get(), L"SELECT * FROM Win32_ParallelPort");
    if (ports.empty()) {
        return std::nullopt;
    }
    const std::wstring name = Property(*ports.front().Get(), L"DeviceID");
    FirstPort port{Utf8(name), {}, static_cast<unsigned>(ports.size())};
    const std::vector<Object> ranges =
        Query(*services.Get(), L"ASSOCIATORS OF {Win32_ParallelPort.DeviceID='" + name +
                                   L"'} WHERE ResultClass = Win32_PortResource");
    if (!ranges.empty()) {
        const std::wstring begin = Property(*ranges.front().Get(), L"StartingAddress");
        const long address = std::wcstol(begin.c_str(), nullptr, 0);
        if (address > 0 && address <= 0xFFFF) {
            port.address = static_cast<std::uint16_t>(address);
        }
    }
    return port;
}

} // namespace host
