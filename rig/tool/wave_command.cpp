#include "command_line.h"

#include <fstream>
#include <memory>

#include "recorded_wave.h"
#include "this_program.h"
#include "wave_picture.h"

namespace rig {

namespace {

using namespace wave;

constexpr const char* kFooter =
    R"(Shows every change of the lines on a compressed time axis: an interval is as wide as what is
written on it needs, so that a pulse of some microseconds stands beside one of 10 ms. The row above
the lines gives the time of each change in ms. A pulse, which is the time away from the level that a
line has first, carries its width. Events of the recording stand below the times: in those of the
rig capture, ignored (a trigger that the camera did not answer), unplug, plug, sleep, resume, fault.

    _┌─ 10 ms ─┐_   low, high, low        ░░░  unknown (x)        ╌╌╌  floating (z)
    _/- 10 ms -\_   the same in ASCII     ???                     ...)";

struct Request {
    std::string file;
    Excerpt excerpt;
    std::size_t columns = 100;
    bool ascii = false;
    std::string svg; ///< a file, or "-"; empty: none
    std::string vcd; ///< a file; empty: none
};

Recording Read(const std::string& name) {
    std::ifstream stream(PathOf(name), std::ios::binary);
    if (!stream.is_open()) {
        throw std::runtime_error(name + " cannot be opened.");
    }
    try {
        const std::string text(std::istreambuf_iterator<char>(stream), {});
        return IsOfCalls(text) ? LinesOfCalls(text) : ReadVcd(text);
    } catch (const std::ios_base::failure&) { // such as a directory, which opens
        throw std::runtime_error(name + " cannot be read.");
    } catch (const std::runtime_error& mistake) {
        throw std::runtime_error(name + ", " + mistake.what());
    }
}

void Write(const std::string& name, const std::string& text) {
    std::ofstream stream(PathOf(name), std::ios::binary);
    stream << text << std::flush;
    if (!stream) {
        throw std::runtime_error(name + " cannot be written.");
    }
}

void CheckTimes(const Excerpt& excerpt) {
    if (!(excerpt.from >= 0)) {
        throw CLI::ValidationError("--from", "time begins at 0");
    }
    if (!(excerpt.from <= excerpt.to)) {
        throw CLI::ValidationError("--to", "this is earlier than --from");
    }
}

void Run(const Request& request, std::ostream& out, std::ostream& err) {
    const Recording recording = Read(request.file);
    for (const std::string& note : recording.notes) {
        err << "note: " << note << '\n';
    }
    if (!request.vcd.empty()) {
        Write(request.vcd, VcdOf(recording));
    }
    const auto draw = [&] {
        return DrawSvg(TakePicture(recording, request.excerpt, Form::drawing));
    };
    if (request.svg == "-") {
        out << draw() << std::flush;
        return;
    }
    const Picture picture = TakePicture(recording, request.excerpt, Form::text);
    out << DrawText(picture, request.columns, request.ascii) << std::flush;
    if (!request.svg.empty()) {
        Write(request.svg, draw());
    }
}

} // namespace

void AddWaveCommand(CLI::App& app, std::ostream& out, std::ostream& err) {
    const auto request = std::make_shared<Request>();
    CLI::App& wave = *app.add_subcommand(
        "wave", "Shows the lines: of a VCD file, or of a recording of vendor calls");
    wave.footer(kFooter);
    wave.add_option("file", request->file, "The recording")->required()->type_name("FILE");
    wave.add_option("--signal", request->excerpt.signals,
                    "A line to be shown, again for each one (else all of them)")
        ->type_name("NAME")
        ->allow_extra_args(false);
    wave.add_option("--from", request->excerpt.from, "Begin at this time")->type_name("MS");
    wave.add_option("--to", request->excerpt.to, "End at this time")->type_name("MS");
    wave.add_option("--width", request->columns, "The columns of a row, 40 to 1000")
        ->type_name("COLUMNS")
        ->capture_default_str()
        ->check(CLI::Range(40, 1000).description(""));
    wave.add_flag("--ascii", request->ascii, "Draw with ASCII characters only");
    wave.add_option("--svg", request->svg,
                    "Draw it into this file too; - is standard output, without the text")
        ->type_name("FILE.svg");
    wave.add_option("--vcd", request->vcd, "Write the lines into this file too, for other programs")
        ->type_name("FILE.vcd");
    wave.callback([request, &out, &err] {
        CheckTimes(request->excerpt);
        Run(*request, out, err);
    });
}

} // namespace rig
