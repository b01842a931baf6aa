#include "sync/shoot.h"

#include <algorithm>

namespace korvalume::Shoot {

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

std::variant<std::vector<SyncMap::CameraCard>, Problem>
resolveCards(const SessionDoc& doc, const std::vector<FolderChoice>& choices) {
    std::vector<SyncMap::CameraCard> cards;
    for (const auto& choice : choices) {
        const auto camera = SyncMap::findCamera(doc, choice.camera);
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
        if (const auto problem = MediaReader::folderProblem(card.folder))
            return Problem{Problem::Kind::unreadableFolder, card.folder + ": " + *problem};
    }
    return cards;
}

std::vector<ClipFile> readCard(const std::string& folder, const Options& options) {
    MediaReader::ScanOptions scan;
    if (options.progress) {
        scan.progress = [&options, &folder](const MediaReader::ScanProgress& progress) {
            options.progress(folder, progress);
        };
    }
    return MediaReader::clips(folder, scan);
}

Planned plan(const SessionDoc& doc, std::span<const SyncMap::CameraCard> cards) {
    Planned planned{doc, SyncMap::planCameras(doc, cards), {}};
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
    auto& cards = std::get<std::vector<SyncMap::CameraCard>>(resolved);
    for (auto& card : cards)
        card.files = readCard(card.folder, options);
    return plan(*opened.doc, cards);
}

} // namespace korvalume::Shoot
