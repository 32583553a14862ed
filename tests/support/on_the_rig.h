/// A clean rig for every test, and its journal as text: the vendor calls, the system calls and the
/// log lines in the one order in which they happened.
#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "logger.h"
#include "rig_journal.h"

namespace test {

/// Makes the process-wide hardware state what it is when the library is loaded.
void ResetProcessState();

class OnTheRig : public ::testing::Test {
  protected:
    OnTheRig();
    ~OnTheRig() override;

    /// Replaces the virtual hardware; a bad scenario fails the test.
    static void Load(const std::string& scenario);

    /// The calls, system calls and log lines since the last look, oldest first. Log lines stand as
    /// "log: <text>", without their time stamps.
    static Journal TakeJournal();

    /// Only the log lines of TakeJournal(), without "log: ".
    static Journal TakeLog();

    /// Edges of the camera's lines since the last look: "trigger 1".
    static Journal TakeEdges();

    /// Makes calls fail from the n-th on, counted from now.
    static void FailStatus(const char* function, std::uint32_t call, std::uint32_t status,
                           std::uint32_t times = 1);
    static void FailCount(const char* function, std::uint32_t call, std::uint32_t count,
                          std::uint32_t times = 1);
    static void FailSilently(const char* function, std::uint32_t call, std::uint32_t times = 1);

    /// Writes each delivered line into the journal.
    static void SOLVANE_CALL LogToJournal(void* context, const char* line);

    SLV::Internal::Logger logger;
};

/// A list of what stands in a journal.
template <typename... Texts>
Journal Entries(const Texts&... texts) {
    return {std::string(texts)...};
}

} // namespace test
