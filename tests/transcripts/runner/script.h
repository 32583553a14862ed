/// Reads transcripts: files of cases, each a list of acts and what is expected to follow. The
/// format is described in tests/transcripts/README.md.
#pragma once

#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace transcript {

/// The position of a line: "usb/trigger.transcript:12".
struct Place {
    std::string file;
    int line = 0;

    std::string Text() const { return file + ":" + std::to_string(line); }
};

/// A mistake in a transcript.
struct Mistake : std::runtime_error {
    Mistake(const Place& place, const std::string& what)
        : runtime_error(place.Text() + ": " + what) {}
};

/// A line with the lines that are indented below it.
struct Line {
    Place place; ///< where the text is, possibly in a definition
    Place use;   ///< where the case uses it
    std::string text;
    std::vector<Line> below;
};

struct Case {
    Place place;
    std::string title;
    std::vector<Line> acts; ///< with definitions resolved
};

/// A phrase that is replaced by several lines.
struct Definition {
    Place place;
    std::vector<std::string> words; ///< "<name>" is a parameter
    std::vector<Line> body;
    bool isUsed = false;
};

/// Reads the cases of transcripts. Places are relative to one directory.
class Reader {
  public:
    explicit Reader(std::filesystem::path directory) : root(std::move(directory)) {}

    /// Throws Mistake, also for a file without a case.
    std::vector<Case> Read(const std::filesystem::path& file);

    /// Definitions in the files read so far that no case uses.
    std::vector<std::string> Unused() const;

  private:
    const std::vector<Line>& LinesOf(const std::string& name, const Place& includedFrom);
    void ReadDefinitions(const std::string& name, const Place& includedFrom,
                         std::vector<Definition*>& known);
    void Define(const Line& line, std::vector<Definition*>& known);

    std::filesystem::path root;
    std::map<std::string, std::vector<Line>> files;
    std::map<std::string, Definition> definitions; ///< by place
};

/// The words of a line; a text in quotes is one word, without its quotes.
std::vector<std::string> WordsOf(const std::string& text);

} // namespace transcript
