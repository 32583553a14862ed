/// The answer to a query.
#pragma once

#include <cstddef>
#include <utility>

#include <wbemidl.h>

#include "com_object.h"
#include "value.h"
#include "wbem_object.h"

namespace rig::wbem {

class WbemEnumerator final : public ComObject<IEnumWbemClassObject> {
  public:
    explicit WbemEnumerator(Value&& found) noexcept
        : instances(std::get<Texts>(std::move(found))) {}

    HRESULT STDMETHODCALLTYPE Next(LONG timeout, ULONG count, IWbemClassObject** objects,
                                   ULONG* returned) override;

    // What no host of the rig uses.
    HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE NextAsync(ULONG, IWbemObjectSink*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Skip(LONG, ULONG) override { return E_NOTIMPL; }

  private:
    void* Find(REFIID id) override;

    Texts instances;
    std::size_t position = 0;
};

} // namespace rig::wbem
