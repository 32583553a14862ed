/// The tables of a scenario that commands can write, too.
#pragma once

#include "fault_plan.h"
#include "installation.h"
#include "table_reader.h"

namespace rig {

// Each throws ScenarioError for what is wrong, and leaves it to the caller to refuse other keys.
void ReadBehaviour(TableReader& table, CameraBehaviour& behaviour);
std::vector<WireFault> ReadWiring(TableReader& table);
Fault ReadFault(TableReader& table);

} // namespace rig
