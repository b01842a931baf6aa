#include "desk/card_planner.h"

#include "base/qt_text.h"
#include "desk/session_document.h"
#include "media/media_reader.h"
#include "sync/shoot.h"
#include "sync/sync_map.h"

#include <QFutureWatcher>
#include <QtConcurrent>

#include <algorithm>

namespace korvalume {

namespace {

const Camera* findCamera(const SessionDoc& doc, const Uuid& cameraID) {
    const auto found = std::find_if(doc.cameras.begin(), doc.cameras.end(),
                                    [&](const Camera& camera) { return camera.id == cameraID; });
    return found == doc.cameras.end() ? nullptr : &*found;
}

std::vector<ClipFile> filesOf(const CameraPlan& plan) {
    std::vector<ClipFile> files;
    files.reserve(plan.clips.size());
    for (const auto& clip : plan.clips)
        files.push_back(clip.file);
    return files;
}

} // namespace

CardPlanner::CardPlanner(const SessionDocument& document, QObject* parent)
    : QObject(parent), document_(document),
      fileReads_(std::make_shared<FileCache<std::optional<ClipFile>>>()) {
    connect(&document_, &SessionDocument::replaced, this, &CardPlanner::clear);
    connect(&document_, &SessionDocument::changed, this, &CardPlanner::follow);
}

CardPlanner::~CardPlanner() = default;

std::optional<std::string> CardPlanner::folder(const Uuid& cameraID) const {
    const auto found = folders_.find(cameraID);
    return found == folders_.end() ? std::nullopt : std::optional(found->second);
}

QStringList CardPlanner::readingIDs() const {
    QStringList ids;
    for (const auto& id : reading_)
        ids.append(qs(id.string()));
    return ids;
}

std::vector<CameraPlan> CardPlanner::cameraPlans() const {
    std::vector<CameraPlan> result;
    const SessionDoc* doc = document_.doc();
    if (!doc)
        return result;
    for (const auto& camera : doc->cameras) {
        if (camera.removed)
            continue;
        if (const auto plan = plans_.find(camera.id); plan != plans_.end())
            result.push_back(plan->second);
    }
    return result;
}

std::vector<PlanLines> CardPlanner::lines() const {
    std::vector<PlanLines> result;
    for (const CameraPlan& plan : cameraPlans())
        result.push_back(planLines(plan));
    return result;
}

bool CardPlanner::canExport() const {
    const SessionDoc* doc = document_.doc();
    if (!doc)
        return false;
    return std::any_of(doc->cameras.begin(), doc->cameras.end(), [&](const Camera& camera) {
        const auto plan = plans_.find(camera.id);
        return !camera.removed && plan != plans_.end() &&
               std::any_of(plan->second.clips.begin(), plan->second.clips.end(),
                           [](const PlacedClip& clip) { return clip.start.has_value(); });
    });
}

Status CardPlanner::setFolder(const Uuid& cameraID, const std::string& folder) {
    const SessionDoc* doc = document_.doc();
    if (!doc)
        return Status::failure(ErrorKind::refused, "no session log is open");
    if (!findCamera(*doc, cameraID))
        return Status::failure(ErrorKind::notFound,
                               "the session has no camera with the id " + cameraID.string());
    if (const auto problem = mediareader::folderProblem(folder))
        return Status::failure(ErrorKind::notFound, folder + " " + *problem);

    folders_[cameraID] = folder;
    reading_.insert(cameraID);
    emit foldersChanged();
    emit readingChanged();
    auto* watcher = new QFutureWatcher<std::vector<ClipFile>>(this);
    connect(watcher, &QFutureWatcher<std::vector<ClipFile>>::finished, this,
            [this, watcher, cameraID, folder] {
                finishRead(cameraID, folder, watcher->result());
                watcher->deleteLater();
            });
    shoot::Options options;
    options.readFile = [reads = fileReads_](const std::string& path) {
        const auto stamp = FileStamp::of(path);
        if (stamp) {
            if (auto known = reads->find(*stamp))
                return *known;
        }
        auto read = mediareader::readFile(path);
        if (stamp)
            reads->store(*stamp, read);
        return read;
    };
    watcher->setFuture(QtConcurrent::run(
        [folder, options = std::move(options)] { return shoot::readCard(folder, options); }));
    return {};
}

void CardPlanner::finishRead(const Uuid& cameraID, const std::string& folder,
                             const std::vector<ClipFile>& files) {
    reading_.erase(cameraID);
    const auto chosen = folders_.find(cameraID);
    const SessionDoc* doc = document_.doc();
    const Camera* camera = doc ? findCamera(*doc, cameraID) : nullptr;
    if (camera && chosen != folders_.end() && chosen->second == folder) {
        plans_.insert_or_assign(cameraID, syncmap::plan(*camera, files, *doc));
        emit plansChanged();
    }
    emit readingChanged();
}

void CardPlanner::replan(std::span<const Uuid> cameraIDs) {
    const SessionDoc* doc = document_.doc();
    if (!doc)
        return;
    bool changed = false;
    for (const auto& id : cameraIDs) {
        const auto plan = plans_.find(id);
        const Camera* camera = findCamera(*doc, id);
        if (plan == plans_.end() || !camera || camera->removed)
            continue;
        CameraPlan replanned = syncmap::plan(*camera, filesOf(plan->second), *doc);
        if (replanned != plan->second) {
            plan->second = std::move(replanned);
            changed = true;
        }
    }
    if (changed)
        emit plansChanged();
}

void CardPlanner::replanAll() {
    std::vector<Uuid> ids;
    for (const auto& [id, plan] : plans_)
        ids.push_back(id);
    replan(ids);
}

void CardPlanner::clear() {
    if (!folders_.empty()) {
        folders_.clear();
        emit foldersChanged();
    }
    if (!plans_.empty()) {
        plans_.clear();
        emit plansChanged();
    }
}

void CardPlanner::follow(const LogChanges& changes) {
    // The session's end decides open-ended recordings' lengths: every camera may move.
    if (changes.sessionChanged)
        replanAll();
    else
        replan(changes.cameras);
}

} // namespace korvalume
