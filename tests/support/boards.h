/// The two mainboards, and what each of them is asked when the controller reads or drives a pin, as
/// the journal shows it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "on_the_rig.h"
#include "solvane_mobo.h"

namespace test {

/// A pin access, or another entry of the journal.
struct Step {
    enum class Kind { Get, Set, Entry };

    Kind kind;
    SLV::Internal::PinId pin = SLV::Internal::Trigger_Pin;
    unsigned level = 0; ///< that is written; a read takes what the board has
    std::string entry;
    bool fails = false;
};

using Steps = std::vector<Step>;

Step Get(SLV::Internal::PinId pin);
Step Set(SLV::Internal::PinId pin, unsigned level);
Step Do(const std::string& entry);
Step Failing(Step step);

/// A mainboard on the rig. It follows what the controller does to the pins, so that it knows what
/// the next access must look like.
class Board {
  public:
    virtual ~Board() = default;

    virtual std::string Scenario() const = 0;
    virtual std::unique_ptr<SLV::Internal::SolvaneMoBo> Make(SLV::Internal::Logger& logger) = 0;

    /// What a successful first Configure() leaves in the journal, and Configure() once more.
    virtual Journal Configuration() = 0;

    /// Has the failing steps fail when the controller takes them, right away or after a first
    /// Configure().
    virtual void Plan(const Steps& steps, bool afterConfiguration = false) = 0;

    /// What the steps leave in the journal.
    virtual Journal Expected(const Steps& steps) = 0;

    /// Log lines put their text behind the dots of the polls before.
    virtual std::string Log(const std::string& text) = 0;

    virtual unsigned PowerOn() const = 0;
    unsigned PowerOff() const { return 1 - PowerOn(); }

    /// The last accessories command of this board's polarity.
    virtual std::uint16_t& AccessoriesFlag() = 0;

    /// The pins' levels that the controller has not set: the camera's.
    void SetInputs(bool ready, bool latched);

  protected:
    /// What a written pin makes of the pins that the camera drives.
    void Write(SLV::Internal::PinId pin, unsigned level);

    unsigned levels = 0; ///< bit n is pin n, as it really is
};

std::unique_ptr<Board> MakeEapiBoard();
std::unique_ptr<Board> MakeSuperIoBoard();

} // namespace test
