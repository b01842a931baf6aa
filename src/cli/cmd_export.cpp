// `korvalume export`: write the Premiere Pro timeline of a shoot.
#include "cli/command.h"
#include "cli/options.h"
#include "cli/shoot_input.h"
#include "export/premiere_xml.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace korvalume::cli {
namespace {

constexpr std::string_view exportHelp =
    R"(Usage: korvalume export LOG... --folder CAMERA=DIR [--folder CAMERA=DIR ...] [-o FILE]

Opens the session logs and reads the card folders as 'korvalume plan' does,
places every clip, and writes the Premiere Pro XML timeline (xmeml version 4):
one sequence named after the session, each camera on its own video tracks with
its sound on linked audio tracks, clips that overlap on a camera on further
tracks, and the session's markers. Clips that could not be placed are left out;
'korvalume plan' says why.

CAMERA is a camera's name, without regard to case, or its id.

The file is written whole or not at all. Prints the path written and, for each
camera, how many clips were placed.

Options:
  --folder CAMERA=DIR  the folder that CAMERA's card was copied to (repeatable)
  -o, --output FILE    where to write; by default "<session name> SYNC MAP.xml"
                       in the current folder

Examples:
  korvalume export shoot.korvalume --folder "CAM A=/Volumes/A001" --folder "SOUND A=Cards/Zoom"
  korvalume export phone-a.korvalume phone-b.korvalume --folder "cam b=Cards/B" -o timeline.xml

In Premiere Pro: File > Import, then choose the written file.

Exit codes: 0 written, 1 no log could be opened, a folder cannot be read or the
file cannot be written, 2 usage error (including a camera the session does not have).
)";

struct Options {
    std::vector<std::string> logs;
    std::vector<FolderArgument> folders;
    std::optional<std::string> output;
};

std::optional<Options> parseOptions(std::span<const std::string> args, std::ostream& err) {
    const auto parsed =
        parseArgs(args, {{{"folder"}, "a value"}, {{"o", "output"}, "a value"}}, "export", err);
    if (!parsed)
        return std::nullopt;
    Options options{parsed->positional(), {}, parsed->value("o")};
    for (const auto& text : parsed->values("folder")) {
        auto folder = parseFolder(text, "export", err);
        if (!folder)
            return std::nullopt;
        options.folders.push_back(std::move(*folder));
    }
    if (options.output && options.output->empty()) {
        err << "korvalume export: -o needs a file name\n";
        return std::nullopt;
    }
    if (options.logs.empty()) {
        err << "korvalume export: no session log given (see 'korvalume export --help')\n";
        return std::nullopt;
    }
    if (options.folders.empty()) {
        err << "korvalume export: no card folder given; use --folder CAMERA=DIR\n";
        return std::nullopt;
    }
    return options;
}

// Per camera: placed clips that are on the timeline, and those that are not.
void printCounts(const std::vector<CameraPlan>& plans, const premierexml::Document& written,
                 std::ostream& out) {
    std::size_t nameWidth = 0;
    for (const auto& plan : plans)
        nameWidth = std::max(nameWidth, plan.camera.name.size());
    std::size_t onTimeline = 0;
    for (std::size_t p = 0; p < plans.size(); ++p) {
        const auto leftOut = std::size_t(
            std::count_if(written.leftOut.begin(), written.leftOut.end(),
                          [p](const premierexml::LeftOutClip& clip) { return clip.plan == p; }));
        const std::size_t placed = plans[p].placed().size() - leftOut;
        onTimeline += placed;
        std::string name = plans[p].camera.name;
        name.resize(nameWidth, ' ');
        out << "  " << name << "  " << placed << " placed, " << plans[p].clips.size() - placed
            << " not placed\n";
    }
    if (onTimeline == 0)
        out << "No clip could be placed: the timeline is empty. 'korvalume plan' says why.\n";
}

int runExport(std::span<const std::string> args, Io& io) {
    const auto options = parseOptions(args, io.err);
    if (!options)
        return Usage;

    auto planned = planShoot(options->logs, options->folders, "export", io);
    if (const auto* failure = std::get_if<ExitCode>(&planned))
        return *failure;
    const auto& [doc, plans, folders] = std::get<shoot::Planned>(planned);
    const auto written = premierexml::build(doc, plans);
    for (const auto& clip : written.leftOut)
        io.err << "korvalume export: " << clip.path
               << ": start or length out of range; left out of the timeline\n";

    const std::string path = options->output.value_or(
        QDir::current().filePath(QString::fromStdString(premierexml::fileName(doc))).toStdString());
    if (const auto failure = premierexml::save(path, written.xml)) {
        io.err << "korvalume export: " << *failure << '\n';
        return InputProblem;
    }
    io.out << "Wrote " << QFileInfo(QString::fromStdString(path)).absoluteFilePath().toStdString()
           << '\n';
    printCounts(plans, written, io.out);
    return Done;
}

} // namespace

Command exportCommand() {
    return {
        .name = "export",
        .summary = "write the Premiere Pro XML timeline of a shoot",
        .help = exportHelp,
        .run = runExport,
    };
}

} // namespace korvalume::cli
