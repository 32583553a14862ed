/// The class object of WbemLocator.
#pragma once

#include "com_object.h"

namespace rig::wbem {

class WbemFactory final : public ComObject<IClassFactory> {
  public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** object) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return E_NOTIMPL; }

  private:
    void* Find(REFIID id) override;
};

} // namespace rig::wbem
