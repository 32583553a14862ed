#include "wmi_client.h"

#include <cstdint>
#include <cstdio>

namespace test {

namespace {

std::string Failed(HRESULT status) {
    char text[32];
    std::snprintf(text, sizeof text, "failed %08x", static_cast<unsigned>(status));
    return text;
}

std::string InWords(const VARIANT& value) {
    switch (value.vt) {
    case VT_BSTR: {
        if (value.bstrVal == nullptr) {
            return "null text";
        }
        std::string text;
        for (unsigned i = 0; i < SysStringLen(value.bstrVal); ++i) {
            text += static_cast<char>(value.bstrVal[i]);
        }
        return text;
    }
    case VT_I4:
        return "number " + std::to_string(value.lVal);
    case VT_NULL:
        return "null";
    case VT_EMPTY:
        return "empty";
    default:
        return "type " + std::to_string(value.vt);
    }
}

} // namespace

std::string Property(IWbemClassObject& object, const wchar_t* name) {
    VARIANT value;
    VariantInit(&value);
    const HRESULT status = object.Get(name, 0, &value, nullptr, nullptr);
    const std::string words = status == S_OK ? InWords(value) : Failed(status);
    VariantClear(&value);
    return words;
}

std::string AskForAll(IWbemServices& services, const wchar_t* query, const wchar_t* property) {
    const auto answer = Ask(services, query);
    if (!answer.object) {
        return Failed(answer.status);
    }
    std::string all;
    while (true) {
        const GivenNext next = Next(*answer.object);
        if (!next.object) {
            return all;
        }
        all += Property(*next.object, property) + ',';
    }
}

} // namespace test
