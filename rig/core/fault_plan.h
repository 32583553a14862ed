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
    std::uint32_t id = 0;       ///< numbers the faults since the scenario began, from 1
    std::uint32_t occurred = 0; ///< in how many calls
};

class FaultPlan {
  public:
    /// Makes a vendor function known: counts, faults and events can name it from now on.
    void Declare(std::string_view function) { counts.emplace(function, 0); }
    bool Knows(std::string_view function) const { return counts.contains(function); }

    /// Sets all call counts to 0 and drops all faults.
    void Restart();

    /// Gives the fault its id. False for an unknown function, for call 0 and for an invalid kind.
    bool Add(Fault fault);
    void Clear() { faults.clear(); }
    void Clear(std::string_view function);
    void Clear(std::uint32_t id);
    const std::vector<Fault>& Planned() const { return faults; }

    void CountCall(std::string_view function);
    std::uint32_t Calls(std::string_view function) const;

    /// The fault of the call counted last, or null; counts that it occurred. Of several, the one
    /// planned first.
    const Fault* Occur(std::string_view function);

  private:
    std::map<std::string, std::uint32_t, std::less<>> counts{{std::string(kAnyFunction), 0}};
    std::vector<Fault> faults;
    std::uint32_t lastId = 0;
};

} // namespace rig
