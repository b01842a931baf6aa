// korvalume scan: reads a card folder the way the desk does and lists its clips.
#include "cli/command.h"
#include "cli/options.h"
#include "cli/shoot_input.h"
#include "media/clip_json.h"
#include "media/date_text.h"
#include "media/media_reader.h"

#include <cstdio>
#include <iomanip>
#include <ostream>
#include <sstream>

namespace korvalume::cli {
namespace {

constexpr std::string_view scanHelp =
    R"(Usage: korvalume scan DIR [--json]

Reads every clip in a card folder and its subfolders (mp4, mov, mxf, m4v, wav,
bwf; hidden files skipped) the way the desk does: Sony XML sidecars first, the
movie's own headers otherwise, WAV and BWF through their chunk headers. Files
that cannot be read are left out.

One line per clip: name, duration, frame rate, start (timecode or seconds after
midnight), creation date (UTC), model and serial, and what the file holds.

Options:
  --json   print a JSON array of clip objects instead (keys: path, name,
           duration, frames, rate, startTC, created, model, serial, width,
           height, audioChannels, slowMotion, audioOnly, sampleRate,
           startTCSeconds; absent values left out)

Examples:
  korvalume scan /Volumes/A001
  korvalume scan "Card dumps/FX6 A" --json > clips.json
)";

std::string fixed(double value, int decimals) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

std::string describe(const ClipFile& clip) {
    std::string line = clip.name();
    line += "  " + fixed(clip.duration, 3) + "s";
    line += "  " + (clip.rate ? clip.rate->label() : std::string("-"));
    if (clip.startTC)
        line += "  tc " + clip.startTC->string();
    else if (clip.startTCSeconds)
        line += "  start " + fixed(*clip.startTCSeconds, 3) + "s";
    else
        line += "  no start";
    line += "  " + (clip.created ? datetext::isoUtc(*clip.created) : std::string("-"));
    std::string device = clip.model;
    if (!clip.serial.empty())
        device += (device.empty() ? "#" : " #") + clip.serial;
    line += "  " + (device.empty() ? std::string("-") : device);
    if (clip.audioOnly)
        line += "  audio " + std::to_string(clip.audioChannels) + "ch " +
                std::to_string(clip.sampleRate) + " Hz";
    else
        line += "  video " + std::to_string(clip.width) + "x" + std::to_string(clip.height);
    if (clip.slowMotion)
        line += "  slow motion";
    return line;
}

int runScan(std::span<const std::string> args, Io& io) {
    const auto parsed = parseArgs(args, {{{"json"}}}, "scan", io.err);
    if (!parsed)
        return Usage;
    const bool json = parsed->isSet("json");
    const std::vector<std::string>& folders = parsed->positional();
    if (folders.size() != 1) {
        io.err << "korvalume scan: expected one folder (korvalume scan DIR [--json])\n";
        return Usage;
    }
    const std::string& folder = folders.front();
    if (const auto problem = mediareader::folderProblem(folder)) {
        io.err << "korvalume scan: " << folder << ": " << *problem << '\n';
        return InputProblem;
    }

    const std::vector<ClipFile> clips = readCard(folder, io);

    if (json) {
        io.out << nlohmann::json(clips).dump(2, ' ', false,
                                             nlohmann::json::error_handler_t::replace)
               << '\n';
        return Done;
    }
    for (const ClipFile& clip : clips)
        io.out << describe(clip) << '\n';
    return Done;
}

} // namespace

Command scanCommand() {
    return {
        .name = "scan",
        .summary = "list the clips of a card folder with their timing metadata",
        .help = scanHelp,
        .run = runScan,
    };
}

} // namespace korvalume::cli
