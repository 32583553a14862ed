/// Counts the vendor calls and plans their faults.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace rig {

/// Stands for any function.
inline constexpr std::string_view kAnyFunction = "*";

/// The names of all vendor functions, and "*".
std::vector<std::string> FunctionNames();

/// See rig_fault.
struct Fault {
    std::string function;
    std::uint32_t call = 1;
    std::uint32_t times = 1; ///< 0 = every call from then on
    std::uint32_t kind = 0;
    std::uint32_t status = 0;
    std::uint32_t count = 0;
};

class FaultPlan {
  public:
    /// Makes a vendor function known: counts, faults and events can name it from now on.
    void Declare(std::string_view function) { counts.emplace(function, 0); }
    bool Knows(std::string_view function) const { return counts.contains(function); }

    /// Sets all call counts to 0 and drops all faults.
    void Restart();

    /// False for an unknown function, for call 0 and for an invalid kind.
    bool Add(Fault fault);
    void Clear() { faults.clear(); }
    void Clear(std::string_view function);
    std::size_t Planned() const { return faults.size(); }

    void CountCall(std::string_view function);
    std::uint32_t Calls(std::string_view function) const;

    /// The fault of the call counted last, or null. Of several, the one planned first.
    const Fault* Find(std::string_view function) const;

  private:
    std::map<std::string, std::uint32_t, std::less<>> counts{{std::string(kAnyFunction), 0}};
    std::vector<Fault> faults;
};

} // namespace rig
