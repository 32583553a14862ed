#include "com_stand_in.h"

#include <atomic>
#include <cwchar>
#include <limits>
#include <mutex>
#include <new>
#include <set>
#include <utility>

#include <wbemidl.h>

#include "call.h"
#include "host_platform.h"
#include "system_faults.h"

/// The rig's class object, as its DLL exports it.
extern "C" HRESULT solvane_wbem_get_class_object(REFCLSID classId, REFIID id, void** object);

namespace host::com {

Script script;

namespace {

std::atomic<int> initialisations{0};
std::atomic<int> misuses{0};

std::mutex mutex;
std::set<const OLECHAR*> strings;

/// False if it is no text of COM's.
bool Forget(const OLECHAR* text) {
    const std::lock_guard lock(mutex);
    return strings.erase(text) != 0;
}

bool IsString(const OLECHAR* text) {
    const std::lock_guard lock(mutex);
    return strings.count(text) != 0;
}

/// A BSTR is preceded by the size of its text in bytes.
constexpr std::size_t kPrefix = 1;

const char* NullOr(const void* pointer, const char* name = "?") {
    return pointer == nullptr ? "null" : name;
}

bool IsInitialised() {
    return initialisations > 0 || script.hostIsSingleThreaded;
}

/// Counts a call that needs COM.
void NeedCom() {
    misuses += IsInitialised() ? 0 : 1;
}

rig::Answerer answerBehind = nullptr;

/// An object may outlive COM, but must not be called then.
void AnswerWithCom(rig::Call& call) {
    if (&call.function.library == &rig::kWmi) {
        NeedCom();
    }
    answerBehind(call);
}

void WatchObjects() {
    if (rig::answerer != AnswerWithCom) {
        answerBehind = std::exchange(rig::answerer, AnswerWithCom);
    }
}

} // namespace

void Reset() {
    script = {};
    initialisations = 0;
    misuses = 0;
    const std::lock_guard lock(mutex);
    strings.clear();
}

int Initialisations() {
    return initialisations;
}
int AliveStrings() {
    const std::lock_guard lock(mutex);
    return static_cast<int>(strings.size());
}
int Misuses() {
    return misuses;
}

} // namespace host::com

using namespace host::com;
using host::Note;
using host::SystemCall;

namespace {

/// A call's result, or its fault's.
HRESULT Finish(const SystemCall& call, HRESULT result) {
    return static_cast<HRESULT>(call.Status(static_cast<std::uint32_t>(result)));
}

} // namespace

HRESULT CoInitializeEx(void* reserved, DWORD model) {
    Note("CoInitializeEx(%s, %u)", NullOr(reserved), model);
    const SystemCall call("CoInitializeEx");
    if (!call.DoesItsWork()) {
        script.hostIsSingleThreaded |= Finish(call, S_OK) == RPC_E_CHANGED_MODE; // which says so
        return Finish(call, S_OK);
    }
    if (FAILED(script.initialize)) {
        return script.initialize;
    }
    if (script.hostIsSingleThreaded && model == COINIT_MULTITHREADED) {
        return RPC_E_CHANGED_MODE;
    }
    return Finish(call, initialisations++ > 0 ? S_FALSE : S_OK);
}

void CoUninitialize() {
    Note("CoUninitialize()");
    const int left = --initialisations;
    misuses += left < 0 || (left == 0 && rig_wbem_interfaces() != 0) ? 1 : 0;
}

HRESULT CoInitializeSecurity(void* descriptor, LONG services, SOLE_AUTHENTICATION_SERVICE* list,
                             void* reserved, DWORD level, DWORD impersonation, void* identities,
                             DWORD capabilities, void* reservedToo) {
    Note("CoInitializeSecurity(%s, %d, %s, %s, %u, %u, %s, %u, %s)", NullOr(descriptor), services,
         NullOr(list), NullOr(reserved), level, impersonation, NullOr(identities), capabilities,
         NullOr(reservedToo));
    NeedCom();
    return Finish(SystemCall("CoInitializeSecurity"),
                  IsInitialised() ? script.initializeSecurity : CO_E_NOTINITIALIZED);
}

HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID id,
                         void** object) {
    Note("CoCreateInstance(%s, %s, %u, %s)",
         classId == CLSID_WbemLocator ? "CLSID_WbemLocator" : "?", NullOr(outer), context,
         id == IID_IWbemLocator ? "IID_IWbemLocator" : "?");
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    NeedCom();
    WatchObjects();
    const SystemCall call("CoCreateInstance");
    if (!call.DoesItsWork()) {
        return Finish(call, S_OK);
    }
    if (!IsInitialised()) {
        return CO_E_NOTINITIALIZED;
    }
    void* found = nullptr;
    const HRESULT status = solvane_wbem_get_class_object(classId, IID_IClassFactory, &found);
    if (FAILED(status) || (context & CLSCTX_INPROC_SERVER) == 0) {
        if (found != nullptr) {
            static_cast<IClassFactory*>(found)->Release();
        }
        return REGDB_E_CLASSNOTREG;
    }
    auto* const factory = static_cast<IClassFactory*>(found);
    const HRESULT created = factory->CreateInstance(outer, id, object);
    factory->Release();
    return created;
}

HRESULT CoSetProxyBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization,
                          OLECHAR* principal, DWORD level, DWORD impersonation, void* identity,
                          DWORD capabilities) {
    Note("CoSetProxyBlanket(%s, %u, %u, %s, %u, %u, %s, %u)", NullOr(proxy, "proxy"),
         authentication, authorization, NullOr(principal), level, impersonation, NullOr(identity),
         capabilities);
    NeedCom();
    const SystemCall call("CoSetProxyBlanket");
    if (!call.DoesItsWork()) {
        return Finish(call, S_OK);
    }
    if (proxy == nullptr) {
        return E_INVALIDARG;
    }
    void* found = nullptr;
    const HRESULT status = proxy->QueryInterface(IID_IClientSecurity, &found);
    if (FAILED(status)) {
        return status;
    }
    auto* const security = static_cast<IClientSecurity*>(found);
    const HRESULT set = security->SetBlanket(proxy, authentication, authorization, principal, level,
                                             impersonation, identity, capabilities);
    security->Release();
    return set;
}

BSTR SysAllocString(const OLECHAR* text) {
    const bool hasMemory = SystemCall("SysAllocString").DoesItsWork();
    return text == nullptr || !hasMemory
               ? nullptr
               : SysAllocStringLen(text, static_cast<unsigned>(std::wcslen(text)));
}

BSTR SysAllocStringLen(const OLECHAR* text, unsigned length) {
    if (length >= std::numeric_limits<std::int32_t>::max() / sizeof(OLECHAR)) {
        return nullptr;
    }
    auto* const memory = new (std::nothrow) OLECHAR[kPrefix + length + 1]{};
    if (memory == nullptr) {
        return nullptr;
    }
    memory[0] = static_cast<OLECHAR>(length * sizeof(OLECHAR));
    if (text != nullptr) {
        std::wmemcpy(memory + kPrefix, text, length);
    }
    const std::lock_guard lock(mutex);
    strings.insert(memory + kPrefix);
    return memory + kPrefix;
}

void SysFreeString(BSTR text) {
    if (text == nullptr) {
        return;
    }
    if (Forget(text)) {
        delete[](text - kPrefix);
    } else {
        ++misuses;
    }
}

unsigned SysStringLen(BSTR text) {
    if (text == nullptr || !IsString(text)) {
        misuses += text != nullptr ? 1 : 0;
        return 0;
    }
    return static_cast<unsigned>(static_cast<std::size_t>(text[-1]) / sizeof(OLECHAR));
}

void VariantInit(VARIANT* value) {
    *value = {};
}

/// At fault it does its work all the same, or the value could never be freed.
HRESULT VariantClear(VARIANT* value) {
    const SystemCall call("VariantClear");
    switch (value->vt) {
    case VT_BSTR:
        SysFreeString(value->bstrVal);
        break;
    case VT_EMPTY:
    case VT_NULL:
    case VT_I4:
    case VT_BOOL:
        break;
    default: // uninitialised memory
        return DISP_E_BADVARTYPE;
    }
    *value = {};
    return Finish(call, S_OK);
}
