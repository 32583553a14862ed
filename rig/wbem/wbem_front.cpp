#include "wbem_front.h"

namespace rig::wbem {

WbemFront front;

std::vector<std::string_view> WbemFront::Functions() const {
    return {"IClassFactory::CreateInstance", "IWbemLocator::ConnectServer",
            "IClientSecurity::SetBlanket",   "IWbemServices::ExecQuery",
            "IEnumWbemClassObject::Next",    "IWbemClassObject::Get"};
}

void WbemFront::Build(const Scenario& scenario, const Surroundings&) {
    setup = scenario.wmi;
}

} // namespace rig::wbem
