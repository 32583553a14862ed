/// What depends on the system for this program: its command line, which is UTF-8 everywhere, its
/// environment, and the files beside it.
#pragma once

#include <atomic>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace rig {

using Program = int (*)(std::vector<std::string> arguments);

/// Runs a program with the arguments of main() as UTF-8, with the console set to UTF-8 meanwhile.
int RunInUtf8(int count, char** values, Program program);

inline std::filesystem::path PathOf(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

inline std::string Utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

bool RunsInWine();

/// A name with the process id, so that it is unique among running processes.
std::string NameOfThisProcess();

/// The program that the first word of a command line names. Throws std::runtime_error when there is
/// none, or when it cannot load the rig's DLLs.
std::filesystem::path FindProgram(const std::string& name);

/// Sets an environment variable for this program and those that it starts; nullopt removes it.
void SetVariable(const char* name, const std::optional<std::string>& value);

/// Makes Ctrl-C and the end of the session set the flag.
void StopWhenInterrupted(std::atomic<bool>& isToStop);

/// Opens an address in the user's browser. False when that cannot be started.
bool OpenInBrowser(const std::string& address);

/// The path of a file in the directory of this program; the file need not exist.
std::filesystem::path PathBesideThisProgram(const char* file);

} // namespace rig
