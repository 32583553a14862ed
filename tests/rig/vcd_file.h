/// A value change dump as a strict reader sees it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace test {

struct VcdFile {
    std::string timescale;
    std::string scope;
    std::vector<std::string> wires;     ///< names, in the order of their declaration
    std::map<std::string, int> initial; ///< what $dumpvars says
    /// Everything after that: "#25" is a time stamp, "ready 1" a change.
    std::vector<std::string> body;
    std::vector<std::uint64_t> times;
};

/// Reads a file, and fails the test at everything that a reader could stumble over.
VcdFile ReadVcd(const std::string& path);

std::string ReadText(const std::string& path);

} // namespace test
