#include "wbem_services.h"

#include "call.h"
#include "wbem_enumerator.h"
#include "wbem_status.h"

namespace rig::wbem {

HRESULT STDMETHODCALLTYPE WbemServices::ExecQuery(BSTR language, BSTR query, LONG flags,
                                                  IWbemContext* context,
                                                  IEnumWbemClassObject** objects) {
    if (!IsBstr(language) || !IsBstr(query)) {
        return kInvalidParameter;
    }
    Value instances;
    const std::uint32_t status = Ask(Function::ExecQuery, objects != nullptr ? &instances : nullptr,
                                     language, query, flags, context);
    return HandOut<WbemEnumerator>(status, instances, objects, std::move(instances));
}

HRESULT STDMETHODCALLTYPE WbemServices::SetBlanket(IUnknown* proxy, DWORD authentication,
                                                   DWORD authorization, OLECHAR* principal,
                                                   DWORD level, DWORD impersonation, void* identity,
                                                   DWORD capabilities) {
    return static_cast<HRESULT>(Ask(Function::SetBlanket, proxy, authentication, authorization,
                                    principal, level, impersonation, identity, capabilities));
}

void* WbemServices::Find(REFIID id) {
    return id == IID_IWbemServices     ? static_cast<void*>(static_cast<IWbemServices*>(this))
           : id == IID_IClientSecurity ? static_cast<void*>(static_cast<IClientSecurity*>(this))
                                       : nullptr;
}

} // namespace rig::wbem
