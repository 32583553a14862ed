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

    NOT_THERE(Reset)
    NOT_THERE(NextAsync, ULONG, IWbemObjectSink*)
    NOT_THERE(Clone, IEnumWbemClassObject**)
    NOT_THERE(Skip, LONG, ULONG)

  private:
    void* Find(REFIID id) override;

    Texts instances;
    std::size_t position = 0;
};

} // namespace rig::wbem
