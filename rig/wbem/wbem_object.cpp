#include "wbem_object.h"

#include <cstdlib>

#include "call.h"
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

} // namespace

HRESULT STDMETHODCALLTYPE WbemObject::Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type,
                                          LONG* flavor) try {
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
        *flavor = 0; // of the class itself
    }
    return static_cast<HRESULT>(status);
} catch (...) {
    return kOutOfMemory;
}

void* WbemObject::Find(REFIID id) {
    return id == IID_IWbemClassObject ? static_cast<IWbemClassObject*>(this) : nullptr;
}

} // namespace rig::wbem
