#include "inpout_front.h"

namespace rig::io {

InpoutFront front;

std::vector<std::string_view> InpoutFront::Functions() const {
    return {"Inp32", "Out32", "IsInpOutDriverOpen"};
}

void InpoutFront::Build(const Scenario& scenario, const Surroundings& surroundings) {
    ports.emplace(scenario, surroundings.installation);
    isDriverOpen = scenario.inpoutDriver;
}

} // namespace rig::io
