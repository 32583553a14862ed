/// Commands, for programs.
#include <solvane/rig.h>

#include <string>

#include "action.h"
#include "commands.h"

namespace {

/// As a shell takes them apart: quotes of one kind hold those of the other, and blanks.
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
