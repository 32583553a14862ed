#include "script.h"

#include <algorithm>
#include <fstream>

namespace transcript {

namespace {

constexpr std::size_t kIndentation = 4;

/// Limit for definitions that use each other in a cycle.
constexpr int kDeepest = 20;

bool IsComment(const Line& line) {
    return line.text.starts_with('#');
}

bool IsParameter(const std::string& word) {
    return word.size() > 2 && word.front() == '<' && word.back() == '>';
}

std::string FirstWord(const std::string& text) {
    return text.substr(0, text.find(' '));
}

/// The lines of a file as a tree by indentation. Comments keep their "#". Blank lines are kept only
/// at the margin, where they end a comment.
std::vector<Line> ReadTree(const std::filesystem::path& path, const std::string& name) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw Mistake({name, 0}, "cannot be read");
    }
    std::vector<Line> top;
    std::string text;
    for (int number = 1; std::getline(file, text); ++number) {
        const Place place{name, number};
        if (text.ends_with('\r')) {
            text.pop_back();
        }
        if (text.find('\t') != std::string::npos) {
            throw Mistake(place, "a tab; indent with four blanks");
        }
        if (text.ends_with(' ')) {
            throw Mistake(place, "blanks at the end of the line");
        }
        const std::size_t blanks = std::min(text.find_first_not_of(' '), text.size());
        if (blanks == text.size()) {
            top.push_back({place, place, "", {}});
            continue;
        }
        if (blanks % kIndentation != 0) {
            throw Mistake(place, "indent with four blanks");
        }
        text.erase(0, blanks);
        if (blanks != 0 && text.front() == '#') {
            continue; // a comment inside a case
        }
        std::vector<Line>* level = &top;
        for (std::size_t depth = 0; depth < blanks; depth += kIndentation) {
            while (depth == 0 && !level->empty() && level->back().text.empty()) {
                level->pop_back(); // a blank line between indented lines
            }
            if (level->empty() || IsComment(level->back())) {
                throw Mistake(place, "indented below nothing");
            }
            level = &level->back().below;
        }
        level->push_back({place, place, text, {}});
    }
    return top;
}

/// A definition's lines with its parameters replaced by their values.
std::vector<Line> Filled(std::vector<Line> lines, const Place& use,
                         const std::map<std::string, std::string>& values) {
    for (Line& line : lines) {
        line.use = use;
        for (const auto& [parameter, value] : values) {
            for (std::size_t at = 0; (at = line.text.find(parameter, at)) != std::string::npos;
                 at += value.size()) {
                line.text.replace(at, parameter.size(), value);
            }
        }
        line.below = Filled(std::move(line.below), use, values);
    }
    return lines;
}

bool Mentions(const std::vector<Line>& lines, const std::string& parameter) {
    return std::any_of(lines.begin(), lines.end(), [&](const Line& line) {
        return line.text.find(parameter) != std::string::npos || Mentions(line.below, parameter);
    });
}

bool Matches(const Definition& definition, const std::vector<std::string>& words,
             std::map<std::string, std::string>& values) {
    if (definition.words.size() != words.size()) {
        return false;
    }
    values.clear();
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (IsParameter(definition.words[i])) {
            values[definition.words[i]] = words[i];
        } else if (definition.words[i] != words[i]) {
            return false;
        }
    }
    return true;
}

/// The lines with every use of a definition replaced by its body.
std::vector<Line> Resolved(const std::vector<Line>& lines, const std::vector<Definition*>& known,
                           int depth = 0) {
    std::vector<Line> resolved;
    for (const Line& line : lines) {
        const std::vector<std::string> words = WordsOf(line.text);
        std::map<std::string, std::string> values;
        Definition* found = nullptr;
        for (Definition* definition : known) {
            if (Matches(*definition, words, values)) {
                if (found != nullptr) {
                    throw Mistake(line.place, "may mean the definition at " + found->place.Text() +
                                                  " or that at " + definition->place.Text());
                }
                found = definition;
            }
        }
        if (found == nullptr) {
            resolved.push_back(line);
            resolved.back().below = Resolved(line.below, known, depth);
            continue;
        }
        if (!line.below.empty()) {
            throw Mistake(line.below.front().place, "indented below the use of a definition");
        }
        if (depth == kDeepest) {
            throw Mistake(line.place, "a definition that uses itself");
        }
        found->isUsed = true;
        Matches(*found, words, values);
        for (Line& part : Resolved(Filled(found->body, line.use, values), known, depth + 1)) {
            resolved.push_back(std::move(part));
        }
    }
    return resolved;
}

std::string Joined(const std::vector<Line>& comments) {
    std::string text;
    for (const Line& comment : comments) {
        const std::size_t begin = comment.text.find_first_not_of("# ");
        if (begin != std::string::npos) {
            text += (text.empty() ? "" : " ") + comment.text.substr(begin);
        }
    }
    return text;
}

} // namespace

std::vector<std::string> WordsOf(const std::string& text) {
    std::vector<std::string> words;
    for (std::size_t at = 0; (at = text.find_first_not_of(' ', at)) != std::string::npos;) {
        const bool isQuoted = text[at] == '"';
        const std::size_t begin = isQuoted ? at + 1 : at;
        const std::size_t end = std::min(text.find(isQuoted ? '"' : ' ', begin), text.size());
        words.push_back(text.substr(begin, end - begin));
        at = isQuoted ? end + 1 : end;
    }
    return words;
}

const std::vector<Line>& Reader::LinesOf(const std::string& name, const Place& includedFrom) {
    const auto found = files.find(name);
    if (found != files.end()) {
        return found->second;
    }
    if (!std::filesystem::is_regular_file(root / name)) {
        throw Mistake(includedFrom, "there is no " + name);
    }
    return files[name] = ReadTree(root / name, name);
}

void Reader::Define(const Line& line, std::vector<Definition*>& known) {
    Definition definition{line.place, WordsOf(line.text), line.below, false};
    definition.words.erase(definition.words.begin());
    if (definition.words.empty() || IsParameter(definition.words.front())) {
        throw Mistake(line.place, "a definition begins with a word of its own");
    }
    if (definition.body.empty()) {
        throw Mistake(line.place, "a definition of nothing");
    }
    for (const std::string& word : definition.words) {
        if (IsParameter(word) && !Mentions(definition.body, word)) {
            throw Mistake(line.place, word + " is not used");
        }
    }
    for (const Definition* other : known) {
        if (other->words == definition.words) {
            throw Mistake(line.place, "defined already at " + other->place.Text());
        }
    }
    known.push_back(&definitions.try_emplace(line.place.Text(), definition).first->second);
}

void Reader::ReadDefinitions(const std::string& name, const Place& includedFrom,
                             std::vector<Definition*>& known) {
    for (const Line& line : LinesOf(name, includedFrom)) {
        if (FirstWord(line.text) == "include") {
            ReadDefinitions(line.text.substr(line.text.find(' ') + 1), line.place, known);
        } else if (FirstWord(line.text) == "define") {
            Define(line, known);
        } else if (!line.text.empty() && !IsComment(line)) {
            throw Mistake(line.place, "neither a definition nor an include");
        }
    }
}

std::vector<Case> Reader::Read(const std::filesystem::path& path) {
    const std::string name = path.lexically_relative(root).generic_string();
    const std::vector<Line> lines = LinesOf(name, {name, 0});
    std::vector<Definition*> known;
    std::vector<Case> cases;
    std::vector<Line> comments;
    bool hasForeword = false;
    for (const Line& line : lines) {
        if (IsComment(line)) {
            comments.push_back(line);
            continue;
        }
        if (line.text.empty()) {
            if (!hasForeword && !comments.empty()) {
                hasForeword = true; // the first comment describes the file
                comments.clear();
            }
            continue;
        }
        if (!hasForeword) {
            throw Mistake(line.place, "a transcript begins with a comment that says what it is "
                                      "about, and a blank line");
        }
        const std::string word = FirstWord(line.text);
        if (word == "include" || word == "define") {
            if (!cases.empty()) {
                throw Mistake(line.place, word + " stands before the first case");
            }
            if (word == "define") {
                Define(line, known);
            } else {
                ReadDefinitions(line.text.substr(line.text.find(' ') + 1), line.place, known);
            }
            comments.clear();
            continue;
        }
        if (!comments.empty()) {
            cases.push_back({comments.front().place, Joined(comments), {}});
            comments.clear();
        }
        if (cases.empty()) {
            throw Mistake(line.place, "a case begins with its title, as a comment");
        }
        cases.back().acts.push_back(line);
    }
    if (!comments.empty()) {
        throw Mistake(comments.front().place, "a title without a case");
    }
    if (cases.empty()) {
        throw Mistake({name, 1}, "no case");
    }
    for (auto one = cases.begin(); one != cases.end(); ++one) {
        one->acts = Resolved(one->acts, known);
        const auto same = std::find_if(
            cases.begin(), one, [&](const Case& other) { return other.title == one->title; });
        if (same != one) {
            throw Mistake(one->place, "the title of " + same->place.Text() + " again");
        }
    }
    return cases;
}

std::vector<std::string> Reader::Unused() const {
    std::vector<std::string> unused;
    for (const auto& [place, definition] : definitions) {
        if (!definition.isUsed) {
            unused.push_back(place + ": defined and never used");
        }
    }
    return unused;
}

} // namespace transcript
