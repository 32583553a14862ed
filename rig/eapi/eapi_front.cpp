#include "eapi_front.h"

namespace rig::eapi {

EapiFront front;

std::vector<std::string_view> EapiFront::Functions() const {
    return {"EApiLibInitialize",    "EApiLibUnInitialize", "EApiGetEAPIVersion", "EApiGPIOGetCount",
            "EApiGPIOSetDirection", "EApiGPIOGetLevel",    "EApiGPIOSetLevel"};
}

void EapiFront::Build(const Scenario& scenario, const Surroundings& surroundings) {
    board.reset();
    isInitialised = false;
    if (scenario.eapi) {
        board.emplace(*scenario.eapi, surroundings.installation);
    }
}

} // namespace rig::eapi
