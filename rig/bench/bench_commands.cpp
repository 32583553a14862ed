#include "bench_commands.h"
#include "rig_state.h"
namespace rig::bench {
CommandAnswer PerformCommand(const Command& command) {
    const auto& w = command.words;
    const auto ask = [](RigFunction f, std::uint64_t a = 0, std::uint64_t b = 0) {
        return AnswerHere(RigQuestion{f, {a, b}, {}});
    };
    if (w[0] == "plug" || w[0] == "unplug") {
        return {ask(RigFunction::SetPlugged, std::stoul(w.at(1)), w[0] == "plug").number == 0 ? 0U
                                                                                              : 1U,
                ""};
    }
    if (w[0] == "captures") {
        return {0, std::to_string(ask(RigFunction::Captures).number) + "\n"};
    }
    if (w[0] == "journal") {
        std::string text;
        Access rig;
        rig->trace.journal.LinesSince(0, text);
        return {0, text};
    }
    return {2, "?"};
}
} // namespace rig::bench
