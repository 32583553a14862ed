#include "lpt_finder.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <span>

#include "com_owners.h"
#include "wmi.h"

namespace SLV::Internal {

namespace {

using platform::HRESULT;

constexpr std::uint16_t kNoPort = 0;

/// For a property that is not a text.
constexpr HRESULT kTypeMismatch = DISP_E_TYPEMISMATCH;

void LogResult(Logger& logger, const char* words, HRESULT result) {
    logger.Line("[LPT]: ", words, " hr = 0x", Hex(static_cast<std::uint32_t>(result)));
}

/// Whether a step failed; if so, logs it.
bool Failed(Logger& logger, HRESULT result, const char* words) {
    if (FAILED(result)) {
        LogResult(logger, words, result);
        return true;
    }
    return false;
}

/// The result of a call that hands out an interface: a success without one is a failure.
template <typename Interface>
HRESULT ResultFor(HRESULT result, const ComPtr<Interface>& obtained) {
    return SUCCEEDED(result) && !obtained ? E_POINTER : result;
}

/// Initialises COM, unless the host did so with another threading model, which is kept.
bool Begin(Logger& logger, ComSession& session) {
    const HRESULT result = platform::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (result == RPC_E_CHANGED_MODE) {
        LogResult(logger, "CoInitializeEx() info: already initialized.", result);
        return true;
    }
    session.isBegun = SUCCEEDED(result);
    return !Failed(logger, result, "CoInitializeEx() failed.");
}

/// Security is set once in a process: if the host did so already, that is no failure.
bool SetSecurity(Logger& logger) {
    constexpr int kSystemChooses = -1;
    const HRESULT result = platform::CoInitializeSecurity(
        nullptr, kSystemChooses, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
        RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    return result == RPC_E_TOO_LATE || !Failed(logger, result, "CoInitializeSecurity() failed.");
}

HRESULT CreateLocator(ComPtr<platform::IWbemLocator>& locator) {
    const HRESULT result =
        platform::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER,
                                   IID_IWbemLocator, reinterpret_cast<void**>(locator.Out()));
    return ResultFor(result, locator);
}

HRESULT Connect(platform::IWbemLocator& locator, ComPtr<platform::IWbemServices>& services) {
    const BStr machine(L"root\\cimv2");
    if (!machine) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result =
        locator.ConnectServer(machine.Get(), nullptr, nullptr, nullptr,
                              WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr, services.Out());
    return ResultFor(result, services);
}

HRESULT SetBlanket(platform::IWbemServices& services) {
    return platform::CoSetProxyBlanket(&services, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                       RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                                       EOAC_NONE);
}

HRESULT Query(platform::IWbemServices& services, const wchar_t* query,
              ComPtr<platform::IEnumWbemClassObject>& results) {
    const BStr language(L"WQL");
    const BStr text(query);
    if (!language || !text) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result = services.ExecQuery(language.Get(), text.Get(), WBEM_FLAG_FORWARD_ONLY,
                                              nullptr, results.Out());
    return ResultFor(result, results);
}

HRESULT TakeFirst(platform::IEnumWbemClassObject& results,
                  ComPtr<platform::IWbemClassObject>& object, bool& isThere) {
    platform::ULONG returned = 0;
    const HRESULT result =
        results.Next(static_cast<LONG>(WBEM_INFINITE), 1, object.Out(), &returned);
    isThere = returned != 0 && object;
    return result;
}

HRESULT ReadText(platform::IWbemClassObject& object, const wchar_t* name, Variant& value) {
    value.Clear();
    const HRESULT result = object.Get(name, 0, value.Out(), nullptr, nullptr);
    return SUCCEEDED(result) && value.Text() == nullptr ? kTypeMismatch : result;
}

/// The query for the resources of a port, cut off after 511 characters.
struct QueryForResources {
    explicit QueryForResources(const wchar_t* deviceId) {
        std::span<wchar_t> room(text, std::size(text) - 1);
        for (const wchar_t* part : {L"ASSOCIATORS OF {Win32_ParallelPort.DeviceID='", deviceId,
                                    L"'} WHERE ResultClass = Win32_PortResource"}) {
            const std::size_t length = std::min(std::wcslen(part), room.size());
            std::copy_n(part, length, room.begin());
            room = room.subspan(length);
        }
    }

    wchar_t text[512]{};
};

/// Decimal, hexadecimal after 0x, or octal after 0; kNoPort when it does not fit a port number.
std::uint16_t ToAddress(const wchar_t* text) {
    constexpr long kHighest = 0xFFFF;
    const long number = platform::wcstol(text, nullptr, 0);
    return number >= 0 && number <= kHighest ? static_cast<std::uint16_t>(number) : kNoPort;
}

/// The first I/O range of the first port.
std::uint16_t AskForAddress(Logger& logger, platform::IWbemServices& services) {
    ComPtr<platform::IEnumWbemClassObject> ports;
    if (Failed(logger, Query(services, L"SELECT * FROM Win32_ParallelPort", ports),
               "pSvc->ExecQuery(SELECT *) failed.")) {
        return kNoPort;
    }
    ComPtr<platform::IWbemClassObject> port;
    bool isThere = false;
    if (const HRESULT result = TakeFirst(*ports.Get(), port, isThere); !isThere) {
        LogResult(logger, "pEnumerator->Next() failed.", result);
        return kNoPort;
    }
    Variant value;
    if (Failed(logger, ReadText(*port.Get(), L"DeviceID", value), "pPort->Get(DeviceID) failed.")) {
        return kNoPort;
    }
    ComPtr<platform::IEnumWbemClassObject> resources;
    if (Failed(logger, Query(services, QueryForResources(value.Text()).text, resources),
               "pSvc->ExecQuery(ASSOCIATORS OF) failed.")) {
        return kNoPort;
    }
    ComPtr<platform::IWbemClassObject> resource;
    // A frozen text, misspelt.
    if (Failed(logger, TakeFirst(*resources.Get(), resource, isThere),
               "pResouceEnum->Next() failed.") ||
        !isThere) {
        return kNoPort;
    }
    if (Failed(logger, ReadText(*resource.Get(), L"StartingAddress", value),
               "pResource->Get(StartingAddress) failed.")) {
        return kNoPort;
    }
    return ToAddress(value.Text());
}

} // namespace

std::uint16_t FindLptBaseAddress(Logger& logger) {
    ComSession session;
    if (!Begin(logger, session) || !SetSecurity(logger)) {
        return kNoPort;
    }
    ComPtr<platform::IWbemLocator> locator;
    if (Failed(logger, CreateLocator(locator), "CoCreateInstance() failed.")) {
        return kNoPort;
    }
    ComPtr<platform::IWbemServices> services;
    if (Failed(logger, Connect(*locator.Get(), services), "pLoc->ConnectServer() failed.") ||
        Failed(logger, SetBlanket(*services.Get()), "CoSetProxyBlanket() failed.")) {
        return kNoPort;
    }
    return AskForAddress(logger, *services.Get());
}

} // namespace SLV::Internal
