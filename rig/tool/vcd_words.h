/// The words of a VCD file, which are all that its grammar knows, with the lines they stand in.
#pragma once

#include <cstddef>
#include <istream>
#include <optional>
#include <string>

namespace rig::wave {

class VcdWords {
  public:
    explicit VcdWords(std::istream& source) : stream(source) {}

    /// Nothing at the end of the file.
    std::optional<std::string> Next();

    /// The line of the last word, counted from 1.
    std::size_t Line() const { return wordLine; }

  private:
    std::istream& stream;
    std::size_t line = 1;
    std::size_t wordLine = 1;
};

/// A word for use in a message: short, printable and in quotation marks.
std::string Quoted(const std::string& word);

/// A word with '?' for everything that is not printable ASCII, so that every character is one byte
/// and one column wide.
std::string Printable(std::string word);

} // namespace rig::wave
