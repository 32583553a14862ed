#include "vcd_file.h"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace test {

namespace {

/// The words up to "$end".
std::vector<std::string> Section(std::istream& in) {
    std::vector<std::string> words;
    for (std::string word; in >> word && word != "$end";) {
        words.push_back(word);
    }
    return words;
}

std::map<std::string, std::string> ReadHeader(std::istream& in, VcdFile& file) {
    std::map<std::string, std::string> names;
    for (std::string word; in >> word;) {
        const std::vector<std::string> section = Section(in);
        if (word == "$timescale") {
            file.timescale = section.at(0) + ' ' + section.at(1);
        } else if (word == "$scope") {
            file.scope = section.at(1);
        } else if (word == "$var") {
            EXPECT_EQ(section.at(0), "wire");
            EXPECT_EQ(section.at(1), "1");
            EXPECT_TRUE(names.emplace(section.at(2), section.at(3)).second) << "code used twice";
            file.wires.push_back(section.at(3));
        } else if (word == "$enddefinitions") {
            return names;
        } else {
            EXPECT_TRUE(word == "$version" || word == "$upscope") << word;
        }
    }
    ADD_FAILURE() << "no end of the definitions";
    return names;
}

} // namespace

VcdFile ReadVcd(const std::string& path) {
    VcdFile file;
    std::istringstream in(ReadText(path));
    const auto names = ReadHeader(in, file);
    const auto nameOf = [&](const std::string& change) {
        EXPECT_TRUE(change[0] == '0' || change[0] == '1') << change;
        const auto found = names.find(change.substr(1));
        EXPECT_NE(found, names.end()) << change;
        return found != names.end() ? found->second : "";
    };
    for (std::string word; in >> word;) {
        if (word == "$dumpvars") {
            for (const std::string& change : Section(in)) {
                file.initial[nameOf(change)] = change[0] - '0';
            }
        } else if (word[0] == '#') {
            const std::uint64_t time = std::stoull(word.substr(1));
            EXPECT_TRUE(file.times.empty() || file.times.back() < time) << word;
            file.times.push_back(time);
            file.body.push_back(word);
        } else {
            EXPECT_FALSE(file.times.empty()) << "a change before any time";
            file.body.push_back(nameOf(word) + ' ' + word[0]);
        }
    }
    return file;
}

std::string ReadText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.is_open()) << path;
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace test
