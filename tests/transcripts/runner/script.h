/// Transcripts as they are written: files of cases, each a list of acts with what follows from
/// them. tests/transcripts/README.md says how they look.
#pragma once

#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace transcript {

/// Where a line stands: "usb/trigger.transcript:12".
struct Place {
    std::string file;
    int line = 0;

    std::string Text() const { return file + ":" + std::to_string(line); }
};

/// A transcript that cannot be understood.
struct Mistake : std::runtime_error {
    Mistake(const Place& place, const std::string& what)
        : runtime_error(place.Text() + ": " + what) {}
};

/// A line with the lines that are indented below it.
struct Line {
    Place place; ///< of the text itself, which may be part of a definition
    Place use;   ///< in the case
    std::string text;
    std::vector<Line> below;
};

struct Case {
    Place place;
    std::string title;
    std::vector<Line> acts; ///< with definitions resolved
};

/// A phrase that stands for several lines.
struct Definition {
    Place place;
    std::vector<std::string> words; ///< "<name>" is a parameter
    std::vector<Line> body;
    bool isUsed = false;
};

/// Reads all cases of transcripts, whose places are named relative to one directory.
class Reader {
  public:
    explicit Reader(std::filesystem::path directory) : root(std::move(directory)) {}

    /// Throws Mistake, also for a file without a case.
    std::vector<Case> Read(const std::filesystem::path& file);

    /// Definitions of all files so far that no case uses.
    std::vector<std::string> Unused() const;

  private:
    const std::vector<Line>& LinesOf(const std::string& name, const Place& includedFrom);
    void ReadDefinitions(const std::string& name, const Place& includedFrom,
                         std::vector<Definition*>& known);
    void Define(const Line& line, std::vector<Definition*>& known);

    std::filesystem::path root;
    std::map<std::string, std::vector<Line>> files;
    std::map<std::string, Definition> definitions; ///< by their places
};

/// The blank-separated words of a line; a text in quotes is one of them, without the quotes.
std::vector<std::string> WordsOf(const std::string& text);

} // namespace transcript
