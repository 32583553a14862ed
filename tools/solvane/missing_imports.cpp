#include "missing_imports.h"

#include <cstddef>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <span>
#include <utility>

#include <windows.h>

#include "module.h"
#include "pe_imports.h"
#include "windows_text.h"

namespace host {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> ImportsOf(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    return ImportedDlls(std::as_bytes(std::span(content)));
}

/// The directories in which the loader looks for what the library imports.
std::wstring LoaderDirectories(const fs::path& library, const fs::path& programDirectory) {
    std::wstring system(MAX_PATH, L'\0');
    system.resize(GetSystemDirectoryW(system.data(), MAX_PATH));
    std::wstring path(GetEnvironmentVariableW(L"PATH", nullptr, 0), L'\0');
    path.resize(GetEnvironmentVariableW(L"PATH", path.data(), static_cast<DWORD>(path.size())));
    return library.parent_path().native() + L';' + programDirectory.native() + L';' + system +
           L';' + path;
}

std::optional<fs::path> Locate(const std::wstring& directories, const std::wstring& dll) {
    const auto search = [&](std::wstring& found) {
        return SearchPathW(directories.c_str(), dll.c_str(), nullptr,
                           static_cast<DWORD>(found.size()), found.data(), nullptr);
    };
    std::wstring found(MAX_PATH, L'\0');
    DWORD length = search(found);
    if (length > found.size()) { // the size that it would take
        found.resize(length);
        length = search(found);
    }
    found.resize(length);
    return found.empty() ? std::nullopt : std::optional<fs::path>(found);
}

class Search {
  public:
    explicit Search(std::wstring loaderDirectories) : directories(std::move(loaderDirectories)) {}

    void LookInto(const fs::path& importer) {
        for (const std::string& dll : ImportsOf(importer)) {
            if (tried.insert(dll).second) {
                Try(Utf8(importer.filename().native()), dll);
            }
        }
    }

    std::vector<MissingImport> missing;

  private:
    void Try(const std::string& importer, const std::string& dll) {
        const std::optional<fs::path> path = Locate(directories, Wide(dll));
        // A DLL without a file may still be one that Windows makes up, so loading it decides.
        const Module module = path ? Module::LoadPath(*path) : Module::LoadName(Wide(dll));
        if (module) {
            return;
        }
        const DWORD error = GetLastError();
        if (error == ERROR_BAD_EXE_FORMAT) {
            missing.push_back({importer, dll, "is not a 64-bit DLL", false});
        } else if (error != ERROR_MOD_NOT_FOUND) {
            missing.push_back(
                {importer, dll, "cannot be loaded (" + SystemMessage(error) + ")", false});
        } else if (!path) {
            missing.push_back({importer, dll, "was not found", true});
        } else {
            LookInto(*path);
        }
    }

    const std::wstring directories;
    std::set<std::string> tried; ///< DLLs may import one another in a circle
};

} // namespace

std::vector<MissingImport> FindMissingImports(const fs::path& library,
                                              const fs::path& programDirectory) {
    Search search(LoaderDirectories(library, programDirectory));
    search.LookInto(library);
    return search.missing;
}

} // namespace host
