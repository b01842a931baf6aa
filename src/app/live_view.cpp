#include "app/live_view.h"

#include "app/model_binding.h"
#include "base/qt_text.h"
#include "desk/desk_model.h"
#include "desk/desk_words.h"
#include "session/session_link.h"

#include <algorithm>

namespace korvalume {

namespace {

template <typename T> bool assign(T& field, const T& value) {
    if (field == value)
        return false;
    field = value;
    return true;
}

std::size_t markerCount(const SessionDoc& doc) {
    return static_cast<std::size_t>(
        std::count_if(doc.events.begin(), doc.events.end(), [](const SyncEvent& event) {
            return event.kind == SyncEvent::Kind::marker;
        }));
}

} // namespace

LiveState::LiveState(QObject* parent) : QObject(parent), rows_(this) {
    timer_.setInterval(redrawMs);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &LiveState::redraw);
    timer_.start();
}

LiveState::~LiveState() = default;

void LiveState::setModel(DeskModel* model) {
    if (!rebind(model_, model, this))
        return;
    if (model_) {
        connect(&model_->document(), &SessionDocument::replaced, this, &LiveState::rebuild);
        connect(&model_->document(), &SessionDocument::changed, this, &LiveState::follow);
        connect(&model_->live(), &LiveSession::peersChanged, this, &LiveState::updatePhones);
        connect(&model_->live(), &LiveSession::clockChanged, this, &LiveState::redraw);
    }
    rebuild();
    emit modelChanged();
}

void LiveState::setFixedNow(qreal now) {
    if (qFuzzyCompare(fixedNow_, now))
        return;
    fixedNow_ = now;
    redraw();
    emit nowChanged();
}

void LiveState::setHasFixedNow(bool has) {
    if (hasFixedNow_ == has)
        return;
    hasFixedNow_ = has;
    redraw();
    emit nowChanged();
}

QString LiveState::title() const {
    return QStringLiteral("SESSION / LIVE");
}
QString LiveState::waitingTitle() const {
    return cameras_.empty() ? qs(viewrules::waitingTitle) : QString();
}
QString LiveState::waitingText() const {
    return cameras_.empty() ? qs(viewrules::waitingText) : QString();
}
QString LiveState::phonesEmpty() const {
    return phones_.isEmpty() ? qs(viewrules::noPhones) : QString();
}
QString LiveState::freeRunTitle() const {
    return qs(words::freeRunTitle);
}
QString LiveState::freeRunText() const {
    return qs(viewrules::freeRunText);
}

void LiveState::rebuild() {
    const SessionDoc* doc = model_ ? model_->document().doc() : nullptr;
    const bool hadCameras = !cameras_.empty();
    cameras_ = doc ? doc->activeCameras() : std::vector<Camera>{};
    activity_.clear();
    markers_ = 0;
    if (doc) {
        std::vector<Uuid> ids;
        for (const auto& camera : cameras_)
            ids.push_back(camera.id);
        activity_ = activities(*doc, ids);
        markers_ = markerCount(*doc);
    }
    if (assign(joinUrl_, doc ? qs(SessionLink::from(*doc).url()) : QString()))
        emit joinUrlChanged();
    if (hadCameras != !cameras_.empty())
        emit camerasChanged();
    updatePhones();
    redraw();
}

void LiveState::follow(const LogChanges& changes) {
    const SessionDoc* doc = model_ ? model_->document().doc() : nullptr;
    if (!doc)
        return;
    if (!changes.cameras.empty()) {
        const bool hadCameras = !cameras_.empty();
        cameras_ = doc->activeCameras();
        for (auto& [id, activity] : activities(*doc, changes.cameras))
            activity_.insert_or_assign(id, std::move(activity));
        if (hadCameras != !cameras_.empty())
            emit camerasChanged();
    }
    if (changes.markersAdded)
        markers_ = markerCount(*doc);
    redraw();
}

void LiveState::updatePhones() {
    const QStringList peers = model_ ? model_->live().peers() : QStringList();
    if (assign(phones_, peers))
        emit phonesChanged();
    redraw();
}

QString LiveState::clockText() const {
    const SessionDoc* doc = model_ ? model_->document().doc() : nullptr;
    if (!doc)
        return {};
    const MasterInstant now = hasFixedNow_ ? MasterInstant(fixedNow_) : model_->live().now();
    return qs(viewrules::timeOfDay(*doc, now));
}

void LiveState::redraw() {
    const SessionDoc* doc = model_ ? model_->document().doc() : nullptr;
    if (!doc)
        return;
    const MasterInstant now = hasFixedNow_ ? MasterInstant(fixedNow_) : model_->live().now();
    now_ = now.seconds;
    const bool synced = model_->live().clockSynced();
    const viewrules::LiveHeader header = viewrules::liveHeader(
        *doc, cameras_.size(), static_cast<std::size_t>(phones_.size()), synced, now);
    bool changed = assign(facts_, qs(header.facts));
    changed |= assign(clockState_, qs(header.clockState));
    changed |= assign(clockSynced_, synced);
    changed |= assign(timeOfDay_, qs(header.timeOfDay));
    changed |= assign(running_, qs(header.running));
    if (changed)
        emit headerChanged();

    std::vector<viewrules::LiveRow> rows;
    rows.reserve(cameras_.size());
    const CameraActivity none;
    for (const Camera& camera : cameras_) {
        const auto found = activity_.find(camera.id);
        rows.push_back(viewrules::liveRow(camera, found == activity_.end() ? none : found->second,
                                          markers_, now));
    }
    rows_.show(std::move(rows));
}

} // namespace korvalume
