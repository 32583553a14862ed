/// The WMI statuses that the stand-in returns.
#pragma once

#include <unknwn.h>

namespace rig::wbem {

inline constexpr HRESULT kFewerThanAskedFor = 1;
inline constexpr auto kNotFound = static_cast<HRESULT>(0x80041002);
inline constexpr auto kOutOfMemory = static_cast<HRESULT>(0x80041006);
inline constexpr auto kInvalidParameter = static_cast<HRESULT>(0x80041008);
inline constexpr auto kInvalidNamespace = static_cast<HRESULT>(0x8004100E);
inline constexpr auto kInvalidQuery = static_cast<HRESULT>(0x80041017);
inline constexpr auto kInvalidQueryType = static_cast<HRESULT>(0x80041018);

/// Stands for an interface that the rig's objects do not have.
inline constexpr const char* kUnknownInterface = "?";

} // namespace rig::wbem
