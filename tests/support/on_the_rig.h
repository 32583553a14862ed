/// A clean rig for every test, and its journal as text: vendor calls, system calls and log lines in
/// their common order.
#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "logger.h"
#include "rig_journal.h"

namespace test {

/// Resets the process-wide hardware state to that of a library just loaded.
void ResetProcessState();

class OnTheRig : public ::testing::Test {
  protected:
    OnTheRig();
    ~OnTheRig() override;

    /// Replaces the virtual hardware; a bad scenario fails the test.
    static void Load(const std::string& scenario);

    /// Vendor calls, system calls and log lines since the last Take...(), oldest first. A log line
    /// is "log: <text>", without its time stamp.
    static Journal TakeJournal();

    /// Only the log lines of TakeJournal(), without "log: ".
    static Journal TakeLog();

    /// Edges of the camera's lines since the last Take...(): "trigger 1".
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

template <typename... Texts>
Journal Entries(const Texts&... texts) {
    return {std::string(texts)...};
}

} // namespace test
