/// A connection with WMI.
#pragma once

#include <objidl.h>
#include <wbemidl.h>

#include "com_object.h"

namespace rig::wbem {

class WbemServices final : public ComObject<IWbemServices, IClientSecurity> {
  public:
    HRESULT STDMETHODCALLTYPE ExecQuery(BSTR language, BSTR query, LONG flags,
                                        IWbemContext* context,
                                        IEnumWbemClassObject** objects) override;
    HRESULT STDMETHODCALLTYPE SetBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization,
                                         OLECHAR* principal, DWORD level, DWORD impersonation,
                                         void* identity, DWORD capabilities) override;

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
    void* Find(REFIID id) override;
};

} // namespace rig::wbem
