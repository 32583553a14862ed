/// The vendors' DLLs, which are loaded at the first call of one of their functions.
#pragma once

#include "vendor_function.h"

namespace rig::record {

/// The vendor's function; null if there is none, which is complained about once.
void* RealFunction(const VendorFunction& function) noexcept;

/// The vendor's export that has a slot; null as above.
void* RealExport(unsigned slot);

} // namespace rig::record
