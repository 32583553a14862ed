/// This program on its system: its command line, which is UTF-8 everywhere, and what lies beside
/// it.
#pragma once

#include <atomic>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace rig {

using Program = int (*)(std::vector<std::string> arguments);

/// Runs a program with the arguments of main(), and with a console that takes UTF-8 meanwhile.
int RunInUtf8(int count, char** values, Program program);

inline std::filesystem::path PathOf(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

inline std::string Utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

bool RunsInWine();

/// Of its process, so that no other one has it.
std::string NameOfThisProcess();

/// The program that a command line's first word names. Throws std::runtime_error when there is
/// none, or one that cannot have the rig's DLLs.
std::filesystem::path FindProgram(const std::string& name);

/// What programs that this one starts find as a variable; nothing takes it away.
void SetVariable(const char* name, const std::optional<std::string>& value);

/// Ctrl-C, or the end of the session, sets it.
void StopWhenInterrupted(std::atomic<bool>& isToStop);

/// Where a file is, or would be, that lies in the directory of this program.
std::filesystem::path PathBesideThisProgram(const char* file);

} // namespace rig
