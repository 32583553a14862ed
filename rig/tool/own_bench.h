/// The bench of this process.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "commands.h"
#include "message.h"

namespace rig {

/// Set by the command `stop`.
inline std::atomic<bool> isToStop{false};

/// Carries out a command. `stop` ends this process; all others concern the hardware.
Reply PerformOnBench(
    const bench::Command& command, const IsUnwanted& isUnwanted = [] { return false; });

/// Loads a scenario from its file, or the default one when that is empty. Throws std::runtime_error
/// when it cannot.
void LoadScenario(const std::string& file);

/// Has the hardware of this process loaded, and offers it to all hosts. Throws what `load` throws,
/// and std::runtime_error when there cannot be a bench of that name.
void StartBench(const std::string& name, const std::function<void()>& load,
                Answerer answer = AnswerLocally);

/// Brings the journal and the waveform up to date before the process ends. Nothing is answered any
/// more, and the rig stays locked.
void EndBench();

/// Where the rig's DLLs go for a host: into the folder, or beside its program when that is empty.
/// Throws std::runtime_error when there is no such program.
std::string FolderOfHost(const std::vector<std::string>& host, const std::string& folder);

/// Runs a host on the bench with the rig's DLLs in that folder meanwhile, and returns its exit
/// code.
int RunOnBench(const std::vector<std::string>& host, const std::string& folder,
               const std::string& name);

} // namespace rig
