/// Solvane.dll as a host loads it, on a clean rig.
#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "loaded_library.h"
#include "rig_journal.h"

namespace test {

class OnTheRig : public ::testing::Test {
  protected:
    OnTheRig() { Load(kUsbCamera); }

    static void Load(const std::string& scenario);

    /// Lines delivered to Keep() since the last Take...().
    std::vector<std::string> TakeLines() { return std::exchange(lines, {}); }

    /// The same without time stamps, which only an empty line lacks.
    std::vector<std::string> TakeTexts();

    /// Edges of the lines since the last Take...(): "trigger 1".
    static std::vector<std::string> TakeEdges();

    void Listen() { library.SetLogger(&lines, Keep); }

    static void SOLVANE_CALL Keep(void* context, const char* line) {
        static_cast<std::vector<std::string>*>(context)->emplace_back(line);
    }

    std::vector<std::string> lines;
    LoadedLibrary library;
};

} // namespace test
