/// Readers for the tables of a scenario whose keys commands accept too.
#pragma once

#include "fault_plan.h"
#include "installation.h"
#include "table_reader.h"

namespace rig {

// Each throws ScenarioError for a wrong value. Refusing unknown keys is left to the caller.
void ReadBehaviour(TableReader& table, CameraBehaviour& behaviour);
std::vector<WireFault> ReadWiring(TableReader& table);
Fault ReadFault(TableReader& table);

} // namespace rig
