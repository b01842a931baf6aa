#include "app/live_view.h"

#include "app/model_binding.h"
#include "app/view_rules.h"
#include "desk/desk_model.h"
#include "session/session_doc.h"
#include "session/session_link.h"
#include "sync/advice.h"
#include "sync/placed_clip.h"

#include <QVariantMap>

namespace korvalume {

namespace {

std::vector<std::string> phoneNames(const QStringList& peers) {
    std::vector<std::string> names;
    for (const QString& peer : peers)
        names.push_back(peer.toStdString());
    return names;
}

template <typename T> bool assign(T& field, const T& value) {
    if (field == value)
        return false;
    field = value;
    return true;
}
} // namespace

LiveState::LiveState(QObject* parent) : QObject(parent) {
    timer_.setInterval(redrawMs);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &LiveState::redraw);
    timer_.start();
}

void LiveState::setModel(DeskModel* model) {
    if (!bindModel(model_, model, this, [this] { redraw(); }))
        return;
    redraw();
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
QString LiveState::freeRunTitle() const {
    return qs(advice::freeRunTitle);
}
QString LiveState::freeRunText() const {
    return qs(viewrules::freeRunText);
}

void LiveState::redraw() {
    if (!model_)
        return;
    const std::optional<SessionDoc> doc = model_->doc();
    if (!doc)
        return;
    const MasterInstant now = hasFixedNow_ ? MasterInstant(fixedNow_) : model_->now();
    now_ = now.seconds;
    const bool synced = model_->clockSynced();
    const viewrules::LiveTexts texts =
        viewrules::liveTexts(*doc, now, synced, phoneNames(model_->connectedPeers()));

    QVariantList rows;
    for (const viewrules::LiveRow& row : texts.rows)
        rows.append(QVariantMap{{"name", qs(row.name)},
                                {"kindLink", qs(row.kindLink)},
                                {"status", qs(row.status)},
                                {"rolling", row.rolling},
                                {"warning", row.warning},
                                {"clips", qs(row.clips)},
                                {"detail", qs(row.detail)}});
    QStringList phones;
    for (const std::string& phone : texts.phones)
        phones.append(qs(phone));

    bool changed = false;
    changed |= assign(facts_, qs(texts.facts));
    changed |= assign(clockState_, qs(texts.clockState));
    changed |= assign(clockSynced_, synced);
    changed |= assign(timeOfDay_, qs(texts.timeOfDay));
    changed |= assign(running_, qs(texts.running));
    changed |= assign(rows_, rows);
    changed |= assign(waitingTitle_, qs(texts.waitingTitle));
    changed |= assign(waitingText_, qs(texts.waitingText));
    changed |= assign(phones_, phones);
    changed |= assign(phonesEmpty_, qs(texts.phonesEmpty));
    changed |= assign(joinUrl_, qs(SessionLink::from(*doc).url()));
    if (changed)
        emit textsChanged();
}

} // namespace korvalume
