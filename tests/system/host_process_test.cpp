/// The real DLL in odd processes of hosts: calls from inside the log, a second copy, another locale
/// and time zone, a small stack.

#include <algorithm>
#include <clocale>
#include <ctime>
#include <filesystem>
#include <functional>
#include <locale>
#include <optional>

#include "library_fixture.h"
#include "stack_use.h"

namespace {

using namespace test;
using testing::IsEmpty;
using testing::Not;

// ---- Calls from inside the log function ----

class InsideLog : public OnTheRig {
  protected:
    /// The status of a trigger on a configured chip, with a nested call in its first line.
    std::int16_t TriggerWith(std::function<void()> what) {
        // Its exposure does not end before a busy machine has looked at the edges.
        Load(std::string("[camera]\nexposure_ms = 100000\n") + kUsbCamera);
        EXPECT_EQ(library.RecheckStatus(), 0);
        TakeEdges();
        inside = std::move(what);
        ListenInside();
        const std::int16_t status = library.TriggerCapture();
        library.SetLogger(nullptr, nullptr);
        return status;
    }
    void ListenInside() {
        library.SetLogger(this, [](void* context, const char* line) {
            auto& self = *static_cast<InsideLog*>(context);
            const std::string before = line;
            if (auto once = std::exchange(self.inside, nullptr)) {
                once();
            }
            EXPECT_EQ(before, line) << "it changed under its reader";
        });
    }

    std::function<void()> inside;
};

/// A sample of the native proofs.
TEST_F(InsideLog, FunctionsWork) {
    const std::vector<std::string> trigger{"trigger 1", "ready 0", "trigger 0"};
    const auto ignore = [](std::uint64_t, const SolvaneTimerEvent*) {};
    SolvaneTimerHandle timer = 0;
    const std::function<void()> harmless[] = {
        [&] { ListenInside(); },
        [&] { library.SetLogger(nullptr, nullptr); },
        [&] { EXPECT_EQ(library.CreateTimer(&timer, 0), -1); }, // no driver
        [&] { EXPECT_EQ(library.RunTimer(0, 1, ignore), -4); },
        [&] { EXPECT_EQ(library.StopTimer(0), -4); },
        [&] { EXPECT_EQ(library.DisposeTimer(0), -4); },
        [&] { EXPECT_EQ(library.CheckAvailable(), 0); },
        [&] {
            std::int16_t power = 0;
            EXPECT_EQ(library.CheckCameraPower(&power), 0);
            EXPECT_EQ(power, 1);
        },
        [&] { EXPECT_EQ(library.ResetComPort(), 0); },
    };
    for (const auto& what : harmless) {
        SCOPED_TRACE(&what - harmless);
        EXPECT_EQ(TriggerWith(what), 0);
        EXPECT_EQ(TakeEdges(), trigger);
        EXPECT_EQ(rig_captures(), 1u);
    }
}

TEST_F(InsideLog, ClosingTheChipInATriggerLeavesItsLineHigh) {
    EXPECT_EQ(TriggerWith([&] { EXPECT_EQ(library.CloseDevice(), 0); }), -2);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 1);
    EXPECT_EQ(library.RecheckStatus(), 0);
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
}

// ---- Two copies ----

/// Another Solvane.dll in a folder of its own.
class SecondCopy {
  public:
    SecondCopy() : folder(std::filesystem::temp_directory_path() / "second-solvane") {
        std::filesystem::create_directories(folder);
        const std::string path = (folder / "Solvane.dll").string();
        EXPECT_TRUE(CopyFileA(LibraryPath().c_str(), path.c_str(), FALSE));
        library.emplace(path);
    }
    ~SecondCopy() {
        library.reset();
        std::filesystem::remove_all(folder);
    }
    SecondCopy(const SecondCopy&) = delete;
    SecondCopy& operator=(const SecondCopy&) = delete;

    LoadedLibrary* operator->() { return &*library; }

  private:
    std::filesystem::path folder;
    std::optional<LoadedLibrary> library;
};

class TwoCopies : public OnTheRig {};

TEST_F(TwoCopies, AreTwoPrograms) {
    Listen();
    ASSERT_EQ(library.CheckAvailable(), 0);
    TakeLines();
    TakeEdges();
    {
        SecondCopy second;
        ASSERT_NE(second->Module(), library.Module());
        EXPECT_EQ(second->CheckAvailable(), -3) << "the first one has the chip open";
        EXPECT_THAT(TakeLines(), IsEmpty()) << "each has its own log function";
        EXPECT_THAT(TakeEdges(), IsEmpty());
        EXPECT_EQ(library.TriggerCapture(), 0);

        EXPECT_EQ(library.CloseDevice(), 0);
        EXPECT_EQ(second->CheckAvailable(), 0);
        EXPECT_EQ(library.CheckAvailable(), -3) << "now the second one has it";
    }
    EXPECT_EQ(library.CheckAvailable(), 0) << "which let go of it when it was unloaded";
    EXPECT_EQ(rig_level(RIG_TRIGGER), 0);
}

// ---- Settings of the whole process ----

struct Grouping : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\1"; }
};

class ProcessSettings : public OnTheRig {
  protected:
    ~ProcessSettings() override {
        std::locale::global(std::locale::classic());
        std::setlocale(LC_ALL, "C");
    }

    std::vector<std::string> LinesOfSelection(const char* scenario) {
        Load(scenario);
        library.RecheckStatus(); // the controller before logs its end
        TakeTexts();
        library.RecheckStatus();
        library.StopTimer(0);
        SolvaneTimerHandle timer = 0;
        library.CreateTimer(&timer, 0);
        return TakeTexts();
    }
};

TEST_F(ProcessSettings, NoLocaleChangesALine) {
    Listen();
    for (const char* const kind : {kUsbCamera, kEapiCamera, kSuperIoCamera, kLptCamera}) {
        std::setlocale(LC_ALL, "C");
        const std::vector<std::string> plain = LinesOfSelection(kind);
        ASSERT_THAT(plain, Not(IsEmpty()));
        ASSERT_NE(std::setlocale(LC_ALL, "German"), nullptr);
        ASSERT_STREQ(std::localeconv()->decimal_point, ",");
        const std::locale before =
            std::locale::global(std::locale(std::locale::classic(), new Grouping));
        EXPECT_EQ(LinesOfSelection(kind), plain);
        std::locale::global(before);
    }
}

int HourOf(const std::string& line) {
    return std::atoi(line.c_str() + 1);
}

/// Stamps follow the time zone of the process's C library, from the next second on.
TEST_F(ProcessSettings, AnotherTimeZoneShowsInTheNextSecond) {
    struct Zone {
        Zone(const char* name) { Set(name); }
        ~Zone() { Set(""); }
        static void Set(const char* name) {
            _putenv_s("TZ", name);
            _tzset();
        }
    } const utc("UTC0");
    Listen();
    const auto hour = [&] {
        library.StopTimer(0);
        return HourOf(TakeLines().back());
    };
    const auto utcHour = [] { return static_cast<int>(std::time(nullptr) / 3600 % 24); };
    const int before = utcHour();
    const int stamped = hour();
    Zone::Set("ABC-5");
    Sleep(1100);
    const int stampedEast = hour();
    if (utcHour() != before) {
        GTEST_SKIP() << "an hour passed";
    }
    EXPECT_EQ(stamped, before);
    EXPECT_EQ(stampedEast, (before + 5) % 24);
}

// ---- A small stack ----

class SmallStack : public OnTheRig {};

/// On Windows the needs of the vendors' libraries and of COM are added.
TEST_F(SmallStack, IsEnoughForEveryFunction) {
    Listen();
    std::size_t most = 0;
    const auto measure = [&](const char* name, const std::function<void()>& call) {
        const std::size_t bytes = StackUseOf(call);
        EXPECT_LE(bytes, kMostOfAFunction) << name;
        most = std::max(most, bytes);
    };
    for (const char* const kind : {kUsbCamera, kEapiCamera, kSuperIoCamera, kLptCamera}) {
        Load(kind);
        measure("RecheckStatus", [&] { EXPECT_EQ(library.RecheckStatus(), 0); });
        std::int16_t answer = 0;
#define SOLVANE_COMMAND(name, ...) measure(#name, [&] { EXPECT_EQ(library.name(), 0); });
#define SOLVANE_QUESTION(name, ...) measure(#name, [&] { EXPECT_EQ(library.name(&answer), 0); });
#define SOLVANE_ORDER(name, ...) measure(#name, [&] { library.name(); });
        SOLVANE_CONTROLLER_OPERATIONS(SOLVANE_COMMAND, SOLVANE_QUESTION)
        SOLVANE_CHOOSING_OPERATIONS(SOLVANE_COMMAND, SOLVANE_ORDER)
#undef SOLVANE_COMMAND
#undef SOLVANE_QUESTION
#undef SOLVANE_ORDER
    }
    SolvaneTimerHandle timer = 0;
    measure("CreateTimer", [&] { EXPECT_EQ(library.CreateTimer(&timer, 0), -1); }); // no driver
    std::printf("%zu bytes of stack at most\n", most);
}

} // namespace
