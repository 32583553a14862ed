/// The commands as a function of solvane/rig.h.
#include <solvane/rig.h>

#include <string>

#include "action.h"
#include "commands.h"

namespace {

/// Splits a line as a shell does: a quoted part may contain blanks and quotes of the other kind.
rig::Words Split(const std::string& line) {
    rig::Words words;
    bool isInWord = false;
    char quote = 0;
    for (const char c : line) {
        if (quote != 0 ? c == quote : c == '"' || c == '\'') {
            quote = quote != 0 ? '\0' : c;
            words.resize(words.size() + (isInWord ? 0 : 1));
            isInWord = true;
        } else if (quote == 0 && c == ' ') {
            isInWord = false;
        } else {
            words.resize(words.size() + (isInWord ? 0 : 1));
            words.back() += c;
            isInWord = true;
        }
    }
    return words;
}

} // namespace

int rig_command(const char* words, int json, const char** answer) {
    thread_local std::string text;
    constexpr int kFailed = 1;
    try {
        const rig::Words split = Split(words != nullptr ? words : "");
        const rig::Elsewhere* const elsewhere = rig::WhereTheHardwareIs();
        rig::Reply reply = elsewhere != nullptr ? elsewhere->command(split, json != 0)
                                                : rig::Perform(split, json != 0);
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
