#include "library_log.h"

#include <array>
#include <charconv>
#include <new>
#include <utility>

namespace host {

namespace {

constexpr std::string_view kTrying = "Controller candidate been created.";
constexpr std::string_view kSucceeded = "... succeeded!";
constexpr std::string_view kFailed = "... not available. Error ";

/// Words that only one kind of hardware logs, while it is looked for or just before, when its
/// controller is constructed.
struct Mark {
    std::string_view words;
    std::string_view kind;
};

constexpr std::array kMarks{
    Mark{"[LPT]: ", "parallel port"},
    Mark{"[KTRN]: ", "Super I/O"},
    Mark{"[EAPI]: ", "Embedded API"},
    Mark{"FTDI", "FT2232H"},
    Mark{"Error in getting the number of devices", "FT2232H"},
};
constexpr std::array kMarksBefore{
    Mark{"[EAPI]: GPIO control v", "Embedded API"},
};

/// On the FT2232H a read is lost only when its repetition after the recovery fails as well.
constexpr std::string_view kReadAgain = "ReadBits status (after restore): ";
constexpr std::array kLostReads{
    std::string_view("GetBitsValue: RestoreAvailability() failed"),
    kReadAgain,
    std::string_view("[EAPI]: EApiGPIOGetLevel error "),
};

bool ReportsLostRead(std::string_view line) {
    for (const std::string_view words : kLostReads) {
        if (const std::size_t at = line.find(words); at != line.npos) {
            return words != kReadAgain || line.substr(at + words.size()) != "0";
        }
    }
    return false;
}

template <typename Marks>
std::string_view KindOf(std::string_view line, const Marks& marks, std::string_view otherwise) {
    for (const Mark& mark : marks) {
        if (line.find(mark.words) != line.npos) {
            return mark.kind;
        }
    }
    return otherwise;
}

} // namespace

void SOLVANE_CALL LibraryLog::Receive(void* context, const char* line) noexcept {
    try {
        auto& log = *static_cast<LibraryLog*>(context);
        if (log.echo) {
            log.echo->Add(line);
        }
        if (log.keepsLines) {
            const std::lock_guard lock(log.keeping);
            log.lines.emplace_back(line);
        }
        log.Read(line);
    } catch (const std::bad_alloc&) {
        // Drop the line: the library called this in the middle of an operation, which must go on.
    }
}

std::vector<std::string> LibraryLog::Lines() const {
    const std::lock_guard lock(keeping);
    return lines;
}

std::optional<std::string_view> LibraryLog::Answered() const {
    if (candidates.empty() || candidates.back().status != 0) {
        return std::nullopt;
    }
    return candidates.back().kind;
}

std::optional<std::string_view> LibraryLog::LastTried() const {
    return candidates.empty() ? std::nullopt : std::optional(candidates.back().kind);
}

void LibraryLog::Read(std::string_view line) {
    if (ReportsLostRead(line)) {
        lostRead = line;
    }
    if (line.find(kTrying) != line.npos) {
        candidates.push_back({std::exchange(announced, kUnknownKind), std::nullopt, {}});
        return;
    }
    if (candidates.empty() || candidates.back().status) { // no candidate is being tried
        announced = KindOf(line, kMarksBefore, announced);
        return;
    }

    Candidate& candidate = candidates.back();
    if (line.find(kSucceeded) != line.npos) {
        candidate.status = 0;
    } else if (const std::size_t at = line.find(kFailed); at != line.npos) {
        int status = 0;
        const std::string_view number = line.substr(at + kFailed.size());
        std::from_chars(number.data(), number.data() + number.size(), status);
        candidate.status = status;
    } else {
        candidate.kind = KindOf(line, kMarks, candidate.kind);
        candidate.lines.emplace_back(line);
    }
}

} // namespace host
