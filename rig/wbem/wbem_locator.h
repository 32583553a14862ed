/// The way into WMI.
#pragma once

#include <wbemidl.h>

#include "com_object.h"

namespace rig::wbem {

class WbemLocator final : public ComObject<IWbemLocator> {
  public:
    HRESULT STDMETHODCALLTYPE ConnectServer(BSTR path, BSTR user, BSTR password, BSTR locale,
                                            LONG flags, BSTR authority, IWbemContext* context,
                                            IWbemServices** services) override;

  private:
    void* Find(REFIID id) override;
};

} // namespace rig::wbem
