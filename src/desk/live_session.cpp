#include "desk/live_session.h"

#include "base/atomic_file.h"
#include "base/programming_error.h"
#include "base/qt_text.h"
#include "desk/desk_rules.h"
#include "desk/desk_words.h"
#include "desk/session_document.h"
#include "platform/system_services.h"
#include "session/combining.h"
#include "session/session_file.h"

#include <QDate>
#include <QDir>
#include <QMetaMethod>
#include <QTimer>

#include <utility>

namespace korvalume {

LiveSession::LiveSession(SessionDocument& document, const DeskServices& services, QObject* parent)
    : QObject(parent), document_(document), services_(services) {
    if (!services_.clock || !services_.link || !services_.system)
        programmingError("a live session needs a clock, a link and the system's services");
    services_.link->attach(
        [this](const SessionDoc& doc, const QString& from) { receive(doc, from); },
        [this] { return document_.doc(); });
    connect(services_.link, &LinkService::connectedChanged, this, &LiveSession::peersChanged);
    connect(services_.clock, &ClockService::changed, this, &LiveSession::clockChanged);
}

LiveSession::~LiveSession() {
    services_.link->attach({}, {});
}

bool LiveSession::isOwner() const {
    const SessionDoc* doc = document_.doc();
    return doc && doc->ownerID && !services_.deviceID.isEmpty() &&
           qs(*doc->ownerID) == services_.deviceID;
}

MasterInstant LiveSession::now() const {
    return services_.clock->now();
}

QStringList LiveSession::peers() const {
    return services_.link->connected();
}

bool LiveSession::clockSynced() const {
    return services_.clock->synced();
}

void LiveSession::start(const std::string& typedName, const FrameRate& fps) {
    leave();
    const std::optional<std::string> owner =
        services_.deviceID.isEmpty() ? std::nullopt : std::optional(utf8(services_.deviceID));
    document_.reset(SessionDoc::newSession(deskrules::sessionName(typedName, QDate::currentDate()),
                                           fps, now(), owner));
    takeUp();
    autosave();
}

void LiveSession::join(const SessionLink& link) {
    const SessionDoc* doc = document_.doc();
    if (doc && doc->id == link.id && isLive_)
        return;
    leave();
    document_.reset(link.doc());
    takeUp();
    autosave();
}

void LiveSession::takeUp() {
    const SessionDoc* doc = document_.doc();
    if (!doc)
        return;
    setLive(true);
    services_.clock->begin(doc->id);
    services_.link->start(doc->id);
    awake_ = services_.system->keepAwake(qs(words::awakeReason));
}

void LiveSession::mark() {
    const SessionDoc* doc = document_.doc();
    if (!isLive_ || !doc)
        return;
    SyncEvent marker;
    marker.id = Uuid::random();
    marker.kind = SyncEvent::Kind::marker;
    marker.at = now();
    marker.label = deskrules::nextMarkerLabel(*doc);
    document_.add(std::move(marker));
    autosave();
    broadcast();
}

void LiveSession::end() {
    if (!isLive_ || !document_.hasDoc())
        return;
    document_.finish(utf8(services_.deviceID), now(),
                     isOwner() ? FinishScope::everyone : FinishScope::thisDevice);
    autosave();
    broadcast();
    stop();
}

void LiveSession::stop() {
    setLive(false);
    awake_.reset();
}

void LiveSession::leave() {
    stop();
    services_.link->stop();
}

void LiveSession::receive(const SessionDoc& incoming, const QString& from) {
    const SessionDoc* doc = document_.doc();
    if (!doc || incoming.id != doc->id)
        return;
    // The report is for whoever listens (the command line); it is not cheap on a long log.
    const bool reported = isSignalConnected(QMetaMethod::fromSignal(&LiveSession::received));
    const auto gained = reported ? std::optional(report(*doc, incoming)) : std::nullopt;
    const LogChanges changes = document_.combine(incoming);
    doc = document_.doc();
    const bool ended = doc->endedForAll &&
                       document_.finish(utf8(services_.deviceID), now(), FinishScope::thisDevice);
    if (gained)
        emit received(from, qs(words::lines(*gained)));
    if (ended) {
        autosave();
        stop();
        broadcast();
        return;
    }
    // A log that adds nothing is not passed on, so that desks and phones do not echo.
    flushSoon(changes.any(), changes.any());
}

void LiveSession::flushSoon(bool save, bool send) {
    // Logs arrive in bursts when many peers link at once: what one pass of the event loop
    // brings in is saved once and sent on once, as the newest log.
    saveSoon_ = saveSoon_ || save;
    sendSoon_ = sendSoon_ || send;
    if ((!saveSoon_ && !sendSoon_) || flushPending_)
        return;
    flushPending_ = true;
    QTimer::singleShot(0, this, [this] {
        flushPending_ = false;
        if (std::exchange(saveSoon_, false))
            autosave();
        if (std::exchange(sendSoon_, false))
            broadcast();
    });
}

void LiveSession::broadcast() {
    if (const SessionDoc* doc = document_.doc())
        services_.link->broadcast(*doc);
}

void LiveSession::autosave() {
    const SessionDoc* doc = document_.doc();
    if (!doc || services_.sessionsFolder.isEmpty())
        return;
    QDir().mkpath(services_.sessionsFolder);
    const QString path =
        QDir(services_.sessionsFolder).filePath(qs(deskrules::autosaveFileName(*doc)));
    const auto bytes = sessionfile::encoded(*doc);
    const Status written = bytes ? writeFileAtomically(utf8(path), *bytes) : Status(bytes.error());
    // A live desk's user must know when the log stops reaching the disk; the next change
    // tries again, and a save that works takes the warning away.
    const QString failure = qs(words::saveFailed(written ? "" : written.message()));
    if (written) {
        if (document_.message() == autosaveFailure_)
            document_.setMessage({});
        autosaveFailure_.clear();
        document_.setSavedTo(path);
        return;
    }
    autosaveFailure_ = failure;
    document_.setMessage(failure);
}

void LiveSession::setLive(bool live) {
    if (live == isLive_)
        return;
    isLive_ = live;
    emit isLiveChanged();
}

} // namespace korvalume
