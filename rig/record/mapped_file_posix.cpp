#include "mapped_file.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace rig::record {

namespace {

bool WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

std::string ReasonOf(int error) {
    return error == ENOSPC || error == EFBIG ? "the disk is full"
                                             : std::generic_category().message(error);
}

} // namespace

MappedFile::MappedFile(const std::filesystem::path& wanted) {
    for (unsigned number = 1; file < 0; ++number) {
        path = Numbered(wanted, number);
        file = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (file < 0 && errno != EEXIST) {
            throw std::runtime_error(ReasonOf(errno));
        }
    }
}

MappedFile::~MappedFile() {
    close(static_cast<int>(file));
}

char* MappedFile::MapNext() {
    static const std::string zeros(kPiece, '\0');
    const auto descriptor = static_cast<int>(file);
    lseek(descriptor, static_cast<off_t>(size), SEEK_SET);
    if (!WriteAll(descriptor, zeros)) {
        reason = ReasonOf(errno);
        return nullptr;
    }
    void* const piece = mmap(nullptr, kPiece, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor,
                             static_cast<off_t>(size));
    if (piece == MAP_FAILED) {
        reason = ReasonOf(errno);
        return nullptr;
    }
    size += kPiece;
    return static_cast<char*>(piece);
}

void MappedFile::Unmap(char* piece) {
    munmap(piece, kPiece);
}

void MappedFile::Cut(std::uint64_t end) {
    if (ftruncate(static_cast<int>(file), static_cast<off_t>(end)) == 0) {
        lseek(static_cast<int>(file), 0, SEEK_END);
    }
}

void MappedFile::Append(std::string_view bytes) {
    WriteAll(static_cast<int>(file), bytes);
}

void DoSoon(void (*work)(void*), void* argument) {
    work(argument);
}

} // namespace rig::record
