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

    // What no host of the rig uses.
    HRESULT STDMETHODCALLTYPE QueryBlanket(IUnknown*, DWORD*, DWORD*, OLECHAR**, DWORD*, DWORD*,
                                           void**, DWORD*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CopyProxy(IUnknown*, IUnknown**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE OpenNamespace(BSTR, LONG, IWbemContext*, IWbemServices**,
                                            IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE QueryObjectSink(LONG, IWbemObjectSink**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetObject(BSTR, LONG, IWbemContext*, IWbemClassObject**,
                                        IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetObjectAsync(BSTR, LONG, IWbemContext*, IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject*, LONG, IWbemContext*,
                                       IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject*, LONG, IWbemContext*,
                                            IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DeleteClass(BSTR, LONG, IWbemContext*, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DeleteClassAsync(BSTR, LONG, IWbemContext*,
                                               IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateClassEnum(BSTR, LONG, IWbemContext*,
                                              IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(BSTR, LONG, IWbemContext*,
                                                   IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject*, LONG, IWbemContext*,
                                          IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*,
                                               IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DeleteInstance(BSTR, LONG, IWbemContext*,
                                             IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(BSTR, LONG, IWbemContext*,
                                                  IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnum(BSTR, LONG, IWbemContext*,
                                                 IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(BSTR, LONG, IWbemContext*,
                                                      IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecQueryAsync(BSTR, BSTR, LONG, IWbemContext*,
                                             IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecNotificationQuery(BSTR, BSTR, LONG, IWbemContext*,
                                                    IEnumWbemClassObject**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(BSTR, BSTR, LONG, IWbemContext*,
                                                         IWbemObjectSink*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecMethod(BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                         IWbemClassObject**, IWbemCallResult**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE ExecMethodAsync(BSTR, BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                              IWbemObjectSink*) override {
        return E_NOTIMPL;
    }

  private:
    void* Find(REFIID id) override;
};

} // namespace rig::wbem
