/// The four timer functions, call by call.

#include <stdexcept>

#include "on_a_driver.h"

namespace {

using namespace test;
using testing::IsEmpty;

class TimerExports : public OnADriver {};

const std::string kRunFailed = "log: Error. Solvane_RunTimer() failed with exception: ";
const std::string kSentence = "A sentence.\r\n";

// ---- Create ----

TEST_F(TimerExports, CreateOpensTheDeviceAndAsksForNoTimerYet) {
    EXPECT_EQ(Solvane_CreateTimer(&timer, 5), 0);
    EXPECT_NE(timer, 0u);
    EXPECT_EQ(TakeJournal(), Entries(kOpenDevice));
    Dispose();
}

TEST_F(TimerExports, CreateWithANullPointerIsMinusFourAndSilent) {
    EXPECT_EQ(Solvane_CreateTimer(nullptr, 5), -4);
    EXPECT_THAT(TakeJournal(), IsEmpty());
}

TEST_F(TimerExports, CreateWithoutADriverIsMinusOneWithTheSystemsSentence) {
    script.createFileError = 2;
    timer = 77;
    EXPECT_EQ(Solvane_CreateTimer(&timer, 5), -1);
    EXPECT_EQ(timer, 77u) << "untouched";
    EXPECT_EQ(TakeJournal(),
              Entries(kOpenDevice, SentenceRequest(2),
                      "log: Error. Solvane_CreateTimer() failed with exception: Error in "
                      "CreateFile: " +
                          kSentence + " (0x00000002)"));
}

TEST_F(TimerExports, CreateLooksForNoHardware) {
    Create();
    EXPECT_EQ(rig_calls(nullptr), 0u);
    Dispose();
}

// ---- Run ----

TEST_F(TimerExports, RunCreatesWaitsDeliversAndDeletes) {
    Create();
    script.answers = {Created(7), Event(0, 0x0102), Event(0)};
    stopAfter = 2;
    EXPECT_EQ(Solvane_RunTimer(timer, 0x000003E8, Receive), 0);
    EXPECT_EQ(TakeJournal(),
              Entries(CreateRequest("e8 03 00 00"), kCreateEvent, WaitRequest("07"), kWait, "event",
                      WaitRequest("07"), kWait, "event", kClose, DeleteRequest("07")));
    ASSERT_EQ(received.size(), 2u);
    EXPECT_EQ(received[0].userContext, 0x1122334455667788u);
    EXPECT_EQ(received[0].event.status, 0);
    EXPECT_EQ(received[0].event.initialStatusOk, 1);
    EXPECT_EQ(received[0].event.data0, 0x0102);
    EXPECT_EQ(received[0].event.data1, 0x2002);
    EXPECT_EQ(received[0].event.data2, 0x3003);
    EXPECT_EQ(received[0].event.data3, 0x4004);
    Dispose();
}

TEST_F(TimerExports, AnInitialStatusThatIsNotZeroShowsInEveryEvent) {
    Create();
    script.answers = {Created(7, 1), Event(0), Event(0)};
    stopAfter = 2;
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), 0);
    EXPECT_EQ(received[0].event.initialStatusOk, 0);
    EXPECT_EQ(received[1].event.initialStatusOk, 0);
    Dispose();
}

TEST_F(TimerExports, APendingWaitIsNoFailure) {
    Create();
    script.answers = {Created(7), {997, Event(0).output}};
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), 0);
    EXPECT_EQ(received.size(), 1u);
    Dispose();
}

TEST_F(TimerExports, WhatAShortReplyDoesNotFillReadsAsZero) {
    Create();
    Answer shortEvent = Event(0, 0x0102);
    shortEvent.output.resize(11);
    script.answers = {Created(7), Event(-7, 0x0908), shortEvent};
    stopAfter = 2;
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), 0);
    EXPECT_EQ(received[1].event.data0, 0x0002);
    EXPECT_EQ(received[1].event.data3, 0) << "nothing of the event before";
    Dispose();
}

TEST_F(TimerExports, AnEmptyCreateReplyIsATimerWithoutAnId) {
    Create();
    script.answers = {{0, {}}, Event(0)};
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), 0);
    EXPECT_EQ(received[0].event.initialStatusOk, 1);
    EXPECT_THAT(TakeJournal(), testing::Not(testing::Contains(DeleteRequest("00"))));
    Dispose();
}

TEST_F(TimerExports, RunWithANullHandleIsMinusFour) {
    EXPECT_EQ(Solvane_RunTimer(0, 1, nullptr), -4) << "the handle is tested before the function";
    EXPECT_EQ(TakeJournal(), Entries("log: Error. Solvane_RunTimer() got invalid timer handler. "));
}

TEST_F(TimerExports, RunWithANullFunctionIsMinusFour) {
    Create();
    EXPECT_EQ(Solvane_RunTimer(timer, 1, nullptr), -4);
    EXPECT_EQ(TakeJournal(),
              Entries("log: Error. Solvane_RunTimer() got invalid timer callback. "));
    Dispose();
}

TEST_F(TimerExports, ATimerThatTheDriverRefusesFailsTheRun) {
    Create();
    script.answers = {Failed(31)};
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), -1);
    EXPECT_EQ(TakeJournal(), Entries(CreateRequest("01 00 00 00"), SentenceRequest(31),
                                     kRunFailed + "DeviceIoControl failed to create timer: " +
                                         kSentence + " (0x0000001f)"));
    Dispose();
}

TEST_F(TimerExports, AnEventThatCannotBeCreatedFailsTheRun) {
    Create();
    script.answers = {Created(7)};
    script.createEventError = 8;
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), -1);
    EXPECT_EQ(TakeJournal(),
              Entries(CreateRequest("01 00 00 00"), kCreateEvent, SentenceRequest(8),
                      kRunFailed + "CreateEvent failed. Error: " + kSentence + " (0x00000008)"));
    EXPECT_EQ(Solvane_DisposeTimer(timer), 0);
    EXPECT_EQ(TakeJournal(), Entries(kNotStarted, DeleteRequest("07"), kClose));
}

TEST_F(TimerExports, AWaitRequestThatFailsEndsTheRun) {
    Create();
    script.answers = {Created(7), Failed(5)};
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), -1);
    EXPECT_EQ(TakeJournal(),
              Entries(CreateRequest("01 00 00 00"), kCreateEvent, WaitRequest("07"),
                      SentenceRequest(5), kClose,
                      kRunFailed + "DeviceIoControl failed: " + kSentence + " (0x00000005)"))
        << "the error is read before the event is closed";
    Dispose();
}

TEST_F(TimerExports, AWaitThatFailsEndsTheRun) {
    Create();
    for (const DWORD result : {0xFFFFFFFFu, 0x102u, 0x80u}) {
        script.answers = {Created(7), Event(0)};
        script.waitResults = {result};
        EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), -1);
        EXPECT_EQ(TakeJournal(),
                  Entries(CreateRequest("01 00 00 00"), kCreateEvent, WaitRequest("07"), kWait,
                          SentenceRequest(6), kClose,
                          kRunFailed + "Wait error: " + kSentence + " (0x00000006)"));
    }
    EXPECT_THAT(received, IsEmpty());
    Dispose();
}

/// The request is not withdrawn: the driver may write into its memory, which must not be reused.
TEST_F(TimerExports, ARequestWhoseWaitFailsMayBeAnsweredLate) {
    Create();
    script.answers = {Created(7), {997, Event(0).output}};
    script.waitResults = {0xFFFFFFFF};
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), -1);
    EXPECT_EQ(host::kernel::AbandonedRequests(), 1);
    Dispose();
    host::kernel::AnswerAbandoned();
}

TEST_F(TimerExports, ADriverTimerThatCannotBeDeletedAfterARunStaysForDisposal) {
    Create();
    script.answers = {Created(7), Event(0), Failed(31)};
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), -1);
    EXPECT_EQ(TakeJournal().back(),
              kRunFailed + "DeviceIoControl failed: " + kSentence + " (0x0000001f)");
    EXPECT_EQ(Solvane_DisposeTimer(timer), 0);
    EXPECT_EQ(TakeJournal(), Entries(kNotStarted, DeleteRequest("07"), kClose));
}

TEST_F(TimerExports, ASecondRunOverwritesTheTimerThatAFailedRunLeft) {
    Create();
    script.answers = {Created(7), Failed(5)};
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), -1);
    TakeJournal();
    script.answers = {Created(8), Event(0)};
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), 0);
    const Journal journal = TakeJournal();
    EXPECT_EQ(journal.back(), DeleteRequest("08"));
    EXPECT_THAT(journal, testing::Not(testing::Contains(DeleteRequest("07"))));
    EXPECT_EQ(Solvane_DisposeTimer(timer), 0);
    EXPECT_EQ(TakeJournal(), Entries(kNotStarted, kClose));
}

TEST_F(TimerExports, ATimerRunsAgainAfterAStop) {
    Create();
    for (int run = 0; run < 3; ++run) {
        received.clear();
        script.answers = {Created(9), Event(0)};
        EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), 0);
        EXPECT_EQ(received.size(), 1u);
    }
    Dispose();
}

TEST_F(TimerExports, AStandardExceptionOfTheHostEndsTheRun) {
    Create();
    script.answers = {Created(7), Event(0)};
    const auto throws = [](std::uint64_t, const SolvaneTimerEvent*) {
        throw std::runtime_error("the host's own");
    };
    EXPECT_EQ(Solvane_RunTimer(timer, 1, throws), -1);
    EXPECT_EQ(TakeJournal().back(), kRunFailed + "the host's own");
    EXPECT_EQ(Solvane_StopTimer(timer), -4) << "it does not run any more";
    Dispose();
}

TEST_F(TimerExports, AnyOtherExceptionPassesThroughAndLeavesNothingOpen) {
    Create();
    script.answers = {Created(7), Event(0)};
    const auto throws = [](std::uint64_t, const SolvaneTimerEvent*) { throw 42; };
    EXPECT_THROW(Solvane_RunTimer(timer, 1, throws), int);
    EXPECT_EQ(host::kernel::OpenHandles(), 1u) << "the device alone";
    EXPECT_EQ(Solvane_StopTimer(timer), -4);
    Dispose();
}

// ---- Stop ----

TEST_F(TimerExports, AStopBetweenEventsKeepsTheNextEventBack) {
    Create();
    script.answers = {Created(7), Event(0)};
    script.onWait = [] { EXPECT_EQ(Solvane_StopTimer(timer), 0); };
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), 0);
    EXPECT_THAT(received, IsEmpty());
    EXPECT_EQ(TakeJournal(), Entries(CreateRequest("01 00 00 00"), kCreateEvent, WaitRequest("07"),
                                     kWait, kClose, DeleteRequest("07")));
    Dispose();
}

/// A run can be stopped successfully as soon as its function is stored, but the stop has effect
/// only when the driver has created the timer.
TEST_F(TimerExports, AStopBeforeTheFirstWaitIsAcceptedAndLost) {
    Create();
    script.answers = {Created(7), Event(0)};
    script.onRequest = [] { EXPECT_EQ(Solvane_StopTimer(timer), 0); };
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), 0);
    EXPECT_EQ(received.size(), 1u) << "the run went on until the stop of its first event";
    Dispose();
}

TEST_F(TimerExports, AStopOfATimerThatNeverRanIsMinusFour) {
    Create();
    EXPECT_EQ(Solvane_StopTimer(timer), -4);
    EXPECT_EQ(TakeJournal(), Entries(kNotStarted));
    Dispose();
}

TEST_F(TimerExports, AStopWithANullHandleIsMinusFour) {
    EXPECT_EQ(Solvane_StopTimer(0), -4);
    EXPECT_EQ(TakeJournal(),
              Entries("log: Error. Solvane_StopTimer() got invalid timer handler. "));
}

/// A line whose delivery throws stays open, and the next text is appended to it.
TEST_F(TimerExports, AnExceptionOfTheLogFunctionInAStopIsMinusOne) {
    Create();
    std::vector<std::string> lines;
    SLV::Internal::s_logger.Install(&lines, [](void* context, const char* line) {
        auto& kept = *static_cast<std::vector<std::string>*>(context);
        kept.emplace_back(line);
        if (kept.size() == 1) {
            throw std::runtime_error("no room");
        }
    });
    EXPECT_EQ(Solvane_StopTimer(timer), -1);
    EXPECT_THAT(lines,
                testing::ElementsAre(
                    testing::EndsWith("] Error. Solvane_StopTimer() timer was not started. "),
                    testing::EndsWith("] Error. Solvane_StopTimer() timer was not started. Error. "
                                      "Solvane_StopTimer() failed with exception: no room")));
    SLV::Internal::s_logger.Install(nullptr, nullptr);
    Dispose();
}

TEST_F(TimerExports, AnyOtherExceptionOfTheLogFunctionPassesThroughAStop) {
    Create();
    SLV::Internal::s_logger.Install(nullptr, [](void*, const char*) { throw 42; });
    EXPECT_THROW(Solvane_StopTimer(timer), int);
    SLV::Internal::s_logger.Install(nullptr, nullptr);
    Dispose();
}

// ---- Dispose ----

TEST_F(TimerExports, DisposeOfATimerThatNeverRanSaysSoAndClosesTheDevice) {
    Create();
    EXPECT_EQ(Solvane_DisposeTimer(timer), 0);
    EXPECT_EQ(TakeJournal(), Entries(kNotStarted, kClose));
}

TEST_F(TimerExports, DisposeWithANullHandleNamesTheStopFunction) {
    EXPECT_EQ(Solvane_DisposeTimer(0), -4);
    EXPECT_EQ(TakeJournal(),
              Entries("log: Error. Solvane_StopTimer() got invalid timer handler. "));
}

TEST_F(TimerExports, ADeleteThatFailsInDisposalEndsTheProcess) {
    Create();
    script.answers = {Created(7), Failed(5)};
    EXPECT_EQ(Solvane_RunTimer(timer, 1, Receive), -1);
    EXPECT_DEATH(
        {
            script.answers = {Failed(31)};
            Solvane_DisposeTimer(timer);
        },
        "terminate");
    Dispose();
}

TEST_F(TimerExports, WithoutALogFunctionTheStatusesAreTheSame) {
    SLV::Internal::s_logger.Install(nullptr, nullptr);
    EXPECT_EQ(Solvane_StopTimer(0), -4);
    EXPECT_EQ(Solvane_DisposeTimer(0), -4);
    EXPECT_EQ(Solvane_RunTimer(0, 1, Receive), -4);
    script.createFileError = 2;
    EXPECT_EQ(Solvane_CreateTimer(&timer, 1), -1);
    EXPECT_THAT(TakeLog(), IsEmpty());
}

} // namespace
