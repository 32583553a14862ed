#include "placement.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "crashing_folder.h"
#include "file_content.h"

namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;

/// The files in a folder: content by name.
using Files = std::map<std::string, std::string>;

const Files kRig = {{"solvane_rig.dll", "the rig"},
                    {"FTD2XX.dll", "the rig's D2XX"},
                    {"inpoutx64.dll", "the rig's InpOut"},
                    {"EAPI_Library.dll", "the rig's EAPI"}};
const Files kHost = {{"host.exe", "a host"}, {"Solvane.dll", "the library"}};
/// A host with vendors' DLLs, one with the vendor's own upper and lower case in its name.
const Files kHostOfVendors = {{"host.exe", "a host"},
                              {"Solvane.dll", "the library"},
                              {"ftd2xx.dll", "FTDI's"},
                              {"inpoutx64.dll", "InpOut's"}};

constexpr const char* kRecord = "solvane-rig-placed.txt";
constexpr const char* kAside = "ftd2xx.dll.set-aside-by-solvane-rig";

Files With(Files files, const Files& more) {
    for (const auto& [name, content] : more) {
        files[name] = content;
    }
    return files;
}

class Placement : public testing::Test {
  protected:
    Placement() {
        Fill(rig, kRig);
        Fill(host, kHost);
    }
    ~Placement() override {
        test::Expect(test::FolderFault::Fail, 0);
        fs::remove_all(top);
    }

    static void Fill(const fs::path& folder, const Files& files) {
        fs::remove_all(folder);
        fs::create_directories(folder);
        for (const auto& [name, content] : files) {
            std::ofstream(folder / name, std::ios::binary) << content;
        }
    }

    Files InHost() const {
        Files files;
        for (const fs::directory_entry& entry : fs::directory_iterator(host)) {
            files[entry.path().filename().string()] = host::ContentOf(entry.path()).value();
        }
        return files;
    }

    Files InHostWithoutRecord() const {
        Files files = InHost();
        EXPECT_EQ(files.erase(kRecord), 1U);
        return files;
    }

    /// The output of an action, or "!" and the reason why it failed.
    std::string Say(const std::function<void(std::ostream&)>& action) const {
        std::ostringstream out;
        try {
            action(out);
            return out.str();
        } catch (const std::runtime_error& failure) {
            return out.str() + "!" + failure.what();
        }
    }
    std::string Place(bool setAside = false) const {
        return Say([&](std::ostream& out) { rig::Place(rig, host, setAside, out); });
    }
    std::string Unplace() const {
        return Say([&](std::ostream& out) { rig::Unplace(host, out); });
    }

    /// Runs an action in a process of its own that crashes at the given system call. Whether the
    /// action completed before.
    bool Survives(int call, const std::function<void()>& action) const {
        const pid_t child = fork();
        if (child == 0) {
            test::Expect(test::FolderFault::Crash, call);
            action();
            _exit(0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_THAT(WEXITSTATUS(status), testing::AnyOf(0, test::kCrashed));
        return WEXITSTATUS(status) == 0;
    }

    const fs::path top = fs::path(testing::TempDir()) /
                         (std::string("placement of ü ") +
                          testing::UnitTest::GetInstance()->current_test_info()->name());
    const fs::path rig = top / "rig";
    const fs::path host = top / "host";
};

TEST_F(Placement, PutsTheRigBesideTheHostAndTakesItAway) {
    EXPECT_EQ(Place(), "solvane-rig-placed.txt tells what is placed here.\n"
                       "solvane_rig.dll is placed.\n"
                       "FTD2XX.dll is placed.\n"
                       "inpoutx64.dll is placed.\n"
                       "EAPI_Library.dll is placed.\n");
    EXPECT_EQ(InHostWithoutRecord(), With(kHost, kRig));
    EXPECT_EQ(Unplace(), "solvane_rig.dll is removed.\n"
                         "FTD2XX.dll is removed.\n"
                         "inpoutx64.dll is removed.\n"
                         "EAPI_Library.dll is removed.\n"
                         "solvane-rig-placed.txt is removed.\n");
    EXPECT_EQ(InHost(), kHost);
}

TEST_F(Placement, CanBeDoneTwice) {
    Place();
    const Files placed = InHost();
    EXPECT_EQ(Place(), "The rig's DLLs are in " + host.string() + " already.\n");
    EXPECT_EQ(InHost(), placed);
    Unplace();
    EXPECT_EQ(Unplace(), "Nothing of the rig is placed in " + host.string() + ".\n");
    EXPECT_EQ(InHost(), kHost);
}

TEST_F(Placement, MarksTheFolderForAnybody) {
    Place();
    const std::string record = InHost().at(kRecord);
    EXPECT_THAT(record, HasSubstr("simulated camera"));
    EXPECT_THAT(record, HasSubstr("`solvane-rig unplace`"));
    for (const auto& [name, content] : kRig) {
        EXPECT_THAT(record, HasSubstr("\n" + host::Sha256(content) + "  " + name + "\n"))
            << "as sha256sum --check reads it";
    }
}

TEST_F(Placement, RefusesWhereVendorsDllsAre) {
    Fill(host, kHostOfVendors);
    EXPECT_EQ(Place(), "!" + host.string() +
                           " has its own ftd2xx.dll, inpoutx64.dll. Nothing was changed. With "
                           "--set-aside they are kept under another name until the rig is taken "
                           "away.");
    EXPECT_EQ(InHost(), kHostOfVendors);
}

TEST_F(Placement, SetsVendorsDllsAsideAndPutsThemBack) {
    Fill(host, kHostOfVendors);
    EXPECT_EQ(Place(true), "solvane-rig-placed.txt tells what is placed here.\n"
                           "solvane_rig.dll is placed.\n"
                           "ftd2xx.dll is set aside as ftd2xx.dll.set-aside-by-solvane-rig.\n"
                           "FTD2XX.dll is placed.\n"
                           "inpoutx64.dll is set aside as inpoutx64.dll.set-aside-by-solvane-rig.\n"
                           "inpoutx64.dll is placed.\n"
                           "EAPI_Library.dll is placed.\n");
    EXPECT_EQ(InHostWithoutRecord(),
              With(With(kHost, kRig),
                   {{kAside, "FTDI's"}, {"inpoutx64.dll.set-aside-by-solvane-rig", "InpOut's"}}));
    EXPECT_EQ(Unplace(), "solvane_rig.dll is removed.\n"
                         "FTD2XX.dll is removed.\n"
                         "ftd2xx.dll is back.\n"
                         "inpoutx64.dll is removed.\n"
                         "inpoutx64.dll is back.\n"
                         "EAPI_Library.dll is removed.\n"
                         "solvane-rig-placed.txt is removed.\n");
    EXPECT_EQ(InHost(), kHostOfVendors);
}

TEST_F(Placement, LeavesWhatIsTheRigsAlready) {
    const Files byHand = With(kHost, {{"inpoutx64.dll", kRig.at("inpoutx64.dll")}});
    Fill(host, byHand);
    EXPECT_THAT(Place(), testing::Not(HasSubstr("inpoutx64")));
    EXPECT_EQ(InHostWithoutRecord(), With(kHost, kRig));
    Unplace();
    EXPECT_EQ(InHost(), byHand) << "it was not placed";
}

TEST_F(Placement, ChangesToAnotherRig) {
    Fill(host, kHostOfVendors);
    Place(true);
    Fill(rig, With(kRig, {{"solvane_rig.dll", "a newer rig"}}));
    EXPECT_THAT(Place(), HasSubstr("FTD2XX.dll is placed.\n")) << "set aside once is consent";
    EXPECT_EQ(InHost().at(kAside), "FTDI's");
    EXPECT_EQ(InHost().at("solvane_rig.dll"), "a newer rig");
    Unplace();
    EXPECT_EQ(InHost(), kHostOfVendors);
}

TEST_F(Placement, LeavesWhatHasBeenChangedSince) {
    Place();
    std::ofstream(host / "FTD2XX.dll") << "a technician's";
    EXPECT_THAT(Unplace(), HasSubstr("!FTD2XX.dll has been changed since, and stays."));
    EXPECT_EQ(InHost(), With(kHost, {{"FTD2XX.dll", "a technician's"}}));
    EXPECT_THAT(Unplace(), HasSubstr("Nothing of the rig"));
}

TEST_F(Placement, KeepsTheOriginalUntilItsPlaceIsFree) {
    Fill(host, kHostOfVendors);
    Place(true);
    std::ofstream(host / "FTD2XX.dll") << "a technician's";
    EXPECT_THAT(Unplace(), HasSubstr("!FTD2XX.dll has been changed since, and stays. What was "
                                     "there before it is ftd2xx.dll.set-aside-by-solvane-rig."));
    const Files files = InHostWithoutRecord();
    EXPECT_EQ(files.at("FTD2XX.dll"), "a technician's");
    EXPECT_EQ(files.at(kAside), "FTDI's");
    EXPECT_EQ(files.at("inpoutx64.dll"), "InpOut's") << "the others are back";
    EXPECT_THAT(Place(), HasSubstr("!FTD2XX.dll has been changed since"));

    fs::remove(host / "FTD2XX.dll");
    EXPECT_EQ(Unplace(), "ftd2xx.dll is back.\nsolvane-rig-placed.txt is removed.\n");
    EXPECT_EQ(InHost(), kHostOfVendors);
}

TEST_F(Placement, TellsOfAnOriginalThatIsGone) {
    Fill(host, kHostOfVendors);
    Place(true);
    fs::remove(host / kAside);
    EXPECT_THAT(Unplace(),
                HasSubstr(std::string("!") + kAside + ", which was set aside, is gone."));
    EXPECT_EQ(InHost(), With(kHost, {{"inpoutx64.dll", "InpOut's"}}));
}

TEST_F(Placement, TouchesNothingItCannotBeSureOf) {
    Fill(host, kHostOfVendors);
    Place(true);
    fs::remove(host / kRecord);
    Files files = InHost();
    for (const std::string& told : {Unplace(), Place(true)}) {
        EXPECT_THAT(
            told,
            HasSubstr("!solvane-rig-placed.txt is gone, so that nobody knows whose these are: "));
        EXPECT_THAT(told, HasSubstr(kAside));
    }
    EXPECT_EQ(InHost(), files);

    for (const char* damage :
         {"", "# only words\n", "not a sum  FTD2XX.dll\n",
          "0000000000000000000000000000000000000000000000000000000000000000  ../host.exe\n",
          "0000000000000000000000000000000000000000000000000000000000000000  FTD2XX.dll\n"
          "# set aside: host.exe\n"}) {
        std::ofstream(host / kRecord) << damage;
        files = InHost();
        for (const std::string& told : {Unplace(), Place(true)}) {
            EXPECT_THAT(told, HasSubstr("!solvane-rig-placed.txt is damaged, so that nobody knows "
                                        "whose these are: "))
                << damage;
            EXPECT_THAT(told, HasSubstr("solvane_rig.dll")) << damage;
        }
        EXPECT_EQ(InHost(), files) << damage;
    }
}

TEST_F(Placement, ReadsARecordThatAnEditorHasSaved) {
    Place();
    std::string record = InHost().at(kRecord);
    for (std::size_t end = 0; (end = record.find('\n', end)) != std::string::npos; end += 2) {
        record.insert(end, "\r");
    }
    std::ofstream(host / kRecord, std::ios::binary) << record;
    Unplace();
    EXPECT_EQ(InHost(), kHost);
}

TEST_F(Placement, ChangesNothingWhereAnotherRigAndAVendorsDllAre) {
    Place();
    Fill(rig, With(kRig, {{"solvane_rig.dll", "a newer rig"}}));
    std::ofstream(host / "inpoutx64.dll", std::ios::binary) << "InpOut's";
    const Files before = InHost();
    EXPECT_THAT(Place(), HasSubstr(" has its own inpoutx64.dll. Nothing was changed."));
    EXPECT_EQ(InHost(), before);
}

TEST_F(Placement, RefusesFoldersThatAreNoHosts) {
    EXPECT_THAT(Say([&](std::ostream& out) { rig::Place(rig, rig, true, out); }),
                testing::EndsWith("!" + rig.string() + " is the rig's own folder."));
    EXPECT_THAT(Say([&](std::ostream& out) { rig::Place(rig, top / "none", true, out); }),
                testing::EndsWith(" is not a folder."));
    EXPECT_THAT(Say([&](std::ostream& out) { rig::Unplace(host / "host.exe", out); }),
                testing::EndsWith(" is not a folder."));
    fs::remove(rig / "FTD2XX.dll");
    EXPECT_EQ(Place(), "!" + (rig / "FTD2XX.dll").string() + " is missing.");
    EXPECT_EQ(InHost(), kHost);
}

TEST_F(Placement, ACrashAtAnyStepIsUndone) {
    for (const Files& before : {kHost, kHostOfVendors}) {
        for (int call = 1;; ++call) {
            SCOPED_TRACE(call);
            Fill(host, before);
            if (Survives(call, [&] { Place(true); })) {
                EXPECT_GE(call, 5 * 4) << "five files are made, written, flushed and renamed";
                break;
            }
            const Files crashed = InHost();
            EXPECT_THAT(Unplace(), testing::Not(HasSubstr("!")));
            EXPECT_EQ(InHost(), before);

            Fill(host, crashed);
            EXPECT_THAT(Place(true), testing::Not(HasSubstr("!")));
            EXPECT_EQ(With(InHost(), kRig), InHost());
            Unplace();
            EXPECT_EQ(InHost(), before);
        }
    }
}

TEST_F(Placement, ACrashWhileItIsUndoneIsUndone) {
    for (const Files& before : {kHost, kHostOfVendors}) {
        Fill(host, before);
        Place(true);
        const Files placed = InHost();
        int call = 1;
        for (; !Survives(call, [&] { Unplace(); }); ++call) {
            SCOPED_TRACE(call);
            EXPECT_THAT(Unplace(), testing::Not(HasSubstr("!")));
            EXPECT_EQ(InHost(), before);
            Fill(host, placed);
        }
        EXPECT_GT(call, 5) << "five files are removed";
        EXPECT_EQ(InHost(), before);
    }
}

TEST_F(Placement, AFailureAtAnyStepChangesNothing) {
    for (const Files& before : {kHost, kHostOfVendors}) {
        for (int call = 1;; ++call) {
            Fill(host, before);
            test::Expect(test::FolderFault::Fail, call);
            const std::string told = Place(true);
            if (test::CallsSeen() < call) {
                EXPECT_GE(call, 5 * 4);
                break;
            }
            EXPECT_THAT(told, HasSubstr("!" + host.string())) << "which file, and why";
            EXPECT_THAT(told, HasSubstr("Input/output error")) << call;
            EXPECT_EQ(InHost(), before) << "call " << call << ": " << told;
        }
    }
}

TEST_F(Placement, WhatCannotBeUndoneNowCanLater) {
    Fill(host, kHostOfVendors);
    Place(true);
    const Files placed = InHost();
    for (int call = 1;; ++call) {
        Fill(host, placed);
        test::Expect(test::FolderFault::Fail, call);
        const std::string told = Unplace();
        if (test::CallsSeen() < call) {
            EXPECT_GT(call, 5);
            break;
        }
        EXPECT_THAT(told, HasSubstr("!" + host.string())) << call;
        test::Expect(test::FolderFault::Fail, 0);
        EXPECT_THAT(Unplace(), testing::Not(HasSubstr("!")));
        EXPECT_EQ(InHost(), kHostOfVendors) << "call " << call;
    }
}

/// An output buffer that calls `meddle` at the first output, between two steps of an action.
struct Meddler : std::stringbuf {
    std::function<void()> meddle;

    std::streamsize xsputn(const char* text, std::streamsize size) override {
        if (meddle) {
            std::exchange(meddle, nullptr)();
        }
        return std::stringbuf::xsputn(text, size);
    }
};

TEST_F(Placement, NeverWritesOverAFileThatComesInBetween) {
    for (const auto& [before, name] :
         {std::pair(kHost, "FTD2XX.dll"), std::pair(kHostOfVendors, kAside)}) {
        Fill(host, before);
        Meddler meddler;
        meddler.meddle = [&, file = host / name] { std::ofstream(file) << "a stranger's"; };
        std::ostream out(&meddler);
        EXPECT_THROW(rig::Place(rig, host, true, out), std::runtime_error);
        const Files files = InHost();
        EXPECT_EQ(files.at(name), "a stranger's");
        for (const auto& [each, content] : before) {
            EXPECT_EQ(files.at(each), content) << name;
        }
    }
}

} // namespace
