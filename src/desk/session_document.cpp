#include "desk/session_document.h"

#include "base/atomic_file.h"
#include "base/qt_text.h"
#include "desk/desk_words.h"
#include "session/session_file.h"

namespace korvalume {

SessionDocument::SessionDocument(QObject* parent) : QObject(parent) {}

QStringList SessionDocument::importReport() const {
    return importReport_ ? qs(words::lines(*importReport_)) : QStringList();
}

LogStep SessionDocument::open(const std::string& path, Combining combining) {
    OpenedLogs opened{std::move(doc_), logCount_, importReport_, {}, {}};
    const bool hadDoc = opened.doc.has_value();
    const LogStep step = openLog(opened, path, combining);
    doc_ = std::move(opened.doc);
    if (step == LogStep::opened || step == LogStep::combined)
        eventIDs_ = eventIDs(*doc_);
    if (!opened.problems.empty())
        setMessage(qs(words::text(opened.problems.back())));
    if (step != LogStep::opened && step != LogStep::combined)
        return step;
    importReport_ = std::move(opened.report);
    emit importReportChanged();
    setLogCount(opened.logCount);
    if (!hadDoc) {
        setModified(false);
        emit replaced();
        return step;
    }
    notify(opened.changes);
    return step;
}

void SessionDocument::reset(std::optional<SessionDoc> doc) {
    doc_ = std::move(doc);
    eventIDs_ = doc_ ? eventIDs(*doc_) : EventIDs{};
    setLogCount(doc_ ? 1 : 0);
    setModified(false);
    emit replaced();
}

LogChanges SessionDocument::combine(const SessionDoc& incoming) {
    if (!doc_ || incoming.id != doc_->id)
        return {};
    const LogChanges changes = mergeLive(*doc_, incoming, &eventIDs_);
    notify(changes);
    return changes;
}

void SessionDocument::add(SyncEvent event) {
    if (!doc_)
        return;
    LogChanges changes;
    changes.eventsAdded = 1;
    changes.markersAdded = event.kind == SyncEvent::Kind::marker;
    if (event.cameraID)
        changes.cameras.push_back(*event.cameraID);
    eventIDs_.insert(event.id);
    doc_->events.push_back(std::move(event));
    notify(changes);
}

bool SessionDocument::finish(std::string_view deviceID, MasterInstant at, FinishScope scope) {
    if (!doc_)
        return false;
    const SessionDoc before = *doc_;
    const bool ended = korvalume::finish(*doc_, deviceID, at, scope);
    if (*doc_ == before)
        return ended;
    eventIDs_ = eventIDs(*doc_);
    LogChanges changes;
    changes.eventsAdded = doc_->events.size() - before.events.size();
    changes.sessionChanged = true;
    for (const auto& camera : doc_->cameras)
        changes.cameras.push_back(camera.id);
    std::sort(changes.cameras.begin(), changes.cameras.end());
    notify(changes);
    return ended;
}

Status SessionDocument::saveTo(const std::string& path) {
    if (!doc_)
        return Status::failure(ErrorKind::invalid, "no session log is open");
    const auto bytes = sessionfile::encoded(*doc_);
    if (!bytes)
        return bytes.error();
    if (auto written = writeFileAtomically(path, *bytes); !written)
        return written;
    setSavedTo(qs(path));
    return {};
}

void SessionDocument::setSavedTo(const QString& path) {
    if (!path.isEmpty())
        setModified(false);
    const QUrl url = path.isEmpty() ? QUrl() : QUrl::fromLocalFile(path);
    if (url == savedTo_)
        return;
    savedTo_ = url;
    emit savedToChanged();
}

void SessionDocument::setMessage(const QString& message) {
    if (message == message_)
        return;
    message_ = message;
    emit messageChanged();
}

void SessionDocument::dismissImportReport() {
    if (!importReport_)
        return;
    importReport_.reset();
    emit importReportChanged();
}

void SessionDocument::setLogCount(int count) {
    if (count == logCount_)
        return;
    logCount_ = count;
    emit logCountChanged();
}

void SessionDocument::notify(const LogChanges& changes) {
    if (!changes.any())
        return;
    setModified(true);
    emit changed(changes);
}

void SessionDocument::setModified(bool modified) {
    if (modified == modified_)
        return;
    modified_ = modified;
    emit modifiedChanged();
}

} // namespace korvalume
