/// Asks Windows' management interface (WMI) for the parallel ports, as a host does. This program
/// asks, because a host's own settings of COM must stay as they are.
#include <cstdint>
#include <string>
#include <utility>

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>
#include <wbemidl.h>

#include "installed_dlls.h"
#include "this_program.h"

namespace rig {

namespace {

template <class T>
class Owned {
  public:
    Owned() = default;
    ~Owned() {
        if (object != nullptr) {
            object->Release();
        }
    }
    Owned(Owned&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    Owned& operator=(Owned&&) = delete;

    T** Out() { return &object; }
    T* operator->() const { return object; }
    T* Get() const { return object; }

  private:
    T* object = nullptr;
};

class Text {
  public:
    explicit Text(const std::wstring& text) : string(SysAllocString(text.c_str())) {}
    ~Text() { SysFreeString(string); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    BSTR Get() const { return string; }

  private:
    BSTR string;
};

using Services = Owned<IWbemServices>;

/// Leads to null if a step fails.
Services Connect() {
    Services services;
    Owned<IWbemLocator> locator;
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                         RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    if (FAILED(CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                reinterpret_cast<void**>(locator.Out())))) {
        return services;
    }
    const Text place(L"root\\cimv2");
    if (SUCCEEDED(locator->ConnectServer(place.Get(), nullptr, nullptr, nullptr,
                                         WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr,
                                         services.Out())) &&
        services.Get() != nullptr) {
        CoSetProxyBlanket(services.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                          RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
    }
    return services;
}

Value ValueOf(const VARIANT& value) {
    switch (value.vt) {
    case VT_BSTR:
        return value.bstrVal != nullptr ? Value(Utf8(std::wstring(value.bstrVal))) : Value();
    case VT_I4:
        return static_cast<std::uint64_t>(std::int64_t{value.lVal});
    default:
        return {};
    }
}

/// A property of each object that a query finds.
std::vector<Value> Find(IWbemServices& services, const std::wstring& query,
                        const wchar_t* property) {
    std::vector<Value> values;
    Owned<IEnumWbemClassObject> objects;
    const Text language(L"WQL");
    const Text text(query);
    if (FAILED(services.ExecQuery(language.Get(), text.Get(), WBEM_FLAG_FORWARD_ONLY, nullptr,
                                  objects.Out())) ||
        objects.Get() == nullptr) {
        return values;
    }
    for (;;) {
        Owned<IWbemClassObject> object;
        ULONG count = 0;
        objects->Next(static_cast<LONG>(WBEM_INFINITE), 1, object.Out(), &count);
        if (count == 0 || object.Get() == nullptr) {
            return values;
        }
        VARIANT value;
        VariantInit(&value);
        object->Get(property, 0, &value, nullptr, nullptr);
        values.push_back(ValueOf(value));
        VariantClear(&value);
    }
}

} // namespace

std::vector<record::ReportedPort> ReportedParallelPorts() {
    std::vector<record::ReportedPort> ports;
    const Services services = Connect();
    if (services.Get() == nullptr) {
        return ports;
    }
    for (const Value& id :
         Find(*services.Get(), L"SELECT * FROM Win32_ParallelPort", L"DeviceID")) {
        const auto* const name = std::get_if<std::string>(&id);
        ports.push_back({id, {}});
        if (name != nullptr) {
            ports.back().startingAddresses =
                Find(*services.Get(),
                     L"ASSOCIATORS OF {Win32_ParallelPort.DeviceID='" + PathOf(*name).wstring() +
                         L"'} WHERE ResultClass = Win32_PortResource",
                     L"StartingAddress");
        }
    }
    return ports;
}

} // namespace rig
