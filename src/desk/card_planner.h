#pragma once

#include <QObject>
#include <QStringList>

// moc cannot read the standard library's C++20 headers; it needs only the names.
#ifndef Q_MOC_RUN
#include "base/result.h"
#include "desk/file_cache.h"
#include "desk/plan_lines.h"
#include "media/clip_file.h"
#include "session/combining.h"
#include "session/uuid.h"
#include "sync/placed_clip.h"
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>
#endif

namespace korvalume {

class SessionDocument;

// The card folder chosen for each camera, reading it off the interface thread, and the
// placement plan of each camera whose card has been read. It follows the document: a
// change re-plans only the cameras it touched, a new document starts afresh. Files read
// once are not read again while they are unchanged.
class CardPlanner : public QObject {
    Q_OBJECT
    Q_PROPERTY(QStringList reading READ readingIDs NOTIFY readingChanged)
    Q_PROPERTY(bool canExport READ canExport NOTIFY plansChanged)

public:
    explicit CardPlanner(const SessionDocument& document, QObject* parent = nullptr);
    ~CardPlanner() override;

    const std::map<Uuid, std::string>& folders() const { return folders_; }
    std::optional<std::string> folder(const Uuid& cameraID) const;
    const std::map<Uuid, CameraPlan>& plans() const { return plans_; }
    bool isReading(const Uuid& cameraID) const { return reading_.contains(cameraID); }
    QStringList readingIDs() const;
    // The plans of the active cameras that have one, in the log's camera order.
    std::vector<CameraPlan> cameraPlans() const;
    // The same, as the views show them.
    std::vector<PlanLines> lines() const;
    // Some camera has a placed clip.
    bool canExport() const;

    // Reads `folder` as the camera's card and plans the camera when the read is done,
    // unless another folder has been chosen by then. Refused, changing nothing, when no
    // log is open, the camera is not in it, or the folder is not a readable folder.
    Status setFolder(const Uuid& cameraID, const std::string& folder);
    // Plans these cameras again from the files already read.
    void replan(std::span<const Uuid> cameraIDs);
    void replanAll();
    // No folders, no plans.
    void clear();

signals:
    void foldersChanged();
    void plansChanged();
    void readingChanged();

private:
    void finishRead(const Uuid& cameraID, const std::string& folder,
                    const std::vector<ClipFile>& files);
    void follow(const LogChanges& changes);

    const SessionDocument& document_;
    std::map<Uuid, std::string> folders_;
    std::map<Uuid, CameraPlan> plans_;
    std::set<Uuid> reading_;
    // Reads of card files; shared with the reads under way.
    std::shared_ptr<FileCache<std::optional<ClipFile>>> fileReads_;
};

} // namespace korvalume
