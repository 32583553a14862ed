#include "pc_parts.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <vector>

#include <windows.h>

#include "this_program.h"

namespace rig {

namespace {

/// The registry key of WbemLocator's in-process server. Every WMI client starts with WbemLocator.
constexpr const wchar_t* kServer =
    L"Software\\Classes\\CLSID\\{4590F811-1D3A-11D0-891F-00AA004B2E24}\\InprocServer32";
constexpr const char* kFile = "rig_wbem.dll";

struct KeyCloser {
    void operator()(HKEY key) const { RegCloseKey(key); }
};
using Key = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

/// A registry value; type REG_NONE if it does not exist.
struct Value {
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
};

/// A value of the server's key that the rig replaces, and the name under which it saves the old
/// one.
struct Place {
    const wchar_t* name; ///< null: the unnamed value, which is the path of the DLL
    const wchar_t* before;
};
constexpr Place kPath = {nullptr, L"SolvaneRigBefore"};
constexpr Place kThreadingModel = {L"ThreadingModel", L"SolvaneRigThreadingModelBefore"};

[[noreturn]] void Fail(const std::string& what, LSTATUS error) {
    throw std::runtime_error("cannot " + what + " the WMI class: " +
                             (error == ERROR_ACCESS_DENIED
                                  ? "this needs an administrator"
                                  : "Windows error " + std::to_string(error)));
}

void Check(const std::string& what, LSTATUS error) {
    if (error != ERROR_SUCCESS) {
        Fail(what, error);
    }
}

/// The server's key, or null when there is none.
Key OpenServer(const std::string& what, REGSAM access) {
    HKEY key = nullptr;
    const LSTATUS error = RegOpenKeyExW(HKEY_LOCAL_MACHINE, kServer, 0, access, &key);
    if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND) {
        Fail(what, error);
    }
    return Key(key);
}

std::optional<Value> Find(HKEY key, const wchar_t* name) {
    Value value;
    DWORD size = 0;
    if (RegQueryValueExW(key, name, nullptr, &value.type, nullptr, &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    value.data.resize(size);
    if (RegQueryValueExW(key, name, nullptr, &value.type, value.data.data(), &size) !=
        ERROR_SUCCESS) {
        return std::nullopt;
    }
    value.data.resize(size);
    return value;
}

LSTATUS Set(HKEY key, const wchar_t* name, const Value& value) {
    return RegSetValueExW(key, name, 0, value.type, value.data.data(),
                          static_cast<DWORD>(value.data.size()));
}

Value MakeText(const std::wstring& text) {
    const auto* const bytes = reinterpret_cast<const BYTE*>(text.c_str());
    return {REG_SZ, {bytes, bytes + (text.size() + 1) * sizeof(wchar_t)}};
}

std::wstring TextOf(const Value& value) {
    std::wstring text(value.data.size() / sizeof(wchar_t), L'\0');
    std::copy_n(value.data.begin(), text.size() * sizeof(wchar_t),
                reinterpret_cast<BYTE*>(text.data()));
    return text.substr(0, text.find(L'\0'));
}

void Replace(HKEY key, const Place& place, const std::wstring& text) {
    if (!Find(key, place.before)) {
        Check("install", Set(key, place.before, Find(key, place.name).value_or(Value{})));
    }
    Check("install", Set(key, place.name, MakeText(text)));
}

void Restore(HKEY key, const Place& place) {
    const std::optional<Value> before = Find(key, place.before);
    if (!before) {
        return;
    }
    if (before->type != REG_NONE) {
        Check("remove", Set(key, place.name, *before));
    } else if (Find(key, place.name)) {
        Check("remove", RegDeleteValueW(key, place.name));
    }
    Check("remove", RegDeleteValueW(key, place.before));
}

} // namespace

void InstallWmiClass(std::ostream& out) {
    if (!RunsInWine()) {
        throw std::runtime_error("the WMI class is made for Wine; Windows has its own");
    }
    const std::filesystem::path file = PathBesideThisProgram(kFile);
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) {
        throw std::runtime_error(std::string(kFile) + " is not beside this program");
    }
    HKEY opened = nullptr;
    Check("install", RegCreateKeyExW(HKEY_LOCAL_MACHINE, kServer, 0, nullptr, 0,
                                     KEY_READ | KEY_WRITE, nullptr, &opened, nullptr));
    const Key key(opened);
    Replace(key.get(), kPath, file.wstring());
    Replace(key.get(), kThreadingModel, L"Both");
    out << "The WMI class is installed.\n";
}

void RemoveWmiClass(std::ostream& out) {
    if (const Key key = OpenServer("remove", KEY_READ | KEY_WRITE)) {
        Restore(key.get(), kPath);
        Restore(key.get(), kThreadingModel);
    }
    out << "The WMI class is not installed.\n";
}

void PrintWmiClassState(std::ostream& out) {
    const Key key = OpenServer("ask for", KEY_READ);
    if (!key || !Find(key.get(), kPath.before)) {
        throw std::runtime_error("the WMI class is not installed");
    }
    if (TextOf(Find(key.get(), kPath.name).value_or(Value{})) !=
        PathBesideThisProgram(kFile).wstring()) {
        throw std::runtime_error("the WMI class is installed from another directory");
    }
    out << "The WMI class is installed.\n";
}

} // namespace rig
