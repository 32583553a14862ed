/// A host that loads vendors' DLLs at run time and does with them what its argument says.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

namespace {

HMODULE Load(const std::wstring& name) {
    const HMODULE module = LoadLibraryW(name.c_str());
    if (module == nullptr) {
        std::printf("not loaded: %lu\n", GetLastError());
        std::exit(3);
    }
    return module;
}

template <class Function>
Function* Find(HMODULE module, const char* name) {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

struct Big {
    double values[5];
};

using Inp = std::uint16_t(std::uint16_t);
using Out = void(std::uint16_t, std::uint16_t);
using Number = unsigned(unsigned);

/// Calls every export of the odd library, twice: the first call looks for its target.
int CallOddExports() {
    const HMODULE odd = Load(L"inpoutx64.dll");
    for (int i = 0; i < 2; ++i) {
        std::printf("%lld\n", Find<long long(int, int, int, int, int, int, int, long long)>(
                                  odd, "eight_numbers")(1, 2, 3, 4, 5, 6, 7, 0x1'2345'6789));
        std::printf("%.3f\n",
                    Find<double(double, double, double, double, double, double, double, double)>(
                        odd, "eight_doubles")(1, 2, 3, 4, 5, 6, 7, 8.5));
        std::printf("%.3f\n", Find<double(int, double, const char*, double, int, double)>(
                                  odd, "mixed")(1, 0.25, "A", 0.5, 3, 0.125));
        const Big big = Find<Big(double, int)>(odd, "big")(2.5, 4);
        std::printf("%.1f %.1f %.1f\n", big.values[0], big.values[1], big.values[2]);
        std::printf("%d\n", Find<int(int, ...)>(odd, "sum_of")(5, 1, 20, 300, 4000, 50000));
        std::printf("%d\n", Find<int(int)>(odd, MAKEINTRESOURCEA(40))(14));
        std::printf("%d\n", Find<DWORD()>(odd, "ticks")() != 0);
        for (const char* name : std::initializer_list<const char*>{"last_error", "also_last_error",
                                                                   MAKEINTRESOURCEA(15)}) {
            SetLastError(4711);
            const unsigned found = Find<Number>(odd, name)(17);
            std::printf("%u %lu\n", found, GetLastError());
        }
        SetLastError(99);
        std::printf("%u\n", Find<unsigned()>(odd, "IsInpOutDriverOpen")());
        Find<Out>(odd, MAKEINTRESOURCEA(2))(0x378, static_cast<std::uint16_t>(0x55 + i));
        std::printf("%lu\n", GetLastError());
        const unsigned read = Find<Inp>(odd, "Inp32")(0x379);
        std::printf("%x %lu\n", read, GetLastError());
        std::printf("%d %d\n", GetProcAddress(odd, "nobody") != nullptr,
                    GetProcAddress(odd, MAKEINTRESOURCEA(39)) != nullptr);
    }
    return 0;
}

/// Passes pointers that lead nowhere to a function that fails before it looks at them.
int PassBadPointers() {
    auto* const level =
        Find<unsigned(unsigned, unsigned, void*)>(Load(L"EAPI_Library.dll"), "EApiGPIOGetLevel");
    constexpr DWORD kProtections[] = {PAGE_NOACCESS, PAGE_READWRITE | PAGE_GUARD, PAGE_EXECUTE};
    std::vector<void*> pointers = {reinterpret_cast<void*>(8), reinterpret_cast<void*>(~7ULL),
                                   VirtualAlloc(nullptr, 4096, MEM_RESERVE, PAGE_READWRITE)};
    for (const DWORD protection : kProtections) {
        pointers.push_back(VirtualAlloc(nullptr, 4096, MEM_RESERVE | MEM_COMMIT, protection));
    }
    for (void* const pointer : pointers) {
        std::printf("%x\n", level(0, 1, pointer));
    }
    return 0;
}

int CallAndDie() {
    auto* const inp = Find<Inp>(Load(L"inpoutx64.dll"), "Inp32");
    inp(0x378);
    inp(0x379);
    inp(0xDEAD);
    return 0;
}

int CallWhatCalls() {
    auto* const inp = Find<Inp>(Load(L"inpoutx64.dll"), "Inp32");
    inp(0xCA11);
    inp(0x378);
    std::printf("done\n");
    return 0;
}

/// A call, while a program of Windows goes on.
int CallAndLeave() {
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION left{};
    std::wstring command = L"ping -n 100 127.0.0.1";
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                        nullptr, &start, &left)) {
        return 3;
    }
    Find<Inp>(Load(L"inpoutx64.dll"), "Inp32")(0x378);
    return 0;
}

int CallOften(const std::wstring& times, unsigned threads) {
    auto* const inp = Find<Inp>(Load(L"inpoutx64.dll"), "Inp32");
    const int count = std::stoi(times);
    std::vector<std::thread> callers;
    for (unsigned i = 0; i < threads; ++i) {
        callers.emplace_back([=] {
            for (int call = 0; call < count; ++call) {
                inp(static_cast<std::uint16_t>(call));
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    std::printf("done\n");
    return 0;
}

int LoadAgain() {
    for (int i = 0; i < 3; ++i) {
        const HMODULE module = Load(L"inpoutx64.dll");
        Find<Inp>(module, "Inp32")(0x378);
        FreeLibrary(module);
    }
    std::printf("done\n");
    return 0;
}

double Microseconds() {
    using namespace std::chrono;
    return duration<double, std::micro>(steady_clock::now().time_since_epoch()).count();
}

/// The time that half of all runs stay below, in µs, for two ways of doing the same in turn.
template <class One, class Other>
void PrintMedians(const char* name, One one, Other other) {
    constexpr std::size_t kRounds = 2000;
    std::vector<double> times[2];
    for (std::size_t i = 0; i < kRounds; ++i) {
        const double start = Microseconds();
        one();
        const double middle = Microseconds();
        other();
        times[0].push_back(middle - start);
        times[1].push_back(Microseconds() - middle);
    }
    for (auto& each : times) {
        std::nth_element(each.begin(), each.begin() + kRounds / 2, each.end());
    }
    std::printf("%s %.2f %.2f\n", name, times[0][kRounds / 2], times[1][kRounds / 2]);
}

/// Compares the vendors' own functions, in the folder, with those that pass through the recorder.
int Measure(const std::wstring& folder) {
    // By its name first: afterwards that name would lead to the one that is loaded already.
    const HMODULE passing[] = {Load(L"inpoutx64.dll"), Load(L"FTD2XX.dll")};
    const HMODULE ports[] = {Load(folder + L"\\inpoutx64.dll"), passing[0]};
    const HMODULE chips[] = {Load(folder + L"\\FTD2XX.dll"), passing[1]};
    const auto call = [&](int which) {
        return [inp = Find<Inp>(ports[which], "Inp32")] {
            for (int i = 0; i < 10; ++i) {
                inp(0x379);
            }
        };
    };
    PrintMedians("ten-reads", call(0), call(1));
    const auto pulse = [&](int which) {
        return [out = Find<Out>(ports[which], "Out32")] {
            out(0x37A, 0);
            Sleep(0);
            out(0x37A, 4);
        };
    };
    PrintMedians("pulse", pulse(0), pulse(1));
    void* handle = nullptr;
    Find<unsigned(int, void**)>(chips[1], "FT_Open")(1, &handle);
    const auto queue = [&](int which) {
        return
            [handle, status = Find<unsigned(void*, unsigned*)>(chips[which], "FT_GetQueueStatus")] {
                unsigned count = 0;
                for (int i = 0; i < 10; ++i) {
                    status(handle, &count);
                }
            };
    };
    PrintMedians("ten-queues", queue(0), queue(1));
    return 0;
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    const std::wstring what = count > 1 ? arguments[1] : L"";
    const std::wstring more = count > 2 ? arguments[2] : L"";
    if (what == L"odd") {
        return CallOddExports();
    }
    if (what == L"bad") {
        return PassBadPointers();
    }
    if (what == L"die") {
        return CallAndDie();
    }
    if (what == L"leave") {
        return CallAndLeave();
    }
    if (what == L"calls") {
        return CallWhatCalls();
    }
    if (what == L"often") {
        return CallOften(more, 1);
    }
    if (what == L"threads") {
        return CallOften(more, 4);
    }
    if (what == L"again") {
        return LoadAgain();
    }
    if (what == L"measure") {
        return Measure(more);
    }
    if (what == L"load") {
        Load(more);
    }
    return 5;
}
