// `korvalume export`: write the Premiere Pro timeline of a shoot.
#include "cli/command.h"
#include "export/premiere_xml.h"
#include "media/media_reader.h"
#include "session/log_opening.h"
#include "sync/shoot_plan.h"

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

struct FolderArgument {
    std::string camera;
    std::string folder;
};

struct Options {
    std::vector<std::string> logs;
    std::vector<FolderArgument> folders;
    std::optional<std::string> output;
};

std::optional<FolderArgument> parseFolder(const std::string& text, std::ostream& err) {
    const auto equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
        err << "korvalume export: --folder takes CAMERA=DIR, not '" << text << "'\n";
        return std::nullopt;
    }
    return FolderArgument{text.substr(0, equals), text.substr(equals + 1)};
}

// The value of an option given as "--name VALUE" or "--name=VALUE".
std::optional<std::string> optionValue(std::span<const std::string> args, std::size_t& i,
                                       std::string_view name, std::ostream& err) {
    const std::string& arg = args[i];
    if (arg.size() > name.size() && arg.starts_with(name) && arg[name.size()] == '=')
        return arg.substr(name.size() + 1);
    if (i + 1 >= args.size()) {
        err << "korvalume export: " << name << " needs a value\n";
        return std::nullopt;
    }
    return args[++i];
}

bool isOption(const std::string& arg, std::string_view name) {
    return arg == name ||
           (arg.starts_with(name) && arg.size() > name.size() && arg[name.size()] == '=');
}

std::optional<Options> parseOptions(std::span<const std::string> args, std::ostream& err) {
    Options options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (isOption(arg, "--folder")) {
            const auto text = optionValue(args, i, "--folder", err);
            const auto folder = text ? parseFolder(*text, err) : std::nullopt;
            if (!folder)
                return std::nullopt;
            options.folders.push_back(*folder);
        } else if (isOption(arg, "--output") || isOption(arg, "-o")) {
            const auto file = optionValue(args, i, arg.starts_with("--") ? "--output" : "-o", err);
            if (!file)
                return std::nullopt;
            if (file->empty()) {
                err << "korvalume export: " << arg << " needs a file name\n";
                return std::nullopt;
            }
            options.output = *file;
        } else if (arg == "--") {
            options.logs.insert(options.logs.end(), args.begin() + std::ptrdiff_t(i) + 1,
                                args.end());
            break;
        } else if (arg.size() > 1 && arg[0] == '-') {
            err << "korvalume export: unknown option '" << arg << "'\n";
            return std::nullopt;
        } else {
            options.logs.push_back(arg);
        }
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

std::string cameraList(const SessionDoc& doc) {
    std::string list;
    for (const auto& camera : doc.cameras) {
        if (!list.empty())
            list += ", ";
        list += camera.name;
    }
    return list.empty() ? "none" : list;
}

std::vector<ClipFile> readCard(const std::string& folder, Io& io) {
    MediaReader::ScanOptions options;
    if (io.errIsTerminal) {
        options.progress = [&io, &folder](const MediaReader::ScanProgress& progress) {
            io.err << "\rreading " << folder << ": " << progress.filesDone << "/"
                   << progress.filesTotal << " files\x1b[K" << std::flush;
        };
    }
    auto clips = MediaReader::clips(folder, options);
    if (io.errIsTerminal)
        io.err << "\r\x1b[K" << std::flush;
    return clips;
}

// Per camera: placed clips that are on the timeline, and those that are not.
void printCounts(const std::vector<CameraPlan>& plans, const PremiereXML::Document& written,
                 std::ostream& out) {
    std::size_t nameWidth = 0;
    for (const auto& plan : plans)
        nameWidth = std::max(nameWidth, plan.camera.name.size());
    std::size_t onTimeline = 0;
    for (std::size_t p = 0; p < plans.size(); ++p) {
        const auto leftOut = std::size_t(
            std::count_if(written.leftOut.begin(), written.leftOut.end(),
                          [p](const PremiereXML::LeftOutClip& clip) { return clip.plan == p; }));
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

    const OpenedLogs opened = openLogs(options->logs);
    for (const auto& message : opened.messages) {
        io.err << message.text;
        if (!message.detail.empty())
            io.err << " (" << message.detail << ")";
        io.err << '\n';
    }
    if (!opened.doc) {
        io.err << "korvalume export: no session log could be opened\n";
        return InputProblem;
    }
    const SessionDoc& doc = *opened.doc;

    std::vector<SyncMap::CameraCard> cards;
    for (const auto& argument : options->folders) {
        const auto camera = SyncMap::findCamera(doc, argument.camera);
        if (!camera) {
            io.err << "korvalume export: session '" << doc.name << "' has no camera '"
                   << argument.camera << "'; its cameras: " << cameraList(doc) << '\n';
            return Usage;
        }
        const bool repeated = std::any_of(cards.begin(), cards.end(), [&](const auto& card) {
            return card.cameraID == camera->id;
        });
        if (repeated) {
            io.err << "korvalume export: camera '" << camera->name << "' was given two folders\n";
            return Usage;
        }
        cards.push_back({camera->id, argument.folder, {}});
    }
    for (const auto& card : cards) {
        if (const auto problem = MediaReader::folderProblem(card.folder)) {
            io.err << "korvalume export: " << card.folder << ": " << *problem << '\n';
            return InputProblem;
        }
    }
    for (auto& card : cards)
        card.files = readCard(card.folder, io);

    const auto plans = SyncMap::planCameras(doc, cards);
    const auto written = PremiereXML::build(doc, plans);
    for (const auto& clip : written.leftOut)
        io.err << "korvalume export: " << clip.path
               << ": start or length out of range; left out of the timeline\n";

    const std::string path = options->output.value_or(
        QDir::current().filePath(QString::fromStdString(PremiereXML::fileName(doc))).toStdString());
    if (const auto failure = PremiereXML::save(path, written.xml)) {
        io.err << "korvalume export: " << *failure << '\n';
        return InputProblem;
    }
    io.out << "Wrote " << QFileInfo(QString::fromStdString(path)).absoluteFilePath().toStdString()
           << '\n';
    printCounts(plans, written, io.out);
    return Done;
}

const CommandRegistration registration{{
    .name = "export",
    .summary = "write the Premiere Pro XML timeline of a shoot",
    .help = exportHelp,
    .run = runExport,
}};

} // namespace
} // namespace korvalume::cli
