#include "cli/shoot_input.h"

#include "media/media_reader.h"
#include "sync/shoot_plan.h"

#include <algorithm>
#include <ostream>

namespace korvalume::cli {

bool isOption(const std::string& arg, std::string_view name) {
    return arg == name ||
           (arg.size() > name.size() && arg.starts_with(name) && arg[name.size()] == '=');
}

std::optional<std::string> optionValue(std::span<const std::string> args, std::size_t& i,
                                       std::string_view name, std::string_view command,
                                       std::ostream& err) {
    const std::string& arg = args[i];
    if (arg.size() > name.size() && arg.starts_with(name) && arg[name.size()] == '=')
        return arg.substr(name.size() + 1);
    if (i + 1 >= args.size()) {
        err << "korvalume " << command << ": " << name << " needs a value\n";
        return std::nullopt;
    }
    return args[++i];
}

std::optional<FolderArgument> parseFolder(const std::string& text, std::string_view command,
                                          std::ostream& err) {
    const auto equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
        err << "korvalume " << command << ": --folder takes CAMERA=DIR, not '" << text << "'\n";
        return std::nullopt;
    }
    return FolderArgument{text.substr(0, equals), text.substr(equals + 1)};
}

void printLogMessages(const OpenedLogs& opened, std::ostream& err) {
    for (const auto& message : opened.messages) {
        err << message.text;
        if (!message.detail.empty())
            err << " (" << message.detail << ")";
        err << '\n';
    }
}

std::vector<ClipFile> readCard(const std::string& folder, Io& io) {
    const bool showProgress = io.errIsTerminal && !io.quiet;
    MediaReader::ScanOptions options;
    if (showProgress) {
        options.progress = [&io, &folder](const MediaReader::ScanProgress& progress) {
            io.err << "\rreading " << folder << ": " << progress.filesDone << "/"
                   << progress.filesTotal << " files\x1b[K" << std::flush;
        };
    }
    auto clips = MediaReader::clips(folder, options);
    if (showProgress)
        io.err << "\r\x1b[K" << std::flush;
    return clips;
}

namespace {

std::string cameraList(const SessionDoc& doc) {
    std::string list;
    for (const auto& camera : doc.cameras) {
        if (!list.empty())
            list += ", ";
        list += camera.name;
    }
    return list.empty() ? "none" : list;
}

} // namespace

std::variant<Shoot, ExitCode> planShoot(const std::vector<std::string>& logs,
                                        const std::vector<FolderArgument>& folders,
                                        std::string_view command, Io& io) {
    const OpenedLogs opened = openLogs(logs);
    printLogMessages(opened, io.err);
    if (!opened.doc) {
        io.err << "korvalume " << command << ": no session log could be opened\n";
        return InputProblem;
    }
    const SessionDoc& doc = *opened.doc;

    std::vector<SyncMap::CameraCard> cards;
    for (const auto& argument : folders) {
        const auto camera = SyncMap::findCamera(doc, argument.camera);
        if (!camera) {
            io.err << "korvalume " << command << ": session '" << doc.name << "' has no camera '"
                   << argument.camera << "'; its cameras: " << cameraList(doc) << '\n';
            return Usage;
        }
        const bool repeated = std::any_of(cards.begin(), cards.end(), [&](const auto& card) {
            return card.cameraID == camera->id;
        });
        if (repeated) {
            io.err << "korvalume " << command << ": camera '" << camera->name
                   << "' was given two folders\n";
            return Usage;
        }
        cards.push_back({camera->id, argument.folder, {}});
    }
    // Every folder is checked before any is read, so a typo fails at once.
    for (const auto& card : cards) {
        if (const auto problem = MediaReader::folderProblem(card.folder)) {
            io.err << "korvalume " << command << ": " << card.folder << ": " << *problem << '\n';
            return InputProblem;
        }
    }
    for (auto& card : cards)
        card.files = readCard(card.folder, io);

    Shoot shoot{doc, SyncMap::planCameras(doc, cards), {}};
    for (const auto& plan : shoot.plans) {
        const auto card = std::find_if(cards.begin(), cards.end(),
                                       [&](const auto& c) { return c.cameraID == plan.camera.id; });
        shoot.folders.push_back(card == cards.end() ? std::string() : card->folder);
    }
    return shoot;
}

} // namespace korvalume::cli
