#include "sync/shoot.h"

#include <algorithm>

namespace korvalume::shoot {

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

std::variant<std::vector<syncmap::CameraCard>, Problem>
resolveCards(const SessionDoc& doc, const std::vector<FolderChoice>& choices) {
    std::vector<syncmap::CameraCard> cards;
    for (const auto& choice : choices) {
        const auto camera = syncmap::findCamera(doc, choice.camera);
        if (!camera)
            return Problem{Problem::Kind::unknownCamera, "session '" + doc.name +
                                                             "' has no camera '" + choice.camera +
                                                             "'; its cameras: " + cameraList(doc)};
        if (camera->removed)
            return Problem{Problem::Kind::removedCamera,
                           "camera '" + camera->name + "' was removed from session '" + doc.name +
                               "'; its cameras: " + cameraList(doc)};
        const bool repeated = std::any_of(cards.begin(), cards.end(), [&](const auto& card) {
            return card.cameraID == camera->id;
        });
        if (repeated)
            return Problem{Problem::Kind::cameraTwice,
                           "camera '" + camera->name + "' was given two folders"};
        cards.push_back({camera->id, choice.folder, {}});
    }
    for (const auto& card : cards) {
        if (const auto problem = mediareader::folderProblem(card.folder))
            return Problem{Problem::Kind::unreadableFolder, card.folder + ": " + *problem};
    }
    return cards;
}

std::vector<ClipFile> readCard(const std::string& folder, const Options& options) {
    mediareader::ScanOptions scan;
    scan.readFile = options.readFile;
    if (options.progress) {
        scan.progress = [&options, &folder](const mediareader::ScanProgress& progress) {
            options.progress(folder, progress);
        };
    }
    return mediareader::clips(folder, scan);
}

Planned plan(const SessionDoc& doc, std::span<const syncmap::CameraCard> cards) {
    Planned planned{doc, syncmap::planCameras(doc, cards), {}};
    for (const auto& cameraPlan : planned.plans) {
        const auto card = std::find_if(cards.begin(), cards.end(), [&](const auto& c) {
            return c.cameraID == cameraPlan.camera.id;
        });
        planned.folders.push_back(card == cards.end() ? std::string() : card->folder);
    }
    return planned;
}

std::variant<Planned, Problem> run(const std::vector<std::string>& logs,
                                   const std::vector<FolderChoice>& choices,
                                   const Options& options) {
    const OpenedLogs opened = openLogs(logs);
    if (options.logsOpened)
        options.logsOpened(opened);
    if (!opened.doc)
        return Problem{Problem::Kind::noLog, "no session log could be opened"};
    auto resolved = resolveCards(*opened.doc, choices);
    if (auto* problem = std::get_if<Problem>(&resolved))
        return std::move(*problem);
    auto& cards = std::get<std::vector<syncmap::CameraCard>>(resolved);
    for (auto& card : cards)
        card.files = readCard(card.folder, options);
    return plan(*opened.doc, cards);
}

} // namespace korvalume::shoot
