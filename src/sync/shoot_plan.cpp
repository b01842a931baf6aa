#include "sync/shoot_plan.h"

#include "sync/sync_map.h"

#include <QString>

#include <algorithm>

namespace korvalume::syncmap {

std::optional<Camera> findCamera(const SessionDoc& doc, std::string_view nameOrID) {
    if (const auto id = Uuid::parse(nameOrID)) {
        for (const auto& camera : doc.cameras) {
            if (camera.id == *id)
                return camera;
        }
    }
    const QString wanted = QString::fromUtf8(nameOrID.data(), qsizetype(nameOrID.size()));
    const Camera* removedMatch = nullptr;
    for (const auto& camera : doc.cameras) {
        const QString name = QString::fromUtf8(camera.name.data(), qsizetype(camera.name.size()));
        if (name.compare(wanted, Qt::CaseInsensitive) != 0)
            continue;
        if (!camera.removed)
            return camera;
        if (!removedMatch)
            removedMatch = &camera;
    }
    if (removedMatch)
        return *removedMatch;
    return std::nullopt;
}

std::vector<CameraPlan> planCameras(const SessionDoc& doc, std::span<const CameraCard> cards) {
    std::vector<CameraPlan> plans;
    for (const auto& camera : doc.cameras) {
        // A camera taken out of the session is never placed, whatever card it is given.
        if (camera.removed)
            continue;
        std::vector<ClipFile> files;
        bool hasCard = false;
        for (const auto& card : cards) {
            if (card.cameraID != camera.id)
                continue;
            hasCard = true;
            files.insert(files.end(), card.files.begin(), card.files.end());
        }
        if (hasCard)
            plans.push_back(plan(camera, files, doc));
    }
    return plans;
}

} // namespace korvalume::syncmap
