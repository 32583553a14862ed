/// Refuses allocations of the real DLL alone, by replacing the allocator in its import table. This
/// is a sample of the native proof, with the DLL's own run-time library, which allocates as well.
/// One allocation is refused: without any memory mingw-w64 cannot throw.

#include <array>
#include <cstring>
#include <functional>

#include "library_fixture.h"

#include <oleauto.h>

namespace {

using namespace test;

/// Counts the allocations of the library, and refuses one.
class Refusal {
  public:
    /// The n-th from now is refused (1 is the next; 0: none).
    Refusal(HMODULE library, std::size_t number) : refused(number) {
        Replace(library, "msvcrt.dll", "malloc", &Malloc);
        Replace(library, "msvcrt.dll", "calloc", &Calloc);
        Replace(library, "msvcrt.dll", "realloc", &Realloc);
        Replace(library, "OLEAUT32.dll", "SysAllocString", &AllocateString);
        current = this;
    }
    ~Refusal() {
        current = nullptr;
        for (std::size_t i = 0; i < replaced; ++i) {
            Write(entries[i], originals[i]);
        }
    }
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;

    std::size_t Allocations() const { return allocations; }

  private:
    static bool IsRefused() { return ++current->allocations == current->refused; }
    static void* Malloc(std::size_t size) { return IsRefused() ? nullptr : std::malloc(size); }
    static void* Calloc(std::size_t count, std::size_t size) {
        return IsRefused() ? nullptr : std::calloc(count, size);
    }
    static void* Realloc(void* memory, std::size_t size) {
        return IsRefused() ? nullptr : std::realloc(memory, size);
    }
    static BSTR WINAPI AllocateString(const OLECHAR* text) {
        return IsRefused() ? nullptr : SysAllocString(text);
    }

    static void Write(ULONGLONG* entry, ULONGLONG address) {
        DWORD before = 0;
        VirtualProtect(entry, sizeof *entry, PAGE_READWRITE, &before);
        *entry = address;
        VirtualProtect(entry, sizeof *entry, before, &before);
    }

    /// The entry of the import table that has a function's address.
    template <typename Function>
    void Replace(HMODULE library, const char* from, const char* name, Function* by) {
        const HMODULE exporter = GetModuleHandleA(from);
        const auto address = reinterpret_cast<ULONGLONG>(GetProcAddress(exporter, name));
        char* const base = reinterpret_cast<char*>(library);
        const auto& head = *reinterpret_cast<const IMAGE_NT_HEADERS*>(
            base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
        const DWORD table =
            head.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        for (auto* module = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + table);
             module->Name != 0; ++module) {
            auto* entry = reinterpret_cast<ULONGLONG*>(base + module->FirstThunk);
            for (; *entry != 0; ++entry) {
                if (*entry == address) {
                    entries.at(replaced) = entry;
                    originals.at(replaced++) = address;
                    Write(entry, reinterpret_cast<ULONGLONG>(by));
                    return;
                }
            }
        }
        ADD_FAILURE() << "the library does not import " << name;
    }

    static inline Refusal* current = nullptr;
    std::size_t refused;
    std::size_t allocations = 0;
    std::size_t replaced = 0;
    std::array<ULONGLONG*, 4> entries{};
    std::array<ULONGLONG, 4> originals{};
};

struct Hardware {
    const char* name;
    const char* scenario;
    std::size_t candidates; ///< created before it is found
    std::size_t cases;      ///< expected number

    /// Refusals for a candidate or for their list: in the two first calls, the second of which
    /// creates the candidates again, and in the one on configured hardware.
    std::size_t Exceptions() const { return 2 * (kList + candidates) + 2 * candidates; }
    static constexpr std::size_t kList = 1;

    friend void PrintTo(const Hardware& hardware, std::ostream* stream) {
        *stream << hardware.name;
    }
};

struct Call {
    const char* name;
    bool makesController;
    std::function<std::int16_t(const LoadedLibrary&)> run;
};

class RefusedMemory : public testing::TestWithParam<Hardware> {
  protected:
    struct Outcome {
        bool threw = false;
        std::int16_t status = 0;
        std::size_t allocations = 0;
    };

    /// The call in a freshly loaded library, with one allocation refused.
    static Outcome Run(const Call& call, bool isConfigured, std::size_t refused) {
        EXPECT_EQ(rig_load(GetParam().scenario), 0) << rig_error();
        LoadedLibrary library;
        std::vector<std::string> lines;
        library.SetLogger(&lines, Keep);
        if (isConfigured) {
            EXPECT_EQ(library.CheckAvailable(), 0);
        }
        Outcome outcome;
        {
            const Refusal refusal(library.Module(), refused);
            try {
                outcome.status = call.run(library);
            } catch (...) {
                outcome.threw = true;
            }
            outcome.allocations = refusal.Allocations();
        }
        EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
        EXPECT_EQ(rig_wbem_interfaces(), 0);
        const bool takesPicture = std::strcmp(call.name, "TriggerCapture") == 0;
        const std::uint32_t captures = rig_captures();
        EXPECT_EQ(captures, takesPicture && !outcome.threw && outcome.status == 0 ? 1u : 0u);

        EXPECT_EQ(library.RecheckStatus(), 0) << "memory is back";
        Sleep(kExposed);
        EXPECT_EQ(library.TriggerCapture(), 0);
        EXPECT_EQ(rig_captures(), captures + 1);
        for (const std::string& line : lines) {
            EXPECT_TRUE(line.empty() || (line.size() > 14 && line[0] == '[' && line[13] == ']'))
                << line;
        }
        library.SetLogger(nullptr, nullptr);
        return outcome;
    }

  private:
    static constexpr DWORD kExposed = 15;
    static void SOLVANE_CALL Keep(void* context, const char* line) {
        static_cast<std::vector<std::string>*>(context)->emplace_back(line);
    }
};

TEST_P(RefusedMemory, LeavesNothingHalfDone) {
    const Call calls[] = {
        {"TriggerCapture", false, [](const auto& library) { return library.TriggerCapture(); }},
        {"RecheckStatus", true, [](const auto& library) { return library.RecheckStatus(); }},
        {"CreateTimer", false, [](const auto& library) {
             SolvaneTimerHandle timer = 0;
             const std::int16_t status = library.CreateTimer(&timer, 0); // there is no driver
             EXPECT_EQ(status, SOLVANE_E_UNDETERMINED);
             return std::int16_t{0};
         }}};
    std::size_t cases = 0;
    std::size_t exceptions = 0;
    for (const Call& call : calls) {
        for (const bool isConfigured : {false, true}) {
            const Outcome undisturbed = Run(call, isConfigured, 0);
            EXPECT_EQ(undisturbed.status, 0);
            for (std::size_t refused = 1; refused <= undisturbed.allocations; ++refused) {
                SCOPED_TRACE(testing::Message()
                             << call.name << (isConfigured ? " on configured hardware" : "")
                             << ", allocation " << refused);
                const Outcome outcome = Run(call, isConfigured, refused);
                EXPECT_TRUE(!outcome.threw || call.makesController || !isConfigured);
                EXPECT_TRUE(outcome.status == 0 || outcome.status == SOLVANE_E_NO_HARDWARE)
                    << outcome.status;
                ++cases;
                exceptions += outcome.threw ? 1 : 0;
            }
        }
    }
    std::printf("%s: %zu allocations refused\n", GetParam().name, cases);
    EXPECT_EQ(cases, GetParam().cases);
    EXPECT_EQ(exceptions, GetParam().Exceptions());
}

INSTANTIATE_TEST_SUITE_P(On, RefusedMemory,
                         testing::Values(Hardware{"FT2232H", kUsbCamera, 4, 48},
                                         Hardware{"SuperIO", kSuperIoCamera, 2, 40},
                                         Hardware{"EmbeddedAPI", kEapiCamera, 3, 40},
                                         Hardware{"ParallelPort", kLptCamera, 1, 40}),
                         [](const auto& test) { return test.param.name; });

} // namespace
