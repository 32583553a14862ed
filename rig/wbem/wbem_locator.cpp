#include "wbem_locator.h"

#include <algorithm>
#include <string>

#include "wbem_call.h"
#include "wbem_services.h"
#include "wide_text.h"

namespace rig::wbem {

namespace {

/// The namespace of the hardware, of this computer by its short name or by none.
bool IsCimv2(std::wstring path) {
    std::replace(path.begin(), path.end(), L'/', L'\\');
    return EqualsIgnoringCase(path, R"(root\cimv2)") ||
           EqualsIgnoringCase(path, R"(\\.\root\cimv2)");
}

} // namespace

HRESULT STDMETHODCALLTYPE WbemLocator::ConnectServer(BSTR path, BSTR user, BSTR password,
                                                     BSTR locale, LONG flags, BSTR authority,
                                                     IWbemContext* context,
                                                     IWbemServices** services) {
    const auto work = [&](VendorCall&) {
        if (services == nullptr || path == nullptr) {
            return kInvalidParameter;
        }
        *services = nullptr;
        if (!IsCimv2(path)) {
            return kInvalidNamespace;
        }
        *services = new WbemServices;
        return S_OK;
    };
    const void* const secret = password; // which is nobody's business
    return Serve("IWbemLocator::ConnectServer", work, path, user, secret, locale, Flags{flags},
                 authority, context);
}

void* WbemLocator::Find(REFIID id) {
    return id == IID_IWbemLocator ? static_cast<IWbemLocator*>(this) : nullptr;
}

} // namespace rig::wbem
