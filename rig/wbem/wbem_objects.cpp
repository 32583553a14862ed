/// The COM objects of the rig's WMI, each created by the one below it in this file; the entry
/// points to which rig_wbem.dll forwards; and the function of solvane/rig.h about them.
#include <solvane/rig.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <objidl.h>
#include <wbemidl.h>

#include "call.h"
#include "com_object.h"
#include "wbem_status.h"

namespace rig::wbem {

namespace {

/// False when there is no memory for the text.
bool Fill(VARIANT& value, const std::string& property) {
    const auto& [type, text] = WordAndRest(property);
    VariantInit(&value);
    if (type == "number") {
        value.vt = VT_I4;
        value.lVal = std::atoi(text.c_str());
    } else if (type == "null") {
        value.vt = VT_NULL;
    } else {
        const bool isText = type == "string";
        BSTR content =
            isText ? SysAllocString(std::wstring(text.begin(), text.end()).c_str()) : nullptr;
        if (isText && content == nullptr) {
            return false;
        }
        value.vt = VT_BSTR;
        value.bstrVal = content;
    }
    return true;
}

/// An instance of a WMI class.
class WbemObject final : public ComObject<IWbemClassObject> {
  public:
    /// `source` is its only property, with type and text: "DeviceID string LPT1".
    explicit WbemObject(std::string source) : instance(std::move(source)) {}

    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type,
                                  LONG* flavor) override try {
        Value property;
        const std::uint32_t status =
            Ask(Function::Get, value != nullptr ? &property : nullptr, &instance, name, flags);
        if (!IsThere(property)) {
            return static_cast<HRESULT>(status);
        }
        if (!Fill(*value, std::get<std::string>(property))) {
            return kOutOfMemory;
        }
        if (type != nullptr) {
            *type = value->vt == VT_I4 ? CIM_SINT32 : CIM_STRING;
        }
        if (flavor != nullptr) {
            *flavor = 0; // defined by the class itself
        }
        return static_cast<HRESULT>(status);
    } catch (...) {
        return kOutOfMemory;
    }

    NOT_THERE(GetQualifierSet, IWbemQualifierSet**)
    NOT_THERE(Put, LPCWSTR, LONG, VARIANT*, CIMTYPE)
    NOT_THERE(Delete, LPCWSTR)
    NOT_THERE(GetNames, LPCWSTR, LONG, VARIANT*, SAFEARRAY**)
    NOT_THERE(BeginEnumeration, LONG)
    NOT_THERE(Next, LONG, BSTR*, VARIANT*, CIMTYPE*, LONG*)
    NOT_THERE(EndEnumeration)
    NOT_THERE(GetPropertyQualifierSet, LPCWSTR, IWbemQualifierSet**)
    NOT_THERE(Clone, IWbemClassObject**)
    NOT_THERE(GetObjectText, LONG, BSTR*)
    NOT_THERE(SpawnDerivedClass, LONG, IWbemClassObject**)
    NOT_THERE(SpawnInstance, LONG, IWbemClassObject**)
    NOT_THERE(CompareTo, LONG, IWbemClassObject*)
    NOT_THERE(GetPropertyOrigin, LPCWSTR, BSTR*)
    NOT_THERE(InheritsFrom, LPCWSTR)
    NOT_THERE(GetMethod, LPCWSTR, LONG, IWbemClassObject**, IWbemClassObject**)
    NOT_THERE(PutMethod, LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*)
    NOT_THERE(DeleteMethod, LPCWSTR)
    NOT_THERE(BeginMethodEnumeration, LONG)
    NOT_THERE(NextMethod, LONG, BSTR*, IWbemClassObject**, IWbemClassObject**)
    NOT_THERE(EndMethodEnumeration)
    NOT_THERE(GetMethodQualifierSet, LPCWSTR, IWbemQualifierSet**)
    NOT_THERE(GetMethodOrigin, LPCWSTR, BSTR*)

  private:
    void* Find(REFIID id) override {
        return id == IID_IWbemClassObject ? static_cast<IWbemClassObject*>(this) : nullptr;
    }

    const Value instance;
};

struct ReleaseObject {
    void operator()(IWbemClassObject* object) const { object->Release(); }
};
using ObjectPointer = std::unique_ptr<IWbemClassObject, ReleaseObject>;

/// The result of a query.
class WbemEnumerator final : public ComObject<IEnumWbemClassObject> {
  public:
    explicit WbemEnumerator(Value&& found) noexcept
        : instances(std::get<Texts>(std::move(found))) {}

    HRESULT STDMETHODCALLTYPE Next(LONG timeout, ULONG count, IWbemClassObject** objects,
                                   ULONG* returned) override {
        const std::size_t left = instances.size() - position;
        Value reported;
        Value* const place = objects != nullptr && returned != nullptr ? &reported : nullptr;
        const auto status = static_cast<HRESULT>(Ask(Function::Next, place, left, timeout, count));
        if (!IsThere(reported)) {
            return status;
        }
        // A fault changes only the reported count, not the objects: there may be an object with a
        // count of 0, or a count without objects.
        try {
            std::vector<ObjectPointer> made(std::min<std::size_t>(count, left));
            for (ObjectPointer& object : made) {
                object.reset(new WbemObject(instances[position++]));
            }
            std::transform(made.begin(), made.end(), objects,
                           [](ObjectPointer& object) { return object.release(); });
        } catch (...) {
            return kOutOfMemory;
        }
        *returned = static_cast<ULONG>(Number(reported));
        return status;
    }

    NOT_THERE(Reset)
    NOT_THERE(NextAsync, ULONG, IWbemObjectSink*)
    NOT_THERE(Clone, IEnumWbemClassObject**)
    NOT_THERE(Skip, LONG, ULONG)

  private:
    void* Find(REFIID id) override {
        return id == IID_IEnumWbemClassObject ? static_cast<IEnumWbemClassObject*>(this) : nullptr;
    }

    Texts instances;
    std::size_t position = 0;
};

/// A connection to a WMI namespace.
class WbemServices final : public ComObject<IWbemServices, IClientSecurity> {
  public:
    HRESULT STDMETHODCALLTYPE ExecQuery(BSTR language, BSTR query, LONG flags,
                                        IWbemContext* context,
                                        IEnumWbemClassObject** objects) override {
        if (!IsBstr(language) || !IsBstr(query)) {
            return kInvalidParameter;
        }
        Value instances;
        const std::uint32_t status =
            Ask(Function::ExecQuery, objects != nullptr ? &instances : nullptr, language, query,
                flags, context);
        return HandOut<WbemEnumerator>(status, instances, objects, std::move(instances));
    }
    HRESULT STDMETHODCALLTYPE SetBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization,
                                         OLECHAR* principal, DWORD level, DWORD impersonation,
                                         void* identity, DWORD capabilities) override {
        return static_cast<HRESULT>(Ask(Function::SetBlanket, proxy, authentication, authorization,
                                        principal, level, impersonation, identity, capabilities));
    }

    NOT_THERE(QueryBlanket, IUnknown*, DWORD*, DWORD*, OLECHAR**, DWORD*, DWORD*, void**, DWORD*)
    NOT_THERE(CopyProxy, IUnknown*, IUnknown**)
    NOT_THERE(OpenNamespace, BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**)
    NOT_THERE(CancelAsyncCall, IWbemObjectSink*)
    NOT_THERE(QueryObjectSink, LONG, IWbemObjectSink**)
    NOT_THERE(GetObject, BSTR, LONG, IWbemContext*, IWbemClassObject**, IWbemCallResult**)
    NOT_THERE(GetObjectAsync, BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_THERE(PutClass, IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
    NOT_THERE(PutClassAsync, IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_THERE(DeleteClass, BSTR, LONG, IWbemContext*, IWbemCallResult**)
    NOT_THERE(DeleteClassAsync, BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_THERE(CreateClassEnum, BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    NOT_THERE(CreateClassEnumAsync, BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_THERE(PutInstance, IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
    NOT_THERE(PutInstanceAsync, IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_THERE(DeleteInstance, BSTR, LONG, IWbemContext*, IWbemCallResult**)
    NOT_THERE(DeleteInstanceAsync, BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_THERE(CreateInstanceEnum, BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    NOT_THERE(CreateInstanceEnumAsync, BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_THERE(ExecQueryAsync, BSTR, BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_THERE(ExecNotificationQuery, BSTR, BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    NOT_THERE(ExecNotificationQueryAsync, BSTR, BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    NOT_THERE(ExecMethod, BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemClassObject**,
              IWbemCallResult**)
    NOT_THERE(ExecMethodAsync, BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemObjectSink*)

  private:
    void* Find(REFIID id) override {
        return id == IID_IWbemServices     ? static_cast<void*>(static_cast<IWbemServices*>(this))
               : id == IID_IClientSecurity ? static_cast<void*>(static_cast<IClientSecurity*>(this))
                                           : nullptr;
    }
};

class WbemLocator final : public ComObject<IWbemLocator> {
  public:
    HRESULT STDMETHODCALLTYPE ConnectServer(BSTR path, BSTR user, BSTR password, BSTR locale,
                                            LONG flags, BSTR authority, IWbemContext* context,
                                            IWbemServices** services) override {
        if (!IsBstr(path)) {
            return kInvalidParameter;
        }
        Value granted;
        const std::uint32_t status =
            Ask(Function::ConnectServer, services != nullptr ? &granted : nullptr, path, user,
                password, locale, flags, authority, context);
        return HandOut<WbemServices>(status, granted, services);
    }

  private:
    void* Find(REFIID id) override {
        return id == IID_IWbemLocator ? static_cast<IWbemLocator*>(this) : nullptr;
    }
};

class WbemFactory final : public ComObject<IClassFactory> {
  public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** object) override {
        const Value name = std::string(id == IID_IWbemLocator ? "IWbemLocator"
                                       : id == IID_IUnknown   ? "IUnknown"
                                                              : kUnknownInterface);
        Value granted;
        const std::uint32_t status =
            Ask(Function::CreateInstance, object != nullptr ? &granted : nullptr, outer, &name);
        IWbemLocator* locator = nullptr;
        const HRESULT result = HandOut<WbemLocator>(status, granted, &locator);
        if (IsThere(granted)) {
            *object = locator;
        }
        return result;
    }
    NOT_THERE(LockServer, BOOL)

  private:
    void* Find(REFIID id) override {
        return id == IID_IClassFactory ? static_cast<IClassFactory*>(this) : nullptr;
    }
};

} // namespace

} // namespace rig::wbem

using namespace rig::wbem;

extern "C" {

HRESULT STDMETHODCALLTYPE solvane_wbem_get_class_object(REFCLSID classId, REFIID id,
                                                        void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    if (!(classId == CLSID_WbemLocator)) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    auto* const factory = new (std::nothrow) WbemFactory;
    if (factory == nullptr) {
        return E_OUTOFMEMORY;
    }
    const HRESULT status = factory->QueryInterface(id, object);
    factory->Release();
    return status;
}

/// Never: unloading the DLL would reset the simulated hardware.
HRESULT STDMETHODCALLTYPE solvane_wbem_can_unload_now() {
    return S_FALSE;
}

} // extern "C"

int rig_wbem_interfaces(void) {
    return heldReferences;
}
