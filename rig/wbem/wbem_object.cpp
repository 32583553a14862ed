#include "wbem_object.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "wbem_call.h"
#include "wide_text.h"

namespace rig::wbem {

namespace {

LONG NumberIn(const std::string& text) {
    using Limits = std::numeric_limits<LONG>;
    const long long number = std::strtoll(text.c_str(), nullptr, 0);
    return static_cast<LONG>(std::clamp<long long>(number, Limits::min(), Limits::max()));
}

/// False when there is no memory for the text.
bool Fill(VARIANT& value, const WmiText& source) {
    using Type = WmiText::Type;
    VariantInit(&value);
    switch (source.type) {
    case Type::String: {
        BSTR text = SysAllocString(Widen(source.text).c_str());
        if (text == nullptr) {
            return false;
        }
        value.vt = VT_BSTR;
        value.bstrVal = text;
        break;
    }
    case Type::NullString:
        value.vt = VT_BSTR;
        value.bstrVal = nullptr;
        break;
    case Type::Null:
        value.vt = VT_NULL;
        break;
    case Type::Number:
        value.vt = VT_I4;
        value.lVal = NumberIn(source.text);
        break;
    }
    return true;
}

std::string Describe(const VARIANT& value) {
    switch (value.vt) {
    case VT_BSTR:
        return wbem::Describe(value.bstrVal);
    case VT_I4:
        return wbem::Describe(value.lVal);
    default:
        return "no value";
    }
}

} // namespace

HRESULT STDMETHODCALLTYPE WbemObject::Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type,
                                          LONG* flavor) {
    const auto work = [&](VendorCall& call) {
        if (name == nullptr || flags != 0 || value == nullptr) {
            return kInvalidParameter;
        }
        if (instance.property.empty() || !EqualsIgnoringCase(name, instance.property)) {
            return kNotFound;
        }
        if (!Fill(*value, instance.value)) {
            return kOutOfMemory;
        }
        if (type != nullptr) {
            *type = value->vt == VT_I4 ? CIM_SINT32 : CIM_STRING;
        }
        if (flavor != nullptr) {
            *flavor = 0; // of the class itself
        }
        call.Output(Describe(*value));
        return HRESULT{S_OK};
    };
    return Serve("IWbemClassObject::Get", work, name, flags);
}

void* WbemObject::Find(REFIID id) {
    return id == IID_IWbemClassObject ? static_cast<IWbemClassObject*>(this) : nullptr;
}

} // namespace rig::wbem
