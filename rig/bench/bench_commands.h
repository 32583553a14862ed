#pragma once
#include "message.h"
namespace rig::bench {
struct CommandName {
    const char* name;
    const char* about;
};
inline constexpr CommandName kCommands[] = {{"stop", "Stops"},     {"plug", "Plugs"},
                                            {"unplug", "Unplugs"}, {"captures", "Counts"},
                                            {"level", "Level"},    {"journal", "Journal"}};
CommandAnswer PerformCommand(const Command& command);
} // namespace rig::bench
