#include "desk/desk_model.h"

#include "base/atomic_file.h"
#include "base/programming_error.h"
#include "base/qt_text.h"
#include "desk/desk_rules.h"
#include "export/premiere_xml.h"
#include "live/master_clock.h"
#include "live/peer_link.h"
#include "platform/system_services.h"
#include "session/combining.h"
#include "session/log_opening.h"
#include "session/session_file.h"
#include "session/session_link.h"
#include "sync/shoot.h"
#include "sync/sync_map.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QMetaMethod>
#include <QStandardPaths>
#include <QTimer>
#include <QVariantMap>
#include <QtConcurrent>

#include <algorithm>
#include <utility>

namespace korvalume {

struct DeskModel::State {
    std::optional<SessionDoc> doc;
    std::map<Uuid, std::string> folders;
    std::map<Uuid, CameraPlan> plans;
    std::set<Uuid> reading;
};

namespace {

// A preview has no master clock; the machine's stands in.
MasterInstant machineNow() {
    return MasterInstant(double(QDateTime::currentMSecsSinceEpoch()) / 1000.0);
}

} // namespace

DeskModel::DeskModel(const Services& services, QObject* parent)
    : QObject(parent), state_(std::make_unique<State>()), services_(services), radios_(true) {
    if (!services_.clock || !services_.peers || !services_.system)
        programmingError("a desk model needs a clock, a link and the system's services");
    QPointer<DeskModel> self(this);
    services_.peers->setOnReceive([self](const SessionDoc& doc, const QString& from) {
        if (self)
            self->receive(doc, from);
    });
    services_.peers->setCurrent(
        [self]() -> std::optional<SessionDoc> { return self ? self->state_->doc : std::nullopt; });
    connect(services_.peers, &PeerLink::connectedChanged, this, &DeskModel::peersChanged);
    connect(services_.clock, &MasterClock::offsetChanged, this, &DeskModel::clockChanged);
    connect(services_.clock, &MasterClock::sourceChanged, this, &DeskModel::clockChanged);
    forwardChanges();
}

void DeskModel::forwardChanges() {
    for (const auto signal :
         {&DeskModel::docChanged, &DeskModel::logCountChanged, &DeskModel::foldersChanged,
          &DeskModel::plansChanged, &DeskModel::readingChanged, &DeskModel::messageChanged,
          &DeskModel::importReportChanged, &DeskModel::savedToChanged, &DeskModel::isLiveChanged,
          &DeskModel::peersChanged, &DeskModel::clockChanged})
        connect(this, signal, this, &DeskModel::changed);
}

DeskModel::DeskModel(const std::optional<SessionDoc>& doc, const Preview& preview, QObject* parent)
    : QObject(parent), state_(std::make_unique<State>()), radios_(false), preview_(preview) {
    services_.deviceID = preview.deviceID;
    if (doc) {
        state_->doc = doc;
        logCount_ = 1;
        isLive_ = !doc->endedAt;
    }
    forwardChanges();
}

DeskModel::DeskModel(const SessionDoc& doc, QObject* parent) : DeskModel(doc, {}, parent) {}

DeskModel::~DeskModel() {
    // The link outlives the model; it must not call back into it.
    if (radios_) {
        services_.peers->setOnReceive({});
        services_.peers->setCurrent({});
    }
}

QString DeskModel::defaultSessionsFolder() {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
        .filePath(QStringLiteral("Korvalume Sessions"));
}

QString DeskModel::defaultName() {
    return qs(deskrules::defaultName(QDate::currentDate()));
}

// ---- State ----

const std::optional<SessionDoc>& DeskModel::doc() const {
    return state_->doc;
}

bool DeskModel::hasDoc() const {
    return state_->doc.has_value();
}

QString DeskModel::sessionName() const {
    return state_->doc ? qs(state_->doc->name) : QString();
}

QString DeskModel::sessionID() const {
    return state_->doc ? qs(state_->doc->id.string()) : QString();
}

QString DeskModel::joinLink() const {
    return state_->doc ? qs(SessionLink::from(*state_->doc).url()) : QString();
}

const std::map<Uuid, std::string>& DeskModel::folders() const {
    return state_->folders;
}

QVariantMap DeskModel::folderMap() const {
    QVariantMap map;
    for (const auto& [id, folder] : state_->folders)
        map.insert(qs(id.string()), qs(folder));
    return map;
}

const std::map<Uuid, CameraPlan>& DeskModel::plans() const {
    return state_->plans;
}

bool DeskModel::isReading(const Uuid& cameraID) const {
    return state_->reading.contains(cameraID);
}

QStringList DeskModel::readingIDs() const {
    QStringList ids;
    for (const auto& id : state_->reading)
        ids.append(qs(id.string()));
    return ids;
}

QStringList DeskModel::importReport() const {
    return importReport_ ? qs(*importReport_) : QStringList();
}

bool DeskModel::isOwner() const {
    return state_->doc && state_->doc->ownerID && !services_.deviceID.isEmpty() &&
           qs(*state_->doc->ownerID) == services_.deviceID;
}

std::vector<CameraPlan> DeskModel::cameraPlans() const {
    std::vector<CameraPlan> result;
    if (!state_->doc)
        return result;
    for (const auto& camera : state_->doc->activeCameras()) {
        if (const auto plan = state_->plans.find(camera.id); plan != state_->plans.end())
            result.push_back(plan->second);
    }
    return result;
}

bool DeskModel::canExport() const {
    const auto plans = cameraPlans();
    return std::any_of(plans.begin(), plans.end(),
                       [](const CameraPlan& plan) { return !plan.placed().empty(); });
}

QStringList DeskModel::connectedPeers() const {
    return radios_ ? services_.peers->connected() : preview_.peers;
}

bool DeskModel::clockSynced() const {
    return radios_ ? services_.clock->synced() : preview_.clockSynced;
}

MasterInstant DeskModel::now() const {
    return radios_ ? services_.clock->now() : machineNow();
}

QString DeskModel::openPanelText() const {
    return qs(deskrules::openPanelText);
}

QString DeskModel::savePanelText() const {
    return qs(deskrules::savePanelText);
}

QString DeskModel::exportPanelText() const {
    return qs(deskrules::exportPanelText);
}

QString DeskModel::proposedLogName() const {
    return state_->doc ? qs(deskrules::proposedLogName(*state_->doc)) : QString();
}

QString DeskModel::proposedExportName() const {
    return state_->doc ? qs(deskrules::proposedExportName(*state_->doc)) : QString();
}

QString DeskModel::folderPanelText(const QString& cameraName) const {
    return qs(deskrules::folderPanelText(cameraName.toStdString()));
}

// ---- Setters that notify ----

void DeskModel::setDoc(std::optional<SessionDoc> doc) {
    if (doc == state_->doc)
        return;
    state_->doc = std::move(doc);
    emit docChanged();
}

void DeskModel::setLogCount(int count) {
    if (count == logCount_)
        return;
    logCount_ = count;
    emit logCountChanged();
}

void DeskModel::setMessage(const QString& message) {
    if (message == message_)
        return;
    message_ = message;
    emit messageChanged();
}

void DeskModel::setImportReport(std::optional<std::vector<std::string>> report) {
    if (report == importReport_)
        return;
    importReport_ = std::move(report);
    emit importReportChanged();
}

void DeskModel::setSavedTo(const QUrl& url) {
    if (url == savedTo_)
        return;
    savedTo_ = url;
    emit savedToChanged();
}

void DeskModel::setLive(bool live) {
    if (live == isLive_)
        return;
    isLive_ = live;
    emit isLiveChanged();
}

// ---- Actions ----

void DeskModel::open(const QList<QUrl>& files) {
    std::vector<std::string> paths;
    for (const auto& url : files) {
        if (url.isLocalFile())
            paths.push_back(url.toLocalFile().toStdString());
    }
    open(paths);
}

void DeskModel::open(const std::vector<std::string>& paths) {
    for (const auto& path : paths) {
        OpenedLogs opened{state_->doc, logCount_, importReport_, {}};
        const bool hadDoc = opened.doc.has_value();
        const LogStep step =
            openLog(opened, path, isLive_ ? Combining::mergeLive : Combining::merge);
        if (!opened.messages.empty())
            setMessage(qs(opened.messages.back().text));
        if (step != LogStep::opened && step != LogStep::combined)
            continue;
        setImportReport(std::move(opened.report));
        setDoc(std::move(opened.doc));
        setLogCount(opened.logCount);
        if (step == LogStep::combined && isLive_) {
            autosave();
            broadcast();
        }
        if (!hadDoc && deskrules::takesUpLive(*state_->doc, now()))
            beginLive();
    }
    replan();
}

void DeskModel::setFolder(const QString& cameraID, const QUrl& folder) {
    const auto id = Uuid::parse(cameraID.toStdString());
    if (id && folder.isLocalFile())
        setFolder(*id, folder.toLocalFile().toStdString());
}

void DeskModel::setFolder(const Uuid& cameraID, const std::string& folder) {
    state_->folders[cameraID] = folder;
    state_->reading.insert(cameraID);
    emit foldersChanged();
    emit readingChanged();
    auto* watcher = new QFutureWatcher<std::vector<ClipFile>>(this);
    connect(watcher, &QFutureWatcher<std::vector<ClipFile>>::finished, this,
            [this, watcher, cameraID, folder] {
                finishRead(cameraID, folder, watcher->result());
                watcher->deleteLater();
            });
    watcher->setFuture(QtConcurrent::run([folder] { return shoot::readCard(folder); }));
}

void DeskModel::finishRead(const Uuid& cameraID, const std::string& folder,
                           const std::vector<ClipFile>& files) {
    state_->reading.erase(cameraID);
    const auto chosen = state_->folders.find(cameraID);
    const bool stillChosen = chosen != state_->folders.end() && chosen->second == folder;
    if (state_->doc && stillChosen) {
        const auto& cameras = state_->doc->cameras;
        const auto camera = std::find_if(cameras.begin(), cameras.end(),
                                         [&](const Camera& c) { return c.id == cameraID; });
        if (camera != cameras.end()) {
            state_->plans.insert_or_assign(cameraID, syncmap::plan(*camera, files, *state_->doc));
            emit plansChanged();
        }
    }
    emit readingChanged();
}

bool DeskModel::exportTo(const QUrl& file) {
    return file.isLocalFile() && exportTo(file.toLocalFile().toStdString());
}

bool DeskModel::exportTo(const std::string& path) {
    if (!state_->doc)
        return false;
    const auto plans = cameraPlans();
    const std::string xml = premierexml::exportDocument(*state_->doc, plans);
    if (const auto problem = premierexml::save(path, xml)) {
        setMessage(qs(*problem));
        return false;
    }
    if (radios_)
        services_.system->showInFileBrowser(qs(path));
    return true;
}

bool DeskModel::saveLogTo(const QUrl& file) {
    return file.isLocalFile() && saveLogTo(file.toLocalFile().toStdString());
}

bool DeskModel::saveLogTo(const std::string& path) {
    if (!state_->doc)
        return false;
    const auto bytes = sessionfile::encoded(*state_->doc);
    if (!bytes) {
        setMessage("Could not save the log: " + qs(bytes.message()));
        return false;
    }
    if (const auto written = writeFileAtomically(path, *bytes); !written) {
        setMessage("Could not save the log: " + qs(written.message()));
        return false;
    }
    setSavedTo(QUrl::fromLocalFile(qs(path)));
    return true;
}

void DeskModel::showSaved() {
    if (radios_ && savedTo_.isLocalFile())
        services_.system->showInFileBrowser(savedTo_.toLocalFile());
}

void DeskModel::startLive(const QString& name, const QString& fpsLabel) {
    const std::string label = fpsLabel.toStdString();
    for (const auto& rate : FrameRate::all()) {
        if (rate.label() == label) {
            startLive(name.toStdString(), rate);
            return;
        }
    }
}

void DeskModel::startLive(const std::string& name, const FrameRate& fps) {
    clear();
    const std::optional<std::string> owner =
        radios_ ? std::optional(services_.deviceID.toStdString()) : std::nullopt;
    setDoc(SessionDoc::newSession(deskrules::sessionName(name, QDate::currentDate()), fps, now(),
                                  owner));
    setLogCount(1);
    beginLive();
    autosave();
}

bool DeskModel::join(const QString& link) {
    const auto parsed = SessionLink::parse(link.trimmed().toStdString());
    if (!parsed)
        return false;
    join(*parsed);
    return true;
}

void DeskModel::join(const SessionLink& link) {
    if (state_->doc && state_->doc->id == link.id && isLive_)
        return;
    clear();
    setDoc(link.doc());
    setLogCount(1);
    beginLive();
    autosave();
}

void DeskModel::beginLive() {
    setLive(true);
    if (!radios_)
        return;
    services_.clock->begin(state_->doc->id);
    services_.peers->start(state_->doc->id);
    awake_ = services_.system->keepAwake(qs(deskrules::awakeReason));
}

void DeskModel::mark() {
    if (!isLive_ || !state_->doc)
        return;
    SessionDoc doc = *state_->doc;
    SyncEvent marker;
    marker.id = Uuid::random();
    marker.kind = SyncEvent::Kind::marker;
    marker.at = now();
    marker.label = deskrules::nextMarkerLabel(doc);
    doc.events.push_back(std::move(marker));
    setDoc(std::move(doc));
    autosave();
    broadcast();
}

void DeskModel::endLive() {
    if (!isLive_ || !state_->doc)
        return;
    SessionDoc doc = *state_->doc;
    finish(doc, services_.deviceID.toStdString(), now(),
           isOwner() ? FinishScope::everyone : FinishScope::thisDevice);
    setDoc(std::move(doc));
    autosave();
    broadcast();
    stopLive();
}

void DeskModel::stopLive() {
    setLive(false);
    awake_.reset();
}

void DeskModel::clear() {
    stopLive();
    if (radios_)
        services_.peers->stop();
    setDoc(std::nullopt);
    setLogCount(0);
    if (!state_->folders.empty()) {
        state_->folders.clear();
        emit foldersChanged();
    }
    if (!state_->plans.empty()) {
        state_->plans.clear();
        emit plansChanged();
    }
    setMessage({});
    setSavedTo({});
}

void DeskModel::dismissImportReport() {
    setImportReport(std::nullopt);
}

// ---- Steps ----

void DeskModel::receive(const SessionDoc& incoming, const QString& from) {
    if (!state_->doc || incoming.id != state_->doc->id)
        return;
    const SessionDoc& current = *state_->doc;
    const bool covered = covers(current, incoming);
    // The report is for whoever listens (the command line); it is not cheap on a long log.
    const bool reported = isSignalConnected(QMetaMethod::fromSignal(&DeskModel::received));
    const auto lines = reported ? report(current, incoming) : std::vector<std::string>{};
    SessionDoc merged = current;
    mergeLive(merged, incoming);
    const bool ended = merged.endedForAll && finish(merged, services_.deviceID.toStdString(), now(),
                                                    FinishScope::thisDevice);
    const bool changed = merged != *state_->doc;
    if (changed) {
        setDoc(merged);
        replan();
    }
    if (reported)
        emit received(from, qs(lines));
    if (ended) {
        autosave();
        stopLive();
        broadcast();
        return;
    }
    // Logs arrive in bursts when many peers link at once: what one pass of the event loop
    // brings in is saved once and sent on once, as the newest log.
    saveSoon_ = saveSoon_ || changed;
    sendSoon_ = sendSoon_ || !covered;
    if ((saveSoon_ || sendSoon_) && !flushPending_) {
        flushPending_ = true;
        QTimer::singleShot(0, this, [this] {
            flushPending_ = false;
            if (std::exchange(saveSoon_, false))
                autosave();
            if (std::exchange(sendSoon_, false))
                broadcast();
        });
    }
}

void DeskModel::broadcast() {
    if (radios_ && state_->doc)
        services_.peers->broadcast(*state_->doc);
}

void DeskModel::autosave() {
    if (!radios_ || !state_->doc)
        return;
    const auto bytes = sessionfile::encoded(*state_->doc);
    if (!bytes)
        return;
    QDir().mkpath(services_.sessionsFolder);
    const QString path =
        QDir(services_.sessionsFolder).filePath(qs(deskrules::autosaveFileName(*state_->doc)));
    if (writeFileAtomically(path.toStdString(), *bytes))
        setSavedTo(QUrl::fromLocalFile(path));
}

void DeskModel::replan() {
    if (!state_->doc)
        return;
    bool changed = false;
    for (const auto& camera : state_->doc->activeCameras()) {
        const auto plan = state_->plans.find(camera.id);
        if (plan == state_->plans.end())
            continue;
        std::vector<ClipFile> files;
        for (const auto& clip : plan->second.clips)
            files.push_back(clip.file);
        CameraPlan replanned = syncmap::plan(camera, files, *state_->doc);
        if (replanned != plan->second) {
            plan->second = std::move(replanned);
            changed = true;
        }
    }
    if (changed) {
        emit plansChanged();
    }
}

} // namespace korvalume
