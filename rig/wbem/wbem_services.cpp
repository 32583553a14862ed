#include "wbem_services.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "wbem_call.h"
#include "wbem_enumerator.h"
#include "wbem_front.h"
#include "wide_text.h"
#include "wql.h"

namespace rig::wbem {

namespace {

std::vector<Instance> Find(const Query& query) {
    std::vector<Instance> found;
    const std::vector<WmiPort>& ports = front.setup.ports;
    if (query.about == Query::About::Ports) {
        for (const WmiPort& port : ports) {
            found.push_back({"DeviceID", port.deviceId});
        }
        return found;
    }
    const auto port = std::find_if(ports.begin(), ports.end(), [&](const WmiPort& candidate) {
        return EqualsIgnoringCase(query.deviceId, candidate.deviceId.text);
    });
    if (port != ports.end()) {
        for (const WmiText& start : port->startingAddresses) {
            found.push_back({"StartingAddress", start});
        }
    }
    return found;
}

} // namespace

HRESULT STDMETHODCALLTYPE WbemServices::ExecQuery(BSTR language, BSTR query, LONG flags,
                                                  IWbemContext* context,
                                                  IEnumWbemClassObject** objects) {
    const auto work = [&](VendorCall&) {
        if (language == nullptr || query == nullptr || objects == nullptr) {
            return kInvalidParameter;
        }
        *objects = nullptr;
        if (!EqualsIgnoringCase(language, "WQL")) {
            return kInvalidQueryType;
        }
        const std::optional<Query> parsed = ParseQuery(query);
        if (!parsed) {
            return kInvalidQuery;
        }
        *objects = new WbemEnumerator(wbem::Find(*parsed));
        return S_OK;
    };
    return Serve("IWbemServices::ExecQuery", work, language, query, Flags{flags}, context);
}

HRESULT STDMETHODCALLTYPE WbemServices::SetBlanket(IUnknown* proxy, DWORD authentication,
                                                   DWORD authorization, OLECHAR* principal,
                                                   DWORD level, DWORD impersonation, void* identity,
                                                   DWORD capabilities) {
    const auto work = [&](VendorCall&) { return proxy != nullptr ? S_OK : E_INVALIDARG; };
    return Serve("IClientSecurity::SetBlanket", work, authentication, authorization, principal,
                 level, impersonation, identity, capabilities);
}

void* WbemServices::Find(REFIID id) {
    return id == IID_IWbemServices     ? static_cast<void*>(static_cast<IWbemServices*>(this))
           : id == IID_IClientSecurity ? static_cast<void*>(static_cast<IClientSecurity*>(this))
                                       : nullptr;
}

} // namespace rig::wbem
