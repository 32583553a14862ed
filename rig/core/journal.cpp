#include "journal.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>

namespace rig {

namespace {

constexpr std::array<const char*, 4> kKindNames = {"call", "edge", "event", "note"};

} // namespace

std::string LineOf(const Journal::Entry& entry) {
    char prefix[48];
    std::snprintf(prefix, sizeof prefix, "%8" PRIu64 ".%06" PRIu64 " %-5s ", entry.time / 1'000'000,
                  entry.time % 1'000'000, kKindNames[static_cast<std::size_t>(entry.kind)]);
    const std::string caller = entry.host > 1 ? "host " + std::to_string(entry.host) + ": " : "";
    std::string line = prefix + caller + entry.text;
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return line;
}

void Journal::Add(Entry entry) {
    if (file.is_open()) {
        // Each line reaches the file at once: the host may be killed.
        file << LineOf(entry) << '\n' << std::flush;
    }
    if (entries.size() == kCapacity) {
        entries.pop_front();
        ++forgotten;
    }
    entries.push_back(std::move(entry));
}

void Journal::Clear() {
    forgotten += entries.size();
    entries.clear();
}

bool Journal::CopyTo(const std::filesystem::path& path) {
    file.open(path, std::ios::binary);
    return file.is_open();
}

void Journal::MarkStart() {
    if (file.is_open()) {
        file << "# a scenario begins; times in ms\n" << std::flush;
    }
}

} // namespace rig
