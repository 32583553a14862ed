/// The commands as a function of solvane/rig.h.
#include <solvane/rig.h>

#include <string>

#include "commands.h"

int rig_command(const char* words, int json, const char** answer) {
    thread_local std::string text;
    constexpr int kFailed = 1;
    try {
        const rig::Texts split = rig::SplitLine(words != nullptr ? words : "");
        const rig::RemoteRig* const remote = rig::FindRemoteRig();
        rig::Reply reply =
            remote != nullptr ? remote->command(split, json != 0) : rig::Perform(split, json != 0);
        text = std::move(reply.text);
        if (answer != nullptr) {
            *answer = text.c_str();
        }
        return reply.exitCode;
    } catch (...) {
        if (answer != nullptr) {
            *answer = "";
        }
        return kFailed;
    }
}
