/// The steps of a check. They share their observations.
#pragma once

#include <chrono>

#include "check.h"
#include "questions.h"

namespace host {

using Moment = std::chrono::steady_clock::time_point;
using Milliseconds = std::chrono::duration<double, std::milli>;

class Run {
  public:
    explicit Run(const CheckHost& ofHost) : host(ofHost) {}
    ~Run();
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    CheckResult All();

    // The steps, in the order of the table in check.cpp.
    void Library(StepResult& step);
    void VendorDlls(StepResult& step);
    void Kinds(StepResult& step);
    void Chip(StepResult& step);
    void Rest(StepResult& step);
    void Ready(StepResult& step);
    void Dark(StepResult& step);
    void CameraPower(StepResult& step);
    void AccessoriesPower(StepResult& step);
    void Wake(StepResult& step);
    void Opening(StepResult& step);
    void OneCapture(StepResult& step);
    void ManyCaptures(StepResult& step);
    void ReadyFollows(StepResult& step);
    void Timing(StepResult& step);
    void Timer(StepResult& step);

  private:
    /// A line that is switched on and off and read back.
    struct Switch;

    std::optional<bool> Answered(const AskLine& ask);
    std::optional<bool> AskReady();
    /// Whether the flag is up. Reading it clears it.
    std::optional<bool> AskFlag();
    /// Whether a command succeeded; a refusal counts as lost hardware.
    bool Done(int status);

    Flag TakeFlagDown();
    /// Polls ready until it is as wanted or time is up; the last answer.
    std::optional<bool> WaitForReady(bool wanted, std::chrono::milliseconds most);
    /// Whether the camera takes a picture without a trigger.
    bool SeesPicture();
    Answers Others(const Switch& line);
    void SwitchBothWays(const Switch& line, Switched& seen, StepResult& step);
    void ReportSwitched(const Switch& line, ReadBack back, const Switched& seen, StepResult& step);
    Capture TakeCapture();
    void Watch(Capture& capture, Moment earliestEdge, Moment latestEdge);
    double Since(Moment begin) const;
    void SeeComeback(StepResult& step);

    const CheckHost& host;
    Observations seen;
    CheckResult result;
    int availability = 0;
    std::size_t linesSeen = 0; ///< lines of the log that were processed
    double findingMs = 0;      ///< time it took to find the hardware
};

} // namespace host
