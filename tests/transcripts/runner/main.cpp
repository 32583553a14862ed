/// Plays transcripts and prints the differences.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <utility>

#include "stage.h"

namespace {

using namespace transcript;

constexpr const char* kUsage =
    R"(usage: transcripts [--print] [--first] DIRECTORY [FILE[:LINE] ...]

Plays the transcripts (*.transcript) of a directory, or some of them, or the cases at some lines.

  --print   print what happens, in the form of a transcript, and compare nothing
  --first   stop at the first case that differs
)";

struct Options {
    bool prints = false;
    bool stopsAtFirst = false;
    std::filesystem::path directory;
    std::vector<std::pair<std::string, int>> chosen; ///< file, and line or 0 for the whole file
};

bool ReadOptions(int count, char** arguments, Options& options) {
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        if (argument == "--print") {
            options.prints = true;
        } else if (argument == "--first") {
            options.stopsAtFirst = true;
        } else if (argument.starts_with("-")) {
            return false;
        } else if (options.directory.empty()) {
            options.directory = argument;
        } else {
            const std::size_t colon = std::min(argument.rfind(':'), argument.size());
            options.chosen.emplace_back(
                argument.substr(0, colon),
                colon < argument.size() ? std::atoi(argument.c_str() + colon + 1) : 0);
        }
    }
    return !options.directory.empty();
}

/// All transcripts below a directory, sorted by name.
std::vector<std::pair<std::string, int>> FilesOf(const std::filesystem::path& directory) {
    std::vector<std::pair<std::string, int>> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        if (entry.path().extension() == ".transcript") {
            files.emplace_back(entry.path().lexically_relative(directory).generic_string(), 0);
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// All cases of a file, or only the one that contains the line.
std::vector<Case> CasesOf(Reader& reader, const std::filesystem::path& file, int line) {
    std::vector<Case> cases = reader.Read(file);
    if (line == 0) {
        return cases;
    }
    const auto after = std::find_if(cases.begin(), cases.end(),
                                    [&](const Case& one) { return one.place.line > line; });
    if (after == cases.begin()) {
        throw Mistake({cases.front().place.file, line}, "no case");
    }
    return {*std::prev(after)};
}

/// The number of cases that a run must play, from the file TOTALS in the directory.
int ExpectedTotal(const std::filesystem::path& directory) {
    const std::string wanted = kIsNative ? "natively" : "in-wine";
    std::ifstream totals(directory / "TOTALS");
    std::string run;
    for (int number = 0; totals >> run >> number;) {
        if (run == wanted) {
            return number;
        }
    }
    return -1;
}

class Run {
  public:
    explicit Run(const Options& runOptions) : options(runOptions) {}

    bool Play(const Case& played) {
        if (IsForNativeRuns(played) && !kIsNative) {
            return true;
        }
        ++count;
        Stage stage(played);
        const auto guarded = [&](auto&& work) {
            try {
                work();
                return true;
            } catch (const Mistake& mistake) {
                std::printf("%s\n", mistake.what());
                return false;
            }
        };
        const bool isWell = OnFreshLibrary(
            played.place.Text() + ": " + played.title,
            [&] { return guarded([&] { stage.PlayUntilUnload(); }); },
            [&] { return guarded([&] { stage.PlayRest(); }) && Judge(played, stage); });
        reasons += TakeOutput();
        failed += isWell ? 0 : 1;
        return isWell;
    }

    bool Judge(const Case& played, const Stage& stage) const {
        if (options.prints) {
            std::printf("%s", stage.Print().c_str());
            return true;
        }
        const std::string difference = stage.Difference();
        if (!difference.empty()) {
            std::printf("%s: %s\n  - expected, + happened\n%s\n", played.place.Text().c_str(),
                        played.title.c_str(), difference.c_str());
        }
        return difference.empty();
    }

    void Fail(const std::string& reason) {
        ++failed;
        reasons += reason + '\n';
    }

    const Options& options;
    int count = 0;
    int failed = 0;
    std::string reasons;
};

} // namespace

int main(int argumentCount, char** arguments) {
    Options options;
    if (!ReadOptions(argumentCount, arguments, options)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const bool isAll = options.chosen.empty();
    if (isAll) {
        options.chosen = FilesOf(options.directory);
    }
    Reader reader(options.directory);
    Run run(options);
    bool isStopped = false;
    for (const auto& [name, line] : options.chosen) {
        try {
            for (const Case& played : CasesOf(reader, options.directory / name, line)) {
                isStopped = isStopped || (!run.Play(played) && options.stopsAtFirst);
                if (isStopped) {
                    break;
                }
            }
        } catch (const Mistake& mistake) {
            run.Fail(mistake.what());
        }
    }
    if (isAll && !isStopped) {
        for (const std::string& unused : reader.Unused()) {
            run.Fail(unused);
        }
        if (!options.prints && run.count != ExpectedTotal(options.directory)) {
            run.Fail("TOTALS expects " + std::to_string(ExpectedTotal(options.directory)) +
                     " cases, there are " + std::to_string(run.count));
        }
    }
    std::fputs(run.reasons.c_str(), stdout);
    if (!options.prints) {
        std::printf("%d cases played in %zu files, %d faults\n", run.count, options.chosen.size(),
                    run.failed);
    }
    return run.failed == 0 && run.count > 0 ? 0 : 1;
}
