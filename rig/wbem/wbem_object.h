/// An instance of a class of WMI.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include <wbemidl.h>

#include "com_object.h"
#include "value.h"

namespace rig::wbem {

class WbemObject final : public ComObject<IWbemClassObject> {
  public:
    /// The one property that anybody asks for, its type and its text: "DeviceID string LPT1".
    explicit WbemObject(std::string source) : instance(std::move(source)) {}

    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type,
                                  LONG* flavor) override;

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
    void* Find(REFIID id) override;

    const Value instance;
};

struct ReleaseObject {
    void operator()(IWbemClassObject* object) const { object->Release(); }
};
using ObjectPointer = std::unique_ptr<IWbemClassObject, ReleaseObject>;

} // namespace rig::wbem
