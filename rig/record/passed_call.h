/// A call on its way from a host to a vendor's real DLL.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "call.h"

namespace rig::record {

/// Whether calls of the function are recorded on their way to a vendor's DLL. Those of a function
/// whose parameters nobody has described pass unseen, and those of COM methods go elsewhere.
bool IsRecorded(const VendorFunction& function);

/// Reads what a call says out of the host's memory, and changes nothing there. A pointer that leads
/// nowhere counts as null: whether that ends the host is up to the vendor's DLL.
class PassedCall {
  public:
    /// Takes the inputs, before the DLL is called with the same arguments.
    PassedCall(const VendorFunction& function, std::span<const std::uint64_t> arguments);

    /// Takes the outputs, after the DLL has returned. DLLs leave outputs alone when they fail, so
    /// then only those count that have changed.
    void Return(std::uint32_t status);

  private:
    static constexpr std::size_t kMost = 8; ///< as many parameters as any function has
    using Numbers = std::array<std::uint64_t, kMost>;

    static Numbers Readable(const VendorFunction& function,
                            std::span<const std::uint64_t> arguments);
    Value Output(std::size_t parameter) const;
    Value Things(std::size_t parameter) const;
    void ReturnList();

    Numbers arguments; ///< 0 for a pointer that leads nowhere
    Numbers before{};  ///< the numbers to which they led before the call

  public:
    Call call;
};

} // namespace rig::record
