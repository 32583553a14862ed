#include "boards.h"

#include <cstdio>

#include "solvane_eapi.h"
#include "solvane_kontron.h"

namespace test {

using namespace SLV::Internal;

namespace {

std::string Hexadecimal(unsigned number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", number);
    return text;
}

/// How often a kind of step comes before and with step `index`.
std::uint32_t Ordinal(const Steps& steps, std::size_t index, bool (*counts)(const Step&)) {
    return static_cast<std::uint32_t>(
        std::count_if(steps.begin(), steps.begin() + static_cast<long>(index) + 1, counts));
}

void AddFault(const char* function, std::uint32_t call, std::uint32_t status) {
    const rig_fault fault{function, rig_calls(function) + call, 1, RIG_FAULT_STATUS, status, 0};
    ASSERT_EQ(rig_add_fault(&fault), 0) << function;
}

class EapiBoard final : public Board {
  public:
    std::string Scenario() const override { return kEapiCamera; }

    std::unique_ptr<SolvaneMoBo> Make(Logger& logger) override {
        levels = 1U << Ready_Pin | 1U << Mep_Pin | 1U << Clear_Mep_Pin;
        return std::make_unique<SolvaneEApi>(logger);
    }

    Journal Configuration() override {
        Journal journal{"EApiLibInitialize() -> 0x0", "EApiGPIOGetCount() -> 0x0, 8"};
        for (const char* const direction : {"0, 1, 0", "1, 1, 1", "2, 1, 1", "3, 1, 0", "4, 1, 0",
                                            "5, 1, 0", "6, 1, 0", "7, 1, 1"}) {
            journal.push_back("EApiGPIOSetDirection(" + std::string(direction) + ") -> 0x0");
        }
        return journal;
    }

    void Plan(const Steps& steps, bool) override {
        for (std::size_t i = 0; i < steps.size(); ++i) {
            if (steps[i].fails && steps[i].kind == Step::Kind::Get) {
                AddFault("EApiGPIOGetLevel", Ordinal(steps, i, IsGet), 0xFFFF'FAFF);
            } else if (steps[i].fails) {
                AddFault("EApiGPIOSetLevel", Ordinal(steps, i, IsSet), 0xFFFF'FAFE);
            }
        }
    }

    Journal Expected(const Steps& steps) override {
        Journal journal;
        for (const Step& step : steps) {
            const std::string id = std::to_string(step.pin);
            if (step.kind == Step::Kind::Entry) {
                journal.push_back(step.entry);
            } else if (step.kind == Step::Kind::Get && step.fails) {
                journal.push_back("EApiGPIOGetLevel(" + id + ", 1) -> 0xfffffaff");
                journal.push_back(Log("[EAPI]: EApiGPIOGetLevel error 0xfffffaff"));
            } else if (step.kind == Step::Kind::Get) {
                journal.push_back("EApiGPIOGetLevel(" + id + ", 1) -> 0x0, " +
                                  std::to_string(levels >> step.pin & 1));
            } else {
                const std::string call =
                    "EApiGPIOSetLevel(" + id + ", 1, " + std::to_string(step.level) + ") -> ";
                if (step.fails) {
                    journal.push_back(call + "0xfffffafe");
                    journal.push_back(Log("[EAPI]: EApiGPIOSetLevel error 0xfffffafe"));
                } else {
                    journal.push_back(call + "0x0");
                    Write(step.pin, step.level);
                }
            }
        }
        return journal;
    }

    std::string Log(const std::string& text) override { return "log: " + text; }
    unsigned PowerOn() const override { return 0; }
    std::uint16_t& AccessoriesFlag() override { return moboAccessoriesPowerFlag; }

  private:
    static bool IsGet(const Step& step) { return step.kind == Step::Kind::Get; }
    static bool IsSet(const Step& step) { return step.kind == Step::Kind::Set; }
};

/// A pin access is an access of the data register, and every access ends with its value.
class SuperIoBoard final : public Board {
  public:
    std::string Scenario() const override { return kSuperIoCamera; }

    std::unique_ptr<SolvaneMoBo> Make(Logger& logger) override {
        levels = 0xEE;
        dots.clear();
        return std::make_unique<SolvaneKontron>(logger);
    }

    Journal Configuration() override {
        cached = 0xEE;
        return Entries("IsInpOutDriverOpen() -> 1", "Out32(0x2e, 0x87)", "Out32(0x2e, 0x87)") +
               Read(0x20, 0xC4) + Read(0x21, 0x52) +
               Entries("Out32(0x2e, 0x87)", "Out32(0x2e, 0x87)") +
               Entries("Out32(0x2e, 0x7)", "Out32(0x2f, 0x7)") + Read(0x30, 0xFF) +
               Read(0xEC, 0xFF) + Read(0xED, 0xEE) + Read(0xEE, 0) + Read(0xEF, 0) +
               Entries("Out32(0x2e, 0xec)", "Out32(0x2f, 0x86)") + Read(0xEC, 0x86) +
               Entries("Out32(0x2e, 0xed)", "Out32(0x2f, 0xee)") + Read(0xED, 0xEE) +
               Entries("Out32(0x2e, 0xed)", "Out32(0x2f, 0xee)") + Read(0xED, 0xEE) +
               Entries(Log("[KTRN]: initialization succeeded!"),
                       Log("[KTRN]: State: trg-RDY-MEP-CLR-drk-APW-CPW-PWS"));
    }

    void Plan(const Steps& steps, bool afterConfiguration) override {
        const std::uint32_t before = afterConfiguration ? kReadsOfConfiguration : 0;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            if (steps[i].fails) {
                AddFault("Inp32", before + Ordinal(steps, i, IsAccess), kNoByte);
            }
        }
    }

    Journal Expected(const Steps& steps) override {
        Journal journal;
        for (const Step& step : steps) {
            if (step.kind == Step::Kind::Entry) {
                journal.push_back(step.entry);
            } else if (step.kind == Step::Kind::Get) {
                journal = std::move(journal) + ExpectedGet(step);
            } else {
                journal = std::move(journal) + ExpectedSet(step);
            }
        }
        return journal;
    }

    std::string Log(const std::string& text) override {
        return "log: " + std::exchange(dots, "") + text;
    }
    unsigned PowerOn() const override { return 1; }
    std::uint16_t& AccessoriesFlag() override { return kontronAccessoriesPowerFlag; }

  private:
    static constexpr unsigned kNoByte = 0x1EE; ///< more than a register can hold
    static constexpr std::uint32_t kReadsOfConfiguration = 10;

    static bool IsAccess(const Step& step) { return step.kind != Step::Kind::Entry; }

    static Journal Read(unsigned index, unsigned value) {
        return {"Out32(0x2e, " + Hexadecimal(index) + ")", "Inp32(0x2f) -> " + Hexadecimal(value)};
    }

    Journal ExpectedGet(const Step& step) {
        if (step.fails) {
            return Read(0xED, kNoByte);
        }
        const Journal access = Read(0xED, levels);
        if (cached == levels) {
            dots += '.';
            return access;
        }
        cached = levels;
        return access + Entries(Log("[KTRN]: <<< " + Picture()));
    }

    Journal ExpectedSet(const Step& step) {
        const unsigned mask = 1U << step.pin;
        const unsigned value = step.level != 0 ? cached | mask : cached & ~mask;
        Journal journal{"Out32(0x2e, 0xed)", "Out32(0x2f, " + Hexadecimal(value) + ")"};
        WriteOutputs(value);
        journal = std::move(journal) + Read(0xED, step.fails ? kNoByte : levels);
        if (!step.fails) {
            cached = levels;
        } else if (step.level != 0) {
            journal.push_back(Log("[KTRN]: SetPin() failed to write to I/O register."));
        } else {
            journal.push_back(Log("[KTRN]: ClearPin() failed to write to I/O register."));
        }
        journal.push_back(Log("[KTRN]: >>> " + Picture()));
        return journal;
    }

    /// The whole register is written: an output that an earlier failed access changed is put back.
    void WriteOutputs(unsigned value) {
        for (const PinId pin :
             {Clear_Mep_Pin, ForceDark_Pin, PowerDown3_Pin, PowerDown2_Pin, Trigger_Pin}) {
            if ((levels >> pin & 1) != (value >> pin & 1)) {
                Write(pin, value >> pin & 1);
            }
        }
    }

    std::string Picture() const {
        const char* const tokens[][2] = {{"trg-", "TRG-"}, {"rdy-", "RDY-"}, {"mep-", "MEP-"},
                                         {"clr-", "CLR-"}, {"drk-", "DRK-"}, {"apw-", "APW-"},
                                         {"cpw-", "CPW-"}, {"pws", "PWS"}};
        std::string text;
        for (unsigned pin = 0; pin < 8; ++pin) {
            text += tokens[pin][cached >> pin & 1];
        }
        return text;
    }

    unsigned cached = 0; ///< what the controller has read last
    std::string dots;
};

} // namespace

Step Get(PinId pin) {
    return {Step::Kind::Get, pin, 0, "", false};
}

Step Set(PinId pin, unsigned level) {
    return {Step::Kind::Set, pin, level, "", false};
}

Step Do(const std::string& entry) {
    return {Step::Kind::Entry, Trigger_Pin, 0, entry, false};
}

Step Failing(Step step) {
    step.fails = true;
    return step;
}

void Board::SetInputs(bool ready, bool latched) {
    const unsigned inputs = (ready ? 1U << Ready_Pin : 0) | (latched ? 0 : 1U << Mep_Pin);
    levels = (levels & ~(1U << Ready_Pin | 1U << Mep_Pin)) | inputs;
}

void Board::Write(PinId pin, unsigned level) {
    const unsigned mask = 1U << pin;
    levels = level != 0 ? levels | mask : levels & ~mask;
    if (pin == Trigger_Pin && level == 1) {
        levels &= ~(1U << Ready_Pin); // the camera exposes, or was not ready
    }
    if (pin == Clear_Mep_Pin && level == 0) {
        levels |= 1U << Mep_Pin;
    }
    if (pin == PowerDown2_Pin) {
        levels = level != 0 ? levels | 1U << PowerDown2Status_Pin
                            : levels & ~(1U << PowerDown2Status_Pin);
        if (level != PowerOn()) {
            levels &= ~(1U << Ready_Pin);
        }
    }
}

std::unique_ptr<Board> MakeEapiBoard() {
    return std::make_unique<EapiBoard>();
}

std::unique_ptr<Board> MakeSuperIoBoard() {
    return std::make_unique<SuperIoBoard>();
}

} // namespace test
