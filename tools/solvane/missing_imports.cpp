#include "missing_imports.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include <windows.h>

#include "dll_files.h"
#include "file_content.h"
#include "module.h"
#include "pe_file.h"
#include "windows_text.h"

namespace host {

namespace {

namespace fs = std::filesystem;

/// The file that the loader takes or fails on. It skips files for other processors, but if there
/// are no others it fails on the first of these.
std::optional<fs::path> Locate(const std::vector<fs::path>& folders, const std::wstring& dll) {
    const std::vector<fs::path> files = FindFiles(folders, dll);
    const auto isLookedAt = [](const fs::path& file) {
        const Processor processor = ProcessorOf(ContentOf(file).value_or(""));
        return processor == Processor::x64 || processor == Processor::none;
    };
    const auto found = std::ranges::find_if(files, isLookedAt);
    return found != files.end() ? std::optional(*found)
           : files.empty()      ? std::nullopt
                                : std::optional(files.front());
}

class Search {
  public:
    explicit Search(std::vector<fs::path> loaderFolders) : folders(std::move(loaderFolders)) {}

    void LookInto(const fs::path& importer) {
        for (const std::string& dll : ImportedDlls(ContentOf(importer).value_or(""))) {
            if (tried.insert(dll).second) {
                Try(Utf8(importer.filename().native()), dll);
            }
        }
    }

    std::vector<MissingImport> missing;

  private:
    void Try(const std::string& importer, const std::string& dll) {
        const std::optional<fs::path> path = Locate(folders, Wide(dll));
        // Windows may supply a DLL that has no file of this name, so try to load it.
        const Module module = path ? Module::LoadPath(*path) : Module::LoadName(Wide(dll));
        if (module) {
            return;
        }
        const DWORD error = GetLastError();
        if (error == ERROR_BAD_EXE_FORMAT) {
            missing.push_back(
                {importer, dll,
                 "is not a 64-bit DLL" + (path ? ": " + Utf8(path->native()) : std::string()),
                 false});
        } else if (error != ERROR_MOD_NOT_FOUND) {
            missing.push_back(
                {importer, dll, "cannot be loaded (" + SystemMessage(error) + ")", false});
        } else if (!path) {
            missing.push_back({importer, dll, "was not found", true});
        } else {
            LookInto(*path);
        }
    }

    const std::vector<fs::path> folders;
    std::set<std::string> tried; ///< DLLs may import each other in a cycle
};

} // namespace

std::vector<fs::path> ImportFolders(const fs::path& library) {
    return LoaderFolders({library.parent_path(), ProgramFolder()});
}

std::vector<MissingImport> FindMissingImports(const fs::path& library) {
    Search search(ImportFolders(library));
    search.LookInto(library);
    return search.missing;
}

} // namespace host
